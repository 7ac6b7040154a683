#ifndef OXTELLARSDK_TESTCACHE_H
#define OXTELLARSDK_TESTCACHE_H

#include <cstdint>
#include <map>
#include <mutex>

#include <OxTellarSDK/MemoryBudget.h>

namespace TellarTest {

/// A cache of numbers, each of which counts as some bytes. Make it with `new` and keep it: caches
/// are never destroyed.
class TestCache final : public OxTellarMemory::Cache {
public:
    using Cache::Cache;

    /// Returns whether the number was there.
    bool use(int number, std::uint64_t bytes) {
        const bool isNew = enter(number, bytes);
        if (isNew) OxTellarMemory::RelieveMemory();
        return !isNew;
    }

    /// Entries that are held are not dropped.
    void hold(bool isHeld) {
        const std::lock_guard<std::mutex> guard(lock);
        areHeld = isHeld;
    }

    bool has(int number) {
        const std::lock_guard<std::mutex> guard(lock);
        return entries.count(number) != 0;
    }

    void clear() {
        const std::lock_guard<std::mutex> guard(lock);
        for (const auto& [number, entry] : entries)
            removed(entry.bytes);
        entries.clear();
    }

    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) override {
        const std::lock_guard<std::mutex> guard(lock);
        std::uint64_t freed = 0;
        for (auto i = entries.begin(); !areHeld && i != entries.end() && freed < wanted;) {
            if (i->second.usedIn >= usedBefore) {
                ++i;
                continue;
            }
            freed += i->second.bytes;
            dropped(i->second.bytes);
            i = entries.erase(i);
        }
        return freed;
    }

private:
    struct Entry {
        std::uint64_t bytes;
        std::uint32_t usedIn;
    };

    bool enter(int number, std::uint64_t bytes) {
        const std::uint32_t now = OxTellarMemory::CurrentTick();
        const std::lock_guard<std::mutex> guard(lock);
        const auto [place, isNew] = entries.try_emplace(number, Entry{bytes, now});
        place->second.usedIn = now;
        if (isNew) {
            miss();
            added(bytes);
        } else {
            hit();
        }
        return isNew;
    }

    std::mutex lock;
    std::map<int, Entry> entries;
    bool areHeld = false;
};

} // namespace TellarTest

#endif
