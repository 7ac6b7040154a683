#include "LocationStore.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "CookWaits.h"
#include "PerThread.h"
#include "Prefetch.h"

namespace OxTellarRuntimeDetail {

using OxAttribute::Prefetch;

namespace {

constexpr std::uintptr_t kCacheLineBytes = 64;
// A step of a walk takes as long as memory needs to answer, or a little less.
constexpr std::uint32_t kFetchedAhead = 3;
// Children made at once when a walk begins to ask for them in order.
constexpr std::uint32_t kChildrenAtOnce = 256;

struct alignas(64) Stripe {
    std::mutex lock;
};

std::mutex& ChildLock(const LocationNode& parent) {
    static std::array<Stripe, 64>* const stripes = new std::array<Stripe, 64>;
    return (*stripes)[reinterpret_cast<std::uintptr_t>(&parent) / sizeof(LocationNode) % 64].lock;
}

struct Registry {
    std::mutex lock;
    std::map<OxAttribute::Hash, std::weak_ptr<LocationStore>> stores;
};

Registry& GetRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

std::string JoinPath(std::string_view folder, std::string_view name) {
    std::string path(folder.size() + 1 + name.size(), '/');
    std::memcpy(path.data(), folder.data(), folder.size());
    std::memcpy(path.data() + folder.size() + 1, name.data(), name.size());
    return path;
}

/// The location whose path a thread dealt with last in one store. `node` is valid while the store
/// with `storeId` lives.
struct WalkCursor {
    std::uint64_t storeId = 0;
    LocationNode* node = nullptr;
    std::string folder; // the path of the node's parent

    /// The parent of the location with the path `other` + "/" + its name, if it is at hand.
    LocationNode* findParent(std::string_view other) const {
        if (other == folder) return node->parent;
        const std::string_view name = node->name();
        const bool isChild = other.size() == folder.size() + 1 + name.size() &&
                             other.substr(0, folder.size()) == folder &&
                             other[folder.size()] == '/' && other.substr(folder.size() + 1) == name;
        return isChild ? node : nullptr;
    }

