// Dropping blocks of nodes while other threads walk.
//
// One thread at a time drops; the dropping lock also keeps stores from being destroyed meanwhile.
// It goes through all headers in a circle, beginning where it stopped the last time: blocks are
// made in the order of a walk, so old ones lie together. A block that was not used lately and has
// no holds is
//
//   - marked as dropped, so that nobody can hold it any more. From here on only this thread
//     changes it.
//   - unlinked from its parent's list, under the parent's lock, and given a new generation: neither
//     a look-up nor a handle leads to it now. The list of a parent that has no other children goes
//     with it, and then the parent's own block has a hold less.
//   - put into limbo until all guards that existed by then are gone (ReadGuard).
//   - freed: its records are released, its marks of "cooked" are taken away, and its number, its
//     nodes and its header may be used again.
//
// A cook holds its block, so it is never dropped under it. An evicted location that nobody cooked
// again keeps its block, because only its node knows of the eviction.

#include "NodeDropping.h"

#include <array>
#include <memory>
#include <new>
#include <thread>
#include <utility>

#include "CookedIndex.h"
#include "ResultMemory.h"

namespace OxTellarRuntimeDetail {

namespace {

// Guards are short, but the thread that has one may be waiting for a processor. After this many
// turns what is in limbo is left to the next relief.
constexpr int kTurnsInLimbo = 64;
// Blocks that wait in limbo together: up to half a mebibyte of nodes.
constexpr std::size_t kBlocksAtOnce = 256;

struct alignas(64) Stripe {
    std::mutex lock;
};

/// What was unlinked and may still be read.
struct Limbo {
    NodeBlock* blocks = nullptr;
    ChildList* lists = nullptr;
    std::size_t count = 0;
};

struct Dropping {
    std::mutex lock; // of all members
    Limbo limbo;
    std::size_t hand = 0; // the header at which the next look begins
};

/// Never destroyed, and not on the heap: stores are destroyed when there is no memory, too.
Dropping& GetDropping() {
    alignas(Dropping) static char memory[sizeof(Dropping)];
    static auto* const dropping = new (memory) Dropping;
    return *dropping;
}

bool IsAwaitingItsCook(const NodeBlock& block) {
    for (std::uint32_t i = 0; i < block.capacity; ++i)
        if (block.nodes[i].state.load(std::memory_order_acquire) != 0) return true;
    return false;
}

bool MarkDropped(NodeBlock& block) {
    if (!block.tryDrop()) return false;
    if (!IsAwaitingItsCook(block)) return true;
    block.holds.fetch_sub(NodeBlock::kDropped, std::memory_order_release);
    return false;
}

/// How much memory the records of a marked block take that nobody else holds.
std::uint64_t BytesOfRecords(const NodeBlock& block) {
    std::uint64_t sum = 0;
    for (std::uint32_t i = 0; i < block.capacity; ++i) {
        const LocationRecord* record = block.nodes[i].record.load(std::memory_order_relaxed);
        if (record && record->count.load(std::memory_order_relaxed) == 1) sum += record->bytes();
    }
    return sum;
}

/// Drops the list of a location whose last child was dropped. Under the parent's lock.
void UnlinkList(LocationNode& parent, Limbo& limbo) {
    ChildList* const list = parent.children.exchange(nullptr, std::memory_order_release);
    list->nextDropped = std::exchange(limbo.lists, list);
    ResultMemory::Get().dropped(list->bytes(), 0);
    parent.block->unhold();
}

void DropRecords(NodeBlock& block) noexcept {
    for (std::uint32_t i = 0; i < block.capacity; ++i)
        if (LocationRecord* record =
                block.nodes[i].record.exchange(nullptr, std::memory_order_relaxed))
            record->drop();
}

/// Marks the block and all below it as dropped, and returns them in one list.
NodeBlock* EndAll(NodeBlock& top) noexcept {
    top.next = nullptr;
    NodeBlock* ended = nullptr;
    NodeBlock* found = &top; // but not yet looked into
    while (NodeBlock* const block = found) {
        found = block->next;
        for (std::uint32_t i = 0; i < block->capacity; ++i)
            if (const ChildList* list = block->nodes[i].children.load(std::memory_order_acquire))
                list->visitBlocks(
                    [&](NodeBlock& below) { below.next = std::exchange(found, &below); });
        block->holds.store(NodeBlock::kDropped, std::memory_order_relaxed);
        block->endGeneration();
        block->next = std::exchange(ended, block);
    }
    return ended;
}

bool AwaitGrace() noexcept {
    if (!ReadGuard::BeginGrace()) return false;
    for (int turn = 0; !ReadGuard::HasGracePassed(); ++turn) {
        if (turn == kTurnsInLimbo) return false;
        std::this_thread::yield();
    }
    return true;
}

class HeaderCircle {
public:
    explicit HeaderCircle(std::size_t& place) : hand(place) {
        while (NodeBlock::Slab(left / NodeBlock::kSlabHeaders))
            left += NodeBlock::kSlabHeaders;
    }
    /// Null when the circle is closed.
    NodeBlock* next() {
        if (left == 0) return nullptr;
        --left;
        if (!slab || hand % NodeBlock::kSlabHeaders == 0)
            slab = NodeBlock::Slab(hand / NodeBlock::kSlabHeaders);
        if (!slab) {
            hand = 0;
            slab = NodeBlock::Slab(0);
        }
        return slab + hand++ % NodeBlock::kSlabHeaders;
    }

private:
    std::size_t& hand;
    std::size_t left = 0;
    NodeBlock* slab = nullptr;
};

bool MayBeDropped(const NodeBlock& block, std::uint32_t usedBefore) {
    // Acquire: the one who made the block has linked it.
    if (block.holds.load(std::memory_order_acquire) != 0) return false;
    const std::uint32_t usedIn = block.usedIn.load(std::memory_order_relaxed);
    return static_cast<std::int32_t>(usedIn - usedBefore) < 0; // ticks go round
}

} // namespace

std::mutex& ChildLock(const LocationNode& parent) {
    static std::array<Stripe, 64>* const stripes = new std::array<Stripe, 64>;
    return (*stripes)[reinterpret_cast<std::uintptr_t>(&parent) / sizeof(LocationNode) % 64].lock;
}

void NodeDropping::Register() {
    static const bool isRegistered = [] {
        ResultMemory::Get().setDrop(&Drop);
        return true;
    }();
    static_cast<void>(isRegistered);
}

/// Returns how much memory it will free; 0 for a block that has to stay.
std::uint64_t NodeDropping::Unlink(NodeBlock& block) {
    Limbo& limbo = GetDropping().limbo;
    LocationNode& parent = *block.parent;
    const std::lock_guard<std::mutex> guard(ChildLock(parent));
    if (!MarkDropped(block)) return 0;
    // Before the block is gone: see LocationStore::evict.
    block.store.load(std::memory_order_relaxed)->hasDropped.store(true, std::memory_order_relaxed);
    const bool wasLast = parent.children.load(std::memory_order_relaxed)->unlink(block);
    block.endGeneration();
    if (wasLast) UnlinkList(parent, limbo);
    block.next = std::exchange(limbo.blocks, &block);
    ++limbo.count;
    const std::uint64_t bytes = block.bytes();
    ResultMemory::Get().dropped(bytes, 0);
    return bytes + BytesOfRecords(block);
}

std::uint64_t NodeDropping::Drop(std::uint32_t usedBefore, std::uint64_t wanted) {
    Dropping& dropping = GetDropping();
    const std::lock_guard<std::mutex> guard(dropping.lock);
    ValueBytes::Meter meter; // a cook may be the reason, and has freed none of this
    HeaderCircle headers(dropping.hand);
    std::uint64_t freed = 0;
    while (freed < wanted) {
        NodeBlock* const block = headers.next();
        if (!block) break;
        if (MayBeDropped(*block, usedBefore)) freed += Unlink(*block);
        if (dropping.limbo.count >= kBlocksAtOnce) Settle();
    }
    Settle();
    return freed;
}

/// Frees what is in limbo, unless guards hinder it. The dropping lock is held.
void NodeDropping::Settle() noexcept {
    Limbo& limbo = GetDropping().limbo;
    if (!limbo.blocks || !AwaitGrace()) return;
    limbo.count = 0;
    while (NodeBlock* const block = limbo.blocks) {
        limbo.blocks = block->next;
        DropRecords(*block);
        if (LocationStore* store = block->store.load(std::memory_order_relaxed))
            store->giveNumber(*block);
        NodeBlock::Free(*block);
    }
    while (ChildList* const list = limbo.lists) {
        limbo.lists = list->nextDropped;
        delete list;
    }
}

void NodeDropping::FreeAll(LocationStore& store) noexcept {
    NodeBlock* blocks = nullptr;
    {
        Dropping& dropping = GetDropping();
        const std::lock_guard<std::mutex> guard(dropping.lock);
        for (NodeBlock* block = dropping.limbo.blocks; block; block = block->next)
            if (block->store.load(std::memory_order_relaxed) == &store)
                block->store.store(nullptr, std::memory_order_relaxed); // it may still be read
        blocks = EndAll(*store.root.block);
    }
    // A thread with a handle to a location of this store reads nothing but the headers.
    while (NodeBlock* const block = blocks) {
        blocks = block->next;
        FreeNodes(*block);
    }
}

void NodeDropping::FreeNodes(NodeBlock& block) noexcept {
    ResultMemory& memory = ResultMemory::Get();
    for (std::uint32_t i = 0; i < block.capacity; ++i) {
        LocationNode& node = block.nodes[i];
        if (LocationRecord* record = node.record.load(std::memory_order_relaxed)) record->release();
        const std::unique_ptr<ChildList> list(node.children.load(std::memory_order_relaxed));
        if (list) memory.removed(list->bytes(), 0);
    }
    memory.removed(block.bytes(), 0);
    NodeBlock::Free(block);
}

} // namespace OxTellarRuntimeDetail
