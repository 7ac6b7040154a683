#ifndef LANTERN_DRAWING_PATTERNS_H
#define LANTERN_DRAWING_PATTERNS_H

#include "SceneTypes.h"

/// The patterns of shading networks. A plane of texture coordinates has a z of 0.
namespace lantern {

/// Gradient noise with that many octaves, from 0 to 1. Perlin, "Improving Noise", SIGGRAPH 2002.
float Noise(const V3f& at, int octaves);

/// Whether the sum of the coordinates of the unit cube around a place is odd.
bool IsOddCell(const V3f& at);

} // namespace lantern

#endif
