#ifndef LANTERN_DRAWING_CAMERARAYS_H
#define LANTERN_DRAWING_CAMERARAYS_H

#include "SceneData.h"

namespace lantern {

/// Part of a line in the world, from its origin on.
struct Ray {
    V3f origin;
    V3f direction; ///< of length 1
    float farthest = 0;
    float time = 0; ///< of the shutter: 0 as it opens, 1 as it closes
};

/// Camera space to clip space, as docs/cameras.md has it: -1 to 1 across the whole picture.
M44d ProjectionOf(const Camera& camera, int width, int height);

/// World to camera as the shutter opens. The inverse of a camera's transform that has none is
/// taken to be the identity.
M44d WorldToCamera(const Camera& camera);

/// Gives the rays on which the points lie that are seen at a place of the picture.
class CameraRays {
public:
    CameraRays(const Camera& camera, int width, int height);

    /// `x` from the left, `y` from the top, in pixels; between the clipping planes.
    Ray at(double x, double y, float time) const;

private:
    M44d toWorldAt(float time) const;

    Camera camera;
    // In camera space, at depth 1: the upper left corner of the picture and one pixel's size.
    double left, top, perX, perY;
};

} // namespace lantern

#endif
