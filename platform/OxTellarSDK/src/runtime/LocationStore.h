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
#include <OxTellarSDK/LocationRecord.h>
#include <OxTellarSDK/OpType.h>

#include "Arena.h"

namespace OxTellarRuntimeDetail {

/// The result of one Op at one location: a node of a tree of the locations ever asked for.
/// A cache line of its own, so that threads at neighbouring locations do not meet.
///
/// `record` is replaced only by a thread that has set kCooking; everything else but the
/// atomics is fixed before the node can be found. Nodes live as long as their store.
struct alignas(64) LocationNode {
    enum State : std::uint8_t {
        kCooking = 1, // one thread computes
        kStale = 2,   // evicted: the record must be replaced before it is used
        kAwaited = 4  // somebody waits for the one that computes
    };

    LocationNode* parent = nullptr;
    std::atomic<struct ChildList*> children{nullptr};
    std::atomic<LocationRecord*> record{nullptr};   // counted
    std::atomic<const void*> attrsAddress{nullptr}; // only to have it fetched early
    union {
        char inlineName[16];
        const std::string* longName; // owned
    };
    std::uint32_t index = 0;                 // among the children of the parent
    std::uint32_t serial = 0;                // unique in the store
    std::atomic<std::uint32_t> freshness{0}; // the eviction that the record is younger than
    std::atomic<std::uint8_t> state{0};
    std::atomic<bool> wasCooked{false}; // or tried to; not when it was only made beside others
    std::uint8_t nameLength = 0;

    LocationNode() : inlineName{} {}
    void setName(std::string_view name);
    bool hasLongName() const { return nameLength == kLongName; }
    std::string_view name() const {
        if (hasLongName()) return *longName;
        return {inlineName, nameLength};
    }
    static constexpr std::uint8_t kLongName = 0xff;

    /// The record with one reference for the caller; null when there is none.
    LocationRecord* acquireRecord() const noexcept;
};

static_assert(sizeof(LocationNode) == 64, "one cache line");

/// All results of one Op identity, shared by every runtime that holds an equal Op.
///
/// A location is found from its parent's node. Walks go from sibling to sibling, so each thread
/// remembers where it last was in a store: the next location asked for is nearly always the
/// next sibling, a child, or a sibling of an ancestor, and found without hashing a path.
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
    LocationNode* findOrAdd(std::string_view path);
    /// Null when the path was never asked for; it may be null or not when a sibling was.
    LocationNode* find(std::string_view path);

    /// The arguments of the Op as its type prepared them, once for all Ops of this identity;
    /// kept as long as the store lives. Null when the type keeps nothing. Throws what the type
    /// throws, and std::runtime_error when the preparation waits for its own end.
    const OxOpType::State* prepare(const OxOpType::OpType& type,
                                   const OxAttribute::GroupAttribute& args,
                                   std::size_t numberOfInputs);

    /// Unlike that of any other store of this process, short of two thousand millions of them.
    std::uint32_t shortId() const { return static_cast<std::uint32_t>(id) & 0x7fffffff; }

    explicit LocationStore(const OxAttribute::Hash& identity);

private:
    LocationNode* locate(std::string_view path, bool add);
    LocationNode* descend(std::string_view folder, bool add);
    LocationNode* child(LocationNode* parent, std::string_view name, std::uint32_t hint, bool add);
    LocationNode* addChildren(LocationNode* parent, std::string_view name);
    LocationNode* makeNodes(std::uint32_t count);
    void append(LocationNode* parent, ChildList& list, std::string_view name, std::uint64_t hash);

    LocationNode root;
    const OxAttribute::Hash identity;
    const std::uint64_t id; // never used again
    std::mutex arenaLock;
    Arena arena; // all nodes but the root
    std::uint32_t nextSerial = 0;

    class PrepareTurn;
    std::mutex prepareLock; // of isBeingPrepared; the type's code does not run under it
    std::condition_variable prepareEnded;
    bool isBeingPrepared = false; // by one thread, which alone may change the two below
    std::atomic<bool> isPrepared{false};
    std::shared_ptr<const OxOpType::State> state;
};

} // namespace OxTellarRuntimeDetail

#endif
