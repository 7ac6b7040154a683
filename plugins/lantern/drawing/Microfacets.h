#ifndef LANTERN_DRAWING_MICROFACETS_H
#define LANTERN_DRAWING_MICROFACETS_H

#include <algorithm>
#include <cmath>

#include "SceneData.h"

/// Microfacet reflection in local space, where +Z is the normal.
namespace lantern {

/// A smaller GGX parameter is treated as a perfect mirror.
constexpr float kMinAlpha = 1e-3f;

/// The microfacet distribution of Trowbridge and Reitz (GGX) with Smith's masking.
class GgxFacets {
public:
    /// `alpha` is from 0, a mirror, to 1.
    explicit GgxFacets(float alpha) : GgxFacets(alpha, alpha) {}
    /// Facets whose slopes differ along X and Y.
    GgxFacets(float alphaX, float alphaY)
        : isMirror(alphaX < kMinAlpha && alphaY < kMinAlpha),
          alphaX(isMirror ? alphaX : std::max(alphaX, kMinAlpha)),
          alphaY(isMirror ? alphaY : std::max(alphaY, kMinAlpha)) {}

    bool isSpecular() const { return isMirror; }
    /// The alpha of facets with equal slopes that have about the same albedo.
    float meanAlpha() const { return std::sqrt(alphaX * alphaY); }

    /// Samples the normals of the facets that are visible from `wo`, which is above the surface.
    /// Heitz, "Sampling the GGX Distribution of Visible Normals", JCGT 2018.
    V3f sampleVisible(const V3f& wo, const V2f& u) const;
    /// The density of sampleVisible(), per solid angle of normals.
    float visiblePdf(const V3f& wo, const V3f& facet) const;

    /// The distribution of normals, D.
    float density(const V3f& facet) const;
    /// The fraction of facets that is visible from both directions: Smith's height-correlated G2.
    float maskingShadowing(const V3f& wo, const V3f& wi) const;
    /// The fraction of facets that is visible from one direction: Smith's G1.
    float masking(const V3f& wo) const;

private:
    float lambda(const V3f& direction) const; // Smith's auxiliary function

    bool isMirror;
    float alphaX, alphaY;
};

/// `direction` mirrored about the normal of a facet.
inline V3f Reflected(const V3f& direction, const V3f& facet) {
    return facet * (2 * (direction ^ facet)) - direction;
}

/// The refracted direction; the null vector for total internal reflection. `ior` is that of the
/// other side relative to this one.
V3f Refracted(const V3f& wo, const V3f& facet, float ior);

/// Unpolarized Fresnel reflectance of a dielectric; `ior` is that of the other side relative to
/// this one. Cook and Torrance, "A Reflectance Model for Computer Graphics", 1982.
float FresnelDielectric(float cosine, float ior);

/// Schlick, "An Inexpensive BRDF Model for Physically-based Rendering", 1994; `facing` is the
/// reflectance at normal incidence.
Color FresnelMetal(float cosine, const Color& facing);

} // namespace lantern

#endif
