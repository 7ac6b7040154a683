#ifndef TELLAR_PROFILE_COSTLIESTLOCATIONS_H
#define TELLAR_PROFILE_COSTLIESTLOCATIONS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "CookSums.h"

namespace TELLAR {

/// What cooks of one location took.
struct LocationCost {
    std::string path;
    CookSums sums;
};

/// The locations with the largest own times, out of any number. When there are too many of them,
/// the cheaper half is forgotten, and what is cheaper than those that stay is refused from then on.
/// Those that threads waited for stay as if they had cost the waits as well.
///
/// Threads: everything may be called from any number of threads.
class CostliestLocations {
public:
    /// Keeps `wanted` locations or more.
    explicit CostliestLocations(std::size_t wanted);

    /// False for what add() would refuse.
    bool matters(const CookSums& sums) const {
        return KeptBy(sums) >= least.load(std::memory_order_relaxed);
    }
    /// Adds the costs of `count` locations. Throws std::bad_alloc, and some may then be missing.
    void add(const LocationCost* added, std::size_t count);

    /// The wanted number of locations, the costliest first.
    std::vector<LocationCost> getCostliest() const;

private:
    using Costs = std::unordered_map<std::string, CookSums>;

    static std::int64_t KeptBy(const CookSums& sums) { return sums.own + sums.waited; }
    void forgetCheaper();

    const std::size_t wanted;
    const std::size_t most;
    std::atomic<std::int64_t> least{0};
    mutable std::mutex lock;
    Costs costs; // guarded by lock
};

} // namespace TELLAR

#endif
