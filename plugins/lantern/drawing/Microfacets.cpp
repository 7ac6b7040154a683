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

V3f Refracted(const V3f& wo, const V3f& facet, float ior) {
    const float cosine = wo ^ facet;
    const float cosine2 = 1 - (1 - cosine * cosine) / (ior * ior);
    if (cosine2 <= 0) return V3f(0);
    return facet * (cosine / ior - std::sqrt(cosine2)) - wo / ior;
}

} // namespace lantern
