#include <OxTellarSDK/LocationRecord.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include <xxhash.h>

#include <OxTellarSDK/TellarRuntime.h>

#include "Arena.h"
#include "PerThread.h"
#include "ResultMemory.h"
#include "SmallMemory.h"

namespace OxTellarRuntimeDetail {

namespace {

constexpr std::size_t kSlabRecords = 512;
constexpr std::size_t kKeptPerThread = 1024;

/// The free records of one kind, LocationRecords or ParentRecords, that no thread keeps.
struct Pool {
    std::mutex lock;
    LocationRecord* free = nullptr;
    Arena arena;

    // The lock is held.
    void give(LocationRecord* record) noexcept { SetNext(*record, std::exchange(free, record)); }
    LocationRecord* take() noexcept { return free ? std::exchange(free, NextOf(*free)) : nullptr; }

    /// Records without a count are in one list, which goes through them: giving one back needs no
    /// memory. Their attributes are handles of nothing, so the place of the extra part is free.
    static LocationRecord* NextOf(const LocationRecord& record) noexcept {
        return reinterpret_cast<LocationRecord*>(record.extra.load(std::memory_order_relaxed));
    }
    static void SetNext(LocationRecord& record, LocationRecord* next) noexcept {
        record.extra.store(reinterpret_cast<LocationRecord::Extra*>(next),
                           std::memory_order_relaxed);
    }
};

template <typename Record>
Pool& GetPool() {
    static Pool* const pool = new Pool;
    return *pool;
}

/// Free records of one kind and thread; they go back to the pool when the thread ends.
template <typename Record>
class FreeRecords {
public:
    FreeRecords() { free.reserve(kKeptPerThread + 1); }
    ~FreeRecords() { giveBack(0); }
    FreeRecords(const FreeRecords&) = delete;
    FreeRecords& operator=(const FreeRecords&) = delete;

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
        Pool& pool = GetPool<Record>();
        Record* slab = nullptr;
        {
            const std::lock_guard<std::mutex> guard(pool.lock);
            while (pool.free && free.size() < kSlabRecords)
                free.push_back(pool.take());
            if (!free.empty()) return;
            slab = static_cast<Record*>(pool.arena.allocate(kSlabRecords * sizeof(Record)));
        }
        // Taken from the back: in the order of their addresses.
        for (std::size_t i = kSlabRecords; i > 0; --i)
            free.push_back(new (slab + i - 1) Record);
    }

    void giveBack(std::size_t keep) noexcept {
        Pool& pool = GetPool<Record>();
        const std::lock_guard<std::mutex> guard(pool.lock);
        for (; free.size() > keep; free.pop_back())
            pool.give(free.back());
    }

    std::vector<LocationRecord*> free;
};

struct ThreadCache {
    FreeRecords<LocationRecord> leaves;
    FreeRecords<ParentRecord> parents;
};

/// For a thread without a cache.
template <typename Record>
LocationRecord* TakeFromPool() {
    Pool& pool = GetPool<Record>();
    const std::lock_guard<std::mutex> guard(pool.lock);
    LocationRecord* const record = pool.take();
    return record ? record : new Record;
}

template <typename Record>
void GiveToPool(LocationRecord& record) noexcept {
    Pool& pool = GetPool<Record>();
    const std::lock_guard<std::mutex> guard(pool.lock);
    pool.give(&record);
}

LocationRecord* TakeLeaf() {
    ThreadCache* const cache = PerThread<ThreadCache>::Get();
    return cache ? cache->leaves.take() : TakeFromPool<LocationRecord>();
}

LocationRecord* TakeParent(const OxAttribute::StringAttribute& names) {
    ThreadCache* const cache = PerThread<ThreadCache>::Get();
    LocationRecord* const record = cache ? cache->parents.take() : TakeFromPool<ParentRecord>();
    static_cast<ParentRecord*>(record)->names = names;
    return record;
}

std::uint64_t BytesOfExtra() {
    return SmallMemory::RoomFor(sizeof(LocationRecord::Extra));
}

} // namespace

