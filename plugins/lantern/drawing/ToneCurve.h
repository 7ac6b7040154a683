#ifndef LANTERN_DRAWING_TONECURVE_H
#define LANTERN_DRAWING_TONECURVE_H

#include <cmath>
#include <cstdint>

#include "drawing/Numbers.h"

/// Conversions between scene-linear light and sRGB.
namespace lantern {

/// The identity up to 0.8. Above it the highlights are compressed below 1, with a continuous slope:
///
///     0.8 + 0.2 (1 - exp(-(value - 0.8) / 0.2))
inline float RolledOff(float value) {
    constexpr float kFrom = 0.8f;
    constexpr float kRest = 1 - kFrom;
    if (!(value > 0)) return 0;
    return value <= kFrom ? value : kFrom + kRest * (1 - std::exp((kFrom - value) / kRest));
}

/// The sRGB transfer function, IEC 61966-2-1.
inline float SrgbFromLinear(float value) {
    if (value <= 0.0031308f) return value * 12.92f;
    return 1.055f * std::pow(value, 1 / 2.4f) - 0.055f;
}

/// The inverse of SrgbFromLinear.
inline float LinearFromSrgb(float value) {
    if (value <= 0.04045f) return value / 12.92f;
    return std::pow((value + 0.055f) / 1.055f, 2.4f);
}

inline std::uint8_t ToByte(float value) {
    const float nextHalf = Clamp01(value) * 255 + 0.5f;
    return static_cast<std::uint8_t>(nextHalf);
}

} // namespace lantern

#endif
