#include <OxTellarSDK/MemoryBudget.h>

#include <algorithm>
#include <exception>
#include <mutex>
#include <utility>

#include "CacheCounts.h"
#include "MemoryLimit.h"
#include "PerThread.h"

namespace OxTellarMemory {

namespace {

// Held by the thread that frees memory, never while a cache counts.
std::mutex reliefLock;
std::atomic<std::uint64_t> numberOfReliefs{0};
std::atomic<std::uint64_t> reliefsAtReset{0};

TELLAR_THREAD_WORD bool isRelieving = false;

/// While this lives, the thread frees memory. What that destroys may call RelieveMemory again.
class Relieving {
public:
    Relieving() noexcept { isRelieving = true; }
    ~Relieving() { isRelieving = false; }
    Relieving(const Relieving&) = delete;
    Relieving& operator=(const Relieving&) = delete;
};

/// A cache that has no memory to free its entries is passed over until the next relief.
std::uint64_t DropFrom(Cache& cache, std::uint32_t usedBefore, std::uint64_t wanted) noexcept {
    try {
        return cache.drop(usedBefore, wanted);
    } catch (const std::exception&) {
        return 0;
    }
}

constexpr std::uint32_t kAges[] = {8, 4, 2, 1, 0};

/// Entries of all caches that were last used so many ticks ago go before the younger ones of any.
/// Returns how many bytes that has freed.
std::uint64_t DropOldest(std::uint64_t wanted) noexcept {
    const std::uint32_t tick = CurrentTick();
    std::uint64_t freed = 0;
    for (const std::uint32_t age : kAges)
        for (Cache* cache = CacheCounts::NewestCache(); cache;
             cache = CacheCounts::CacheBefore(*cache)) {
            if (freed >= wanted) return freed;
            freed += DropFrom(*cache, tick - age + 1, wanted - freed);
        }
    return freed;
}

/// The caller holds the lock.
void Relieve() {
    const Relieving relieving;
    const std::uint64_t limit = GetMemoryLimit();
    CacheCounts::Flush();
    const std::uint64_t beyond = BytesBeyondLimit();
    if (beyond == 0) return NoteLimit();
    numberOfReliefs.fetch_add(1, std::memory_order_relaxed);
    const std::uint64_t wanted = beyond + ReliefStep(limit);
    const bool hasFreed = DropOldest(wanted) >= wanted;
    CacheCounts::Flush();
    NoteRelief(hasFreed);
}

/// Whether threads add so much faster than one of them frees that they have to wait for it. Half of
/// what is left up to the limit is for what they add until they come to that.
bool IsLimitNear() noexcept {
    return BytesBeyondLimit() > memoryLimit.load(std::memory_order_relaxed) / 16;
}

} // namespace

void RelieveMemoryNow() noexcept {
    if (isRelieving) return;
    try {
        std::unique_lock<std::mutex> lock(reliefLock, std::try_to_lock);
        if (!lock.owns_lock()) {
            if (!IsLimitNear()) return;
            lock.lock();
        }
        if (memoryPressure.isReliefDue.load(std::memory_order_relaxed)) Relieve();
    } catch (const std::exception&) { // no memory to read the limit: the next call tries again
    }
}

void RelieveMemoryOf(Cache& cache) noexcept {
    if (isRelieving || !memoryPressure.isReliefDue.load(std::memory_order_relaxed)) return;
    const std::unique_lock<std::mutex> lock(reliefLock, std::try_to_lock);
    if (!lock.owns_lock()) return;
    const Relieving relieving;
    CacheCounts::Flush();
    const std::uint64_t beyond = BytesBeyondLimit();
    const std::uint64_t wanted = beyond + memoryLimit.load(std::memory_order_relaxed) / 16;
    const std::uint32_t tick = CurrentTick();
    std::uint64_t freed = 0;
    for (const std::uint32_t age : kAges)
        if (beyond > 0 && age > 0 && freed < wanted)
            freed += DropFrom(cache, tick - age + 1, wanted - freed);
    if (freed == 0) return;
    CacheCounts::Flush();
    if (BytesBeyondLimit() == 0) NoteRelief(true);
}

void SetMemoryLimit(std::uint64_t bytes) {
    memoryLimit.store(std::max(bytes, kSmallestMemoryLimit), std::memory_order_relaxed);
    if (isRelieving) return NoteLimit();
    const std::lock_guard<std::mutex> lock(reliefLock);
    Relieve();
}

MemoryStatistics GetMemoryStatistics() {
    MemoryStatistics all = CacheCounts::Statistics();
    all.limit = GetMemoryLimit();
    all.beyondLimit = all.bytes > all.limit ? all.bytes - all.limit : 0;
    all.reliefs = numberOfReliefs.load(std::memory_order_relaxed) -
                  reliefsAtReset.load(std::memory_order_relaxed);
    return all;
}

void ResetMemoryStatistics() {
    CacheCounts::Reset();
    reliefsAtReset.store(numberOfReliefs.load(std::memory_order_relaxed),
                         std::memory_order_relaxed);
}

} // namespace OxTellarMemory
