#include "CacheCounts.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <new>

#include "MemoryLimit.h"

// Threads count in lines of their own. A line's bytes are passed on to the totals of the process
// when they matter. The totals tell when memory has to be freed, and how time advances.

namespace OxTellarMemory {

MemoryPressure memoryPressure;

namespace {

using Line = CacheCounts::Line;
constexpr std::uint32_t kMostCaches = CacheCounts::kMostCaches;

std::uint64_t NotNegative(std::int64_t count) noexcept {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(0, count));
}

struct Total {
    std::atomic<std::int64_t> bytes{0};
    std::atomic<std::int64_t> peak{0};

    std::int64_t signedBytes() const noexcept { return bytes.load(std::memory_order_relaxed); }
    // Threads that remove may pass that on before those that have added.
    std::uint64_t now() const noexcept { return NotNegative(signedBytes()); }
    std::uint64_t highest() const noexcept {
        return NotNegative(peak.load(std::memory_order_relaxed));
    }

    void add(std::int64_t more) noexcept {
        const std::int64_t sum = bytes.fetch_add(more, std::memory_order_relaxed) + more;
        std::int64_t known = peak.load(std::memory_order_relaxed);
        while (known < sum && !peak.compare_exchange_weak(known, sum, std::memory_order_relaxed)) {
        }
    }

    void forgetPeak() noexcept { peak.store(signedBytes(), std::memory_order_relaxed); }
};

struct Totals {
    Total all;
    std::array<Total, kMostCaches> caches;
    std::atomic<std::uint64_t> addedUnderPressure{0};
    std::atomic<std::uint64_t> reliefAbove{0}; // bytes; not below the limit
};

Totals totals;

void AdvanceTime(std::uint64_t added, std::uint64_t step) noexcept {
    const std::uint64_t before =
        totals.addedUnderPressure.fetch_add(added, std::memory_order_relaxed);
    const std::uint64_t ticks = (before + added) / step - before / step;
    if (ticks != 0)
        memoryPressure.tick.fetch_add(static_cast<std::uint32_t>(ticks), std::memory_order_relaxed);
}

/// Relief is due when `more` is added to the limit, or to what is in use beyond that. Until the
/// limit is known, relief is due: it learns the limit.
void DecideRelief(std::uint64_t more) noexcept {
    const std::uint64_t limit = ShareOfCaches(memoryLimit.load(std::memory_order_relaxed));
    if (limit == 0) return;
    const std::uint64_t now = totals.all.now();
    const std::uint64_t above = more == 0 ? limit : std::max(limit, now + more);
    totals.reliefAbove.store(above, std::memory_order_relaxed);
    memoryPressure.isReliefDue.store(now > above, std::memory_order_relaxed);
}

void NoteChange(std::uint64_t added) noexcept {
    const std::uint64_t limit = ShareOfCaches(memoryLimit.load(std::memory_order_relaxed));
    if (limit == 0) return;
    const std::uint64_t now = totals.all.now();
    if (added > 0 && now > limit / 2) AdvanceTime(added, limit / 16);
    const std::uint64_t above = totals.reliefAbove.load(std::memory_order_relaxed);
    if (now > above) {
        if (!memoryPressure.isReliefDue.load(std::memory_order_relaxed))
            memoryPressure.isReliefDue.store(true, std::memory_order_relaxed);
    } else if (above > limit && now + limit / 16 < above) {
        DecideRelief(limit / 16); // callers have let go of what could not be freed
    }
}

void PassOn(Line& line, std::uint32_t number) noexcept {
    const std::int64_t bytes = line.bytes.exchange(0, std::memory_order_relaxed);
    const std::int64_t gross = line.gross.exchange(0, std::memory_order_relaxed);
    if (bytes == 0 && gross == 0) return;
    totals.caches[number].add(bytes);
    totals.all.add(bytes);
    NoteChange(NotNegative(gross));
}

/// From how many bytes on a thread passes on what it has counted.
std::int64_t BytesThatMatter() noexcept {
    constexpr std::uint64_t kMost = 64 << 10;
    const std::uint64_t limit = memoryLimit.load(std::memory_order_relaxed);
    return static_cast<std::int64_t>(limit == 0 ? kMost : std::min(kMost, limit / 64));
}

void PassOnIfItMatters(Line& line, std::uint32_t number) noexcept {
    const std::int64_t bytes = line.bytes.load(std::memory_order_relaxed);
    const std::int64_t gross = line.gross.load(std::memory_order_relaxed);
    const std::int64_t enough = BytesThatMatter();
    if (gross >= enough || bytes >= enough || bytes <= -enough) PassOn(line, number);
}

/// Sums of what threads have counted.
struct Counted {
    std::uint64_t hits = 0;
    std::uint64_t misses = 0;
    std::uint64_t drops = 0;
    std::int64_t entries = 0;
    std::int64_t bytes = 0; // that are not in the totals

