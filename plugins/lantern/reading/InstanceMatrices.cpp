#include "reading/InstanceMatrices.h"

#include <algorithm>
#include <cmath>

#include <Imath/ImathMatrixAlgo.h>

namespace lantern {

namespace {

using Imath::M33d;
using Imath::V3d;

// The inverse of a matrix whose determinant is smaller, relative to the lengths of its rows, has
// no correct digits in single precision.
constexpr float kLeastVolume = 1e-5f;
constexpr double kThickness = 1e-4; // relative to the largest scale

V3f Row(const M44f& matrix, int row) {
    return {matrix[row][0], matrix[row][1], matrix[row][2]};
}

bool IsFinite(const M44f& matrix) {
    const float* const values = matrix.getValue();
    return std::all_of(values, values + 16, [](float value) { return std::isfinite(value); });
}

float DeterminantOf(const M44f& matrix) {
    return Row(matrix, 0) ^ (Row(matrix, 1) % Row(matrix, 2));
}

bool CanBeInverted(const M44f& matrix) {
    const float determinant = DeterminantOf(matrix);
    const float volume =
        Row(matrix, 0).length() * Row(matrix, 1).length() * Row(matrix, 2).length();
    return std::isnormal(determinant) && std::isnormal(1 / determinant) &&
           std::abs(determinant) > kLeastVolume * volume;
}

/// Raises scales that are smaller than kThickness times `largest` to that size.
void Thicken(M44f& matrix, double largest) {
    M33d linear;
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k)
            linear[i][k] = double(matrix[i][k]);
    M33d left, right;
    V3d scales;
    Imath::jacobiSVD(linear, left, scales, right);
    M33d diagonal;
    for (int i = 0; i < 3; ++i)
        diagonal[i][i] = std::max(scales[i], largest * kThickness);
    linear = left * diagonal * right.transposed();
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k)
            matrix[i][k] = static_cast<float>(linear[i][k]);
}

double LargestRow(const std::array<M44f, kFinestSteps>& steps, int count) {
    double largest = 0;
    for (int step = 0; step < count; ++step)
        for (int row = 0; row < 3; ++row)
            largest =
                std::max(largest, double(Row(steps[static_cast<std::size_t>(step)], row).length()));
    return largest;
}

/// Returns false if a matrix cannot be inverted even when it is thickened.
bool MakeInvertible(M44f* steps, int count, double largest) {
    return std::all_of(steps, steps + count, [&](M44f& matrix) {
        if (!CanBeInverted(matrix)) Thicken(matrix, largest);
        return CanBeInverted(matrix);
    });
}

/// Whether steps mirror each other: between such steps a matrix cannot be inverted.
bool IsMirroredInBetween(const M44f* steps, int count) {
    return std::any_of(steps + 1, steps + count, [&](const M44f& matrix) {
        return (DeterminantOf(matrix) < 0) != (DeterminantOf(steps[0]) < 0);
    });
}

} // namespace

InstanceMatrices::InstanceMatrices(const Transform& transform) {
    for (int i = 0; i < transform.steps; ++i)
        steps[static_cast<std::size_t>(i)] = M44f(transform.at(i));
    M44f* const first = steps.data();
    M44f* const end = first + transform.steps;
    if (!std::all_of(first, end, IsFinite)) {
        warning = "its transform is not finite";
        return;
    }
    if (!std::all_of(first, end, CanBeInverted)) {
        const double largest = LargestRow(steps, transform.steps);
        if (largest == 0) return;
        if (!MakeInvertible(first, transform.steps, largest)) {
            warning = "its transform is too large or too small to be drawn";
            return;
        }
    }
    count = transform.steps;
    if (!IsMirroredInBetween(first, count)) return;
    warning = "its transform turns it inside out while the shutter is open; it does not move";
    count = 1;
}

} // namespace lantern
