#include "CostliestLocations.h"

#include <algorithm>
#include <utility>

namespace TELLAR {

namespace {

/// Many more than are wanted, so that those which are forgotten are cheap.
constexpr std::size_t kMostLocations = 16384;

bool IsCostlier(const LocationCost& a, const LocationCost& b) {
    return a.sums.own != b.sums.own ? a.sums.own > b.sums.own : a.path < b.path;
}

} // namespace

CostliestLocations::CostliestLocations(std::size_t wanted)
    : wanted(wanted), most(std::max(kMostLocations, 4 * wanted)) {}

void CostliestLocations::add(const LocationCost* added, std::size_t count) {
    const std::lock_guard<std::mutex> guard(lock);
    for (std::size_t i = 0; i < count; ++i) {
        costs[added[i].path].add(added[i].sums);
        if (costs.size() >= most) forgetCheaper();
    }
}

/// Called with the lock.
void CostliestLocations::forgetCheaper() {
    std::vector<std::int64_t> values;
    values.reserve(costs.size());
    for (const auto& cost : costs)
        values.push_back(KeptBy(cost.second));
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    // More than half of them may be equally cheap.
    const std::int64_t limit = *middle + 1;
    for (auto cost = costs.begin(); cost != costs.end();)
        cost = KeptBy(cost->second) < limit ? costs.erase(cost) : std::next(cost);
    least.store(limit, std::memory_order_relaxed);
}

std::vector<LocationCost> CostliestLocations::getCostliest() const {
    std::vector<LocationCost> sorted;
    {
        const std::lock_guard<std::mutex> guard(lock);
        sorted.reserve(costs.size());
        for (const auto& [path, sums] : costs)
            sorted.push_back({path, sums});
    }
    std::sort(sorted.begin(), sorted.end(), IsCostlier);
    if (sorted.size() > wanted) sorted.resize(wanted);
    return sorted;
}

} // namespace TELLAR
