#ifndef LANTERN_DRAWING_CURVEGEOMETRY_H
#define LANTERN_DRAWING_CURVEGEOMETRY_H

#include <string>

#include "SceneData.h"
#include "drawing/HitGeometry.h"

namespace lantern {

/// The point where a ray meets a curve. The normal of a ribbon is perpendicular to the curve and
/// faces the ray.
HitGeometry CurveGeometryAt(const Curves& curves, const M44f& toWorld, const Ray& ray,
                            const RayHit& hit);

/// The coordinates of the set of that name or else of the first set. Without a set, `t` is from 0
/// to 1 along the curve and `s` from 0 to 1 across a ribbon, and 0.5 on a tube.
V2f CurveCoordinatesAt(const Curves& curves, const RayHit& hit, const std::string& uvSet);

/// The derivative of the curve along its segment, in the space of the shape.
V3f CurveTangentAt(const Curves& curves, const RayHit& hit, float time);

} // namespace lantern

#endif
