#ifndef LANTERN_TESSELLATION_PIXELMEASURE_H
#define LANTERN_TESSELLATION_PIXELMEASURE_H

#include "SceneData.h"

namespace lantern {

/// How large things are in the picture, at the opening of the shutter.
class PixelMeasure {
public:
    PixelMeasure(const Camera& camera, const Framing& framing);

    /// From world to camera space.
    const M44f& toCamera() const { return worldToCamera; }
    /// Pixels per unit of length at a distance from the camera, in camera space.
    float pixelsPerUnit(float distance) const;
    /// The length in pixels of a line between two points in camera space where it is nearest to
    /// the camera, as if it were seen from its side. Shorter for lines outside of the picture.
    float length(const V3f& from, const V3f& to) const;

private:
    bool isInPicture(const V3f& center, float radius) const;

    M44f worldToCamera;
    bool isOrthographic;
    float pixelWidth; // width of a pixel in camera space, at depth 1
    float near;
    V2f least, most; // the picture in camera space, at depth 1
};

} // namespace lantern

#endif
