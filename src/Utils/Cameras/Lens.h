#ifndef OXTELLARPRODUCERS_LENS_H
#define OXTELLARPRODUCERS_LENS_H

#include <algorithm>
#include <cstddef>

#include <Imath/ImathMatrix.h>

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

/// The matrix that an attribute holds row by row at the sample nearest to time 0; the identity when
/// it holds fewer than 16 values.
inline Imath::Matrix44<double> MatrixFromAttribute(const OxAttribute::DoubleAttribute& attribute) {
    constexpr std::size_t kMatrixValues = 16;
    const auto values = attribute.getNearestSample(0.0f);
    Imath::Matrix44<double> matrix;
    if (values.size() >= kMatrixValues)
        std::copy_n(values.data(), kMatrixValues, matrix.getValue());
    return matrix;
}

} // namespace TELLAR

#endif
