#include <OxTellarSDK/Attribute.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <tuple>
#include <utility>
#include <vector>

#include <xxhash.h>

#include <OxTellarSDK/MemoryBudget.h>

#include "NodeAccess.h"
#include "PerThread.h"

// Finding a string in a list. Long lists are indexed when they are first asked: a location with a
// hundred thousand children is asked for many of them by name.
//
// Indexes are cached by what identifies their list: its content, or its place in a file, so that
// one is found again whoever holds the list, and none keeps a list or a file alive. They hold
// places only, and names are compared in the list itself. The cache counts in the budget of memory.
// Each thread holds the index that it asked last; no other one is held while nobody asks it.

namespace OxAttribute {

namespace {

// A search through so many takes about as long as the cook of a location.
constexpr std::int64_t kScannedValues = 256;
// Beyond this, places do not fit in an index.
constexpr std::int64_t kMostValues = 1ll << 31;

/// The values of all samples, one sample after the other. The list must live as long.
class Strings {
public:
    explicit Strings(const Node* list) : view(ViewOf(list, kAttributeTypeString)) {}

    std::string_view operator[](std::int64_t place) const {
        return view.text(static_cast<std::uint64_t>(place));
    }
    std::int64_t count() const { return static_cast<std::int64_t>(view.elements()); }

    /// The first place of a text, or -1.
    std::int64_t scan(std::string_view text) const {
        if (!view.ends) return view.count == 1 && view.text(0) == text ? 0 : -1;
        if (text.size() >= view.textBytes) return -1;
        if (text.size() >= 8) return scanBy<std::uint64_t>(text);
        if (text.size() >= 4) return scanBy<std::uint32_t>(text);
        return scanBy<char>(text);
    }

private:
    /// Words at the ends tell nearly all strings apart, because names of siblings are alike at the
    /// front; `Word` is no longer than the text and its NUL. Reads no bytes outside of the list,
    /// whatever its offsets are: those of a file may change.
    template <typename Word>
    std::int64_t scanBy(std::string_view text) const {
        constexpr std::size_t kTail = sizeof(Word) > 1 ? sizeof(Word) : 0;
        const auto length = static_cast<std::uint32_t>(text.size() + 1);
        const std::uint32_t lastBegin = view.textBytes - length; // not less than 0
        const char* const tail = text.data() + text.size() - kTail;
        const char* const firstTail = view.values + text.size() - kTail;
        const std::uint32_t* const ends = view.ends + 1;
        const auto all = static_cast<std::int64_t>(view.elements());
        std::uint32_t before = view.ends[0];
        for (std::int64_t i = 0; i < all; ++i) {
            const std::uint32_t end = ends[i];
            const std::uint32_t begin = end - length; // a huge number if the end is too small
            const bool isAsLong = begin == before;
            before = end;
            if (!isAsLong || begin > lastBegin) continue;
            if (kTail > 0 && !IsSameWord<Word>(firstTail + begin, tail)) continue;
            if (IsSameText(view.values + begin, text.data(), text.size())) return i;
        }
        return -1;
    }

    const DataView view;
};

/// Places of strings by their hashes, with open addressing: a slot holds a place + 1, or 0.
class NameIndex {
public:
    explicit NameIndex(const Strings& strings) {
        const std::int64_t count = strings.count();
        std::size_t size = 1;
        while (size < 2 * static_cast<std::size_t>(count))
            size *= 2;
        slots.resize(size);
        for (std::int64_t place = 0; place < count; ++place) {
            std::uint32_t& slot = slots[slotOf(strings, strings[place])];
            if (slot == 0) slot = static_cast<std::uint32_t>(place) + 1; // the first of equal ones
        }
    }

    std::int64_t find(const Strings& strings, std::string_view text) const {
        return std::int64_t(slots[slotOf(strings, text)]) - 1;
    }
    std::uint64_t bytes() const { return sizeof *this + slots.size() * sizeof slots[0]; }