    void add(const Line& line) noexcept {
        hits += line.hits.load(std::memory_order_relaxed);
        misses += line.misses.load(std::memory_order_relaxed);
        drops += line.drops.load(std::memory_order_relaxed);
        entries += line.entries.load(std::memory_order_relaxed);
        bytes += line.bytes.load(std::memory_order_relaxed);
    }
};

struct Registry {
    std::mutex lock; // guards all but the values of the lines
    CacheCounts* newest = nullptr;
    std::array<Counted, kMostCaches> ended; // by threads that have ended
    std::array<Counted, kMostCaches> reset; // until the last reset
    std::array<Line, kMostCaches> shared;   // by threads without memory for counts of their own
    std::atomic<Cache*> newestCache{nullptr};
    std::uint32_t numberOfCaches = 0;
    std::array<const char*, kMostCaches> names{};

    /// The lock is held.
    Counted sum(std::uint32_t number) const noexcept {
        Counted all = ended[number];
        all.add(shared[number]);
        for (const CacheCounts* thread = newest; thread; thread = thread->next)
            all.add(thread->lines[number]);
        return all;
    }
};

/// Never destroyed, because threads count until the process ends, and in static memory, because
/// counting must not fail.
Registry& GetRegistry() noexcept {
    alignas(Registry) static unsigned char memory[sizeof(Registry)];
    static auto* const registry = new (memory) Registry;
    return *registry;
}

/// Counts less those at the last reset.
void AddUp(CacheStatistics& cache, const Counted& now, const Counted& reset) noexcept {
    cache.entries += NotNegative(now.entries);
    cache.hits += now.hits - reset.hits;
    cache.misses += now.misses - reset.misses;
    cache.drops += now.drops - reset.drops;
}

/// The calling thread's line, or the shared one.
class LineOfThread {
public:
    explicit LineOfThread(std::uint32_t number) noexcept
        : own(PerThread<CacheCounts>::Get()), number(number),
          line(own ? own->lines[number] : GetRegistry().shared[number]) {}

    template <typename T>
    void add(std::atomic<T> Line::*count, std::uint64_t by) noexcept {
        const T more = static_cast<T>(by); // from 2^64 - n, too: this subtracts n
        if (own)
            CacheCounts::Increase(line.*count, more);
        else
            (line.*count).fetch_add(more, std::memory_order_relaxed);
    }

    void passOnIfItMatters() noexcept { PassOnIfItMatters(line, number); }

private:
    CacheCounts* const own;
    const std::uint32_t number;
    Line& line;
};

} // namespace

CacheCounts::CacheCounts() noexcept {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    next = registry.newest;
    if (next) next->previous = this;
    registry.newest = this;
}

CacheCounts::~CacheCounts() {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    for (std::uint32_t number = 0; number < kMostCaches; ++number) {
        PassOn(lines[number], number);
        registry.ended[number].add(lines[number]);
    }
    (previous ? previous->next : registry.newest) = next;
    if (next) next->previous = previous;
}

void CacheCounts::HitOfNewThread(const Cache& cache) noexcept {
    LineOfThread(cache.number).add(&Line::hits, 1);
}

