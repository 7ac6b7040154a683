#include "LocationStore.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include <OxTellarSDK/TellarRuntime.h>

#include "CookWaits.h"
#include "CookedIndex.h"
#include "NodeAccess.h"
#include "NodeDropping.h"
#include "PerThread.h"
#include "Prefetch.h"
#include "ResultMemory.h"

namespace OxTellarRuntimeDetail {

using OxAttribute::Prefetch;

namespace {

constexpr std::uintptr_t kCacheLineBytes = 64;
// A step of a walk takes as long as memory needs to answer, or a little less.
constexpr std::uint32_t kFetchedAhead = 3;

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

/// The location whose path a thread dealt with last in one store.
struct WalkCursor {
    std::uint64_t storeId = 0;
    NodeHandle last;
    std::string folder; // the path of its parent

    /// Null when the thread was elsewhere, or the location was dropped.
    LocationNode* nodeIn(const LocationStore& store) const {
        return storeId == store.id() ? store.resolve(last) : nullptr;
    }

    /// The parent of the location with the path `other` + "/" + its name, if it is at hand from
    /// the cursor's node.
    LocationNode* findParent(LocationNode& node, std::string_view other) const {
        if (other == folder) return node.parent();
        const std::string_view name = node.name();
        const bool isChild = other.size() == folder.size() + 1 + name.size() &&
                             other.substr(0, folder.size()) == folder &&
                             other[folder.size()] == '/' && other.substr(folder.size() + 1) == name;
        return isChild ? &node : nullptr;
    }

    /// Makes `folder` the path of the cursor's node.
    void enter(const LocationNode& node) {
        const std::string_view name = node.name();
        folder.reserve(folder.size() + 1 + name.size());
        folder += '/';
        folder += name;
    }

    /// Makes `folder` the path of a location that is one of the next above the cursor's node: a
    /// walk that has seen all below a location goes on beside it. False, without effect, if it is
    /// not.
    bool rise(const LocationNode& node, const LocationNode& parent) {
        constexpr int kMostLevels = 4;
        const LocationNode* above = node.parent();
        std::size_t bytes = folder.size();
        for (int level = 0; above && above != &parent; ++level) {
            if (level == kMostLevels || !above->parent()) return false;
            bytes -= 1 + above->name().size();
            above = above->parent();
        }
        folder.resize(bytes);
        return above;
    }

