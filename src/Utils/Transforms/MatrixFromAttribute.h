#ifndef OXTELLARPRODUCERS_MATRIXFROMATTRIBUTE_H
#define OXTELLARPRODUCERS_MATRIXFROMATTRIBUTE_H

#include <algorithm>
#include <cstddef>

#include <Imath/ImathMatrix.h>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

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
