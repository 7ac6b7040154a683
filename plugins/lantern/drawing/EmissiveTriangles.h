#ifndef LANTERN_DRAWING_EMISSIVETRIANGLES_H
#define LANTERN_DRAWING_EMISSIVETRIANGLES_H

#include <vector>

#include "SceneData.h"
#include "drawing/EmissivePrimitives.h"
#include "drawing/Materials.h"

namespace lantern {

/// The triangles of the scene's meshes whose materials emit light, as lights to sample. Meshes
/// beyond a total of 2^22 triangles are left out: paths find their light only when they hit them.
/// Safe from several threads at once.
class EmissiveTriangles {
public:
    /// Refers to both.
    EmissiveTriangles(const SceneData& scene, const Materials& materials);

    /// About the power that each triangle emits.
    const std::vector<float>& powers() const { return primitives.powers(); }
    /// The index of the triangle that was hit; kNone if it is not among them.
    Index indexOf(const RayHit& hit) const { return primitives.indexOf(hit); }

    struct Point {
        V3f position;
        V3f normal;
        float area = 0; ///< area of the triangle
        Color radiance; ///< radiance towards `towards`
    };
    /// A point that is uniform on the area of the triangle, as seen from `towards`.
    Point sample(Index triangle, float time, const V2f& u, const V3f& towards) const;
    float area(const RayHit& hit, float time) const;

private:
    void corners(const RayHit& hit, float time, V3f corners[3]) const;
    float powerOf(RayHit hit) const;

    const SceneData& scene;
    const Materials& materials;
    EmissivePrimitives primitives;
};

} // namespace lantern

#endif