void CacheCounts::Flush() noexcept {
    CacheCounts* const own = PerThread<CacheCounts>::Find();
    auto& lines = own ? own->lines : GetRegistry().shared;
    for (std::uint32_t number = 0; number < kMostCaches; ++number)
        PassOn(lines[number], number);
}

void Cache::hit(std::uint64_t times) noexcept {
    LineOfThread(number).add(&Line::hits, times);
}

void Cache::miss(std::uint64_t times) noexcept {
    LineOfThread(number).add(&Line::misses, times);
}

void Cache::added(std::uint64_t bytes, std::uint64_t entries) noexcept {
    LineOfThread line(number);
    line.add(&Line::entries, entries);
    line.add(&Line::bytes, bytes);
    line.add(&Line::gross, bytes);
    line.passOnIfItMatters();
}

void Cache::removed(std::uint64_t bytes, std::uint64_t entries) noexcept {
    LineOfThread line(number);
    line.add(&Line::entries, 0 - entries);
    line.add(&Line::bytes, 0 - bytes);
    line.passOnIfItMatters();
}

void Cache::dropped(std::uint64_t bytes, std::uint64_t entries) noexcept {
    LineOfThread(number).add(&Line::drops, entries);
    removed(bytes, entries);
}

Cache::Cache(const char* name) noexcept : name(name) {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    number = std::min(registry.numberOfCaches++, kMostCaches - 1);
    if (!registry.names[number]) registry.names[number] = name;
    next = registry.newestCache.load(std::memory_order_relaxed);
    registry.newestCache.store(this, std::memory_order_release);
}

Cache::~Cache() = default;

Cache* CacheCounts::NewestCache() noexcept {
    return GetRegistry().newestCache.load(std::memory_order_acquire);
}

MemoryStatistics CacheCounts::Statistics() {
    Registry& registry = GetRegistry();
    std::array<Counted, kMostCaches> counted;
    std::array<Counted, kMostCaches> reset;
    std::array<const char*, kMostCaches> names;
    {
        const std::lock_guard<std::mutex> guard(registry.lock);
        for (std::uint32_t number = 0; number < kMostCaches; ++number)
            counted[number] = registry.sum(number);
        reset = registry.reset;
        names = registry.names;
    }
    MemoryStatistics all;
    std::int64_t bytesOfAll = 0;
    std::map<std::string, CacheStatistics> byName;
    for (std::uint32_t number = 0; number < kMostCaches; ++number) {
        if (!names[number]) continue;
        const std::int64_t bytes = counted[number].bytes + totals.caches[number].signedBytes();
        bytesOfAll += bytes;
        CacheStatistics& cache = byName[names[number]];
        AddUp(cache, counted[number], reset[number]);
        cache.bytes += NotNegative(bytes);
        cache.peak += std::max(totals.caches[number].highest(), NotNegative(bytes));
    }
    all.bytes = NotNegative(bytesOfAll);
    all.peak = std::max(totals.all.highest(), all.bytes);
    for (auto& [name, cache] : byName) {
        cache.name = name;
        all.caches.push_back(std::move(cache));
    }
    return all;
}

void CacheCounts::Reset() noexcept {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    totals.all.forgetPeak();
    for (std::uint32_t number = 0; number < kMostCaches; ++number) {
        totals.caches[number].forgetPeak();
        registry.reset[number] = registry.sum(number);
    }
}

void NoteLimit() noexcept {
    DecideRelief(0);
}

void NoteRelief(bool hasFreedAll) noexcept {
    const std::uint64_t limit = ShareOfCaches(memoryLimit.load(std::memory_order_relaxed));
    DecideRelief(hasFreedAll ? ReliefStep(limit) : limit / 16);
}

std::uint64_t BytesBeyondLimit() noexcept {
    const std::uint64_t limit = ShareOfCaches(memoryLimit.load(std::memory_order_relaxed));
    const std::uint64_t now = totals.all.now();
    return limit != 0 && now > limit ? now - limit : 0;
}

} // namespace OxTellarMemory
