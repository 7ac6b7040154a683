#ifndef OXTELLARPRODUCERS_LENS_H
#define OXTELLARPRODUCERS_LENS_H

#include <OxTellarProducers/CameraInfo.h>

namespace TELLAR {

// Readers of the attributes of a camera's location.

/// The name of a double in the group "geometry", and the field that receives it.
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

/// False for an invalid "projection": cameras without one are perspective.
inline bool IsOrthographic(const OxAttribute::StringAttribute& projection) {
    return projection.getValueView() == "orthographic";
}

} // namespace TELLAR

#endif
