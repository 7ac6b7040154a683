#ifndef OXTELLARSDK_CACHECOUNTS_H
#define OXTELLARSDK_CACHECOUNTS_H

#include <array>
#include <atomic>
#include <cstdint>

#include <OxTellarSDK/MemoryBudget.h>

#include "PerThread.h"

namespace OxTellarMemory {

/// What one thread has counted, with a cache line for each cache. Only the thread itself writes
/// here, so plain additions do; others read when somebody asks for the statistics.
///
/// Bytes go on to the totals of the process when they are enough to matter. What a thread has
/// counted outlives it.
struct CacheCounts {
    /// Caches beyond the last number are counted together with it.
    static constexpr std::uint32_t kMostCaches = 32;

    struct alignas(64) Line {
        std::atomic<std::uint64_t> hits{0};
        std::atomic<std::uint64_t> misses{0};
        std::atomic<std::uint64_t> drops{0};
        std::atomic<std::int64_t> entries{0}; ///< below 0 when other threads added them
        std::atomic<std::int64_t> bytes{0};   ///< added less removed, not yet in the totals
        std::atomic<std::int64_t> gross{0};   ///< added, not yet in the totals
    };

    // For PerThread.
    CacheCounts() noexcept;
    ~CacheCounts();
    CacheCounts(const CacheCounts&) = delete;
    CacheCounts& operator=(const CacheCounts&) = delete;

    /// A hit of a cache of this library: an addition in memory of this thread.
    static void Hit(const Cache& cache) noexcept {
        CacheCounts* const own = PerThread<CacheCounts>::Find();
        if (!own) return HitOfNewThread(cache);
        Increase(own->lines[cache.number].hits, std::uint64_t{1});
    }

    template <typename T>
    static void Increase(std::atomic<T>& count, T by) noexcept {
        count.store(count.load(std::memory_order_relaxed) + by, std::memory_order_relaxed);
    }

    /// Passes on to the totals what this thread has counted.
    static void Flush() noexcept;

    /// All caches, the newest first. Those that are made later are not found from the older ones.
    static Cache* NewestCache() noexcept;
    static Cache* CacheBefore(const Cache& cache) noexcept { return cache.next; }

    /// Everything in the statistics that is counted here.
    static MemoryStatistics Statistics();
    static void Reset() noexcept;

    std::array<Line, kMostCaches> lines;
    CacheCounts* next = nullptr; // guarded by the lock of the list of all threads
    CacheCounts* previous = nullptr;

private:
    static void HitOfNewThread(const Cache& cache) noexcept;
};

/// The limit has become known, or another one: decides anew whether memory has to be freed.
void NoteLimit() noexcept;
/// Memory was freed, as much as was wanted or as was possible. In the second case the next attempt
/// is due after another sixteenth of the limit was added.
void NoteRelief(bool hasFreedAll) noexcept;
/// By how many bytes the totals exceed the limit; 0 while that is not known.
std::uint64_t BytesBeyondLimit() noexcept;

} // namespace OxTellarMemory

#endif
