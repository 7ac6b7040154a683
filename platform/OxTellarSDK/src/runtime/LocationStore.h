#ifndef OXTELLARSDK_LOCATIONSTORE_H
#define OXTELLARSDK_LOCATIONSTORE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/OpType.h>

#include "Arena.h"
#include "ChildList.h"
#include "LocationNode.h"

namespace OxTellarRuntimeDetail {

/// All results of one Op identity, shared by every runtime that holds an equal Op.
///
/// A location is found from its parent's node. A client that goes from a location to its children
/// knows that node. An Op asks its inputs by path: there each thread has a cursor at the location
/// that it looked up last in the store, and a sibling or a child of that is found without going
/// down from the root. The cursor also saves putting paths together from the root.
///
/// Children of a node are kept in the order in which they were first asked for, side by side in
/// memory; a walk makes room for many of them at once. They are only ever added, under the lock
/// of their parent (one of a fixed set), and read without a lock.
///
/// Threads: everything may be called from any number of threads.
class LocationStore {
public:
    static std::shared_ptr<LocationStore> ForIdentity(const OxAttribute::Hash& identity);
    ~LocationStore();
    LocationStore(const LocationStore&) = delete;
    LocationStore& operator=(const LocationStore&) = delete;

    /// Null when the path is not that of a location: not absolute, or with an empty level.
    LocationNode* findOrAdd(std::string_view path) { return locate(path, true); }
    /// Null if nobody has asked for this path. Asking for one child may create nodes for its
    /// siblings, so a node can exist that nobody asked for.
    LocationNode* find(std::string_view path) { return locate(path, false); }

    /// The same for the child of a node. `index` is the child's place among the potential children
    /// of its parent, by which it is found fast. Null also for a name that is no single level.
    LocationNode* findOrAddChild(LocationNode& parent, std::string_view name, std::int64_t index) {
        return locateChild(parent, name, index, true);
    }
    LocationNode* findChild(LocationNode& parent, std::string_view name, std::int64_t index) {
        return locateChild(parent, name, index, false);
    }

    /// "/root/world", for a node that was found here.
    std::string pathOf(LocationNode& node);

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

    explicit LocationStore(const OxAttribute::Hash& identity);

private:
    LocationNode* locate(std::string_view path, bool add);
    LocationNode* descend(std::string_view folder, bool add);
    LocationNode* locateChild(LocationNode& parent, std::string_view name, std::int64_t index,
                              bool add);
    LocationNode* child(LocationNode& parent, std::string_view name, std::uint32_t likelyPosition,
                        bool add);
    LocationNode& addChildren(LocationNode& parent, std::string_view name);
    ChildList& makeList(std::uint32_t room);
    LocationNode* makeNodes(std::uint32_t count);
    std::string_view keepName(std::string_view name);
    void append(LocationNode& parent, ChildList& list, std::string_view name);

    LocationNode root; // above all locations, without a name
    const OxAttribute::Hash identity;
    const std::uint64_t storeId;
    std::mutex arenaLock;
    Arena arena; // all nodes but the root, and their long names
    std::deque<ChildList> lists;
    std::uint32_t nextSerial = 0;

    class PrepareTurn;
    std::mutex prepareLock; // guards isBeingPrepared; the type's code does not run under it
    std::condition_variable prepareEnded;
    bool isBeingPrepared = false; // true: one thread prepares and may change the two below
    std::atomic<bool> isPrepared{false};
    std::shared_ptr<const OxOpType::State> state;
};

} // namespace OxTellarRuntimeDetail

#endif
