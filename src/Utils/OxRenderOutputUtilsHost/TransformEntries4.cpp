#include <algorithm>
#include <cmath>

#include <Imath/ImathMatrix.h>

#include <OxTellarProducers/LocationTransforms.h>

#include "RenderOutputEntries4.h"

namespace TELLAR::RenderOutputUtilsHost4 {

namespace {

using Imath::M44d;

constexpr std::int32_t kWritten = 1;
constexpr std::int64_t kMatrixValues = 16;

void Write(const M44d& matrix, double* values) {
    std::copy_n(matrix.getValue(), kMatrixValues, values);
}

float Finite(float time) {
    if (!std::isfinite(time)) throw BadCall{"time", "is not finite"};
    return time;
}

std::int32_t GetMatrixOfWorld(OxSgIteratorStruct* location, float time, double* matrix) {
    NotNull(matrix, "matrix");
    Write(GetWorldMatrix(*At(location), Finite(time)), matrix);
    return kWritten;
}

std::int32_t GetMatricesOfWorld(OxSgIteratorStruct* location, const float* times,
                                std::int64_t count, double* matrices) {
    const GeometryProducer::Ptr producer = At(location);
    CheckArray(times, "times", count, "count");
    CheckArray(matrices, "matrices", count, "count");
    for (std::int64_t i = 0; i < count; ++i)
        Write(GetWorldMatrix(*producer, Finite(times[i])), matrices + i * kMatrixValues);
    return kWritten;
}

std::int32_t GetMatrixOfLocation(OxSgIteratorStruct* location, float time, double* matrix) {
    NotNull(matrix, "matrix");
    Write(GetLocalMatrix(*At(location), Finite(time)), matrix);
    return kWritten;
}

std::int64_t GetTimes(OxSgIteratorStruct* location, float* times, std::int64_t capacity) {
    const GeometryProducer::Ptr producer = At(location);
    CheckArray(times, "times", capacity, "capacity");
    const std::vector<float> found = GetTransformTimes(*producer);
    const auto count = static_cast<std::int64_t>(found.size());
    std::copy_n(found.begin(), std::min(count, capacity), times);
    return count;
}

} // namespace

void FillTransformSlots(Suite& suite) {
    TELLAR_SET_ERROR_ENTRY(suite, 0, getWorldMatrix, GetMatrixOfWorld);
    TELLAR_SET_ERROR_ENTRY(suite, 1, getWorldMatrices, GetMatricesOfWorld);
    TELLAR_SET_ERROR_ENTRY(suite, 2, getLocalMatrix, GetMatrixOfLocation);
    TELLAR_SET_ERROR_ENTRY(suite, 3, getTransformTimes, GetTimes);
}

} // namespace TELLAR::RenderOutputUtilsHost4
