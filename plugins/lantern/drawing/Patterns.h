#ifndef LANTERN_DRAWING_PATTERNS_H
#define LANTERN_DRAWING_PATTERNS_H

#include "SceneTypes.h"

/// The patterns of shading networks. A plane of texture coordinates has a z of 0.
namespace lantern {

/// Gradient noise from 0 to 1. Perlin, "Improving Noise", SIGGRAPH 2002.
float Noise(const V3f& at, int octaves);

/// Whether the place is in an odd unit cube: one whose coordinates have an odd sum.
bool IsOddCell(const V3f& at);

} // namespace lantern

#endif