    /// When it was last asked, in ticks of the budget.
    std::uint32_t lastUse() const { return usedIn.load(std::memory_order_relaxed); }
    void noteUse() const {
        const std::uint32_t tick = OxTellarMemory::CurrentTick();
        if (lastUse() != tick) usedIn.store(tick, std::memory_order_relaxed);
    }

private:
    /// The slot of a text, or the free one where it would be.
    std::size_t slotOf(const Strings& strings, std::string_view text) const {
        const std::size_t mask = slots.size() - 1;
        std::size_t at = XXH3_64bits(text.data(), text.size()) & mask;
        while (slots[at] != 0 && strings[slots[at] - 1] != text)
            at = (at + 1) & mask;
        return at;
    }

    std::vector<std::uint32_t> slots;
    mutable std::atomic<std::uint32_t> usedIn{OxTellarMemory::CurrentTick()};
};

using NameIndexPtr = std::shared_ptr<const NameIndex>;

/// Identifies a list: by container and address in a file, otherwise by its content.
struct ListKey {
    std::uint64_t container = 0; // 0 in memory, for container numbers begin with 1
    Hash hash;

    ListKey() = default;
    explicit ListKey(const StringAttribute& list) {
        const Node* const node = list.getHandle();
        if (const Container* file = Container::Of(node)) {
            container = file->number();
            hash.words[0] = reinterpret_cast<std::uintptr_t>(node);
        } else {
            hash = list.getHash(); // kept with the value
        }
    }

    bool operator==(const ListKey& other) const {
        return container == other.container && hash == other.hash;
    }
    bool operator<(const ListKey& other) const {
        return std::tie(container, hash) < std::tie(other.container, other.hash);
    }
};

class NameIndexes final : public OxTellarMemory::Cache {
public:
    NameIndexes() : Cache("names of children") {}

    NameIndexPtr find(const ListKey& key) {
        const std::lock_guard<std::mutex> guard(lock);
        const auto known = byList.find(key);
        return known == byList.end() ? nullptr : known->second;
    }

    void keep(const ListKey& key, const NameIndexPtr& index) {
        const std::lock_guard<std::mutex> guard(lock);
        if (byList.emplace(key, index).second) added(index->bytes());
    }

    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) override {
        const std::lock_guard<std::mutex> guard(lock);
        std::uint64_t freed = 0;
        for (auto entry = byList.begin(); entry != byList.end() && freed < wanted;) {
            const NameIndexPtr& index = entry->second;
            // The count cannot grow meanwhile, because others get an index under the lock.
            const bool isHeld = index.use_count() > 1;
            if (isHeld || static_cast<std::int32_t>(index->lastUse() - usedBefore) >= 0) {
                ++entry;
                continue;
            }
            dropped(index->bytes());
            freed += index->bytes();
            entry = byList.erase(entry);
        }
        return freed;
    }

private:
    std::mutex lock;
    std::map<ListKey, NameIndexPtr> byList;
};

NameIndexes& GetNameIndexes() {
    static auto* const indexes = new NameIndexes;
    return *indexes;
}

/// The index that a thread asked last, so that repeated questions take no lock.
struct LastIndex {
    ListKey key;
    NameIndexPtr index;
};

NameIndexPtr GetIndex(const ListKey& key, const Strings& strings) {
    NameIndexes& indexes = GetNameIndexes();
    if (NameIndexPtr known = indexes.find(key)) {
        indexes.hit();
        return known;
    }
    indexes.miss();
    auto made = std::make_shared<const NameIndex>(strings);
    indexes.keep(key, made);
    return made;
}

std::int64_t FindIndexed(const StringAttribute& list, const Strings& strings,
                         std::string_view text) try {
    const ListKey key(list);
    LastIndex* const last = PerThread<LastIndex>::Get();
    if (last && last->index && last->key == key) {
        last->index->noteUse();
        return last->index->find(strings, text);
    }
    NameIndexPtr index = GetIndex(key, strings);
    index->noteUse();
    const std::int64_t place = index->find(strings, text);
    if (last) *last = {key, std::move(index)};
    OxTellarMemory::RelieveMemory();
    return place;
} catch (const std::bad_alloc&) {
    return strings.scan(text);
}

} // namespace

std::int64_t StringAttribute::findValue(std::string_view text) const {
    if (!handle) return -1;
    const Strings strings(handle);
    const std::int64_t count = strings.count();
    if (count <= kScannedValues || count >= kMostValues) return strings.scan(text);
    return FindIndexed(*this, strings, text);
}

} // namespace OxAttribute
