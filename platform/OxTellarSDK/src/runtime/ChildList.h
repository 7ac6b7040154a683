#ifndef OXTELLARSDK_CHILDLIST_H
#define OXTELLARSDK_CHILDLIST_H

#include <atomic>
#include <cstdint>
#include <string_view>

#include "LocationNode.h"
#include "SmallMemory.h"

namespace OxTellarRuntimeDetail {

/// The children of one node that are there, in blocks (NodeBlock.h). A child that was made as the
/// n-th potential child of its parent has the position n. Others, which are asked for before the
/// parent's potential children are known or are none of these, are strays: their positions begin at
/// kStray and are given in the order in which they are asked for. A block begins at a multiple of
/// 32.
///
/// Threads: `at` and `findNear` are for any thread under a ReadGuard. Everything else is for the
/// holder of the parent's lock.
struct ChildList : SmallMemory::Object {
    static constexpr std::uint32_t kStray = 0x80000000;
    /// Up to this many children a look at each is as fast as an index.
    static constexpr std::uint32_t kUnindexed = 8;

    ChildList() = default;
    ~ChildList();
    ChildList(const ChildList&) = delete;
    ChildList& operator=(const ChildList&) = delete;

    /// Null when there is none at the position.
    LocationNode* at(std::uint32_t position) const;
    /// Looks at the children that can be compared with a few steps.
    LocationNode* findNear(std::string_view name) const;
    // Under the parent's lock.
    LocationNode* find(std::string_view name) const;
    bool hasBlock(std::uint32_t position) const { return blockAt(position) != nullptr; }
    /// The stray block with room for one more, or null.
    NodeBlock* openStrays() const;
    /// Where a new block of strays can be linked.
    std::uint32_t newStrays() const;
    std::uint32_t numberOfBlocks() const;
    /// Prepares for a block at the position and for so many nodes more. Needs memory, so it comes
    /// before `link` and `enter`. `last` is the last position that blocks will probably have.
    void reserve(std::uint32_t position, std::uint32_t nodes, std::uint32_t last);
    /// Lets threads find the block's published nodes.
    void link(NodeBlock& block);
    /// Lets `find` find the node, which has its name and whose block is linked.
    void enter(const LocationNode& node);
    /// The same for a node that gets the name afterwards, in one search. False, without effect, if
    /// there is a child of that name.
    bool enterNew(std::uint32_t position, std::string_view name);
    /// Takes back `link` and `enter`. True when it was the last block.
    bool unlink(NodeBlock& block) noexcept;
    /// Calls `visit` with each block. For a list that nobody changes.
    template <typename Visit>
    void visitBlocks(const Visit& visit) const;

    /// How much memory it takes.
    std::uint64_t bytes() const;

    ChildList* nextDropped = nullptr; // for NodeDropping
    /// How far a child lies behind its place among the potential children. Not 0 when these have
    /// changed since: right for the child that was found last, and a guess for the next one. Modulo
    /// 2^32.
    std::atomic<std::uint32_t> shift{0};

private:
    struct Directory;
    struct Further;

    static std::uint32_t LaneOf(std::uint32_t position) { return position / kStray; }
    static std::uint32_t NumberOf(std::uint32_t position) { return position % kStray / 32; }
    /// Where the block of a position is noted; null when there is no room for one.
    std::atomic<NodeBlock*>* place(std::uint32_t position) const;
    NodeBlock* blockAt(std::uint32_t position) const;
    NodeBlock* firstStrays() const;
    LocationNode* entryAt(std::uint32_t position) const;
    Further* ownFurther() const { return further.load(std::memory_order_relaxed); }
    bool hasIndex() const;
    Further& needFurther();
    void reserveIndex(std::uint32_t highestPosition, std::uint32_t nodes, std::uint32_t expected);
    void makeIndex(std::uint32_t slots, std::uint8_t slotBytes);
    bool insert(std::uint32_t position, std::string_view name);
    bool insertNew(std::uint32_t position, std::string_view name);

