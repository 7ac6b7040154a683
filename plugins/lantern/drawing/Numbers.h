#ifndef LANTERN_DRAWING_NUMBERS_H
#define LANTERN_DRAWING_NUMBERS_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "SceneData.h"

/// Arithmetic on numbers, colors and directions.
namespace lantern {

constexpr float kPi = 3.14159265358979f;

inline float Radians(float degrees) {
    return degrees * (kPi / 180);
}

/// NaN becomes 0.
inline float Clamp01(float value) {
    return value > 0 ? std::min(value, 1.0f) : 0;
}

inline float Mix(float a, float b, float share) {
    return a + (b - a) * share;
}

inline Color Mix(const Color& a, const Color& b, float share) {
    return a + (b - a) * share;
}

inline Color Clamp01(const Color& color) {
    return {Clamp01(color.x), Clamp01(color.y), Clamp01(color.z)};
}

inline float Largest(const Color& color) {
    return std::max({color.x, color.y, color.z});
}

/// For colors with the primaries of Rec. 709.
inline float Luminance(const Color& color) {
    return 0.2126f * color.x + 0.7152f * color.y + 0.0722f * color.z;
}

inline bool IsFinite(const V3f& value) {
    return std::isfinite(value.x) && std::isfinite(value.y) && std::isfinite(value.z);
}

inline bool IsBlack(const Color& color) {
    return !(Largest(color) > 0);
}

/// The vector with length 1, or `otherwise` if it has no direction.
inline V3f Normalized(const V3f& vector, const V3f& otherwise) {
    const float length = vector.length();
    return length > 0 && std::isfinite(length) ? vector / length : otherwise;
}

/// An orthonormal basis.
struct Frame {
    V3f x, y, z;

    V3f toLocal(const V3f& world) const { return {world ^ x, world ^ y, world ^ z}; }
    V3f toWorld(const V3f& local) const { return x * local.x + y * local.y + z * local.z; }
};

/// A basis around a unit vector. Duff et al., "Building an Orthonormal Basis, Revisited", JCGT
/// 2017.
inline Frame FrameAround(const V3f& z) {
    const float sign = std::copysign(1.0f, z.z);
    const float a = -1 / (sign + z.z);
    const float b = z.x * z.y * a;
    return {{1 + sign * z.x * z.x * a, sign * b, -sign * z.x}, {b, sign + z.y * z.y * a, -z.y}, z};
}

/// Linear interpolation between two motion steps: `share` is the weight of the second one.
struct StepPosition {
    std::size_t first = 0;
    std::size_t second = 0;
    float share = 0;
};

/// The steps around a time from 0 to 1, of `count` evenly spaced ones.
inline StepPosition PositionAmongSteps(std::size_t count, float time) {
    if (count < 2) return {};
    const float place = Clamp01(time) * static_cast<float>(count - 1);
    const std::size_t first = std::min(static_cast<std::size_t>(place), count - 2);
    return {first, first + 1, place - static_cast<float>(first)};
}

/// The power heuristic of multiple importance sampling: the weight of a sample that was drawn with
/// density `pdf`, where another technique would have drawn it with `otherPdf`. Veach and Guibas,
/// "Optimally Combining Sampling Techniques for Monte Carlo Rendering", SIGGRAPH 1995.
inline float PowerHeuristic(float pdf, float otherPdf) {
    if (!(otherPdf > 0)) return 1;
    const float ratio = otherPdf / pdf; // divided before squaring: squared densities may overflow
    return 1 / (1 + ratio * ratio);
}

} // namespace lantern

#endif
