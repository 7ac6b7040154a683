#ifndef LANTERN_DRAWING_TONECURVE_H
#define LANTERN_DRAWING_TONECURVE_H

#include <cmath>
#include <cstdint>

#include "drawing/Numbers.h"

/// From scene-linear light to what screens show.
namespace lantern {

/// Up to 0.8 it is what it is; from there on
///
///     0.8 + 0.2 (1 - exp(-(value - 0.8) / 0.2))
///
/// goes on in the same direction and bends towards 1, which nothing exceeds.
inline float RolledOff(float value) {
    constexpr float kFrom = 0.8f;
    constexpr float kRest = 1 - kFrom;
    if (!(value > 0)) return 0;
    return value <= kFrom ? value : kFrom + kRest * (1 - std::exp((kFrom - value) / kRest));
}

/// IEC 61966-2-1.
inline float SrgbFromLinear(float value) {
    if (value <= 0.0031308f) return value * 12.92f;
    return 1.055f * std::pow(value, 1 / 2.4f) - 0.055f;
}

inline std::uint8_t ToByte(float value) {
    return static_cast<std::uint8_t>(Clamp01(value) * 255 + 0.5f);
}

} // namespace lantern

#endif
