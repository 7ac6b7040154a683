#include "WorldMatrix.h"

#include <algorithm>
#include <cstdint>

#include <OxTellarSDK/XFormUtil.h>

namespace TellarPython {

namespace {

using namespace OxAttribute;
using Imath::M44d;
using TELLAR::GeometryProducer;

constexpr std::int64_t kValues = 16;

std::optional<M44d> MatrixIn(const DoubleAttribute& attribute) {
    const auto sample = attribute.getNearestSample(0);
    if (sample.size() < kValues) return std::nullopt;
    M44d matrix(Imath::UNINITIALIZED);
    std::copy_n(sample.data(), kValues, matrix.getValue());
    return matrix;
}

std::optional<M44d> Composed(const GroupAttribute& xform) {
    return MatrixIn(OxXFormUtil::CalcTransformMatrixAtTime(xform, 0).first);
}

/// The matrix of an "xform" group that has nothing else.
std::optional<M44d> OnlyMatrixIn(const GroupAttribute& xform) {
    if (xform.getNumberOfChildren() != 1) return std::nullopt;
    if (xform.getChildNameView(0).substr(0, 6) != "matrix") return std::nullopt;
    const DoubleAttribute values(xform.getChildByIndex(0));
    return values.getNumberOfTimeSamples() == 1 ? MatrixIn(values) : std::nullopt;
}

} // namespace

WorldMatrix WorldMatrix::Of(GeometryProducer& location) {
    WorldMatrix world;
    world.matrix = Composed(location.getGlobalXFormGroup());
    return world;
}

// The steps of a transform are applied in the same order to what comes from above, so the results
// are those of the whole chain of transforms.
WorldMatrix WorldMatrix::below(GeometryProducer& location) const {
    WorldMatrix world;
    const GroupAttribute xform(location.getAttribute("xform"));
    if (!xform.isValid())
        world.matrix = matrix;
    else if (const auto step = OnlyMatrixIn(xform))
        world.matrix = matrix ? *step * *matrix : *step;
    else if (matrix)
        world.matrix = Composed(GroupAttribute({{"matrix", attribute}, {"own", xform}}, false));
    else
        world.matrix = Composed(xform);
    return world;
}

void WorldMatrix::keepForChildren() {
    if (matrix) attribute = DoubleAttribute(matrix->getValue(), kValues, kValues);
}

} // namespace TellarPython
