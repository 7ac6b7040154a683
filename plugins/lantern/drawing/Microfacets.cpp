#include "drawing/Microfacets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "drawing/Numbers.h"
#include "drawing/Sampler.h"

namespace lantern {
namespace {

constexpr int kCells = 16;    // per dimension of a table
constexpr int kSamples = 256; // per entry

/// Monte Carlo estimate of the directional albedo of facets with this Fresnel function of the
/// cosine. With visible normal sampling a sample's weight is F G2 / G1.
template <typename Fresnel>
float Albedo(float cosine, float alpha, Fresnel fresnel) {
    const GgxFacets facets(std::max(alpha, kMinAlpha));
    const V3f wo(std::sqrt(std::max(0.0f, 1 - cosine * cosine)), 0, cosine);
    double sum = 0;
    for (int i = 0; i < kSamples; ++i) {
        const V3f facet = facets.sampleVisible(wo, Sampler(0, 0, i).pair(0));
        const V3f wi = facet * (2 * (wo ^ facet)) - wo;
        if (wi.z <= 0) continue;
        sum += fresnel(wo ^ facet) * facets.maskingShadowing(wo, wi) / facets.masking(wo);
    }
    return static_cast<float>(sum / kSamples);
}

// The entries of a table are closer together at grazing directions and at small alpha, where the
// albedo changes quickly.
float CosineOf(int cell) {
    const float place = float(cell) / (kCells - 1);
    return std::max(place * place, 1e-4f);
}

float AlphaOf(int cell) {
    const float place = float(cell) / (kCells - 1);
    return place * place;
}

float IorOf(int cell) {
    const float place = std::min(float(cell) / (kCells - 1), 0.999f);
    return (1 + place) / (1 - place);
}

struct Cell {
    int index;
    float share; // weight of the next cell
};

Cell CellAt(float place) {
    const float at = Clamp01(place) * (kCells - 1);
    const int index = std::min(static_cast<int>(at), kCells - 2);
    return {index, at - static_cast<float>(index)};
}

/// The albedo as a function of cosine and alpha.
class Table {
public:
    template <typename Fresnel>
    explicit Table(Fresnel fresnel) {
        for (int w = 0; w < kCells; ++w)
            for (int c = 0; c < kCells; ++c)
                entries[w][c] = Albedo(CosineOf(c), AlphaOf(w), fresnel);
    }
    float at(const Cell& cosine, const Cell& alpha) const {
        const auto& first = entries[alpha.index];
        const auto& second = entries[alpha.index + 1];
        const int c = cosine.index;
        return Mix(Mix(first[c], first[c + 1], cosine.share),
                   Mix(second[c], second[c + 1], cosine.share), alpha.share);
    }

private:
    std::array<std::array<float, kCells>, kCells> entries{};
};

std::vector<Table> DielectricTables() {
    std::vector<Table> tables;
    tables.reserve(kCells);
    for (int i = 0; i < kCells; ++i)
        tables.emplace_back([i](float cosine) { return FresnelDielectric(cosine, IorOf(i)); });
    return tables;
}

float Tan2(const V3f& direction) {
    return (direction.x * direction.x + direction.y * direction.y) / (direction.z * direction.z);
}

} // namespace

V3f GgxFacets::sampleVisible(const V3f& wo, const V2f& u) const {
    const V3f stretched = Normalized({alpha * wo.x, alpha * wo.y, wo.z}, V3f(0, 0, 1));
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
    return Normalized({alpha * n.x, alpha * n.y, std::max(1e-6f, n.z)}, V3f(0, 0, 1));
}

float GgxFacets::visiblePdf(const V3f& wo, const V3f& facet) const {
    if (wo.z <= 0) return 0;
    return masking(wo) * std::max(0.0f, wo ^ facet) * density(facet) / wo.z;
}

float GgxFacets::density(const V3f& facet) const {
    if (facet.z <= 0) return 0;
    const float a2 = alpha * alpha;
    const float across = facet.x * facet.x + facet.y * facet.y;
    const float slope = across / a2 + facet.z * facet.z;
    return 1 / (kPi * a2 * slope * slope);
}

float GgxFacets::lambda(const V3f& direction) const {
    if (direction.z == 0) return 1e12f;
    return 0.5f * (std::sqrt(1 + alpha * alpha * Tan2(direction)) - 1);
}

float GgxFacets::maskingShadowing(const V3f& wo, const V3f& wi) const {
    return 1 / (1 + lambda(wo) + lambda(wi));
}

float GgxFacets::masking(const V3f& wo) const {
    return 1 / (1 + lambda(wo));
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

float AlbedoOfPerfectFacets(float cosine, float alpha) {
    static const Table table([](float) { return 1.0f; });
    return table.at(CellAt(std::sqrt(Clamp01(cosine))), CellAt(std::sqrt(Clamp01(alpha))));
}

float AlbedoOfDielectric(float cosine, float alpha, float ior) {
    if (GgxFacets(alpha).isSpecular()) return FresnelDielectric(cosine, ior);
    static const std::vector<Table> tables = DielectricTables();
    const Cell byIor = CellAt((ior - 1) / (ior + 1));
    const Cell byCosine = CellAt(std::sqrt(Clamp01(cosine)));
    const Cell byAlpha = CellAt(std::sqrt(Clamp01(alpha)));
    return Mix(tables[byIor.index].at(byCosine, byAlpha),
               tables[byIor.index + 1].at(byCosine, byAlpha), byIor.share);
}

} // namespace lantern
