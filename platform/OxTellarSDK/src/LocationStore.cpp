#include "LocationStore.h"

#include <algorithm>
#include <cstring>
#include <map>

#include <xxhash.h>

namespace OxTellarRuntimeDetail {

namespace {

// Up to this many children a look at each is as fast as an index.
constexpr std::uint32_t kUnindexedChildren = 8;
// Room made at once for the children of a node, if its potential children say so.
constexpr std::uint32_t kLargestFirstChunk = 256;

} // namespace

/// The children of one node, in chunks that never move: the first of `firstChunk` nodes, the
/// second as large, each further one twice as large as the one before.
///
/// `count` nodes can be read by anybody. Adding, and the index by name, belong to the holder of
/// the parent's lock.
struct ChildList {
    static constexpr std::uint32_t kNearChunks = 4;
    static constexpr std::uint32_t kFarChunks = 29;
    using FarChunks = std::array<std::atomic<LocationNode*>, kFarChunks>;

    std::atomic<std::uint32_t> count{0};
    const std::uint32_t firstChunk;
    std::array<std::atomic<LocationNode*>, kNearChunks> nearChunks{};
    std::atomic<FarChunks*> farChunks{nullptr};
    std::vector<std::uint32_t> index; // open addressing; position + 1, 0 is free

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
    std::atomic<LocationNode*>& chunkAt(std::uint32_t chunk) {
        if (chunk < kNearChunks) return nearChunks[chunk];
        return (*farChunks.load(std::memory_order_acquire))[chunk - kNearChunks];
    }
    LocationNode& at(std::uint32_t position) {
        const std::uint32_t chunk = chunkOf(position);
        return chunkAt(chunk).load(std::memory_order_acquire)[position - chunkStart(chunk)];
    }

    LocationNode* findUnindexed(std::string_view name, std::uint32_t known) {
        for (std::uint32_t i = 0; i < known; ++i)
            if (at(i).name() == name) return &at(i);
        return nullptr;
    }

    LocationNode* findIndexed(std::string_view name) {
        const std::uint64_t mask = index.size() - 1;
        for (std::uint64_t slot = XXH3_64bits(name.data(), name.size()) & mask; index[slot] != 0;
             slot = (slot + 1) & mask)
            if (at(index[slot] - 1).name() == name) return &at(index[slot] - 1);
        return nullptr;
    }

    void enterIndex(std::uint32_t position) {
        const std::string_view name = at(position).name();
        const std::uint64_t mask = index.size() - 1;
        std::uint64_t slot = XXH3_64bits(name.data(), name.size()) & mask;
        while (index[slot] != 0)
            slot = (slot + 1) & mask;
        index[slot] = position + 1;
    }

