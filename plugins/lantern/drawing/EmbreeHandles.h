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
    const float distance = std::max({std::abs(origin.x), std::abs(origin.y), std::abs(origin.z)});
    return IsFinite(origin) && distance < kFarthestOrigin && IsFinite(ray.direction) &&
           ray.farthest > 0;
}

inline RTCRay ToEmbree(const Ray& ray) {
    RTCRay result{};
    result.org_x = ray.origin.x;
    result.org_y = ray.origin.y;
    result.org_z = ray.origin.z;
    result.dir_x = ray.direction.x;
    result.dir_y = ray.direction.y;
    result.dir_z = ray.direction.z;
    result.tfar = ray.farthest;
    result.time = ray.time;
    result.mask = ~0u;
    return result;
}

} // namespace lantern

#endif