void* LocationRecord::Extra::operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    try {
        return SmallMemory::Take(bytes);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void LocationRecord::Extra::operator delete(void* memory, std::size_t bytes) noexcept {
    SmallMemory::Give(memory, bytes);
}

LocationRecord* LocationRecord::Create(const OxAttribute::StringAttribute& potentialChildren) {
    LocationRecord* const record =
        potentialChildren.isValid() ? TakeParent(potentialChildren) : TakeLeaf();
    record->exists = 0;
    record->valueUnits = 0;
    record->extra.store(nullptr, std::memory_order_relaxed);
    record->count.store(1, std::memory_order_release);
    ResultMemory::Get().added(record->bytes());
    return record;
}

void LocationRecord::takeFrom(LocationRecord& other) noexcept {
    exists = other.exists;
    attrs = std::move(other.attrs);
    extra.store(other.extra.exchange(nullptr, std::memory_order_relaxed),
                std::memory_order_relaxed);
}

LocationRecord* LocationRecord::Missing() {
    static LocationRecord* const missing = Create({});
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

void LocationRecord::ownValues(std::uint64_t valueBytes) noexcept {
    constexpr std::uint64_t most = 0x3fffffff;
    if (valueUnits != 0 || valueBytes == 0) return;
    valueUnits = static_cast<std::uint32_t>(std::min(most, valueBytes / kUnitBytes)) & most;
    ResultMemory::Get().added(valueUnits * kUnitBytes, 0);
}

LocationRecord::Extra* LocationRecord::needExtra() noexcept {
    Extra* known = extra.load(std::memory_order_acquire);
    if (known) return known;
    std::unique_ptr<Extra> made(new (std::nothrow) Extra);
    if (!made || !extra.compare_exchange_strong(known, made.get(), std::memory_order_acq_rel))
        return known;
    ResultMemory::Get().added(BytesOfExtra(), 0);
    return made.release();
}

void LocationRecord::setNote(const OxAttribute::Attribute& note, std::uint32_t store) {
    Extra* const own = needExtra();
    if (!own) throw std::bad_alloc();
    own->note = note;
    own->noteStore = store;
}

std::uint64_t LocationRecord::drop() noexcept {
    if (count.fetch_sub(1, std::memory_order_acq_rel) != 1) return 0;
    const std::uint64_t freed = bytes();
    ResultMemory::Get().dropped(freed);
    clear();
    return freed;
}

void LocationRecord::recycle() noexcept {
    ResultMemory::Get().removed(bytes());
    clear();
}

void LocationRecord::clear() noexcept {
    attrs = OxAttribute::GroupAttribute();
    if (isParent) static_cast<ParentRecord*>(this)->names = OxAttribute::StringAttribute();
    if (extra.load(std::memory_order_relaxed)) {
        const std::unique_ptr<Extra> dead(extra.exchange(nullptr, std::memory_order_relaxed));
        ResultMemory::Get().removed(BytesOfExtra(), 0);
    }
    ThreadCache* const cache = PerThread<ThreadCache>::Get();
    if (cache)
        isParent ? cache->parents.give(this) : cache->leaves.give(this);
    else
        isParent ? GiveToPool<ParentRecord>(*this) : GiveToPool<LocationRecord>(*this);
}

} // namespace OxTellarRuntimeDetail

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using OxAttribute::IntAttribute;

TellarRuntime::LocationData::LocationData(const GroupAttribute& group) {
    if (!group.isValid()) return;
    record = OxTellarRuntimeDetail::LocationRecord::Create(group.getChildByName("pc"));
    record->exists = IntAttribute(group.getChildByName("exists")).getValue(1, false) != 0;
    record->attrs = GroupAttribute(group.getChildByName("attrs"));
}

Hash TellarRuntime::LocationData::getHash() const {
    if (!record) return {};
    using Extra = OxTellarRuntimeDetail::LocationRecord::Extra;
    if (const Extra* known = record->extra.load(std::memory_order_acquire))
        if (const std::uint64_t first = known->hash[0].load(std::memory_order_acquire))
            return {{first, known->hash[1].load(std::memory_order_relaxed)}};
    const Hash parts[2] = {record->attrs.getHash(), record->potentialChildren().getHash()};
    const XXH128_hash_t value = XXH3_128bits_withSeed(parts, sizeof parts, record->exists);
    const Hash hash{{value.high64 != 0 ? value.high64 : 1, value.low64}};
    Extra* const extra = record->needExtra();
    if (!extra) return hash;
    extra->hash[1].store(hash.words[1], std::memory_order_relaxed);
    extra->hash[0].store(hash.words[0], std::memory_order_release);
    return hash;
}
