#include "drawing/Guide.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include <Imath/ImathBox.h>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr std::size_t kFewestVisits = 64;  // with fewer visits the guide stays empty
constexpr std::size_t kMostInRegion = 512; // a region with more visits is split
constexpr int kReflections = 8;            // light is followed through so many reflections
// The share of the sphere that a distribution covers; for a cosine distribution it is 0.375.
constexpr float kNarrowSpread = 0.15f;
constexpr float kWideSpread = 0.3f;
constexpr double kTrust = 8; // a larger value samples lights more often
// Least probability of sampling a light: learning may have missed it.
constexpr float kRarest = 0.3f;
constexpr int kDeepest = 24;         // depth limit of the tree
constexpr float kMostSquare = 1e30f; // so that sums of squares stay finite
constexpr float kBelowOne = 0x1.fffffep-1f;

using Directions = Guide::Directions;

/// Maps the unit square to the sphere and preserves areas: y is the height of the direction and x
/// its longitude.
V3f DirectionOf(const V2f& square) {
    const float height = 2 * square.y - 1;
    const float radius = std::sqrt(std::max(0.0f, 1 - height * height));
    const float phi = 2 * kPi * square.x;
    return {radius * std::cos(phi), radius * std::sin(phi), height};
}

std::size_t CellOf(float place, std::size_t count) {
    return std::min(static_cast<std::size_t>(Clamp01(place) * static_cast<float>(count)),
                    count - 1);
}

std::size_t CellOf(const V3f& direction) {
    const float turn = std::atan2(direction.y, direction.x) / (2 * kPi);
    return CellOf((direction.z + 1) / 2, Directions::kRows) * Directions::kColumns +
           CellOf(turn < 0 ? turn + 1 : turn, Directions::kColumns);
}

/// Mixes cells with their neighbours, which have similar light at other points of the region.
template <typename Cells>
Cells Blurred(const Cells& cells) {
    constexpr std::size_t kRows = Directions::kRows, kColumns = Directions::kColumns;
    Cells result;
    for (std::size_t y = 0; y < kRows; ++y) {
        for (std::size_t x = 0; x < kColumns; ++x) {
            const std::size_t left = (x + kColumns - 1) % kColumns, right = (x + 1) % kColumns;
            float sum = 0;
            for (const std::size_t row : {y > 0 ? y - 1 : y, y, y, std::min(y + 1, kRows - 1)}) {
                const float* at = &cells[row * kColumns];
                sum += at[left] + 2 * at[x] + at[right];
            }
            result[y * kColumns + x] = sum / 16;
        }
    }
    return result;
}

/// Returns the index of the interval that contains u. Sets u to the position within that interval.
std::size_t Pick(const float* ends, std::size_t count, float& u) {
    const float target = u * ends[count - 1];
    const std::size_t found =
        std::min<std::size_t>(std::upper_bound(ends, ends + count, target) - ends, count - 1);
    const float begin = found > 0 ? ends[found - 1] : 0;
    const float size = ends[found] - begin;
    u = size > 0 ? std::clamp((target - begin) / size, 0.0f, kBelowOne) : 0.5f;
    return found;
}

} // namespace

void Guide::Directions::add(const V3f& direction, float light, float pdf) {
    const float square = light * light / pdf;
    if (square < kMostSquare) densities[CellOf(direction)] += square; // false for NaN
}

float Guide::Directions::complete() {
    densities = Blurred(densities);
    float squares = 0;
    for (const float square : densities)
        squares += square;
    float total = 0;
    for (std::size_t row = 0; row < kRows; ++row) {
        float sum = 0;
        for (std::size_t i = row * kColumns; i < (row + 1) * kColumns; ++i) {
            densities[i] = std::sqrt(densities[i]);
            cellEnds[i] = sum += densities[i];
        }
        rowEnds[row] = total += sum;
    }
    if (!(total > 0)) return 0;
    const float toDensity = static_cast<float>(kRows * kColumns) / (4 * kPi * total);
    for (float& density : densities)
        density *= toDensity;
    if (!std::isfinite(toDensity)) return 0;
    const float spread = total / squares * total / static_cast<float>(kRows * kColumns);
    return Clamp01((kWideSpread - spread) / (kWideSpread - kNarrowSpread));
}

