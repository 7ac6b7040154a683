#ifndef LANTERN_DRAWING_MICROFACETS_H
#define LANTERN_DRAWING_MICROFACETS_H

#include "SceneData.h"

/// How surfaces of many small mirrors reflect: in local space, where +Z is the normal.
namespace lantern {

/// Narrower facets than that are taken for one mirror.
constexpr float kMirrorWidth = 1e-3f;

/// Trowbridge and Reitz's distribution (GGX) of facets.
class Facets {
public:
    /// From 0, a mirror, to 1.
    explicit Facets(float width) : width(width) {}

    bool isMirror() const { return width < kMirrorWidth; }

    /// One of the facets that are seen from `out`, which is above the surface. Heitz, "Sampling
    /// the GGX Distribution of Visible Normals", JCGT 2018.
    V3f sample(const V3f& out, const V2f& u) const;
    /// Of the same, per solid angle of facets' normals.
    float pdf(const V3f& out, const V3f& facet) const;

    float density(const V3f& facet) const;
    /// How much of the facets is seen from both directions.
    float seen(const V3f& out, const V3f& in) const;
    /// The same from one direction.
    float seen(const V3f& out) const;

private:
    float hidden(const V3f& direction) const; // Smith's lambda

    float width;
};

/// The share that the border of a dielectric reflects of what meets it at this cosine; `ior` is
/// that of the other side relative to this one.
float FresnelDielectric(float cosine, float ior);

/// Schlick's approximation.
Color FresnelMetal(float cosine, const Color& facing);

/// What facets of this width reflect altogether of what meets them at this cosine, if each one
/// reflected all, and if each one was a dielectric. Interpolated in tables.
float AlbedoOfMirrors(float cosine, float width);
float AlbedoOfDielectric(float cosine, float width, float ior);

} // namespace lantern

#endif
