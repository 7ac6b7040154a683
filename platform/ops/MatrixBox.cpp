#include "MatrixBox.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace TellarOps {

using OxXFormUtil::Bounds;

void MatrixBox::Range::add(double otherLow, double otherHigh) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (!std::isfinite(otherLow) || !std::isfinite(otherHigh)) { // minima would lose a NaN
        low = -kInfinity;
        high = kInfinity;
        return;
    }
    const bool isEmpty = low > high;
    low = isEmpty ? otherLow : std::min(low, otherLow);
    high = isEmpty ? otherHigh : std::max(high, otherHigh);
}

void MatrixBox::add(std::size_t row, std::size_t column, double low, double high) {
    ranges[kColumns * row + column].add(low, high);
}

void MatrixBox::add(const MatrixBox& other) {
    for (std::size_t entry = 0; entry < ranges.size(); ++entry) {
        const Range& range = other.ranges[entry];
        if (!(range.low > range.high)) ranges[entry].add(range.low, range.high);
    }
}

Bounds MatrixBox::move(const Bounds& box) const {
    Bounds moved;
    if (box.isEmpty()) return moved;
    for (std::size_t axis = 0; axis < kColumns; ++axis) {
        const Range& offset = ranges[3 * kColumns + axis];
        double low = offset.low;
        double high = offset.high;
        for (std::size_t row = 0; row < 3; ++row) {
            const Range& entry = ranges[kColumns * row + axis];
            const auto [least, most] = std::minmax(
                {box.values[2 * row] * entry.low, box.values[2 * row] * entry.high,
                 box.values[2 * row + 1] * entry.low, box.values[2 * row + 1] * entry.high});
            low += least;
            high += most;
        }
        moved.values[2 * axis] = low;
        moved.values[2 * axis + 1] = high;
    }
    return moved;
}

} // namespace TellarOps