V3f Guide::Directions::sample(const V2f& u) const {
    V2f inside = u;
    const std::size_t row = Pick(rowEnds.data(), kRows, inside.y);
    const std::size_t column = Pick(&cellEnds[row * kColumns], kColumns, inside.x);
    return DirectionOf({(static_cast<float>(column) + inside.x) / float(kColumns),
                        (static_cast<float>(row) + inside.y) / float(kRows)});
}

float Guide::Directions::pdf(const V3f& direction) const {
    return densities[CellOf(direction)];
}

/// The luminance that a path can be expected to find, and the square of that luminance.
struct Guide::Light {
    double mean = 0;
    double square = 0;

    Light() = default;
    explicit Light(double known) : mean(known), square(known * known) {}
    Light operator+(const Light& other) const {
        Light sum;
        sum.mean = mean + other.mean;
        sum.square = square + 2 * mean * other.mean + other.square;
        return sum;
    }
    Light operator*(double factor) const {
        Light product;
        product.mean = mean * factor;
        product.square = square * factor * factor;
        return product;
    }
};

Guide::Guide(const std::vector<Visit>& visits) {
    if (visits.size() < kFewestVisits) return;
    std::vector<Index> order(visits.size());
    std::iota(order.begin(), order.end(), Index(0));
    build(visits, order.data(), order.data() + order.size(), 0);
    const std::vector<Light> light = lightOf(visits);
    for (std::size_t i = 0; i < visits.size(); ++i) {
        const Visit& visit = visits[i];
        const float mean = static_cast<float>(light[i].mean);
        if (visit.pdf > 0 && mean > 0)
            regions[regionOf(visit.position)].directions.add(visit.direction, mean * visit.cosine,
                                                             visit.pdf);
    }
    for (Region& region : regions)
        region.use = region.directions.complete();
    chooseLights(visits, light);
    measureNoise(visits, light);
}

/// Chooses how often to sample each kind of light: in proportion to the root of the mean square of
/// its light, which measures how much noise it adds.
void Guide::chooseLights(const std::vector<Visit>& visits, const std::vector<Light>& light) {
    struct Sums {
        std::array<double, LightKinds> squares{};
        double others = 0;
    };
    std::vector<Sums> sums(regions.size());
    for (std::size_t i = 0; i < visits.size(); ++i) {
        Sums& sum = sums[regionOf(visits[i].position)];
        for (std::size_t kind = 0; kind < LightKinds; ++kind)
            sum.squares[kind] += visits[i].squares[kind];
        const double other = visits[i].weight * light[i].mean;
        sum.others += other * other;
    }
    for (std::size_t i = 0; i < regions.size(); ++i) {
        double all = std::sqrt(sums[i].others);
        for (const double square : sums[i].squares)
            all += std::sqrt(square);
        if (!(all > 0) || !std::isfinite(all)) continue;
        for (std::size_t kind = 0; kind < LightKinds; ++kind) {
            const double share = std::sqrt(sums[i].squares[kind]) / all;
            regions[i].sampling[kind] =
                std::clamp(static_cast<float>(kTrust * share), kRarest, 1.0f);
        }
    }
}

