#ifndef LANTERN_DRAWING_CAMERARAYS_H
#define LANTERN_DRAWING_CAMERARAYS_H

#include "SceneData.h"

namespace lantern {

/// A ray in world space.
struct Ray {
    V3f origin;
    V3f direction; ///< unit length
    float farthest = 0;
    float time = 0; ///< 0 at the opening of the shutter, 1 at its closing
};

/// A cone around a ray: what a path sees of surfaces. Akenine-Moeller et al., "Texture Level of
/// Detail Strategies for Real-Time Ray Tracing", Ray Tracing Gems, 2019.
struct RayCone {
    float width = 0;  ///< width at the origin of the ray
    float spread = 0; ///< growth of the width per distance

    float widthAt(float distance) const { return width + spread * distance; }
};

/// Camera space to clip space, -1 to 1 across the whole picture; docs/cameras.md has the formulas.
M44d ProjectionOf(const Camera& camera, int width, int height);

/// World to camera at the opening of the shutter; the identity if the camera's transform is
/// singular.
M44d WorldToCamera(const Camera& camera);

/// A point of the unit disk, evenly distributed if the two numbers in [0, 1) are.
V2f InUnitDisk(const V2f& numbers);

/// Generates camera rays.
class CameraRays {
public:
    CameraRays(const Camera& camera, int width, int height);

    /// The ray through a point of the picture, in pixels from its left and top. It begins at the
    /// near and ends at the far clipping plane. `onLens` is the point at which the ray crosses the
    /// lens, in the unit disk.
    Ray at(double x, double y, float time, const V2f& onLens = V2f(0)) const;
    /// The cone of a pixel.
    RayCone pixelCone() const;

    /// The distance of a point in the world from the camera, along the camera's axis.
    double depthOf(const V3f& point, float time) const;
    /// The inverse of at(): the place of a point in the picture. Not finite for points beside a
    /// perspective camera.
    Imath::V2d pixelOf(const V3f& point, float time) const;

private:
    /// Precomputes the members below for a pinhole that does not move, which makes rays cheap.
    void preparePinhole();
    /// Assigns the origin of a ray, and its displacement per unit of depth, in world space.
    void place(double x, double y, float time, const V2f& onLens, Imath::V3d& origin,
               Imath::V3d& perDepth) const;
    M44d toWorldAt(float time) const;
    Imath::V3d inCamera(const V3f& point, float time) const;

    Camera camera;
    // Both matrices are used only when the camera does not move.
    M44d still;     // camera to world
    M44d fromWorld; // world to camera
    // The upper left corner of the picture and the size of a pixel, in camera space at depth 1.
    double left, top, pixelWidth, pixelHeight;
    // Only for a still perspective pinhole camera with an affine transform, in world space: its
    // position, the displacement per unit of depth of the ray through the upper left corner, and
    // the change of that displacement per column and per row.
    bool isStillPinhole = false;
    Imath::V3d eye, corner, perColumn, perRow;
};

} // namespace lantern

#endif
