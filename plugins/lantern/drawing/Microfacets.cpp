#include "drawing/Microfacets.h"

#include <algorithm>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {
V3f GgxFacets::sampleVisible(const V3f& wo, const V2f& u) const {
    const V3f stretched = Normalized({alphaX * wo.x, alphaY * wo.y, wo.z}, V3f(0, 0, 1));
    const float across = stretched.x * stretched.x + stretched.y * stretched.y;
    const V3f x = across > 0 ? V3f(-stretched.y, stretched.x, 0) / std::sqrt(across) : V3f(1, 0, 0);
    const V3f y = stretched % x;
    // A point on the projection of the visible hemisphere: a half disc and a squashed half disc.
    const float r = std::sqrt(u.x);
    const float phi = 2 * kPi * u.y;
    const float a = r * std::cos(phi);
    const float s = 0.5f * (1 + stretched.z);
    const float b = Mix(std::sqrt(std::max(0.0f, 1 - a * a)), r * std::sin(phi), s);
    const V3f n = x * a + y * b + stretched * std::sqrt(std::max(0.0f, 1 - a * a - b * b));
    return Normalized({alphaX * n.x, alphaY * n.y, std::max(1e-6f, n.z)}, V3f(0, 0, 1));
}

float GgxFacets::visiblePdf(const V3f& wo, const V3f& facet) const {
    if (wo.z <= 0) return 0;
    return masking(wo) * std::max(0.0f, wo ^ facet) * density(facet) / wo.z;
}

float GgxFacets::density(const V3f& facet) const {
    if (facet.z <= 0) return 0;
    const float x = facet.x / alphaX, y = facet.y / alphaY;
    const float slope = x * x + y * y + facet.z * facet.z;
    return 1 / (kPi * alphaX * alphaY * slope * slope);
}

float GgxFacets::lambda(const V3f& direction) const {
    if (direction.z == 0) return 1e12f;
    const float x = alphaX * direction.x, y = alphaY * direction.y;
    return 0.5f * (std::sqrt(1 + (x * x + y * y) / (direction.z * direction.z)) - 1);
}

float GgxFacets::maskingShadowing(const V3f& wo, const V3f& wi) const {
    return 1 / (1 + lambda(wo) + lambda(wi));
}

float GgxFacets::masking(const V3f& wo) const {
    return 1 / (1 + lambda(wo));
}

V3f Refracted(const V3f& wo, const V3f& facet, float ior) {
    const float cosine = wo ^ facet;
    const float cosine2 = 1 - (1 - cosine * cosine) / (ior * ior);
    if (cosine2 <= 0) return V3f(0);
    return facet * (cosine / ior - std::sqrt(cosine2)) - wo / ior;
}

float FresnelDielectric(float cosine, float ior) {
    const float c = Clamp01(cosine);
    const float g2 = ior * ior - 1 + c * c;
    if (g2 <= 0) return ior == 1 ? 0 : 1; // total reflection
    const float g = std::sqrt(g2);
    const float a = (g - c) / (g + c);
    const float b = (c * (g + c) - 1) / (c * (g - c) + 1);
    return Clamp01(0.5f * a * a * (1 + b * b));
}

Color FresnelMetal(float cosine, const Color& facing) {
    const float rest = 1 - Clamp01(cosine);
    const float squared = rest * rest;
    return Mix(facing, Color(1, 1, 1), squared * squared * rest);
}

} // namespace lantern
