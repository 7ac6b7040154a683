#ifndef OXTELLARSDK_LOCATIONSTORE_H
#define OXTELLARSDK_LOCATIONSTORE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/OpType.h>

#include "ChildList.h"
#include "LocationNode.h"
#include "NodeBlock.h"
#include "ReadGuard.h"
#include "ResultMemory.h"

namespace OxTellarRuntimeDetail {

class CookedIndex;

/// All results of one Op identity, shared by every runtime that holds an equal Op.
///
/// A location is found from its parent's node. A client that goes from a location to its children
/// knows that node. An Op asks its inputs by path: there each thread has a cursor at the location
/// that it looked up last in the store, and a sibling or a child of that is found without going
/// down from the root. The cursor also saves putting paths together from the root.
///
/// Children of a node lie side by side in memory; a walk makes room for many of them at once. They
/// are added under the lock of their parent (one of a fixed set), and read without a lock. When
/// memory is short they are dropped again, in whole blocks, beside threads that read: see
/// NodeDropping.cpp.
///
/// Threads: everything may be called from any number of threads. Who asks for a node has a
/// ReadGuard, and uses the node as long as that lives, or as long as a NodePin of it.
class LocationStore {
public:
    static std::shared_ptr<LocationStore> ForIdentity(const OxAttribute::Hash& identity);
    ~LocationStore();
    LocationStore(const LocationStore&) = delete;
    LocationStore& operator=(const LocationStore&) = delete;

    /// Null when the path is not that of a location: not absolute, or with an empty level.
    LocationNode* findOrAdd(std::string_view path) { return locate(path, true); }
    /// Null if nobody has asked for this path, and if it was dropped since. Asking for one child
    /// may create nodes for its siblings, so a node can exist that nobody asked for.
    LocationNode* find(std::string_view path) { return locate(path, false); }

    /// The same for the child of a node. `index` is the child's place among the potential children
    /// of its parent, by which it is found fast. Null also for a name that is no single level.
    LocationNode* findOrAddChild(LocationNode& parent, std::string_view name, std::int64_t index) {
        return locateChild(parent, name, index, true);
    }
    LocationNode* findChild(LocationNode& parent, std::string_view name, std::int64_t index) {
        return locateChild(parent, name, index, false);
    }

    /// The node that a handle was made of; null when it was dropped or is another store's.
    LocationNode* resolve(const NodeHandle& handle) const {
        // The store first: a header that was given to this store since has its new generation by
        // the time at which it has this store.
        NodeBlock* const block = handle.block;
        if (!block || block->store.load(std::memory_order_acquire) != this ||
            block->generation.load(std::memory_order_acquire) != handle.generation)
            return nullptr;
        return block->nodes + handle.slot;
    }

    /// "/root/world", for a node that was found here.
    std::string pathOf(LocationNode& node);

    /// Makes the next cook of the location compute it anew, if it was cooked, and forgets that the
    /// runtime of the index cooked it. It takes no guard of the caller. A location that is not
    /// there may have been cooked and dropped; then the results of other Ops that it was made of
    /// may still be there, so once something was dropped every location counts as cooked.
    void evict(std::string_view path, CookedIndex& cooked);

    /// Waits until the node, which could not be pinned, is gone or there to stay.
    static void AwaitDrop(LocationNode& node);

    /// Indexes that have no bits for locations that were dropped. The caller takes the index away
    /// before it destroys it. Throws std::bad_alloc.
    void addIndex(CookedIndex& index);
    void removeIndex(CookedIndex& index) noexcept;

    /// The arguments of the Op as its type prepared them, once for all Ops of this identity;
    /// kept as long as the store lives. Null when the type keeps nothing. Throws what the type
    /// throws, and std::runtime_error when the preparation waits for its own end.
    const OxOpType::State* prepare(const OxOpType::OpType& type,
                                   const OxAttribute::GroupAttribute& args,
                                   std::size_t numberOfInputs);

    /// Unique in the process, and never used again.
    std::uint64_t id() const { return storeId; }
    /// Unique in the process until 2^31 stores have been created.
    std::uint32_t shortId() const { return static_cast<std::uint32_t>(storeId) & 0x7fffffff; }

    /// What counts the results of all stores.
    ResultMemory& memory() const { return results; }

    explicit LocationStore(const OxAttribute::Hash& identity);

private:
    friend class NodeDropping;

    LocationNode* locate(std::string_view path, bool add);
    LocationNode* descend(std::string_view folder, bool add);
    LocationNode* locateChild(LocationNode& parent, std::string_view name, std::int64_t index,
                              bool add);
    LocationNode* child(LocationNode& parent, std::string_view name, std::uint32_t likelyPosition,
                        std::int64_t likelyIndex, bool add);
    LocationNode* addChildren(LocationNode& parent, std::string_view name,
                              std::int64_t likelyIndex);
    LocationNode& addKnown(LocationNode& parent, ChildList& list,
                           const OxAttribute::StringAttribute& names, std::uint32_t index);
    LocationNode& addStray(LocationNode& parent, ChildList& list, std::string_view name);
    NodeBlock& makeBlock(LocationNode* parent, std::uint32_t first, std::uint32_t nodes);
    std::uint32_t takeNumber();
    void giveNumber(const NodeBlock& block) noexcept;

    const OxAttribute::Hash identity;
    const std::uint64_t storeId;
    ResultMemory& results = ResultMemory::Get();

    std::atomic<std::uint32_t> nextNumber{0}; // of a block, if none was dropped
    std::atomic<bool> hasFreeNumbers{false};  // a hint: changed under the lock
    std::mutex numbersLock;                   // guards the two below
    std::vector<std::uint32_t> freeNumbers;   // of blocks that were dropped
    std::vector<CookedIndex*> indexes;
    std::atomic<bool> hasDropped{false};

    LocationNode& root; // above all locations, without a name; in a block of its own

    class PrepareTurn;
    std::mutex prepareLock; // guards isBeingPrepared; the type's code does not run under it
    std::condition_variable prepareEnded;
    bool isBeingPrepared = false; // true: one thread prepares and may change the two below
    std::atomic<bool> isPrepared{false};
    std::shared_ptr<const OxOpType::State> state;
};

} // namespace OxTellarRuntimeDetail

#endif
