#ifndef OXTELLARPRODUCERS_LIVECOUNT_H
#define OXTELLARPRODUCERS_LIVECOUNT_H

#include <atomic>
#include <cstdint>

namespace TELLAR {

/// How many more objects were made than dropped, as one thread counts them. Negative for a thread
/// that drops what others made, and modulo 2^32: the sum over all threads is right even after one
/// of them has made 2^31 objects more than it dropped.
///
/// Threads: one at a time may add; a count of another thread at the same moment may get lost.
class LiveCount {
public:
    void add(std::int32_t difference) {
        const std::uint32_t sum =
            count.load(std::memory_order_relaxed) + static_cast<std::uint32_t>(difference);
        count.store(sum, std::memory_order_relaxed);
    }
    std::int32_t get() const {
        return static_cast<std::int32_t>(count.load(std::memory_order_relaxed));
    }

private:
    std::atomic<std::uint32_t> count{0};
};

} // namespace TELLAR

#endif
