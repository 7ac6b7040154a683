#ifndef LANTERN_DRAWING_EMISSIVESPHERES_H
#define LANTERN_DRAWING_EMISSIVESPHERES_H

#include <vector>

#include "SceneData.h"
#include "drawing/CameraRays.h"
#include "drawing/EmissivePrimitives.h"
#include "drawing/LightSampling.h"
#include "drawing/Materials.h"

namespace lantern {

/// The spheres of the scene whose materials emit light, as lights to sample. Instances beyond a
/// total of 2^20 spheres are left out: paths find their light only when they hit them. Safe from
/// several threads at once.
class EmissiveSpheres {
public:
    /// Refers to both.
    EmissiveSpheres(const SceneData& scene, const Materials& materials);

    /// About the power that each sphere emits.
    const std::vector<float>& powers() const { return primitives.powers(); }
    /// The index of the sphere that was hit; kNone if it is not among them.
    Index indexOf(const RayHit& hit) const { return primitives.indexOf(hit); }

    /// Chooses a direction to the sphere: uniform in the cone that it subtends in the space of its
    /// instance, where it is round. There is no sample for a point inside.
    LightSample sample(Index sphere, const V3f& from, float time, const V2f& u) const;
    /// The density with which sample() chooses the direction of a ray that hit the sphere.
    float pdf(const Ray& ray, const RayHit& hit) const;

private:
    /// A sphere as seen from a point, in the space of its instance.
    struct View {
        M44f toWorld;
        V3f toCenter;
        float radius = 0;
        float oneMinusCos = 0; // for the half angle of the cone; 0 from inside
    };

    View viewOf(const RayHit& hit, const V3f& from, float time) const;
    float powerOf(RayHit hit) const;

    const SceneData& scene;
    const Materials& materials;
    EmissivePrimitives primitives;
};

} // namespace lantern

#endif
