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

} // namespace OxTellarMemory

#endif
