#ifndef TELLAR_PLATFORM_COUNTEDENTRIES_H
#define TELLAR_PLATFORM_COUNTEDENTRIES_H

#include <cstdint>
#include <utility>

#include <OxTellarSDK/MemoryBudget.h>

namespace TELLAR {

/// What the entries of one table count in the statistics of its cache. They are taken off again
/// when the table is destroyed. For use under the table's lock.
class CountedEntries {
public:
    CountedEntries() = default;
    CountedEntries(CountedEntries&& other) noexcept
        : cache(other.cache), bytes(std::exchange(other.bytes, 0)),
          entries(std::exchange(other.entries, 0)) {}
    CountedEntries& operator=(CountedEntries&& other) noexcept {
        std::swap(cache, other.cache);
        std::swap(bytes, other.bytes);
        std::swap(entries, other.entries);
        return *this;
    }
    ~CountedEntries() {
        if (cache) cache->removed(bytes, entries);
    }

    /// With 0 entries: one that is there takes more than before.
    void add(OxTellarMemory::Cache& owner, std::uint64_t more, std::uint64_t count = 1) noexcept {
        cache = &owner;
        bytes += more;
        entries += count;
        owner.added(more, count);
    }
    void remove(std::uint64_t less, std::uint64_t count = 1) noexcept {
        forget(less, count);
        cache->removed(less, count);
    }
    /// An entry that has to go because memory is short.
    void drop(std::uint64_t less, std::uint64_t count = 1) noexcept {
        forget(less, count);
        cache->dropped(less, count);
    }

private:
    void forget(std::uint64_t less, std::uint64_t count) noexcept {
        bytes -= less;
        entries -= count;
    }

    OxTellarMemory::Cache* cache = nullptr; // null: nothing was added yet
    std::uint64_t bytes = 0;
    std::uint64_t entries = 0;
};

} // namespace TELLAR

#endif
