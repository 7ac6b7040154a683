#include "NodeBlock.h"

#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "Arena.h"
#include "NodeMemory.h"

namespace OxTellarRuntimeDetail {

namespace {

// What a block takes in the store's tables by number, which grow by doubling, and in the marks of
// runtimes. The tables of NodeMemory are a sixtieth of the nodes.
constexpr std::uint64_t kTableBytes = 32;

struct Headers {
    std::mutex lock; // of all members
    NodeBlock* free = nullptr;
    std::vector<NodeBlock*> slabs;
    Arena arena;

    NodeBlock* take() {
        const std::lock_guard<std::mutex> guard(lock);
        if (!free) addSlab();
        return std::exchange(free, free->next);
    }

    void give(NodeBlock& block) noexcept {
        const std::lock_guard<std::mutex> guard(lock);
        block.next = std::exchange(free, &block);
    }

private:
    void addSlab() {
        slabs.reserve(slabs.size() + 1);
        auto* const slab =
            static_cast<NodeBlock*>(arena.allocate(NodeBlock::kSlabHeaders * sizeof(NodeBlock)));
        for (std::size_t i = NodeBlock::kSlabHeaders; i > 0; --i) {
            auto* const block = new (slab + i - 1) NodeBlock;
            block->next = std::exchange(free, block);
        }
        slabs.push_back(slab);
    }
};

Headers& GetHeaders() {
    static Headers* const headers = new Headers;
    return *headers;
}

} // namespace

NodeBlock* NodeBlock::Make(std::uint32_t nodes) {
    const std::uint32_t capacity = NodeMemory::RoomFor(nodes);
    LocationNode* const array = NodeMemory::Take(capacity);
    NodeBlock* block = nullptr;
    try {
        block = GetHeaders().take();
    } catch (const std::bad_alloc&) {
        NodeMemory::Give(array, capacity);
        throw;
    }
    block->nodes = array;
    block->capacity = static_cast<std::uint8_t>(capacity);
    block->count.store(0, std::memory_order_relaxed);
    block->texts = nullptr;
    for (std::uint32_t i = 0; i < capacity; ++i)
        (new (array + i) LocationNode)->block = block;
    block->generation.fetch_add(1, std::memory_order_release);
    // Not a store: a thread with a handle to what was here before may just be trying to hold it.
    block->holds.fetch_sub(kDropped - 1, std::memory_order_release);
    return block;
}

std::uint64_t NodeBlock::bytes() const {
    std::uint64_t sum = sizeof(NodeBlock) + kTableBytes + capacity * (sizeof(LocationNode) + 1);
    for (const NameTexts* some = texts; some; some = some->next)
        sum += some->bytes;
    return sum;
}

void NodeBlock::Free(NodeBlock& block) noexcept {
    while (NameTexts* const texts = block.texts) {
        block.texts = texts->next;
        ::operator delete(texts);
    }
    NodeMemory::Give(block.nodes, block.capacity);
    GetHeaders().give(block);
}

NodeBlock* NodeBlock::Slab(std::size_t index) noexcept {
    Headers& headers = GetHeaders();
    const std::lock_guard<std::mutex> guard(headers.lock);
    return index < headers.slabs.size() ? headers.slabs[index] : nullptr;
}

} // namespace OxTellarRuntimeDetail