    /// Makes the index hold all children, with room for one more.
    void completeIndex() {
        const std::uint32_t known = count.load(std::memory_order_relaxed);
        std::uint64_t size = index.empty() ? 32 : index.size();
        if (!index.empty() && (known + 1) * 4 <= size * 3) return;
        while ((known + 1) * 4ull > size * 3)
            size *= 2;
        index.assign(size, 0);
        for (std::uint32_t i = 0; i < known; ++i)
            enterIndex(i);
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
    std::string path;
};

constexpr std::size_t kMemories = 16; // stores that a thread is in at once
thread_local Memory* memories = nullptr;
thread_local bool memoriesEnded = false;

struct MemoriesOwner {
    std::array<Memory, kMemories> memories;
    ~MemoriesOwner();
};

MemoriesOwner::~MemoriesOwner() {
    OxTellarRuntimeDetail::memories = nullptr;
    memoriesEnded = true;
}

Memory* MemoryFor(std::uint64_t storeId) {
    if (!memories) {
        if (memoriesEnded) return nullptr;
        static thread_local MemoriesOwner owner;
        memories = owner.memories.data();
    }
    return &memories[storeId % kMemories];
}

std::uint64_t NextStoreId() {
    static std::atomic<std::uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseNode(LocationNode& node) {
    if (LocationRecord* record = node.record.load(std::memory_order_relaxed)) record->release();
    if (node.nameLength > sizeof node.inlineName) delete[] node.longName;
}

} // namespace

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

LocationStore::~LocationStore() {
    std::vector<ChildList*> lists;
    const auto enter = [&lists](LocationNode& node) {
        ReleaseNode(node);
        if (ChildList* list = node.children.load(std::memory_order_relaxed)) lists.push_back(list);
    };
    enter(root);
    while (!lists.empty()) {
        const std::unique_ptr<ChildList> list(lists.back());
        lists.pop_back();
        const std::uint32_t count = list->count.load(std::memory_order_relaxed);
        for (std::uint32_t i = 0; i < count; ++i)
            enter(list->at(i));
        for (std::uint32_t chunk = 0; chunk < ChildList::kNearChunks + ChildList::kFarChunks;
             ++chunk) {
            if (chunk >= ChildList::kNearChunks && !list->farChunks) break;
            delete[] list->chunkAt(chunk).load(std::memory_order_relaxed);
        }
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

/// The place from which the last location of a thread leads to another one.
struct Start {
    LocationNode* parent = nullptr; // null: the last location does not help
    std::uint32_t hint = 0;         // where among its children the one wanted probably is
};

bool StartsWith(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && std::memcmp(text.data(), start.data(), start.size()) == 0;
}

/// When the location wanted is a sibling of the last one, or a child of it: told without looking
/// for slashes, which is most of the work otherwise. `*name` receives its name.
Start StartBesideOrBelow(const Memory& memory, std::string_view path, std::string_view* name) {
    const std::string_view last = memory.path;
    const std::size_t parentLength = last.size() - memory.node->nameLength - 1;
    Start start;
    std::size_t slash = 0;
    if (path.size() > last.size() && path[last.size()] == '/' && StartsWith(path, last)) {
        start = {memory.node, 0};
        slash = last.size();
    } else if (StartsWith(path, last.substr(0, parentLength + 1))) {
        start = {memory.node->parent, memory.node->index + 1};
        slash = parentLength;
    }
    *name = path.substr(slash + 1);
    if (name->empty() || std::memchr(name->data(), '/', name->size())) return {};
    return start;
}

/// When the location wanted is a sibling of an ancestor of the last one.
Start StartAbove(const Memory& memory, std::string_view parentPath) {
    const std::string_view last = memory.path;
    const std::size_t slash = parentPath.size();
    if (last.size() <= slash || last[slash] != '/' || !StartsWith(last, parentPath)) return {};
    const LocationNode* sibling = memory.node;
    for (std::size_t end = last.rfind('/'); end != slash; end = last.rfind('/', end - 1))
        sibling = sibling->parent;
    return {sibling->parent, sibling->index + 1};
}

} // namespace

LocationNode* LocationStore::locate(std::string_view path, bool add) {
    if (path.empty()) return nullptr;
    Memory* memory = MemoryFor(id);
    const bool remembers = memory && memory->storeId == id;
    std::string_view name;
    Start start;
    if (remembers) start = StartBesideOrBelow(*memory, path, &name);
    if (!start.parent) {
        const std::size_t slash = path.rfind('/');
        if (slash == std::string_view::npos || slash + 1 == path.size() || path[0] != '/')
            return nullptr;
        const std::string_view parentPath = path.substr(0, slash);
        name = path.substr(slash + 1);
        if (remembers) start = StartAbove(*memory, parentPath);
        if (!start.parent) start.parent = descend(parentPath, add);
    }
    LocationNode* node = start.parent ? child(start.parent, name, start.hint, add) : nullptr;
    if (node && memory) {
        memory->storeId = id;
        memory->node = node;
        memory->path.assign(path.data(), path.size());
    }
    return node;
}

LocationNode* LocationStore::descend(std::string_view path, bool add) {
    LocationNode* node = &root;
    while (node && !path.empty()) {
        path.remove_prefix(1);
        const std::string_view name = path.substr(0, path.find('/'));
        if (name.empty()) return nullptr;
        node = child(node, name, 0, add);
        path.remove_prefix(name.size());
    }
    return node;
}

LocationNode* LocationStore::child(LocationNode* parent, std::string_view name, std::uint32_t hint,
                                   bool add) {
    if (ChildList* list = parent->children.load(std::memory_order_acquire)) {
        const std::uint32_t count = list->count.load(std::memory_order_acquire);
        if (hint < count && list->at(hint).name() == name) return &list->at(hint);
        if (count <= kUnindexedChildren) {
            if (LocationNode* known = list->findUnindexed(name, count)) return known;
        }
    }
    const std::lock_guard<std::mutex> guard(ChildLock(parent));
    if (ChildList* list = parent->children.load(std::memory_order_acquire)) {
        const std::uint32_t count = list->count.load(std::memory_order_relaxed);
        LocationNode* known = nullptr;
        if (count <= kUnindexedChildren) {
            known = list->findUnindexed(name, count);
        } else {
            list->completeIndex();
            known = list->findIndexed(name);
        }
        if (known) return known;
    }
    return add ? addChild(parent, name) : nullptr;
}

/// Under the parent's lock.
LocationNode* LocationStore::addChild(LocationNode* parent, std::string_view name) {
    ChildList* list = parent->children.load(std::memory_order_relaxed);
    if (!list) {
        std::int64_t expected = 1;
        if (LocationRecord* record = parent->acquireRecord()) {
            expected = record->potentialChildren.getNumberOfValues();
            record->release();
        }
        list = new ChildList(
            static_cast<std::uint32_t>(std::clamp<std::int64_t>(expected, 1, kLargestFirstChunk)));
        parent->children.store(list, std::memory_order_release);
    }
    const std::uint32_t position = list->count.load(std::memory_order_relaxed);
    const std::uint32_t chunk = list->chunkOf(position);
    if (chunk >= ChildList::kNearChunks && !list->farChunks)
        list->farChunks.store(new ChildList::FarChunks{}, std::memory_order_release);
    if (position == list->chunkStart(chunk)) {
        const std::uint32_t size = list->firstChunk << (chunk == 0 ? 0 : chunk - 1);
        auto* nodes = new LocationNode[size];
        const std::uint32_t serial = nextSerial.fetch_add(size, std::memory_order_relaxed);
        for (std::uint32_t i = 0; i < size; ++i)
            nodes[i].serial = serial + i;
        list->chunkAt(chunk).store(nodes, std::memory_order_release);
    }
    LocationNode& node = list->at(position);
    node.parent = parent;
    node.index = position;
    node.nameLength = static_cast<std::uint32_t>(name.size());
    char* characters = node.inlineName;
    if (name.size() > sizeof node.inlineName) {
        characters = new char[name.size()];
        node.longName = characters;
    }
    std::memcpy(characters, name.data(), name.size());
    if (!list->index.empty()) {
        list->completeIndex();
        list->enterIndex(position);
    }
    list->count.store(position + 1, std::memory_order_release);
    return &node;
}

const OxOpType::State* LocationStore::prepare(const OxOpType::OpType& type,
                                              const OxAttribute::GroupAttribute& args,
                                              std::size_t numberOfInputs) {
    if (isPrepared.load(std::memory_order_acquire)) return state.get();
    const std::lock_guard<std::mutex> guard(prepareLock);
    if (!isPrepared.load(std::memory_order_relaxed)) {
        state = type.prepare(args, numberOfInputs);
        isPrepared.store(true, std::memory_order_release);
    }
    return state.get();
}

CookedIndex::~CookedIndex() {
    for (const std::atomic<Folder*>& place : folders) {
        const std::unique_ptr<Folder> folder(place.load(std::memory_order_relaxed));
        if (!folder) continue;
        for (const std::atomic<Page*>& page : *folder)
            delete page.load(std::memory_order_relaxed);
    }
}

const CookedIndex::Word* CookedIndex::word(std::uint32_t serial) const {
    const Folder* folder =
        folders[serial / kPageBits / kFolderPages].load(std::memory_order_acquire);
    if (!folder) return nullptr;
    const Page* page = (*folder)[serial / kPageBits % kFolderPages].load(std::memory_order_acquire);
    return page ? &(*page)[serial % kPageBits / 64] : nullptr;
}

bool CookedIndex::contains(std::uint32_t serial) const {
    const Word* bits = word(serial);
    return bits && (bits->load(std::memory_order_relaxed) >> serial % 64 & 1) != 0;
}

namespace {

/// The object behind `place`, made by whoever comes first.
template <typename T>
T& GetOrMake(std::atomic<T*>& place) {
    T* object = place.load(std::memory_order_acquire);
    if (object) return *object;
    auto made = std::make_unique<T>();
    for (auto& element : *made)
        element.store({}, std::memory_order_relaxed);
    if (place.compare_exchange_strong(object, made.get(), std::memory_order_acq_rel))
        return *made.release();
    return *object;
}

} // namespace

void CookedIndex::add(std::uint32_t serial) {
    Folder& folder = GetOrMake(folders[serial / kPageBits / kFolderPages]);
    Page& page = GetOrMake(folder[serial / kPageBits % kFolderPages]);
    page[serial % kPageBits / 64].fetch_or(std::uint64_t(1) << serial % 64,
                                           std::memory_order_relaxed);
}

void CookedIndex::remove(std::uint32_t serial) {
    if (contains(serial))
        const_cast<Word*>(word(serial))
            ->fetch_and(~(std::uint64_t(1) << serial % 64), std::memory_order_relaxed);
}

void CookedIndex::clear() {
    for (std::atomic<Folder*>& place : folders) {
        Folder* folder = place.load(std::memory_order_acquire);
        if (!folder) continue;
        for (std::atomic<Page*>& page : *folder)
            if (Page* bits = page.load(std::memory_order_acquire))
                for (Word& bit : *bits)
                    bit.store(0, std::memory_order_relaxed);
    }
}

} // namespace OxTellarRuntimeDetail
