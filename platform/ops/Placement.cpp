#include "Placement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace TellarOps {
namespace {

constexpr std::uint64_t kMaxInstances = std::uint64_t{1} << 40;

// So many instances are enclosed one by one; the box around more of them follows from the extent.
constexpr std::uint64_t kMostMoved = 1000;
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;

using OxXFormUtil::Bounds;
using Children = std::vector<GroupAttribute::Child>;
using Axes = std::array<double, 3>;

Attribute Translation(const Axes& offset) {
    return DoubleAttribute(offset.data(), 3, 3);
}

Matrix TranslationMatrix(const Axes& offset) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, offset[0], offset[1], offset[2], 1};
}

Bounds Shifted(const Bounds& box, const Axes& offset) {
    return box.transformed(TranslationMatrix(offset).data());
}

/// Encloses the box under any rotation about the y axis.
Bounds TurnedAboutY(const Bounds& box) {
    if (box.isEmpty()) return box;
    const auto& v = box.values;
    const double radius = std::hypot(std::max(std::abs(v[0]), std::abs(v[1])),
                                     std::max(std::abs(v[4]), std::abs(v[5])));
    Bounds turned;
    turned.values = {-radius, radius, v[2], v[3], -radius, radius};
    return turned;
}

/// Throws when the product exceeds the limit for an array.
std::uint64_t NumberOfCells(const std::vector<std::int32_t>& counts) {
    std::uint64_t total = 1;
    for (const std::int32_t count : counts) {
        const auto factor = static_cast<std::uint64_t>(count);
        if (factor != 0 && total > kMaxInstances / factor)
            ThrowArgumentError("counts", "asks for more than " + std::to_string(kMaxInstances) +
                                             " instances");
        total *= factor;
    }
    return total;
}

class Grid final : public Placement {
public:
    Grid(const std::vector<std::int32_t>& counts, const std::vector<double>& spacing)
        : total(NumberOfCells(counts)), columns(static_cast<std::uint64_t>(counts[0])),
          rows(static_cast<std::uint64_t>(counts[1])), spacing{spacing[0], spacing[1], spacing[2]} {
    }

    std::uint64_t count() const override { return total; }

    GroupAttribute transform(std::uint64_t index) const override {
        return GroupAttribute(Children{{"translate", Translation(offsetOf(index))}}, false);
    }

    Matrix matrix(std::uint64_t index) const override { return TranslationMatrix(offsetOf(index)); }

    Bounds move(const Bounds& box, std::uint64_t begin, std::uint64_t end) const override {
        if (begin == end) return {};
        // Rows and layers that are begun count as full, unless there is only one.
        Axes first = offsetOf(begin);
        Axes last = offsetOf(end - 1);
        const bool isOneLayer = first[2] == last[2];
        const bool isOneRow = isOneLayer && first[1] == last[1];
        if (!isOneLayer) first[1] = 0;
        if (!isOneLayer) last[1] = static_cast<double>(rows - 1) * spacing[1];
        if (!isOneRow) first[0] = 0;
        if (!isOneRow) last[0] = static_cast<double>(columns - 1) * spacing[0];
        Bounds moved = Shifted(box, first);
        moved.add(Shifted(box, last));
        return moved;
    }

private:
    Axes offsetOf(std::uint64_t index) const {
        const std::array<std::uint64_t, 3> cell = {index % columns, index / columns % rows,
                                                   index / columns / rows};
        Axes offset;
        for (std::size_t axis = 0; axis < 3; ++axis)
            offset[axis] = static_cast<double>(cell[axis]) * spacing[axis];
        return offset;
    }

    std::uint64_t total;
    std::uint64_t columns;
    std::uint64_t rows;
    Axes spacing;
};

/// Spreads every bit of `value` over all bits: the output step of the SplitMix64 generator.
std::uint64_t Mix(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15u;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9u;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBu;
    return value ^ (value >> 31);
}

/// Uniform in [0, 1), in multiples of 2^-53.
double Uniform(std::uint64_t seed, std::uint64_t index, std::uint64_t stream) {
    const std::uint64_t bits = Mix(Mix(Mix(seed) ^ index) ^ stream);
    return static_cast<double>(bits >> 11) * (1.0 / 9007199254740992.0);
}

class Scatter final : public Placement {
public:
    Scatter(std::int32_t count, std::int32_t seed, const std::vector<double>& extent, bool spin)
        : total(static_cast<std::uint64_t>(count)), seed(static_cast<std::uint64_t>(seed)),
          spin(spin) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            least[axis] = extent[2 * axis];
            size[axis] = extent[2 * axis + 1] - extent[2 * axis];
            if (!(size[axis] >= 0))
                ThrowArgumentError("extent", "must not end before it begins on any axis");
        }
    }

    std::uint64_t count() const override { return total; }

    GroupAttribute transform(std::uint64_t index) const override {
        Attribute rotation;
        // In degrees instead of a matrix, because the last bits of sine and cosine differ between
        // machines.
        if (spin) rotation = DoubleAttribute({degreesOf(index), 0.0, 1.0, 0.0}, 4);
        return GroupAttribute(
            Children{{"translate", Translation(offsetOf(index))}, {"rotate", rotation}}, false);
    }

    Matrix matrix(std::uint64_t index) const override {
        Matrix matrix = TranslationMatrix(offsetOf(index));
        if (!spin) return matrix;
        const double angle = degreesOf(index) * kRadiansPerDegree;
        matrix[0] = matrix[10] = std::cos(angle);
        matrix[8] = std::sin(angle);
        matrix[2] = -matrix[8];
        return matrix;
    }

    Bounds move(const Bounds& box, std::uint64_t begin, std::uint64_t end) const override {
        if (begin == end) return {};
        Bounds moved;
        if (end - begin <= kMostMoved) {
            for (std::uint64_t index = begin; index < end; ++index)
                moved.add(box.transformed(matrix(index).data()));
            return moved;
        }
        const Bounds turned = spin ? TurnedAboutY(box) : box;
        moved = Shifted(turned, least);
        moved.add(Shifted(turned, {least[0] + size[0], least[1] + size[1], least[2] + size[2]}));
        return moved;
    }

private:
    Axes offsetOf(std::uint64_t index) const {
        Axes offset;
        for (std::size_t axis = 0; axis < 3; ++axis)
            offset[axis] = least[axis] + Uniform(seed, index, axis) * size[axis];
        return offset;
    }

    double degreesOf(std::uint64_t index) const { return 360.0 * Uniform(seed, index, 3); }

    std::uint64_t total;
    std::uint64_t seed;
    bool spin;
    Axes least;
    Axes size;
};

} // namespace

std::unique_ptr<const Placement> ReadGrid(const ArgReader& args) {
    return std::make_unique<Grid>(args.requiredIntegers("counts", 3, 0),
                                  args.doubles("spacing", 3, {1, 1, 1}));
}

std::unique_ptr<const Placement> ReadScatter(const ArgReader& args) {
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    return std::make_unique<Scatter>(args.requiredIntegers("count", 1, 0).front(),
                                     args.integer("seed", 0, least, most),
                                     args.doubles("extent", 6, {}), args.flag("spin", false));
}

} // namespace TellarOps
