#include "Placement.h"

#include <array>
#include <limits>
#include <string>
#include <vector>

namespace TellarOps {
namespace {

constexpr std::uint64_t kMaxInstances = std::uint64_t{1} << 40;

using Children = std::vector<GroupAttribute::Child>;
using Axes = std::array<double, 3>;

Attribute Translation(const Axes& offset) {
    return DoubleAttribute(offset.data(), 3, 3);
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
        const std::array<std::uint64_t, 3> cell = {index % columns, index / columns % rows,
                                                   index / columns / rows};
        Axes offset;
        for (std::size_t axis = 0; axis < 3; ++axis)
            offset[axis] = static_cast<double>(cell[axis]) * spacing[axis];
        return GroupAttribute(Children{{"translate", Translation(offset)}}, false);
    }

private:
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
        Axes offset;
        for (std::size_t axis = 0; axis < 3; ++axis)
            offset[axis] = least[axis] + Uniform(seed, index, axis) * size[axis];
        Attribute rotation;
        // In degrees instead of a matrix, because the last bits of sine and cosine differ between
        // machines.
        if (spin) rotation = DoubleAttribute({360.0 * Uniform(seed, index, 3), 0.0, 1.0, 0.0}, 4);
        return GroupAttribute(Children{{"translate", Translation(offset)}, {"rotate", rotation}},
                              false);
    }

private:
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
