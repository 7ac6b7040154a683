#ifndef SCENEIMPORT_COLORSPACE_H
#define SCENEIMPORT_COLORSPACE_H

#include <cmath>

namespace TellarSceneImport {

/// A colour component of an sRGB picture, from 0 to 1, as a linear one.
inline float LinearFromSrgb(float value) {
    return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
}

} // namespace TellarSceneImport

#endif
