#include "drawing/Patterns.h"

#include <cmath>
#include <cstdint>

#include "drawing/Numbers.h"
#include "drawing/Sampler.h"

namespace lantern {
namespace {

/// Coordinates beyond this have no useful fraction, and their integers would overflow.
constexpr float kMostCoordinate = 1e6f;

bool IsInRange(const V3f& at) {
    return std::abs(at.x) < kMostCoordinate && std::abs(at.y) < kMostCoordinate &&
           std::abs(at.z) < kMostCoordinate;
}

float Fade(float t) {
    return t * t * t * (t * (t * 6 - 15) + 10);
}

/// A point of the integer lattice.
struct LatticePoint {
    int x, y, z;
};

/// The product of a lattice point's gradient with an offset from it. The gradients are the twelve
/// directions to the edges of a cube, four of them twice.
float GradientAt(const LatticePoint& point, const V3f& offset) {
    const std::uint32_t hash = HashBits(HashBits(HashBits(static_cast<std::uint32_t>(point.x)),
                                                 static_cast<std::uint32_t>(point.y)),
                                        static_cast<std::uint32_t>(point.z)) &
                               15;
    const float first = hash < 8 ? offset.x : offset.y;
    const float last = hash == 12 || hash == 14 ? offset.x : offset.z;
    const float second = hash < 4 ? offset.y : last;
    return ((hash & 1) ? -first : first) + ((hash & 2) ? -second : second);
}

/// Gradient noise, from about -1 to 1.
float OneOctave(const V3f& at) {
    const V3f cell(std::floor(at.x), std::floor(at.y), std::floor(at.z));
    const V3f in = at - cell;
    const LatticePoint origin{static_cast<int>(cell.x), static_cast<int>(cell.y),
                              static_cast<int>(cell.z)};
    const auto corner = [&](int x, int y, int z) {
        return GradientAt({origin.x + x, origin.y + y, origin.z + z},
                          in - V3f(float(x), float(y), float(z)));
    };
    const auto alongX = [&](int y, int z) {
        return Mix(corner(0, y, z), corner(1, y, z), Fade(in.x));
    };
    const auto alongY = [&](int z) { return Mix(alongX(0, z), alongX(1, z), Fade(in.y)); };
    return in.z == 0 ? alongY(0) : Mix(alongY(0), alongY(1), Fade(in.z));
}

} // namespace

float Noise(const V3f& at, int octaves) {
    float sum = 0;
    float scale = 1;
    for (int octave = 0; octave < octaves; ++octave, scale *= 2) {
        if (!IsInRange(at * scale)) break;
        sum += OneOctave(at * scale) / scale;
    }
    return Clamp01(0.5f + 0.5f * sum);
}

bool IsOddCell(const V3f& at) {
    if (!IsInRange(at)) return false;
    const int sum = static_cast<int>(std::floor(at.x)) + static_cast<int>(std::floor(at.y)) +
                    static_cast<int>(std::floor(at.z));
    return sum % 2 != 0;
}

} // namespace lantern
