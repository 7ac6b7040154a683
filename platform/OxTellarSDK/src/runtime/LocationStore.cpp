#include "LocationStore.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <new>
#include <stdexcept>
#include <utility>

#include <xxhash.h>

#include "CookWaits.h"
#include "Prefetch.h"
#include "ThreadState.h"
#include "ThreadWord.h"

namespace OxTellarRuntimeDetail {

using OxAttribute::Prefetch;

namespace {

// Up to this many children a look at each is as fast as an index.
constexpr std::uint32_t kUnindexedChildren = 8;
constexpr std::uintptr_t kCacheLineBytes = 64;
// A step of a walk takes as long as memory needs to answer, or a little less.
constexpr std::uint32_t kFetchedAhead = 3;
// Children made at once when a walk begins to ask for them in order.
constexpr std::uint32_t kChildrenAtOnce = 256;

std::uint64_t HashName(std::string_view name) {
    return XXH3_64bits(name.data(), name.size());
}

} // namespace

/// The children of one node, in chunks that never move: the first of `firstChunk` nodes, the
/// second as large, each further one twice as large as the one before.
///
/// `count` nodes can be read by anybody. Adding, and the index by name, belong to the holder of
/// the parent's lock, who also sees those that are not published yet.
struct ChildList {
    static constexpr std::uint32_t kNearChunks = 4;
    static constexpr std::uint32_t kFarChunks = 29;
    using FarChunks = std::array<std::atomic<LocationNode*>, kFarChunks>;

    std::atomic<std::uint32_t> count{0};
    const std::uint32_t firstChunk;
    std::array<std::atomic<LocationNode*>, kNearChunks> nearChunks{};
    std::atomic<FarChunks*> farChunks{nullptr};
    std::uint32_t size = 0;           // with those that are not published yet
    std::vector<std::uint32_t> index; // open addressing; position + 1, 0 is free
    ChildList* nextDropped = nullptr; // while the store is destroyed

    /// `room` is at least 1.
    explicit ChildList(std::uint32_t room) : firstChunk(room > 0 ? room : 1) {}

    std::uint32_t chunkOf(std::uint32_t position) const {
        std::uint32_t chunk = 0;
        while (position >= std::uint64_t(firstChunk) << chunk)
            ++chunk;
        return chunk;
    }
    std::uint32_t chunkStart(std::uint32_t chunk) const {
        return chunk == 0 ? 0 : firstChunk << (chunk - 1);
    }
    std::uint32_t chunkSize(std::uint32_t chunk) const {
        return firstChunk << (chunk == 0 ? 0 : chunk - 1);
    }
    std::atomic<LocationNode*>& chunkAt(std::uint32_t chunk) {
        if (chunk < kNearChunks) return nearChunks[chunk];
        return (*farChunks.load(std::memory_order_acquire))[chunk - kNearChunks];
    }
    LocationNode& at(std::uint32_t position) {
        const std::uint32_t chunk = chunkOf(position);
        return chunkAt(chunk).load(std::memory_order_acquire)[position - chunkStart(chunk)];
    }
    /// Null when there is none, or none yet.
    LocationNode* published(std::uint32_t position) {
        return position < count.load(std::memory_order_acquire) ? &at(position) : nullptr;
    }

    LocationNode* findUnindexed(std::string_view name, std::uint32_t known) {
        for (std::uint32_t i = 0; i < known; ++i)
            if (at(i).name() == name) return &at(i);
        return nullptr;
    }

    LocationNode* find(std::string_view name, std::uint64_t hash) {
        if (size <= kUnindexedChildren) return findUnindexed(name, size);
        makeRoom(0);
        const std::uint64_t mask = index.size() - 1;
        for (std::uint64_t slot = hash & mask; index[slot] != 0; slot = (slot + 1) & mask)
            if (at(index[slot] - 1).name() == name) return &at(index[slot] - 1);
        return nullptr;
    }

    /// The index holds all children, or none as long as there are few.
    void enterIndex(std::uint32_t position, std::uint64_t hash) {
        const std::uint64_t mask = index.size() - 1;
        std::uint64_t slot = hash & mask;
        while (index[slot] != 0)
            slot = (slot + 1) & mask;
        index[slot] = position + 1;
    }

