#ifndef LANTERN_DRAWING_EMBREEHANDLES_H
#define LANTERN_DRAWING_EMBREEHANDLES_H

#include <algorithm>
#include <cmath>
#include <memory>

#include <embree3/rtcore.h>

#include "drawing/CameraRays.h"
#include "drawing/Numbers.h"

namespace lantern {

template <typename Handle, void (*Release)(Handle)>
struct EmbreeReleaser {
    using pointer = Handle;
    void operator()(Handle handle) const { Release(handle); }
};
using EmbreeDevice = std::unique_ptr<RTCDeviceTy, EmbreeReleaser<RTCDevice, rtcReleaseDevice>>;
using EmbreeTree = std::unique_ptr<RTCSceneTy, EmbreeReleaser<RTCScene, rtcReleaseScene>>;
using EmbreeGeometry =
    std::unique_ptr<RTCGeometryTy, EmbreeReleaser<RTCGeometry, rtcReleaseGeometry>>;

/// Embree requires finite rays.
inline bool IsSound(const Ray& ray) {
    constexpr float kFarthestOrigin = 1e18f; // Embree's limit is 1.8e18
    const V3f& origin = ray.origin;
    const bool isNear = std::abs(origin.x) < kFarthestOrigin &&
                        std::abs(origin.y) < kFarthestOrigin &&
                        std::abs(origin.z) < kFarthestOrigin; // false for NaN
    return isNear && IsFinite(ray.direction) && ray.farthest > 0;
}

/// Assigns all members of Embree's ray in place: a copy of the ray, whose members were just written
/// one by one, would wait for them to leave the store buffer.
inline void AssignRay(const Ray& ray, RTCRay& result) {
    result.org_x = ray.origin.x;
    result.org_y = ray.origin.y;
    result.org_z = ray.origin.z;
    result.tnear = 0;
    result.dir_x = ray.direction.x;
    result.dir_y = ray.direction.y;
    result.dir_z = ray.direction.z;
    result.time = ray.time;
    result.tfar = ray.farthest;
    result.mask = ~0u;
    result.id = 0;
    result.flags = 0;
}

} // namespace lantern

#endif
