#ifndef LANTERN_DRAWING_HITGEOMETRY_H
#define LANTERN_DRAWING_HITGEOMETRY_H

#include <string>

#include "SceneData.h"
#include "drawing/CameraRays.h"
#include "drawing/EmbreeScene.h"

namespace lantern {

/// The point where a ray meets a shape, in world space. Normals have length 1 and point outside.
struct HitGeometry {
    V3f position;
    V3f normal;        ///< the geometric normal
    V3f shadingNormal; ///< interpolated between the corners
    float offset = 0;  ///< distance that keeps a new ray from hitting the same surface

    /// The origin of a ray that leaves the surface in a direction.
    V3f rayOrigin(const V3f& direction) const {
        return position + normal * ((direction ^ normal) < 0 ? -offset : offset);
    }
};

HitGeometry GeometryAt(const SceneData& scene, const Ray& ray, const RayHit& hit);

/// Assigns the texture coordinates of the set of that name or else of the first set; for spheres,
/// longitude and latitude; for curves without a set, the places across and along the curve. Returns
/// false, and assigns nothing, if the mesh has no coordinates.
bool CoordinatesAt(const SceneData& scene, const RayHit& hit, const std::string& uvSet, V2f& st);

/// How far texture coordinates go in a unit of length in the world: the square root of the ratio of
/// areas. 0 if the shape has no coordinates or is a curve.
float CoordinateScaleAt(const SceneData& scene, const RayHit& hit, const std::string& uvSet);

/// The place of the hit in the space of its shape, at the opening of the shutter. On curves it is
/// the nearest point of their axis.
V3f ObjectPositionAt(const SceneData& scene, const RayHit& hit);

/// Assigns the color of the set of that name. Returns false, and assigns nothing, if the shape has
/// no such set.
bool ColorAt(const SceneData& scene, const RayHit& hit, const std::string& colorSet,
             Imath::C4f& color);

/// Assigns the directions in which the texture coordinates s and t grow, in world space and not
/// normalized. Returns false if there are none, as where the coordinates do not change.
bool TangentsAt(const SceneData& scene, const RayHit& hit, float time, const std::string& uvSet,
                const V3f& normal, V3f& alongS, V3f& alongT);

/// The instance's transform to the world.
M44f TransformAt(const SceneData& scene, const Instance& instance, float time);

/// A unit normal of a shape in world space, also for mirroring transforms.
V3f WorldNormal(const M44f& toWorld, const V3f& normal);

/// HitGeometry::offset for a point in the space of a shape: a multiple of the rounding errors when
/// the matrix transforms it to the world.
float OffsetAt(const V3f& point, const M44f& m);

/// The corners of a triangle in the space of its shape.
void CornersAt(const Mesh& mesh, Index triangle, float time, V3f corners[3]);

} // namespace lantern

#endif