    /// Makes the index hold all children, with room for `more`.
    void makeRoom(std::uint32_t more) {
        const std::uint64_t wanted = std::uint64_t(size) + more + 1;
        std::uint64_t slots = index.empty() ? 32 : index.size();
        if (!index.empty() && wanted * 4 <= slots * 3) return;
        while (wanted * 4 > slots * 3)
            slots *= 2;
        index.assign(slots, 0);
        for (std::uint32_t i = 0; i < size; ++i)
            enterIndex(i, HashName(at(i).name()));
    }
};

namespace {

struct alignas(64) Stripe {
    std::mutex lock;
};

std::mutex& ChildLock(const LocationNode* parent) {
    static std::array<Stripe, 64>* const stripes = new std::array<Stripe, 64>;
    return (*stripes)[reinterpret_cast<std::uintptr_t>(parent) / sizeof(LocationNode) % 64].lock;
}

struct Registry {
    std::mutex lock;
    std::map<OxAttribute::Hash, std::weak_ptr<LocationStore>> stores;
};

Registry& GetRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

/// Where a thread last was in one store. `node` is valid while a store with `storeId` lives.
struct Memory {
    std::uint64_t storeId = 0;
    LocationNode* node = nullptr;
    std::string folder; // its path without its name: "/root/world/"
};

constexpr std::size_t kMemories = 16; // stores that a thread is in at once
TELLAR_THREAD_WORD Memory* memories = nullptr;

struct Memories final : OxAttribute::ThreadState {
    std::array<Memory, kMemories> array;
    ~Memories() override { memories = nullptr; }
};

/// Null when the thread has no memory to spare, or has ended.
Memory* MemoryFor(std::uint64_t storeId) {
    if (!memories) {
        auto* made = OxAttribute::ThreadState::Make<Memories>();
        if (!made) return nullptr;
        memories = made->array.data();
    }
    return &memories[storeId % kMemories];
}

std::uint64_t NextStoreId() {
    static std::atomic<std::uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseNode(LocationNode& node) {
    if (LocationRecord* record = node.record.load(std::memory_order_relaxed)) record->release();
    if (node.hasLongName()) delete node.longName;
}

} // namespace

void LocationNode::setName(std::string_view name) {
    if (name.size() > sizeof inlineName) {
        longName = new std::string(name);
        nameLength = kLongName;
        return;
    }
    std::memcpy(inlineName, name.data(), name.size());
    nameLength = static_cast<std::uint8_t>(name.size());
}

LocationRecord* LocationNode::acquireRecord() const noexcept {
    for (;;) {
        LocationRecord* seen = record.load(std::memory_order_acquire);
        if (!seen) return nullptr;
        // Between the two, the record may have been replaced, and become that of another node.
        if (seen->tryRetain()) {
            if (record.load(std::memory_order_acquire) == seen) return seen;
            seen->release();
        }
    }
}

std::shared_ptr<LocationStore> LocationStore::ForIdentity(const OxAttribute::Hash& identity) {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    std::weak_ptr<LocationStore>& known = registry.stores[identity];
    std::shared_ptr<LocationStore> store = known.lock();
    if (!store) known = store = std::make_shared<LocationStore>(identity);
    return store;
}

LocationStore::LocationStore(const OxAttribute::Hash& storeIdentity)
    : identity(storeIdentity), id(NextStoreId()) {
    root.serial = nextSerial++;
}

// Level by level, without recursion and without memory of its own.
LocationStore::~LocationStore() {
    ChildList* lists = nullptr;
    const auto enter = [&lists](LocationNode& node) {
        ReleaseNode(node);
        ChildList* list = node.children.load(std::memory_order_relaxed);
        if (list) list->nextDropped = std::exchange(lists, list);
    };
    enter(root);
    while (lists) {
        const std::unique_ptr<ChildList> list(lists);
        lists = list->nextDropped;
        const std::uint32_t count = list->count.load(std::memory_order_relaxed);
        for (std::uint32_t i = 0; i < count; ++i)
            enter(list->at(i));
        delete list->farChunks.load(std::memory_order_relaxed);
    }
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    const auto entry = registry.stores.find(identity);
    if (entry != registry.stores.end() && entry->second.expired()) registry.stores.erase(entry);
}

LocationNode* LocationStore::find(std::string_view path) {
    return locate(path, false);
}
LocationNode* LocationStore::findOrAdd(std::string_view path) {
    return locate(path, true);
}

namespace {

bool StartsWith(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && std::memcmp(text.data(), start.data(), start.size()) == 0;
}

LocationNode* NextSibling(const LocationNode& node) {
    ChildList& list = *node.parent->children.load(std::memory_order_acquire);
    // Records and attributes lie far apart; whoever walks on will find them at hand.
    if (const LocationNode* later = list.published(node.index + kFetchedAhead)) {
        const void* attrs = later->attrsAddress.load(std::memory_order_relaxed);
        Prefetch(later->record.load(std::memory_order_relaxed));
        Prefetch(attrs);
        Prefetch(reinterpret_cast<std::uintptr_t>(attrs) + kCacheLineBytes);
    }
    return list.published(node.index + 1);
}

/// The parent of the location with the path `folder` + `rest`, if that is a sibling or a child of
/// the one remembered, or a sibling of an ancestor. `*hint` receives where among the parent's
/// children it probably is.
LocationNode* ParentNearby(const Memory& memory, std::string_view folder, std::uint32_t* hint) {
    const std::string_view last = memory.folder;
    const std::string_view name = memory.node->name();
    if (folder.size() > last.size()) {
        // Below the last one, if anything of it.
        if (folder.size() != last.size() + name.size() + 1 || !StartsWith(folder, last))
            return nullptr;
        *hint = 0;
        return folder.substr(last.size(), name.size()) == name ? memory.node : nullptr;
    }
    if (!StartsWith(last, folder)) return nullptr;
    const LocationNode* sibling = memory.node;
    for (std::size_t end = last.size(); end != folder.size(); end = last.rfind('/', end - 2) + 1)
        sibling = sibling->parent;
    *hint = sibling->index + 1;
    return sibling->parent;
}

} // namespace

LocationNode* LocationStore::locate(std::string_view path, bool add) {
    Memory* memory = MemoryFor(id);
    const bool remembers = memory && memory->storeId == id;
    if (remembers && StartsWith(path, memory->folder)) {
        const std::string_view rest = path.substr(memory->folder.size());
        LocationNode* next = NextSibling(*memory->node);
        if (next && next->name() == rest) return memory->node = next;
        if (memory->node->name() == rest) return memory->node;
    }
    const std::size_t nameStart = path.rfind('/') + 1;
    if (path.empty() || path[0] != '/' || nameStart == path.size()) return nullptr;
    const std::string_view folder = path.substr(0, nameStart);
    std::uint32_t hint = 0;
    LocationNode* parent = remembers ? ParentNearby(*memory, folder, &hint) : nullptr;
    if (!parent) parent = descend(folder, add);
    LocationNode* node = parent ? child(parent, path.substr(nameStart), hint, add) : nullptr;
    if (node && memory) {
        memory->storeId = 0; // for the case that there is no memory for the text
        memory->folder.assign(folder.data(), folder.size());
        memory->node = node;
        memory->storeId = id;
    }
    return node;
}

/// `folder` begins and ends with a slash.
LocationNode* LocationStore::descend(std::string_view folder, bool add) {
    LocationNode* node = &root;
    folder.remove_prefix(1);
    while (node && !folder.empty()) {
        const std::string_view name = folder.substr(0, folder.find('/'));
        if (name.empty()) return nullptr;
        node = child(node, name, 0, add);
        folder.remove_prefix(name.size() + 1);
    }
    return node;
}

LocationNode* LocationStore::child(LocationNode* parent, std::string_view name, std::uint32_t hint,
                                   bool add) {
    if (ChildList* list = parent->children.load(std::memory_order_acquire)) {
        LocationNode* expected = list->published(hint);
        if (expected && expected->name() == name) return expected;
        const std::uint32_t count = list->count.load(std::memory_order_acquire);
        if (count <= kUnindexedChildren)
            if (LocationNode* known = list->findUnindexed(name, count)) return known;
    }
    const std::lock_guard<std::mutex> guard(ChildLock(parent));
    ChildList* list = parent->children.load(std::memory_order_relaxed);
    LocationNode* known = list ? list->find(name, HashName(name)) : nullptr;
    return known || !add ? known : addChildren(parent, name);
}

/// Under the parent's lock. With a child go those that the parent's potential children name after
/// it, if all before it are there already: that is how a walk begins.
LocationNode* LocationStore::addChildren(LocationNode* parent, std::string_view name) {
    const TellarRuntime::LocationData data(parent->acquireRecord());
    const OxAttribute::StringAttribute& names = data.getPotentialChildren();
    const auto expected =
        static_cast<std::uint32_t>(std::min<std::int64_t>(names.getNumberOfValues(), UINT32_MAX));
    ChildList* list = parent->children.load(std::memory_order_relaxed);
    if (!list) {
        list = new ChildList(std::min(expected, kChildrenAtOnce));
        parent->children.store(list, std::memory_order_release);
    }
    const std::uint32_t first = list->size;
    const bool inOrder = names.getValueView(first) == name;
    const std::uint32_t end = inOrder ? std::min(expected, first + kChildrenAtOnce) : first + 1;
    if (end > kUnindexedChildren) list->makeRoom(end - first);
    append(parent, *list, name, HashName(name));
    for (std::uint32_t i = first + 1; i < end; ++i) {
        const std::string_view next = names.getValueView(i);
        const std::uint64_t hash = HashName(next);
        const bool isLevel = !next.empty() && next.find('/') == std::string_view::npos;
        if (!isLevel || list->find(next, hash)) break;
        append(parent, *list, next, hash);
    }
    list->count.store(list->size, std::memory_order_release);
    return &list->at(first);
}

LocationNode* LocationStore::makeNodes(std::uint32_t count) {
    LocationNode* nodes = nullptr;
    std::uint32_t serial = 0;
    {
        const std::lock_guard<std::mutex> guard(arenaLock);
        nodes = static_cast<LocationNode*>(arena.allocate(count * sizeof(LocationNode)));
        serial = std::exchange(nextSerial, nextSerial + count);
    }
    for (std::uint32_t i = 0; i < count; ++i)
        (new (nodes + i) LocationNode)->serial = serial + i;
    return nodes;
}

void LocationStore::append(LocationNode* parent, ChildList& list, std::string_view name,
                           std::uint64_t hash) {
    const std::uint32_t position = list.size;
    const std::uint32_t chunk = list.chunkOf(position);
    if (chunk >= ChildList::kNearChunks && !list.farChunks)
        list.farChunks.store(new ChildList::FarChunks{}, std::memory_order_release);
    if (position == list.chunkStart(chunk)) {
        const std::uint32_t chunkSize = list.chunkSize(chunk);
        list.chunkAt(chunk).store(makeNodes(chunkSize), std::memory_order_release);
    }
    LocationNode& node = list.at(position);
    node.parent = parent;
    node.index = position;
    node.setName(name);
    list.size = position + 1;
    if (!list.index.empty()) list.enterIndex(position, hash);
    if (list.size > kUnindexedChildren) list.makeRoom(0);
}

/// While it lives, the calling thread prepares the store's state and the others wait.
class LocationStore::PrepareTurn {
public:
    explicit PrepareTurn(LocationStore& owner) : store(owner) {
        if (IsMadeByThisThread(&store.state)) throwCircle();
        std::unique_lock<std::mutex> guard(store.prepareLock);
        if (store.isBeingPrepared) {
            const WaitScope wait(&store.state);
            if (!wait.canEnd()) throwCircle();
            store.prepareEnded.wait(guard, [this] { return !store.isBeingPrepared; });
        }
        store.isBeingPrepared = true;
    }
    ~PrepareTurn() {
        {
            const std::lock_guard<std::mutex> guard(store.prepareLock);
            store.isBeingPrepared = false;
        }
        store.prepareEnded.notify_all();
    }
    PrepareTurn(const PrepareTurn&) = delete;
    PrepareTurn& operator=(const PrepareTurn&) = delete;

private:
    [[noreturn]] static void throwCircle() {
        throw std::runtime_error("the preparation of its arguments needs itself");
    }

    LocationStore& store;
};

const OxOpType::State* LocationStore::prepare(const OxOpType::OpType& type,
                                              const OxAttribute::GroupAttribute& args,
                                              std::size_t numberOfInputs) {
    if (isPrepared.load(std::memory_order_acquire)) return state.get();
    const PrepareTurn turn(*this);
    if (!isPrepared.load(std::memory_order_relaxed)) {
        const MakingScope scope(&state);
        state = type.prepare(args, numberOfInputs);
        isPrepared.store(true, std::memory_order_release);
    }
    return state.get();
}

} // namespace OxTellarRuntimeDetail
