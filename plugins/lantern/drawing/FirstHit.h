#ifndef LANTERN_DRAWING_FIRSTHIT_H
#define LANTERN_DRAWING_FIRSTHIT_H

#include "SceneData.h"

namespace lantern {

/// The place where a path leaves the camera and meets its first surface, for the layers of a
/// picture.
struct FirstHit {
    V2f inPixel{0, 0};  ///< place of the camera ray within its pixel, each from 0 to 1
    bool isHit = false; ///< false: the members below are unset
    Index instance = kNone;
    Index material = kNone;
    float depth = 0;       ///< along the camera's axis
    V3f position{0, 0, 0}; ///< world space
    V3f normal{0, 0, 0};   ///< shading normal in the world, of length 1
    Color albedo{0, 0, 0}; ///< only for a picture with that layer
    V2f motion{0, 0};      ///< pixels while the shutter is open; only with that layer
};

} // namespace lantern

#endif
