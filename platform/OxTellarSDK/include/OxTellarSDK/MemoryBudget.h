#ifndef OXTELLARSDK_MEMORYBUDGET_H
#define OXTELLARSDK_MEMORYBUDGET_H

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <OxTellarSDK/Export.h>

/// One limit for the memory of all that this process keeps although it could be made again: results
/// of cooks, flattened materials, textures and so on. docs/memory.md tells what is counted.
///
/// Any number of threads may call everything here at once.
namespace OxTellarMemory {

/// Smaller limits count as this one, in bytes.
constexpr std::uint64_t kSmallestMemoryLimit = 1 << 20;
/// The limit of a process that drops nothing.
constexpr std::uint64_t kUnlimitedMemory = ~std::uint64_t{0};

/// Half of the memory, in bytes, of the machine, or of the control group that the process belongs
/// to if that may use less. kUnlimitedMemory where neither is known.
[[nodiscard]] OXTELLARSDK_API std::uint64_t GetDefaultMemoryLimit();

/// The limit in bytes: the one that was set last, or else that of the configuration key
/// MEMORY_LIMIT, or else the default. A value of the key that is no size is logged as an error
/// once.
[[nodiscard]] OXTELLARSDK_API std::uint64_t GetMemoryLimit();

/// Sets the limit, and drops what exceeds it before it returns, except for what callers hold. Must
/// not be called with a lock that a cache may need.
OXTELLARSDK_API void SetMemoryLimit(std::uint64_t bytes);

/// Reads a number with an optional unit, for example "2G", "512 MiB", "1.5gb" or "1000000", or
/// "unlimited". K, M, G and T stand for powers of 1024, with or without "B" or "iB" behind them.
/// Returns the number of bytes, or nothing when the text is no size; the reason is then assigned to
/// *error, unless error is null.
[[nodiscard]] OXTELLARSDK_API std::optional<std::uint64_t>
ParseMemorySize(const std::string& text, std::string* error = nullptr);

/// What one cache keeps, and how often it was of use.
struct CacheStatistics {
    std::string name;
    std::uint64_t entries = 0;
    std::uint64_t bytes = 0;
    std::uint64_t peak = 0; ///< the most bytes, except for up to 64 KiB a thread
    std::uint64_t hits = 0;
    std::uint64_t misses = 0;
    std::uint64_t drops = 0; ///< entries that were removed to free memory
};

struct MemoryStatistics {
    std::uint64_t limit = 0;
    std::uint64_t bytes = 0; ///< of all caches
    std::uint64_t peak = 0;  ///< the most bytes of all caches, except for up to 64 KiB a thread
    /// By how many bytes the limit is exceeded. Only what callers hold, and what was added since
    /// the last relief, can exceed it.
    std::uint64_t beyondLimit = 0;
    std::uint64_t reliefs = 0;           ///< how often memory was freed because of the limit
    std::vector<CacheStatistics> caches; ///< in the order of their names
};

/// Sums up what all threads have counted. Exact while no thread adds or removes anything.
[[nodiscard]] OXTELLARSDK_API MemoryStatistics GetMemoryStatistics();

/// Counts hits, misses, drops and reliefs from 0 again, and peaks from what is kept now.
OXTELLARSDK_API void ResetMemoryStatistics();

/// For this header's inline functions.
struct alignas(64) MemoryPressure {
    std::atomic<std::uint32_t> tick{16}; ///< begins where ages can be subtracted
    std::atomic<bool> isReliefDue{true}; ///< the first relief learns the limit
};
extern OXTELLARSDK_API MemoryPressure memoryPressure;

/// The time by which caches note when an entry was last used. It advances only while memory is
/// added and more than half of the limit is in use: each time that another sixteenth of the limit
/// was added. So an entry that is used again and again is hardly ever written:
///
///     if (entry.usedIn != tick) entry.usedIn = tick;
[[nodiscard]] inline std::uint32_t CurrentTick() noexcept {
    return memoryPressure.tick.load(std::memory_order_relaxed);
}

/// Frees memory if caches take more than seven eighths of the limit, and 2 MiB more than that, or a
/// sixteenth of a small limit. The rest of the limit is for the holes in memory that is freed and
/// used again. Caches call this after they have added something, without any lock, guard or pin of
/// theirs, because it calls Cache::drop of all caches. While one thread frees memory, others go on,
/// unless caches take more than fifteen sixteenths of the limit: then they wait for it. When that
/// much cannot be freed because callers hold it, the next attempt is made after another sixteenth
/// of the limit was added.
OXTELLARSDK_API void RelieveMemoryNow() noexcept;
inline void RelieveMemory() noexcept {
    if (memoryPressure.isReliefDue.load(std::memory_order_relaxed)) RelieveMemoryNow();
}

/// A cache that counts what it does and gives up its entries when memory is short. Make it with
/// `new`, in a library that stays loaded, and never destroy it: it is known to the process from
/// then on.
///
/// Each thread counts in memory of its own, so that counting writes no memory that another thread
/// writes. The counting functions never call drop.
class OXTELLARSDK_API Cache {
public:
    /// The name is for people, as "flattened materials". It must outlive the process's threads. If
    /// two caches have the same name, the statistics add them up.
    explicit Cache(const char* name) noexcept;
    Cache(const Cache&) = delete;
    Cache& operator=(const Cache&) = delete;

    /// Something was asked for, and was there.
    void hit(std::uint64_t times = 1) noexcept;
    /// Something was asked for that had to be made.
    void miss(std::uint64_t times = 1) noexcept;
    /// An entry was added that takes so many bytes, with all that it alone keeps alive.
    void added(std::uint64_t bytes, std::uint64_t entries = 1) noexcept;
    /// An entry was removed by its owner. With 0 entries: it takes less than before.
    void removed(std::uint64_t bytes, std::uint64_t entries = 1) noexcept;
    /// Like `removed`, for an entry that had to go because memory is short.
    void dropped(std::uint64_t bytes, std::uint64_t entries = 1) noexcept;

    /// Frees entries that were last used before the tick until so many bytes are free, or as many
    /// as there are, and returns their bytes, which it has given to `dropped`. Called by one thread
    /// at a time, at any moment at which some thread calls RelieveMemory.
    virtual std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) = 0;

protected:
    virtual ~Cache();

private:
    friend struct CacheCounts;

    const char* const name;
    std::uint32_t number = 0;
    Cache* next = nullptr;
};

/// RelieveMemory for caches that grow while their users hold locks: frees entries of this one only,
/// and none that was used in the current tick. Its drop() must take no lock that is held meanwhile.
/// Other caches follow at the next RelieveMemory, if that was not enough.
OXTELLARSDK_API void RelieveMemoryOf(Cache& cache) noexcept;

} // namespace OxTellarMemory

#endif