    void moveTo(std::uint64_t nodesStore, LocationNode& location, std::string_view itsFolder) {
        last = location.handle();
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

bool HasName(const LocationNode& node, std::string_view name) {
    const std::string_view own = node.name();
    return own.size() == name.size() &&
           OxAttribute::IsSameText(own.data(), name.data(), name.size());
}

/// Records and attributes lie far apart. A walk that goes on finds those of a later child in the
/// cache.
void FetchAhead(const ChildList& list, const LocationNode& node) {
    const NodeBlock& block = *node.block;
    const std::uint32_t slot = node.slot() + kFetchedAhead;
    const LocationNode* const later = slot < block.count.load(std::memory_order_acquire)
                                          ? block.nodes + slot
                                          : list.at(block.first + slot);
    if (!later) return;
    const void* attrs = later->attrsAddress.load(std::memory_order_relaxed);
    Prefetch(later->record.load(std::memory_order_relaxed));
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
    : identity(storeIdentity), storeId(NextStoreId()), root(makeBlock(nullptr, 0, 1).nodes[0]) {
    root.block->count.store(1, std::memory_order_relaxed);
    NodeDropping::Register();
}

LocationStore::~LocationStore() {
    NodeDropping::FreeAll(*this);
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
    for (;;) {
        LocationNode* const here = cursor ? cursor->nodeIn(*this) : nullptr;
        LocationNode* parent = here ? cursor->findParent(*here, folder) : nullptr;
        const bool isSibling = parent && parent == here->parent();
        if (isSibling && here->name() == name) {
            here->block->use(OxTellarMemory::CurrentTick());
            return here;
        }
        const std::uint32_t likelyPosition = isSibling ? here->position() + 1 : 0;
        if (!parent) parent = descend(folder, add);
        if (!parent) return nullptr;
        LocationNode* const node =
            child(*parent, name, likelyPosition, likelyPosition & ~ChildList::kStray, add);
        if (node && cursor) cursor->moveTo(storeId, *node, folder);
        if (node || !add) return node;
        AwaitDrop(*parent);
    }
}

std::string LocationStore::pathOf(LocationNode& node) {
    const ReadGuard guard;
    WalkCursor* const cursor = CursorIn(storeId);
    if (!cursor) return node.path();
    LocationNode* const here = cursor->nodeIn(*this);
    if (here && here == node.parent())
        cursor->enter(*here);
    else if (!here || !cursor->rise(*here, *node.parent()))
        cursor->moveTo(storeId, node, node.parent()->path());
    cursor->last = node.handle();
    return JoinPath(cursor->folder, node.name());
}

/// The node of "/root/world", or the root for an empty path.
LocationNode* LocationStore::descend(std::string_view folder, bool add) {
    LocationNode* node = &root;
    std::string_view rest = folder;
    while (!rest.empty()) {
        rest.remove_prefix(1); // the slash
        const std::string_view name = rest.substr(0, rest.find('/'));
        if (name.empty()) return nullptr;
        rest.remove_prefix(name.size());
        LocationNode* const next = child(*node, name, 0, 0, add);
        if (!next && !add) return nullptr;
        if (!next) { // the node was dropped under us: from the top again
            AwaitDrop(*node);
            rest = folder;
        }
        node = next ? next : &root;
    }
    return node;
}

LocationNode* LocationStore::locateChild(LocationNode& parent, std::string_view name,
                                         std::int64_t index, bool add) {
    if (name.empty()) return nullptr;
    ChildList* list = parent.children.load(std::memory_order_acquire);
    const std::uint32_t shift = list ? list->shift.load(std::memory_order_relaxed) : 0;
    const auto place = static_cast<std::uint32_t>(index);
    const std::uint32_t likelyPosition = (place + shift) & ~ChildList::kStray;
    LocationNode* node = child(parent, name, likelyPosition, index, add);
    if (!node || !list) return node;
    const std::uint32_t position = node->position();
    if (position != likelyPosition && position < ChildList::kStray)
        list->shift.store(position - place, std::memory_order_relaxed);
    return node;
}

/// Null, when it was to be added, if the parent is being dropped, or if the name is no level.
LocationNode* LocationStore::child(LocationNode& parent, std::string_view name,
                                   std::uint32_t likelyPosition, std::int64_t likelyIndex,
                                   bool add) {
    const auto found = [](LocationNode* node) {
        node->block->use(OxTellarMemory::CurrentTick());
        return node;
    };
    if (ChildList* list = parent.children.load(std::memory_order_acquire)) {
        LocationNode* const likely = list->at(likelyPosition);
        if (likely && HasName(*likely, name)) {
            FetchAhead(*list, *likely);
            return found(likely);
        }
        if (LocationNode* known = list->findNear(name)) return found(known);
    }
    const std::lock_guard<std::mutex> guard(ChildLock(parent));
    ChildList* list = parent.children.load(std::memory_order_relaxed);
    if (LocationNode* known = list ? list->find(name) : nullptr) return found(known);
    return add && LocationNode::IsLevel(name) ? addChildren(parent, name, likelyIndex) : nullptr;
}

void LocationStore::addIndex(CookedIndex& index) {
    const std::lock_guard<std::mutex> guard(numbersLock);
    indexes.push_back(&index);
}

void LocationStore::removeIndex(CookedIndex& index) noexcept {
    const std::lock_guard<std::mutex> guard(numbersLock);
    indexes.erase(std::remove(indexes.begin(), indexes.end(), &index), indexes.end());
}

void LocationStore::AwaitDrop(LocationNode& node) {
    // The thread that drops it has the lock until it is unlinked.
    const std::lock_guard<std::mutex> guard(ChildLock(*node.parent()));
}

void LocationStore::evict(std::string_view path, CookedIndex& cooked) {
    for (;;) {
        const ReadGuard guard;
        const bool addsNodes = hasDropped.load(std::memory_order_acquire);
        LocationNode* const node = locate(path, addsNodes);
        const bool mayBeGone = hasDropped.load(std::memory_order_acquire);
        if (!node && mayBeGone && !addsNodes) continue;
        if (!node || (!mayBeGone && !node->wasCooked.load(std::memory_order_acquire))) return;
        NodePin pin;
        if (!pin.tryPin(*node)) {
            AwaitDrop(*node);
            continue;
        }
        cooked.remove(node->serial());
        node->state.fetch_or(LocationNode::kStale, std::memory_order_acq_rel);
        return;
    }
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
        const ValueBytes::Meter meter; // the state is not part of the result of the cook
        state = type.prepare(args, numberOfInputs);
        isPrepared.store(true, std::memory_order_release);
    }
    return state.get();
}

} // namespace OxTellarRuntimeDetail
