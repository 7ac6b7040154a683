#ifndef TELLAR_LENS_H
#define TELLAR_LENS_H

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// A double of a camera's "geometry" group and the field that it goes to.
struct LensField {
    const char* name;
    float CameraGeometry::*member;
};

/// In the order in which they are read.
constexpr LensField kLensFields[] = {
    {"fov", &CameraGeometry::fov},       {"near", &CameraGeometry::near},
    {"far", &CameraGeometry::far},       {"left", &CameraGeometry::left},
    {"right", &CameraGeometry::right},   {"top", &CameraGeometry::top},
    {"bottom", &CameraGeometry::bottom},
};

/// What the "projection" of a camera says; perspective when there is none.
inline bool IsOrthographic(const OxAttribute::StringAttribute& projection) {
    return projection.getValueView() == "orthographic";
}

} // namespace TELLAR

#endif
