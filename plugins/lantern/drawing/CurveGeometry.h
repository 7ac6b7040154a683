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

/// The coordinates of the set of that name or else of the first set. Without any set, `t` is from 0
/// to 1 along the curve and `s` from 0 to 1 across a ribbon, and 0.5 on a tube.
V2f CurveCoordinatesAt(const Curves& curves, const RayHit& hit, const std::string& uvSet);

/// Assigns the color of the set of that name. Returns false, and assigns nothing, if there is none.
bool CurveColorAt(const Curves& curves, const RayHit& hit, const std::string& colorSet,
                  Imath::C4f& color);

/// The point of the curve that is nearest to the hit, in the space of the shape.
V3f CurvePointAt(const Curves& curves, const RayHit& hit, float time);

/// The derivative of the curve along its segment, in the space of the shape.
V3f CurveTangentAt(const Curves& curves, const RayHit& hit, float time);

} // namespace lantern

#endif