    std::uint32_t entered = 0;              // nodes with a name
    std::atomic<NodeBlock*> first{nullptr}; // of the potential children
    std::atomic<Further*> further{nullptr}; // owned
};

static_assert(sizeof(ChildList) == 32, "most locations with children have one");

/// The places of blocks behind the first one.
struct ChildList::Directory {
    std::uint32_t size;  // how many
    Directory* previous; // a smaller one, which threads may still read; owned
    std::atomic<NodeBlock*>* blocks() {
        return reinterpret_cast<std::atomic<NodeBlock*>*>(this + 1);
    }

    std::size_t bytes() const { return Bytes(size); }

    static std::size_t Bytes(std::uint32_t size) {
        return sizeof(Directory) + size * sizeof(std::atomic<NodeBlock*>);
    }
    static Directory* Make(std::uint32_t size); // without blocks
    static void Delete(Directory* last) noexcept;
};

/// A list has this as soon as it has strays or more than a few children.
struct ChildList::Further : SmallMemory::Object {
    std::atomic<NodeBlock*> firstStrays{nullptr};
    std::atomic<Directory*> directories[2] = {{nullptr}, {nullptr}}; // by lane; owned
    // Open addressing: for every node 1 + its position, turned left by one bit so that strays have
    // small numbers too; 0 for a free slot. A slot has 1, 2 or 4 bytes, so that all numbers fit.
    // A dropped block leaves its entries here. They lead nowhere, and are right again when the same
    // locations are made again.
    char* index = nullptr;         // owned
    std::uint32_t slots = 0;       // a power of two; 0 without an index
    std::uint32_t taken = 0;       // of the slots
    std::uint32_t blocks;          // of the list
    std::uint32_t strayBlocks = 0; // places that were ever used
    std::uint32_t lastStrays = 0;  // the place of the block that was linked last
    std::uint8_t slotBytes = 1;

    explicit Further(std::uint32_t blocks) : blocks(blocks) {}
    ~Further();
    Further(const Further&) = delete;
    Further& operator=(const Further&) = delete;

    std::atomic<NodeBlock*>* place(std::uint32_t lane, std::uint32_t number);
    void reservePlace(std::uint32_t lane, std::uint32_t number);
    std::uint32_t slot(std::uint32_t number) const;
    void setSlot(std::uint32_t number, std::uint32_t value);
    std::uint64_t bytes() const;
};

template <typename Visit>
void ChildList::visitBlocks(const Visit& visit) const {
    const auto visitPlace = [&](const std::atomic<NodeBlock*>& place) {
        if (NodeBlock* block = place.load(std::memory_order_acquire)) visit(*block);
    };
    visitPlace(first);
    Further* const more = further.load(std::memory_order_acquire);
    if (!more) return;
    visitPlace(more->firstStrays);
    for (const std::atomic<Directory*>& lane : more->directories) {
        Directory* const directory = lane.load(std::memory_order_acquire);
        for (std::uint32_t i = 0; directory && i < directory->size; ++i)
            visitPlace(directory->blocks()[i]);
    }
}

inline std::atomic<NodeBlock*>* ChildList::Further::place(std::uint32_t lane,
                                                          std::uint32_t number) {
    if (number == 0) return &firstStrays; // the list itself has the other first block
    Directory* const directory = directories[lane].load(std::memory_order_acquire);
    return directory && number <= directory->size ? directory->blocks() + number - 1 : nullptr;
}

inline std::atomic<NodeBlock*>* ChildList::place(std::uint32_t position) const {
    if (position < NodeBlock::kNodes) return const_cast<std::atomic<NodeBlock*>*>(&first);
    Further* const more = further.load(std::memory_order_acquire);
    return more ? more->place(LaneOf(position), NumberOf(position)) : nullptr;
}

inline NodeBlock* ChildList::blockAt(std::uint32_t position) const {
    const std::atomic<NodeBlock*>* const noted = place(position);
    return noted ? noted->load(std::memory_order_acquire) : nullptr;
}

inline LocationNode* ChildList::at(std::uint32_t position) const {
    NodeBlock* const block = blockAt(position);
    const std::uint32_t slot = position % NodeBlock::kNodes;
    if (!block || slot >= block->count.load(std::memory_order_acquire)) return nullptr;
    return block->nodes + slot;
}

} // namespace OxTellarRuntimeDetail

#endif
