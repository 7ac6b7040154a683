#ifndef OXTELLARSDK_NODEBLOCK_H
#define OXTELLARSDK_NODEBLOCK_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "LocationNode.h"

namespace OxTellarRuntimeDetail {

class LocationStore;

/// Copies of names that are too long for their nodes, made at once.
struct NameTexts {
    NameTexts* next;
    std::uint64_t bytes;
    char* text() { return reinterpret_cast<char*>(this + 1); }
};

/// Up to 32 children of one location, which were made together and are dropped together.
///
/// Memory of these headers is never used for anything else. So the store and the generation may be
/// read through a handle whose block was dropped, and the generation tells that: it is even while
/// the block can be found, and grows with each drop and each new use of the header. Everything else
/// is for those who have a ReadGuard since they found the block or saw the right generation, and
/// for those who hold it.
///
/// A block with holds is not dropped. It is held by each thread that cooks one of its locations or
/// waits for that (NodePin), and once for each node that has children: leaves go first, so all
/// ancestors of a node that is there are there.
///
/// Fields without an atomic are set under the lock of the parent before the block can be found.
struct alignas(64) NodeBlock {
    static constexpr std::uint32_t kNodes = 32;
    /// A value of `holds` and more: dropped, or never used.
    static constexpr std::uint32_t kDropped = 0x80000000;

    std::atomic<std::uint32_t> generation{1};
    std::atomic<std::uint32_t> holds{kDropped};
    std::atomic<LocationStore*> store{nullptr};
    LocationNode* nodes = nullptr;
    LocationNode* parent = nullptr;
    std::atomic<std::uint32_t> usedIn{0}; // the tick of the last look at one of the nodes
    std::uint32_t number = 0;             // among the blocks of the store
    std::uint32_t first = 0;              // position of the first node in the parent's list
    std::atomic<std::uint8_t> count{0};   // nodes that any thread may read
    std::uint8_t capacity = 0;
    NameTexts* texts = nullptr;
    NodeBlock* next = nullptr; // in a list of free or dropped blocks

    /// How much memory it takes, with long names.
    std::uint64_t bytes() const;

    /// False for a block that was dropped.
    bool tryHold() noexcept {
        if (holds.fetch_add(1, std::memory_order_acquire) < kDropped) return true;
        holds.fetch_sub(1, std::memory_order_relaxed);
        return false;
    }
    void unhold() noexcept { holds.fetch_sub(1, std::memory_order_release); }

    /// For a block that somebody looks at.
    void use(std::uint32_t tick) noexcept {
        if (usedIn.load(std::memory_order_relaxed) != tick)
            usedIn.store(tick, std::memory_order_relaxed);
    }

    /// Memory for the block of up to 32 nodes, with room for `nodes` of them or a few more, all
    /// constructed. Its one hold is the caller's. Throws std::bad_alloc.
    static NodeBlock* Make(std::uint32_t nodes);
    /// Marks it as dropped, so that nobody holds it from now on. False when it has holds.
    [[nodiscard]] bool tryDrop() noexcept {
        std::uint32_t none = 0;
        // Acquire: what the last holder did is seen.
        return holds.compare_exchange_strong(none, kDropped, std::memory_order_acq_rel);
    }
    /// For a block that is marked and was unlinked: handles to it lead nowhere from now on.
    void endGeneration() noexcept { generation.fetch_add(1, std::memory_order_release); }
    /// For a block that is marked as dropped, that nobody can find any more, and whose nodes have
    /// no records.
    static void Free(NodeBlock& block) noexcept;

    /// All headers that were ever made lie in slabs of kSlabHeaders; null behind the last slab.
    static constexpr std::size_t kSlabHeaders = 1024;
    static NodeBlock* Slab(std::size_t index) noexcept;
};

static_assert(sizeof(NodeBlock) == 64, "one cache line");

inline LocationNode* LocationNode::parent() const {
    return block->parent;
}
inline std::uint32_t LocationNode::slot() const {
    return static_cast<std::uint32_t>(this - block->nodes);
}
inline std::uint32_t LocationNode::serial() const {
    return block->number * NodeBlock::kNodes + slot();
}
inline std::uint32_t LocationNode::position() const {
    return block->first + slot();
}
inline std::int64_t LocationNode::probableIndex() const {
    return position() & 0x7fffffff;
}
inline NodeHandle LocationNode::handle() const {
    // Of a block that was dropped meanwhile the handle has no generation that it will ever have.
    return {block, block->generation.load(std::memory_order_relaxed) & ~1u, slot()};
}

/// Keeps the block of a node.
class NodePin {
public:
    NodePin() noexcept = default;
    ~NodePin() {
        if (pinned) pinned->block->unhold();
    }
    NodePin(const NodePin&) = delete;
    NodePin& operator=(const NodePin&) = delete;

    /// Only for an empty pin, under the guard with which the node was found. False when the node is
    /// being dropped.
    [[nodiscard]] bool tryPin(LocationNode& node) noexcept {
        if (!node.block->tryHold()) return false;
        pinned = &node;
        return true;
    }
    LocationNode& node() const { return *pinned; }
    explicit operator bool() const { return pinned != nullptr; }

private:
    LocationNode* pinned = nullptr;
};

} // namespace OxTellarRuntimeDetail

#endif
