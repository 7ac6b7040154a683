#ifndef LANTERN_DRAWING_EMBREESCENE_H
#define LANTERN_DRAWING_EMBREESCENE_H

#include <cstdint>
#include <memory>
#include <vector>

#include "Report.h"
#include "SceneData.h"
#include "drawing/CameraRays.h"

namespace lantern {

/// The intersection of a ray with a shape.
struct RayHit {
    Index instance = kNone; ///< kNone: the ray hits nothing
    Index primitive = 0;    ///< index of the triangle, sphere or curve segment
    /// Barycentric coordinates of the triangle's second and third point. In a curve segment, `u` is
    /// from 0 to 1 along it and `v` from -1 to 1 across a ribbon.
    float u = 0, v = 0;
    V3f outward{0, 0, 0}; ///< normal in the shape's space, of any length
    float distance = 0;
    float footprint = 0; ///< width of the part of the surface that the path sees, in world space

    explicit operator bool() const { return instance != kNone; }
};

/// The opacity of surfaces. Safe from several threads at once.
class OpacitySource {
public:
    virtual ~OpacitySource() = default;
    /// Whether the whole instance is opaque from both sides.
    virtual bool isOpaque(const Instance& instance) const = 0;
    /// The opacity for a ray that comes from inside or from outside, from 0 to 1.
    virtual float opacity(const RayHit& hit, bool isFromInside) const = 0;
    /// The part of the light that passes straight through an opaque surface: black except for thin
    /// sheets of smooth glass. `cosine` is the cosine of the angle between ray and normal.
    virtual Color straightThrough(const RayHit& hit, float cosine) const = 0;
};

class EmbreeScene;

/// The geometry of a scene that was drawn before.
struct EarlierGeometry {
    const EmbreeScene& geometry;
    /// For each shape of the new scene, its index in the earlier one, or kNone.
    const std::vector<Index>& shapes;
};

/// Intersects rays with the scene. Safe from several threads at once.
class EmbreeScene {
public:
    /// Refers to the scene and the opacity. Throws RenderError and Cancelled.
    ///
    /// `earlier` is null or the geometry of a scene from which shapes were moved to this one. Their
    /// trees are shared.
    EmbreeScene(const SceneData& scene, const OpacitySource& opacity, int threads,
                const Report& report, const EarlierGeometry* earlier = nullptr);
    ~EmbreeScene();
    EmbreeScene(const EmbreeScene&) = delete;
    EmbreeScene& operator=(const EmbreeScene&) = delete;

    /// Whether the whole scene is opaque, so that intersect() needs no seed.
    bool isOpaque() const { return isAllOpaque; }
    /// The nearest hit. A partly transparent surface is hit with the probability of its opacity;
    /// `seed` decides.
    RayHit intersect(const Ray& ray, std::uint32_t seed) const;
    /// The fraction of light that passes along the whole ray. Light from delta lights also passes
    /// straight through thin sheets of glass; bounces of paths find other lights behind such
    /// sheets.
    Color transmittance(const Ray& ray, bool isFromDeltaLight) const;

private:
    struct Trees;
    std::unique_ptr<Trees> trees;
    bool isAllOpaque = true;
};

} // namespace lantern

#endif
