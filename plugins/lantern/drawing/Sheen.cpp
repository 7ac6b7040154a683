#include "drawing/Sheen.h"

#include <algorithm>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

/// Narrower distributions would reflect more light than arrives at grazing directions.
constexpr float kLeastAlpha = 0.08f;
constexpr float kLeastCosine = 0.01f; // the fit below does not hold for smaller ones

} // namespace

Sheen::Sheen(float alpha) : alpha(std::clamp(alpha, kLeastAlpha, 1.0f)) {}

float Sheen::timesCosine(const V3f& wo, const V3f& wi) const {
    if (!(wo.z > 0) || !(wi.z > 0)) return 0;
    const V3f half = Normalized(wo + wi, V3f(0, 0, 1));
    const float sine2 = std::max(0.0f, 1 - half.z * half.z);
    const float density = (2 + 1 / alpha) * std::pow(sine2, 0.5f / alpha) / (2 * kPi);
    const float out = std::max(wo.z, kLeastCosine), in = std::max(wi.z, kLeastCosine);
    return density * wi.z / ((1 + lambda(out) + lambda(in)) * 4 * out * in);
}

/// The fit of the paper, with its constants.
float Sheen::lambda(float cosine) const {
    const float t = (1 - alpha) * (1 - alpha);
    const float a = Mix(21.5473f, 25.3245f, t);
    const float b = Mix(3.82987f, 3.32435f, t);
    const float c = Mix(0.19823f, 0.16801f, t);
    const float d = Mix(-1.97760f, -1.27393f, t);
    const float e = Mix(-4.32054f, -4.85967f, t);
    const auto fit = [&](float x) { return a / (1 + b * std::pow(x, c)) + d * x + e; };
    return std::exp(cosine < 0.5f ? fit(cosine) : 2 * fit(0.5f) - fit(1 - cosine));
}

} // namespace lantern
