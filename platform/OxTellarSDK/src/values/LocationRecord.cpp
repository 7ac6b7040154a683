#include <OxTellarSDK/LocationRecord.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

#include <xxhash.h>

#include <OxTellarSDK/TellarRuntime.h>

#include "Arena.h"
#include "PerThread.h"

namespace OxTellarRuntimeDetail {

namespace {

constexpr std::size_t kSlabRecords = 512;
constexpr std::size_t kKeptPerThread = 1024;

struct Pool {
    std::mutex lock;
    std::vector<LocationRecord*> free; // has room for all records: giving one back never fails
    std::size_t made = 0;
    Arena arena;

    /// The lock is held.
    void makeRoom(std::size_t more) {
        const std::size_t wanted = made + more;
        if (wanted > free.capacity()) free.reserve(std::max(wanted, 2 * free.capacity()));
        made = wanted;
    }
};

Pool& GetPool() {
    static Pool* const pool = new Pool;
    return *pool;
}

/// Free records of one thread; they go back to the pool when the thread ends.
class ThreadCache {
public:
    ThreadCache() { free.reserve(kKeptPerThread + 1); }
    ~ThreadCache() { giveBack(0); }
    ThreadCache(const ThreadCache&) = delete;
    ThreadCache& operator=(const ThreadCache&) = delete;

    LocationRecord* take() {
        if (free.empty()) refill();
        LocationRecord* record = free.back();
        free.pop_back();
        return record;
    }

    void give(LocationRecord* record) noexcept {
        free.push_back(record);
        if (free.size() > kKeptPerThread) giveBack(kKeptPerThread / 2);
    }

private:
    void refill() {
        Pool& pool = GetPool();
        LocationRecord* slab = nullptr;
        {
            const std::lock_guard<std::mutex> guard(pool.lock);
            while (!pool.free.empty() && free.size() < kSlabRecords) {
                free.push_back(pool.free.back());
                pool.free.pop_back();
            }
            if (!free.empty()) return;
            slab = static_cast<LocationRecord*>(
                pool.arena.allocate(kSlabRecords * sizeof(LocationRecord)));
            pool.makeRoom(kSlabRecords);
        }
        // Taken from the back: in the order of their addresses.
        for (std::size_t i = kSlabRecords; i > 0; --i)
            free.push_back(new (slab + i - 1) LocationRecord);
    }

    void giveBack(std::size_t keep) noexcept {
        Pool& pool = GetPool();
        const std::lock_guard<std::mutex> guard(pool.lock);
        pool.free.insert(pool.free.end(), free.begin() + static_cast<std::ptrdiff_t>(keep),
                         free.end());
        free.resize(keep);
    }

    std::vector<LocationRecord*> free;
};

/// For a thread without a cache.
LocationRecord* TakeFromPool() {
    Pool& pool = GetPool();
    const std::lock_guard<std::mutex> guard(pool.lock);
    if (pool.free.empty()) {
        pool.makeRoom(1);
        return new LocationRecord;
    }
    LocationRecord* record = pool.free.back();
    pool.free.pop_back();
    return record;
}

} // namespace

LocationRecord* LocationRecord::Create() {
    ThreadCache* cache = PerThread<ThreadCache>::Get();
    LocationRecord* record = cache ? cache->take() : TakeFromPool();
    record->exists = 0;
    record->hash[0].store(0, std::memory_order_relaxed);
    record->count.store(1, std::memory_order_release);
    return record;
}

LocationRecord* LocationRecord::Missing() {
    static LocationRecord* const missing = Create();
    missing->retain();
    return missing;
}

const OxAttribute::GroupAttribute& LocationRecord::NoAttrs() {
    static const auto* const none = new OxAttribute::GroupAttribute;
    return *none;
}

const OxAttribute::StringAttribute& LocationRecord::NoPotentialChildren() {
    static const auto* const none = new OxAttribute::StringAttribute;
    return *none;
}

void LocationRecord::recycle() noexcept {
    attrs = OxAttribute::GroupAttribute();
    potentialChildren = OxAttribute::StringAttribute();
    note = OxAttribute::Attribute();
    if (ThreadCache* cache = PerThread<ThreadCache>::Get()) {
        cache->give(this);
        return;
    }
    Pool& pool = GetPool();
    const std::lock_guard<std::mutex> guard(pool.lock);
    pool.free.push_back(this);
}

} // namespace OxTellarRuntimeDetail

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

TellarRuntime::LocationData::LocationData(const GroupAttribute& group) {
    if (!group.isValid()) return;
    record = OxTellarRuntimeDetail::LocationRecord::Create();
    record->exists = IntAttribute(group.getChildByName("exists")).getValue(1, false) != 0;
    record->attrs = GroupAttribute(group.getChildByName("attrs"));
    record->potentialChildren = StringAttribute(group.getChildByName("pc"));
}

Hash TellarRuntime::LocationData::getHash() const {
    if (!record) return {};
    if (const std::uint64_t first = record->hash[0].load(std::memory_order_acquire))
        return {{first, record->hash[1].load(std::memory_order_relaxed)}};
    const Hash parts[2] = {record->attrs.getHash(), record->potentialChildren.getHash()};
    const XXH128_hash_t value = XXH3_128bits_withSeed(parts, sizeof parts, record->exists);
    const Hash hash{{value.high64 != 0 ? value.high64 : 1, value.low64}};
    record->hash[1].store(hash.words[1], std::memory_order_relaxed);
    record->hash[0].store(hash.words[0], std::memory_order_release);
    return hash;
}
