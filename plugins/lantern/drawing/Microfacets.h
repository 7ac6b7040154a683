#ifndef LANTERN_DRAWING_MICROFACETS_H
#define LANTERN_DRAWING_MICROFACETS_H

#include <algorithm>
#include <cmath>

#include "SceneData.h"
#include "drawing/Numbers.h"

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

    /// The reflection of perfect facets, and the density of sampling it by visible normals.
    struct Reflection {
        float model = 0; ///< the Torrance-Sparrow model without Fresnel: D G / (4 cos cos), times
                         ///< the cosine of `wi`
        float pdf = 0;   ///< density per solid angle of `wi`
    };
    /// `facet` is the half vector of `wo` and `wi`; `cosine`, above 0, is that of its angle to
    /// them.
    Reflection reflection(const V3f& wo, const V3f& wi, const V3f& facet, float cosine) const;

private:
    float lambda(const V3f& direction) const; // Smith's auxiliary function

    bool isMirror;
    float alphaX, alphaY;
};

inline float GgxFacets::visiblePdf(const V3f& wo, const V3f& facet) const {
    if (wo.z <= 0) return 0;
    return masking(wo) * std::max(0.0f, wo ^ facet) * density(facet) / wo.z;
}

inline float GgxFacets::density(const V3f& facet) const {
    if (facet.z <= 0) return 0;
    const float x = facet.x / alphaX, y = facet.y / alphaY;
    const float slope = x * x + y * y + facet.z * facet.z;
    return 1 / (kPi * alphaX * alphaY * slope * slope);
}

inline float GgxFacets::lambda(const V3f& direction) const {
    if (direction.z == 0) return 1e12f;
    const float x = alphaX * direction.x, y = alphaY * direction.y;
    return 0.5f * (std::sqrt(1 + (x * x + y * y) / (direction.z * direction.z)) - 1);
}

inline float GgxFacets::maskingShadowing(const V3f& wo, const V3f& wi) const {
    return 1 / (1 + lambda(wo) + lambda(wi));
}

inline float GgxFacets::masking(const V3f& wo) const {
    return 1 / (1 + lambda(wo));
}

inline GgxFacets::Reflection GgxFacets::reflection(const V3f& wo, const V3f& wi, const V3f& facet,
                                                   float cosine) const {
    const float normals = density(facet);
    const float lambdaOut = lambda(wo);
    const float visible = 1 / (1 + lambdaOut + lambda(wi));
    const float visiblePdf = wo.z > 0 ? 1 / (1 + lambdaOut) * cosine * normals / wo.z : 0;
    return {normals * visible / (4 * wo.z), visiblePdf / (4 * cosine)};
}

/// `direction` mirrored about the normal of a facet.
inline V3f Reflected(const V3f& direction, const V3f& facet) {
    return facet * (2 * (direction ^ facet)) - direction;
}

/// The refracted direction; the null vector for total internal reflection. `ior` is that of the
/// other side relative to this one.
V3f Refracted(const V3f& wo, const V3f& facet, float ior);

/// Unpolarized Fresnel reflectance of a dielectric; `ior` is that of the other side relative to
/// this one. Cook and Torrance, "A Reflectance Model for Computer Graphics", 1982.
inline float FresnelDielectric(float cosine, float ior) {
    const float c = Clamp01(cosine);
    const float g2 = ior * ior - 1 + c * c;
    if (g2 <= 0) return ior == 1 ? 0 : 1; // total internal reflection
    const float g = std::sqrt(g2);
    const float a = (g - c) / (g + c);
    const float b = (c * (g + c) - 1) / (c * (g - c) + 1);
    return Clamp01(0.5f * a * a * (1 + b * b));
}

/// Schlick, "An Inexpensive BRDF Model for Physically-based Rendering", 1994; `facing` is the
/// reflectance at normal incidence.
inline Color FresnelMetal(float cosine, const Color& facing) {
    const float rest = 1 - Clamp01(cosine);
    const float squared = rest * rest;
    return Mix(facing, Color(1, 1, 1), squared * squared * rest);
}

} // namespace lantern

#endif
