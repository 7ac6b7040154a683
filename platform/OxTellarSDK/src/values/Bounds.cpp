#include <OxTellarSDK/Bounds.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <vector>

#include <OxTellarSDK/XFormUtil.h>

namespace OxXFormUtil {
namespace {

using namespace OxAttribute;

/// One step of an "xform" group as a group of its own.
struct Step {
    GroupAttribute xform;
    std::int64_t samples;
    bool isRotation;
};

bool StartsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

/// 0 for an attribute that is not numeric.
std::int64_t NumberOfSamples(const Attribute& attribute) {
    return IntAttribute(attribute).getNumberOfTimeSamples() +
           FloatAttribute(attribute).getNumberOfTimeSamples() +
           DoubleAttribute(attribute).getNumberOfTimeSamples();
}

/// Adds the steps in the order of the group. Returns false for an "origin".
bool FindSteps(const GroupAttribute& xform, std::vector<Step>& steps) {
    for (std::int64_t i = 0; i < xform.getNumberOfChildren(); ++i) {
        const Attribute child = xform.getChildByIndex(i);
        if (const GroupAttribute group(child); group.isValid()) {
            if (!FindSteps(group, steps)) return false;
            continue;
        }
        const std::string_view name = xform.getChildNameView(i);
        if (StartsWith(name, "origin")) return false;
        const std::int64_t samples = NumberOfSamples(child);
        if (samples == 0) continue;
        const GroupAttribute::Child step(name, child);
        steps.push_back({GroupAttribute({step}, false), samples, StartsWith(name, "rotate")});
    }
    return true;
}

bool IsMoving(const std::vector<Step>& steps) {
    return std::any_of(steps.begin(), steps.end(),
                       [](const Step& step) { return step.samples > 1; });
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

/// Encloses the box under the matrices of all samples. Nothing if the result is not finite or a
/// matrix is not affine.
std::optional<Bounds> MovedBySamples(const Bounds& bounds, const GroupAttribute& xform) {
    const auto [matrices, isUsed] = CalcTransformMatrixAtExistingTimes(xform);
    if (!isUsed) return bounds;
    Bounds moved;
    for (std::int64_t i = 0; i < matrices.getNumberOfTimeSamples(); ++i) {
        const auto matrix = matrices.getNearestSample(matrices.getSampleTime(i));
        if (!IsAffine(matrix.data())) return std::nullopt;
        const Bounds sample = bounds.transformed(matrix.data());
        if (!sample.isFinite()) return std::nullopt;
        moved.add(sample);
    }
    return moved;
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

// The values of a step are linear between its samples, so a point moves on a straight line there
// and stays within the boxes of the samples. Rotations are the exception. The product of two moving
// steps is not linear, so a moving group is followed step by step.
std::optional<Bounds> MoveBounds(const Bounds& bounds, const GroupAttribute& xform) {
    std::vector<Step> steps;
    if (!FindSteps(xform, steps)) return std::nullopt;
    if (!IsMoving(steps)) return MovedBySamples(bounds, xform);
    std::optional<Bounds> moved = bounds;
    for (auto step = steps.rbegin(); moved && step != steps.rend(); ++step)
        moved = step->isRotation && step->samples > 1 ? Turned(*moved)
                                                      : MovedBySamples(*moved, step->xform);
    return moved && moved->isFinite() ? moved : std::nullopt;
}

std::optional<std::array<double, 16>> RestingMatrix(const GroupAttribute& xform) {
    std::vector<Step> steps;
    if (!FindSteps(xform, steps) || IsMoving(steps)) return std::nullopt;
    std::array<double, 16> values = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const auto [matrix, isUsed] = CalcTransformMatrixAtTime(xform, 0);
    if (isUsed) matrix.fillInterpSample(values.data(), 16, 0);
    return values;
}

} // namespace OxXFormUtil