    void moveTo(std::uint64_t nodesStore, LocationNode& location, std::string_view itsFolder) {
        node = &location;
        if (storeId == nodesStore && folder == itsFolder) return;
        storeId = 0; // kept if there is no memory for the text
        folder = itsFolder;
        storeId = nodesStore;
    }
};

// The number of stores that a cook usually passes through. Further stores share the places.
using WalkCursors = std::array<WalkCursor, 16>;

/// Null when the thread has no cursors: without memory for them, and at its end.
WalkCursor* CursorIn(std::uint64_t storeId) {
    WalkCursors* cursors = PerThread<WalkCursors>::Get();
    return cursors ? &(*cursors)[storeId % cursors->size()] : nullptr;
}

std::uint64_t NextStoreId() {
    static std::atomic<std::uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseRecord(LocationNode& node) {
    if (LocationRecord* record = node.record.load(std::memory_order_relaxed)) record->release();
}

/// Whether the name can be one level of a path.
bool IsLevel(std::string_view name) {
    return !name.empty() && name.find('/') == std::string_view::npos;
}

/// Records and attributes lie far apart. A walk that goes on finds those of a later child in the
/// cache.
void FetchAhead(ChildList& list, std::uint32_t position, std::uint32_t published) {
    if (position + kFetchedAhead >= published) return;
    const LocationNode& later = list.at(position + kFetchedAhead);
    const void* attrs = later.attrsAddress.load(std::memory_order_relaxed);
    Prefetch(later.record.load(std::memory_order_relaxed));
    Prefetch(attrs);
    Prefetch(reinterpret_cast<std::uintptr_t>(attrs) + kCacheLineBytes);
}

} // namespace

std::shared_ptr<LocationStore> LocationStore::ForIdentity(const OxAttribute::Hash& identity) {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    std::weak_ptr<LocationStore>& known = registry.stores[identity];
    std::shared_ptr<LocationStore> store = known.lock();
    if (!store) known = store = std::make_shared<LocationStore>(identity);
    return store;
}

LocationStore::LocationStore(const OxAttribute::Hash& storeIdentity)
    : identity(storeIdentity), storeId(NextStoreId()) {
    root.serial = nextSerial++;
}

LocationStore::~LocationStore() {
    ReleaseRecord(root);
    for (ChildList& list : lists)
        for (std::uint32_t i = 0; i < list.size(); ++i)
            ReleaseRecord(list.at(i));
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    const auto entry = registry.stores.find(identity);
    if (entry != registry.stores.end() && entry->second.expired()) registry.stores.erase(entry);
}

LocationNode* LocationStore::locate(std::string_view path, bool add) {
    const std::size_t slash = path.rfind('/');
    if (slash + 1 >= path.size() || path[0] != '/') return nullptr; // true also without any slash
    const std::string_view folder = path.substr(0, slash);
    const std::string_view name = path.substr(slash + 1);
    WalkCursor* const cursor = CursorIn(storeId);
    const bool isHere = cursor && cursor->storeId == storeId;
    LocationNode* parent = isHere ? cursor->findParent(folder) : nullptr;
    const bool isSibling = parent && parent == cursor->node->parent;
    if (isSibling && cursor->node->name() == name) return cursor->node;
    const std::uint32_t likelyPosition = isSibling ? cursor->node->index + 1 : 0;
    if (!parent) parent = descend(folder, add);
    LocationNode* const node = parent ? child(*parent, name, likelyPosition, add) : nullptr;
    if (node && cursor) cursor->moveTo(storeId, *node, folder);
    return node;
}

std::string LocationStore::pathOf(LocationNode& node) {
    WalkCursor* const cursor = CursorIn(storeId);
    if (!cursor) return node.path();
    const bool isHere = cursor->storeId == storeId;
    if (isHere && cursor->node->parent == node.parent)
        cursor->node = &node;
    else if (isHere && cursor->node == node.parent)
        cursor->moveTo(storeId, node, JoinPath(cursor->folder, node.parent->name()));
    else
        cursor->moveTo(storeId, node, node.parent->path());
    return JoinPath(cursor->folder, node.name());
}

/// The node of "/root/world", or the root for an empty path.
LocationNode* LocationStore::descend(std::string_view folder, bool add) {
    LocationNode* node = &root;
    while (node && !folder.empty()) {
        folder.remove_prefix(1); // the slash
        const std::string_view name = folder.substr(0, folder.find('/'));
        if (name.empty()) return nullptr;
        node = child(*node, name, 0, add);
        folder.remove_prefix(name.size());
    }
    return node;
}

LocationNode* LocationStore::locateChild(LocationNode& parent, std::string_view name,
                                         std::int64_t index, bool add) {
    ChildList* list = parent.children.load(std::memory_order_acquire);
    const std::uint32_t shift = list ? list->shift.load(std::memory_order_relaxed) : 0;
    const std::uint32_t likelyPosition = static_cast<std::uint32_t>(index) + shift;
    LocationNode* node = child(parent, name, likelyPosition, add);
    if (node && list && node->index != likelyPosition)
        list->shift.store(node->index - static_cast<std::uint32_t>(index),
                          std::memory_order_relaxed);
    return node;
}

LocationNode* LocationStore::child(LocationNode& parent, std::string_view name,
                                   std::uint32_t likelyPosition, bool add) {
    if (ChildList* list = parent.children.load(std::memory_order_acquire)) {
        const std::uint32_t count = list->publishedCount();
        if (likelyPosition < count) {
            LocationNode& likely = list->at(likelyPosition);
            if (likely.name() == name) {
                FetchAhead(*list, likelyPosition, count);
                return &likely;
            }
        }
        if (count <= ChildList::kUnindexed)
            if (LocationNode* known = list->findAmong(count, name)) return known;
    }
    const std::lock_guard<std::mutex> guard(ChildLock(parent));
    ChildList* list = parent.children.load(std::memory_order_relaxed);
    if (LocationNode* known = list ? list->find(name) : nullptr) return known;
    return add && IsLevel(name) ? &addChildren(parent, name) : nullptr;
}

/// Under the parent's lock. The potential children after this one are added with it if all before
/// it are there already: that is how a walk begins.
LocationNode& LocationStore::addChildren(LocationNode& parent, std::string_view name) {
    const TellarRuntime::LocationData data(parent.acquireRecord());
    const OxAttribute::StringAttribute& names = data.getPotentialChildren();
    const auto expected =
        static_cast<std::uint32_t>(std::min<std::int64_t>(names.getNumberOfValues(), UINT32_MAX));
    ChildList* list = parent.children.load(std::memory_order_relaxed);
    if (!list) {
        list = &makeList(std::min(expected, kChildrenAtOnce));
        parent.children.store(list, std::memory_order_release);
    }
    const std::uint32_t first = list->size();
    const bool inOrder = names.getValueView(first) == name;
    const std::uint32_t end = inOrder ? std::min(expected, first + kChildrenAtOnce) : first + 1;
    list->reserveIndex(end - first);
    append(parent, *list, name);
    for (std::uint32_t i = first + 1; i < end; ++i) {
        const std::string_view next = names.getValueView(i);
        if (!IsLevel(next) || list->find(next)) break;
        append(parent, *list, next);
    }
    list->publish();
    return list->at(first);
}

ChildList& LocationStore::makeList(std::uint32_t room) {
    const std::lock_guard<std::mutex> guard(arenaLock);
    return lists.emplace_back(room);
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

/// A copy that lives as long as the store.
std::string_view LocationStore::keepName(std::string_view name) {
    const std::lock_guard<std::mutex> guard(arenaLock);
    auto* const text = static_cast<char*>(arena.allocate(name.size()));
    std::memcpy(text, name.data(), name.size());
    return {text, name.size()};
}

void LocationStore::append(LocationNode& parent, ChildList& list, std::string_view name) {
    if (list.isFull()) list.addChunk(makeNodes(list.nextChunkSize()));
    LocationNode& node = list.at(list.size());
    node.setName(LocationNode::IsLongName(name) ? keepName(name) : name);
    node.parent = &parent;
    node.index = list.size();
    list.append();
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
