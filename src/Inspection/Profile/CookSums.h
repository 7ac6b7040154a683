#ifndef TELLAR_PROFILE_COOKSUMS_H
#define TELLAR_PROFILE_COOKSUMS_H

#include <cstdint>

#include <OxTellarProducers/SceneProfile.h>

namespace TELLAR {

/// CookTotals while they are added up. Times are in nanoseconds.
struct CookSums {
    std::uint64_t cooks = 0;
    std::uint64_t errors = 0;
    std::int64_t own = 0;
    std::int64_t total = 0;
    std::uint64_t waits = 0;
    std::int64_t waited = 0;
    std::uint64_t bytesMade = 0;

    void add(const CookSums& other) {
        cooks += other.cooks;
        errors += other.errors;
        own += other.own;
        total += other.total;
        waits += other.waits;
        waited += other.waited;
        bytesMade += other.bytesMade;
    }
};

constexpr double kSecondsPerNanosecond = 1e-9;

inline CookTotals TotalsOf(const CookSums& sums) {
    return {sums.cooks,
            sums.errors,
            double(sums.own) * kSecondsPerNanosecond,
            double(sums.total) * kSecondsPerNanosecond,
            sums.waits,
            double(sums.waited) * kSecondsPerNanosecond,
            sums.bytesMade};
}

} // namespace TELLAR

#endif
