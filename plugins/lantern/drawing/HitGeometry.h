#ifndef LANTERN_DRAWING_HITGEOMETRY_H
#define LANTERN_DRAWING_HITGEOMETRY_H

#include <string>

#include "SceneData.h"
#include "drawing/CameraRays.h"
#include "drawing/EmbreeScene.h"

namespace lantern {

/// The place in the world where a ray meets a shape. Both normals have length 1 and point outside.
struct HitGeometry {
    V3f position;
    V3f normal;       ///< of the shape itself
    V3f smoothNormal; ///< that it is meant to have
    float offset = 0; ///< so far from it rays begin that must not meet it again

    /// Where such a ray begins.
    V3f leaving(const V3f& direction) const {
        return position + normal * ((direction ^ normal) < 0 ? -offset : offset);
    }
};

HitGeometry GeometryAt(const SceneData& scene, const Ray& ray, const RayHit& hit);

/// Assigns texture coordinates of the set of that name, or of the first one when there is none of
/// that name; spheres have longitude and latitude under every name. False when there are none.
bool CoordinatesAt(const SceneData& scene, const RayHit& hit, const std::string& uvSet, V2f& st);

/// Assigns in which direction of the world the two texture coordinates grow; false when that is
/// nowhere.
bool TangentsAt(const SceneData& scene, const RayHit& hit, float time, const std::string& uvSet,
                const V3f& normal, V3f& alongS, V3f& alongT);

/// An instance's shape to the world.
M44f TransformAt(const SceneData& scene, const Instance& instance, float time);

/// The three corners in the space of their shape.
void CornersAt(const Mesh& mesh, Index triangle, float time, V3f corners[3]);

} // namespace lantern

#endif
