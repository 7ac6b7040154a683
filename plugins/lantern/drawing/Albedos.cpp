#include "drawing/Albedos.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>

#include "drawing/Microfacets.h"
#include "drawing/Numbers.h"
#include "drawing/Sampler.h"
#include "drawing/Sheen.h"

namespace lantern {
namespace {

constexpr int kCells = 24;    // per dimension of a table
constexpr int kSamples = 256; // per entry

// The entries of a table are closer together at grazing directions and at small alpha, where the
// albedo changes quickly.
float CosineOf(int cell) {
    const float place = float(cell) / (kCells - 1);
    return std::max(place * place, 1e-4f);
}

float AlphaOf(int cell) {
    const float place = float(cell) / (kCells - 1);
    return std::max(place * place, kMinAlpha);
}

// Closer together near 1, where the reflection begins.
float IorOf(int cell) {
    const float place = std::min(float(cell) / (kCells - 1), 0.999f);
    return (1 + place * place) / (1 - place * place);
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

Cell CellOfRoot(float value) {
    return CellAt(std::sqrt(Clamp01(value)));
}

V3f DirectionAt(float cosine) {
    return {std::sqrt(std::max(0.0f, 1 - cosine * cosine)), 0, cosine};
}

/// The albedo as a function of cosine and alpha.
class Table {
public:
    void set(int alpha, int cosine, float albedo) { entries[alpha][cosine] = albedo; }
    /// Computes the means, after the last set().
    void finish() {
        constexpr int kSteps = 256;
        for (int alpha = 0; alpha < kCells; ++alpha) {
            double sum = 0;
            for (int i = 0; i < kSteps; ++i) {
                const float cosine = (float(i) + 0.5f) / kSteps;
                sum += 2 * cosine * row(alpha, CellOfRoot(cosine));
            }
            means[alpha] = static_cast<float>(sum / kSteps);
        }
    }

    float at(float cosine, float alpha) const {
        const Cell byCosine = CellOfRoot(cosine);
        const Cell byAlpha = CellOfRoot(alpha);
        return Mix(row(byAlpha.index, byCosine), row(byAlpha.index + 1, byCosine), byAlpha.share);
    }
    float mean(float alpha) const { return mean(CellOfRoot(alpha)); }
    float mean(const Cell& alpha) const {
        return Mix(means[alpha.index], means[alpha.index + 1], alpha.share);
    }
    /// The entries of one alpha, indexed by cosine.
    const float* row(int alpha) const { return entries[alpha].data(); }

private:
    float row(int alpha, const Cell& cosine) const {
        const auto& values = entries[alpha];
        return Mix(values[cosine.index], values[cosine.index + 1], cosine.share);
    }

    std::array<std::array<float, kCells>, kCells> entries{};
    std::array<float, kCells> means{};
};

/// A table whose entries are albedo(cosine, alpha).
template <typename Albedo>
Table MakeTable(Albedo albedo) {
    Table table;
    for (int alpha = 0; alpha < kCells; ++alpha)
        for (int cosine = 0; cosine < kCells; ++cosine)
            table.set(alpha, cosine, albedo(CosineOf(cosine), AlphaOf(alpha)));
    table.finish();
    return table;
}

struct Shares {
    float reflected = 0;
    float refracted = 0;
};

/// Monte Carlo estimate for facets with this Fresnel function of the cosine. With visible normal
/// sampling the weight of a sample is F G2 / G1. An `ior` of 0 leaves refraction out.
template <typename Fresnel>
Shares SharesOf(float cosine, float alpha, float ior, Fresnel fresnel) {
    const GgxFacets facets(alpha);
    const V3f wo = DirectionAt(cosine);
    double reflected = 0, refracted = 0;
    for (int i = 0; i < kSamples; ++i) {
        const V3f facet = facets.sampleVisible(wo, Sampler(0, 0, i).pair(0));
        const float share = fresnel(wo ^ facet);
        const V3f up = Reflected(wo, facet);
        if (up.z > 0) reflected += share * facets.maskingShadowing(wo, up) / facets.masking(wo);
        if (ior <= 0) continue;
        const V3f down = Refracted(wo, facet, ior);
        if (down.z < 0)
            refracted += (1 - share) * facets.maskingShadowing(wo, down) / facets.masking(wo);
    }
    return {static_cast<float>(reflected / kSamples), static_cast<float>(refracted / kSamples)};
}

const Table& PerfectFacets() {
    static const Table table = MakeTable([](float cosine, float alpha) {
        return SharesOf(cosine, alpha, 0, [](float) { return 1.0f; }).reflected;
    });
    return table;
}

/// The reflection of a dielectric of one index of refraction, from outside.
struct Dielectric {
    Table reflection;
    float fresnel = 0; ///< the mean reflectance of a smooth interface

    explicit Dielectric(float ior)
        : reflection(MakeTable([ior](float cosine, float alpha) {
              return SharesOf(cosine, alpha, 0, [&](float c) { return FresnelDielectric(c, ior); })
                  .reflected;
          })) {
        constexpr int kSteps = 256;
        for (int i = 0; i < kSteps; ++i) {
            const float cosine = (float(i) + 0.5f) / kSteps;
            fresnel += 2 * cosine * FresnelDielectric(cosine, ior) / kSteps;
        }
    }
};

/// The reflection and refraction of a dielectric together.
struct ClearDielectric {
    Table fromOutside;
    Table fromInside;

    explicit ClearDielectric(float ior)
        : fromOutside(MakeTable(ior)), fromInside(MakeTable(1 / ior)) {}

private:
    static Table MakeTable(float ior) {
        return lantern::MakeTable([ior](float cosine, float alpha) {
            const Shares shares =
                SharesOf(cosine, alpha, ior, [&](float c) { return FresnelDielectric(c, ior); });
            return shares.reflected + shares.refracted;
        });
    }
};

/// The Dielectric or ClearDielectric of a cell, made by the first call: most scenes have few
/// indices of refraction.
template <typename Kind>
const Kind& MadeOnce(int iorCell) {
    static std::array<std::atomic<const Kind*>, kCells> known{}; // std::call_once is slower
    static std::array<std::unique_ptr<const Kind>, kCells> made;
    static std::array<std::mutex, kCells> locks;
    if (const Kind* const one = known[iorCell].load(std::memory_order_acquire)) return *one;
    const std::lock_guard<std::mutex> guard(locks[iorCell]);
    if (!made[iorCell]) made[iorCell] = std::make_unique<const Kind>(IorOf(iorCell));
    known[iorCell].store(made[iorCell].get(), std::memory_order_release);
    return *made[iorCell];
}

/// Interpolates what `value` returns for two dielectrics. `ior` is 1 or more.
template <typename Kind, typename Value>
float ByIor(float ior, Value value) {
    const Cell cell = CellOfRoot((ior - 1) / (ior + 1));
    return Mix(value(MadeOnce<Kind>(cell.index)), value(MadeOnce<Kind>(cell.index + 1)),
               cell.share);
}

} // namespace

FacetAlbedos::FacetAlbedos(float alpha, float ior) : ior(ior) {
    const Cell byAlpha = CellOfRoot(alpha);
    const Cell byIor = CellOfRoot((ior - 1) / (ior + 1));
    const std::array<const Table*, 3> tables{&PerfectFacets(),
                                             &MadeOnce<Dielectric>(byIor.index).reflection,
                                             &MadeOnce<Dielectric>(byIor.index + 1).reflection};
    for (std::size_t i = 0; i < tables.size(); ++i) {
        rows[i] = {tables[i]->row(byAlpha.index), tables[i]->row(byAlpha.index + 1)};
        means[i] = tables[i]->mean(byAlpha);
    }
    alphaShare = byAlpha.share;
    iorShare = byIor.share;
    isSpecular = GgxFacets(alpha).isSpecular();
}

FacetAlbedos::Value FacetAlbedos::at(float cosine) const {
    const Cell cell = CellOfRoot(cosine);
    std::array<float, 3> values{};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto inRow = [&](const float* row) {
            return Mix(row[cell.index], row[cell.index + 1], cell.share);
        };
        values[i] = Mix(inRow(rows[i][0]), inRow(rows[i][1]), alphaShare);
    }
    const float dielectric =
        isSpecular ? FresnelDielectric(cosine, ior) : Mix(values[1], values[2], iorShare);
    return {values[0], dielectric};
}

FacetAlbedos::Value FacetAlbedos::mean() const {
    return {means[0], isSpecular ? MeanFresnelDielectric(ior) : Mix(means[1], means[2], iorShare)};
}

float AlbedoOfPerfectFacets(float cosine, float alpha) {
    return PerfectFacets().at(cosine, alpha);
}

float MeanAlbedoOfPerfectFacets(float alpha) {
    return PerfectFacets().mean(alpha);
}

float AlbedoOfDielectric(float cosine, float alpha, float ior) {
    if (GgxFacets(alpha).isSpecular()) return FresnelDielectric(cosine, ior);
    return ByIor<Dielectric>(ior,
                             [&](const Dielectric& of) { return of.reflection.at(cosine, alpha); });
}

float MeanAlbedoOfDielectric(float alpha, float ior) {
    if (GgxFacets(alpha).isSpecular()) return MeanFresnelDielectric(ior);
    return ByIor<Dielectric>(ior, [&](const Dielectric& of) { return of.reflection.mean(alpha); });
}

float TotalAlbedoOfDielectric(float cosine, float alpha, float ior) {
    if (ior < 1)
        return ByIor<ClearDielectric>(
            1 / ior, [&](const ClearDielectric& of) { return of.fromInside.at(cosine, alpha); });
    return ByIor<ClearDielectric>(
        ior, [&](const ClearDielectric& of) { return of.fromOutside.at(cosine, alpha); });
}

float MeanTotalAlbedoOfDielectric(float alpha, float ior) {
    if (ior < 1)
        return ByIor<ClearDielectric>(
            1 / ior, [&](const ClearDielectric& of) { return of.fromInside.mean(alpha); });
    return ByIor<ClearDielectric>(
        ior, [&](const ClearDielectric& of) { return of.fromOutside.mean(alpha); });
}

/// From inside, the transmitted light is less by the squared index of refraction.
float MeanFresnelDielectric(float ior) {
    const auto fromOutside = [](const Dielectric& of) { return of.fresnel; };
    if (ior >= 1) return ByIor<Dielectric>(ior, fromOutside);
    return 1 - (1 - ByIor<Dielectric>(1 / ior, fromOutside)) * ior * ior;
}

float AlbedoOfSheen(float cosine, float alpha) {
    static const Table table = MakeTable([](float cosineOut, float sheenAlpha) {
        constexpr int kRows = 128, kColumns = 32;
        const Sheen sheen(sheenAlpha);
        const V3f wo = DirectionAt(cosineOut);
        double sum = 0;
        for (int row = 0; row < kRows; ++row) {
            const float z = (float(row) + 0.5f) / kRows;
            const V3f at = DirectionAt(z);
            for (int column = 0; column < kColumns; ++column) {
                const float phi = kPi * (float(column) + 0.5f) / kColumns; // half: symmetric
                sum += sheen.timesCosine(wo, {at.x * std::cos(phi), at.x * std::sin(phi), z});
            }
        }
        return std::min(1.0f, static_cast<float>(sum * 2 * kPi / (kRows * kColumns)));
    });
    return table.at(cosine, alpha);
}

} // namespace lantern
