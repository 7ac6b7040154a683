#ifndef OXTELLARSDK_MEMORYLIMIT_H
#define OXTELLARSDK_MEMORYLIMIT_H

#include <atomic>
#include <cstdint>

namespace OxTellarMemory {

/// The limit in bytes; 0 until it is known. Written hardly ever.
extern std::atomic<std::uint64_t> memoryLimit;

/// What caches may take of a limit. Memory that is freed and used again and again gets holes: in a
/// walk of a hundred times the limit the process takes a seventh more than the caches count.
constexpr std::uint64_t ShareOfCaches(std::uint64_t limit) noexcept {
    return limit - limit / 8;
}

/// How much is freed below that at once. Little, so that what is made next finds the memory that
/// was just freed in the processor's caches.
constexpr std::uint64_t ReliefStep(std::uint64_t limit) noexcept {
    constexpr std::uint64_t kMost = 2 << 20;
    return limit / 16 < kMost ? limit / 16 : kMost;
}

} // namespace OxTellarMemory

#endif