/// Assigns Region::noise. The light that directions were chosen for counts, but not sampled lights.
void Guide::measureNoise(const std::vector<Visit>& visits, const std::vector<Light>& light) {
    struct Sum {
        double square = 0;
        double count = 0;
        double first = 0; // visits that the camera sees
    };
    std::vector<Sum> sums(regions.size());
    for (std::size_t i = 0; i < visits.size(); ++i) {
        Sum& sum = sums[regionOf(visits[i].position)];
        const double square = (light[i] * visits[i].weight).square;
        if (std::isfinite(square)) sum.square += square;
        sum.count += 1;
        if (visits[i].isFirst) sum.first += 1;
    }
    double roots = 0;
    double first = 0;
    for (const Sum& sum : sums) {
        if (!(sum.first > 0)) continue;
        roots += sum.first * std::sqrt(sum.square / sum.count);
        first += sum.first;
    }
    if (!(roots > 0)) return;
    for (std::size_t i = 0; i < regions.size(); ++i)
        if (sums[i].count > 0)
            regions[i].noise =
                static_cast<float>(std::sqrt(sums[i].square / sums[i].count) * first / roots);
}

/// Splits the box around the visits across its longest side, at the median.
void Guide::build(const std::vector<Visit>& visits, Index* begin, Index* end, int depth) {
    Imath::Box3f box;
    for (const Index* visit = begin; visit != end; ++visit)
        box.extendBy(visits[*visit].position);
    const auto axis = static_cast<int>(box.majorAxis());
    const auto along = [&, axis](Index visit) { return visits[visit].position[axis]; };
    Index* const middle = begin + (end - begin) / 2;
    std::nth_element(begin, middle, end, [&](Index a, Index b) { return along(a) < along(b); });
    const float split = along(*middle);
    Index* const second =
        std::partition(begin, end, [&](Index visit) { return along(visit) < split; });
    const std::size_t node = nodes.size();
    nodes.emplace_back();
    const bool isSmall = static_cast<std::size_t>(end - begin) <= kMostInRegion;
    if (isSmall || depth >= kDeepest || second == begin) {
        nodes[node].second = regions.size();
        regions.emplace_back();
        return;
    }
    build(visits, begin, second, depth + 1);
    nodes[node] = {split, axis, nodes.size()};
    build(visits, second, end, depth + 1);
}

/// Returns the light that arrives from the direction of each visit. Assigns Region::reflected. The
/// light that a surface reflects is estimated by the mean over all visits in its region, which has
/// much less noise than the light of single paths, and its square likewise.
std::vector<Guide::Light> Guide::lightOf(const std::vector<Visit>& visits) {
    struct Sum {
        Light light;
        double count = 0;
    };
    std::vector<std::size_t> places;
    places.reserve(visits.size());
    for (const Visit& visit : visits)
        places.push_back(regionOf(visit.position));
    std::vector<Light> light(visits.size());
    std::vector<Light> reflected(regions.size());
    for (int reflection = 0; reflection < kReflections; ++reflection) {
        std::vector<Sum> sums(regions.size());
        for (std::size_t i = 0; i < visits.size(); ++i) {
            light[i] = Light(visits[i].found);
            if (visits[i].goesOn) light[i] = light[i] + reflected[places[i + 1]];
            sums[places[i]].count += 1;
            const Light sum = Light(visits[i].reflected) + light[i] * visits[i].weight;
            if (!std::isfinite(sum.square)) continue;
            sums[places[i]].light.mean += sum.mean;
            sums[places[i]].light.square += sum.square;
        }
        for (std::size_t i = 0; i < regions.size(); ++i) {
            if (!(sums[i].count > 0)) continue;
            reflected[i].mean = sums[i].light.mean / sums[i].count;
            reflected[i].square = sums[i].light.square / sums[i].count;
        }
    }
    for (std::size_t i = 0; i < regions.size(); ++i)
        regions[i].reflected = static_cast<float>(reflected[i].mean);
    return light;
}

std::size_t Guide::regionOf(const V3f& position) const {
    std::size_t node = 0;
    while (nodes[node].axis >= 0)
        node = position[nodes[node].axis] < nodes[node].split ? node + 1 : nodes[node].second;
    return nodes[node].second;
}

const Guide::Region* Guide::at(const V3f& position) const {
    return nodes.empty() ? nullptr : &regions[regionOf(position)];
}

} // namespace lantern
