#include <OxTellarSDK/Bounds.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <utility>

#include <OxTellarSDK/XFormUtil.h>

namespace OxXFormUtil {
namespace {

using namespace OxAttribute;

constexpr std::int64_t kMatrixValues = 16;

bool StartsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

/// 0 for an attribute that is not numeric.
std::int64_t NumberOfSamples(const Attribute& attribute) {
    const AttributeType type = attribute.getType();
    if (type == kAttributeTypeDouble) return DoubleAttribute(attribute).getNumberOfTimeSamples();
    if (type == kAttributeTypeFloat) return FloatAttribute(attribute).getNumberOfTimeSamples();
    if (type == kAttributeTypeInt) return IntAttribute(attribute).getNumberOfTimeSamples();
    return 0;
}

/// Properties of the steps of an "xform" group.
struct Steps {
    bool hasOrigin = false;
    bool areMoving = false;
};

Steps FindSteps(const GroupAttribute& xform) {
    Steps found;
    for (std::int64_t i = 0; i < xform.getNumberOfChildren(); ++i) {
        const Attribute child = xform.getChildByIndex(i);
        if (child.getType() == kAttributeTypeGroup) {
            const Steps below = FindSteps(GroupAttribute(child));
            found.hasOrigin = found.hasOrigin || below.hasOrigin;
            found.areMoving = found.areMoving || below.areMoving;
            continue;
        }
        found.hasOrigin = found.hasOrigin || StartsWith(xform.getChildNameView(i), "origin");
        found.areMoving = found.areMoving || NumberOfSamples(child) > 1;
    }
    return found;
}

/// Encloses the box under any rotation about the origin.
Bounds Turned(const Bounds& bounds) {
    Bounds turned;
    if (bounds.isEmpty()) return turned;
    double squares = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double most =
            std::max(std::abs(bounds.values[2 * axis]), std::abs(bounds.values[2 * axis + 1]));
        squares += most * most;
    }
    const double radius = std::sqrt(squares);
    turned.values = {-radius, radius, -radius, radius, -radius, radius};
    return turned;
}

bool IsAffine(const double* m) {
    return m[3] == 0 && m[7] == 0 && m[11] == 0 && m[15] == 1;
}

/// Nothing if the result is not finite or the matrix is not affine.
std::optional<Bounds> MovedByMatrix(const Bounds& bounds, const std::array<double, 16>& matrix) {
    if (!IsAffine(matrix.data())) return std::nullopt;
    const Bounds moved = bounds.transformed(matrix.data());
    return moved.isFinite() ? std::optional(moved) : std::nullopt;
}

/// Encloses the box under the matrices of all samples of a group. Nothing as above.
std::optional<Bounds> MovedBySamples(const Bounds& bounds, const GroupAttribute& xform) {
    const auto [matrices, isUsed] = CalcTransformMatrixAtExistingTimes(xform);
    if (!isUsed) return bounds;
    Bounds moved;
    for (std::int64_t i = 0; i < matrices.getNumberOfTimeSamples(); ++i) {
        std::array<double, 16> matrix;
        matrices.fillInterpSample(matrix.data(), kMatrixValues, matrices.getSampleTime(i));
        const std::optional<Bounds> sample = MovedByMatrix(bounds, matrix);
        if (!sample) return std::nullopt;
        moved.add(*sample);
    }
    return moved;
}

/// The matrix of a group that rests.
std::array<double, 16> MatrixOf(const GroupAttribute& xform) {
    std::array<double, 16> matrix = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    if (!xform.isValid()) return matrix;
    const DoubleAttribute values = CalcTransformMatrixAtTime(xform, 0).first;
    if (values.isValid()) values.fillInterpSample(matrix.data(), kMatrixValues, 0);
    return matrix;
}

} // namespace

bool Bounds::isFinite() const {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

void Bounds::add(double x, double y, double z) {
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) return;
    Bounds point;
    point.values = {x, x, y, y, z, z};
    add(point);
}

void Bounds::add(const Bounds& other) {
    if (other.isEmpty()) return;
    if (isEmpty()) {
        values = other.values;
        return;
    }
    for (std::size_t i = 0; i < values.size(); i += 2) {
        values[i] = std::min(values[i], other.values[i]);
        values[i + 1] = std::max(values[i + 1], other.values[i + 1]);
    }
}

Bounds Bounds::transformed(const double* m) const {
    Bounds result;
    if (isEmpty()) return result;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        double low = m[12 + axis];
        double high = low;
        for (std::size_t row = 0; row < 3; ++row) {
            const double a = values[2 * row] * m[4 * row + axis];
            const double b = values[2 * row + 1] * m[4 * row + axis];
            low += std::min(a, b);
            high += std::max(a, b);
        }
        result.values[2 * axis] = low;
        result.values[2 * axis + 1] = high;
    }
    return result;
}

namespace {

// The values of a step are linear between its samples, so a point moves on a straight line there
// and stays within the boxes of the samples. Rotations are the exception. The product of two moving
// steps is not linear, so the box is moved step by step, the last step first.
std::optional<Bounds> MovedByEachStep(const Bounds& bounds, const GroupAttribute& xform) {
    std::optional<Bounds> moved = bounds;
    for (std::int64_t i = xform.getNumberOfChildren(); moved && i-- > 0;) {
        const GroupAttribute::Child child(xform.getChildNameView(i), xform.getChildByIndex(i));
        if (child.second.getType() == kAttributeTypeGroup)
            moved = MovedByEachStep(*moved, GroupAttribute(child.second));
        else if (StartsWith(child.first, "rotate") && NumberOfSamples(child.second) > 1)
            moved = Turned(*moved);
        else
            moved = MovedBySamples(*moved, GroupAttribute({child}, false));
    }
    return moved;
}

} // namespace

std::optional<Bounds> MoveBounds(const Bounds& bounds, const GroupAttribute& xform) {
    const Steps steps = FindSteps(xform);
    if (steps.hasOrigin) return std::nullopt;
    const std::optional<Bounds> moved =
        steps.areMoving ? MovedByEachStep(bounds, xform) : MovedByMatrix(bounds, MatrixOf(xform));
    return moved && moved->isFinite() ? moved : std::nullopt;
}

std::optional<std::array<double, 16>> RestingMatrix(const GroupAttribute& xform) {
    const Steps steps = FindSteps(xform);
    if (steps.hasOrigin || steps.areMoving) return std::nullopt;
    return MatrixOf(xform);
}

} // namespace OxXFormUtil
