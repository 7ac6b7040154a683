#ifndef OXTELLARSDK_LOCATIONNODE_H
#define OXTELLARSDK_LOCATIONNODE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <OxTellarSDK/LocationRecord.h>

namespace OxTellarRuntimeDetail {

struct ChildList;
struct NodeBlock;

/// The result of one Op at one location: a node of the tree of locations in a LocationStore.
/// A cache line of its own, so that threads at neighbouring locations do not slow each other down.
///
/// `record` is replaced only by a thread that has set kCooking. Everything else except the atomics
/// is fixed before the node can be found. A node goes with its block (see NodeBlock.h): whoever
/// uses one has a ReadGuard since it was found, or a NodePin.
struct alignas(64) LocationNode {
    enum State : std::uint8_t {
        kCooking = 1, // one thread computes
        kStale = 2,   // evicted: the record must be replaced before it is used
        kAwaited = 4  // the thread that computes has waiters
    };
    struct LongName {
        const char* text;
        std::size_t bytes;
    };
    static constexpr std::uint8_t kLongName = 0xff;

    NodeBlock* block = nullptr;
    std::atomic<ChildList*> children{nullptr};
    std::atomic<LocationRecord*> record{nullptr};   // counted
    std::atomic<const void*> attrsAddress{nullptr}; // only for prefetching
    union {
        char inlineName[24];
        LongName longName; // the text belongs to the block
    };
    std::atomic<std::uint32_t> freshness{0}; // the last eviction that the record was made for
    std::atomic<std::uint8_t> state{0};
    std::atomic<bool> wasCooked{false}; // true also after a failed cook
    std::uint8_t nameLength = 0;        // 0 for the root, and for a place that no location took

    LocationNode() : inlineName{} {}

    /// Whether the name can be one level of a path.
    static bool IsLevel(std::string_view name) {
        return !name.empty() && name.find('/') == std::string_view::npos;
    }
    static bool IsLongName(std::string_view name) { return name.size() > sizeof inlineName; }
    /// The text of a long name has to live as long as the node.
    void setName(std::string_view name);
    std::string_view name() const {
        if (nameLength == kLongName) return {longName.text, longName.bytes};
        return {inlineName, nameLength};
    }

    /// Null for the node above all locations.
    inline LocationNode* parent() const;
    /// Its place among the nodes of its block.
    inline std::uint32_t slot() const;
    /// No other node of the store has it at the same time.
    inline std::uint32_t serial() const;
    /// Where it stands in its parent's ChildList.
    inline std::uint32_t position() const;
    /// Its probable place among the potential children of its parent.
    inline std::int64_t probableIndex() const;
    inline NodeHandle handle() const;

    /// "/root/world"; empty for the node above all locations.
    std::string path() const;

    /// The record with one reference for the caller; null when there is none.
    LocationRecord* acquireRecord() const noexcept;
};

static_assert(sizeof(LocationNode) == 64, "one cache line");

} // namespace OxTellarRuntimeDetail

#include "NodeBlock.h"

#endif
