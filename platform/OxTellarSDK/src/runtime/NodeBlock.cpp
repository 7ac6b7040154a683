#include "NodeBlock.h"

#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "Arena.h"
#include "PerThread.h"
#include "SmallMemory.h"

namespace OxTellarRuntimeDetail {

namespace {

// The memory of a block's entries in the marks of runtimes and in the store's free numbers.
constexpr std::uint64_t kTableBytes = 8;
// So many headers move between a thread and the common list at once.
constexpr std::uint32_t kBatch = 32;

/// Free headers.
struct FreeHeaders {
    NodeBlock* first = nullptr;
    std::uint32_t count = 0;

    void push(NodeBlock& block) noexcept {
        block.next = std::exchange(first, &block);
        ++count;
    }
    NodeBlock* pop() noexcept {
        --count;
        return std::exchange(first, first->next);
    }
};

struct Headers {
    std::mutex lock; // of all members
    FreeHeaders free;
    std::vector<NodeBlock*> slabs;
    Arena arena;

    /// At least one, and up to `count`. Throws std::bad_alloc.
    FreeHeaders take(std::uint32_t count) {
        const std::lock_guard<std::mutex> guard(lock);
        if (!free.first) addSlab();
        FreeHeaders taken;
        NodeBlock** end = &taken.first;
        for (; free.first && taken.count < count; ++taken.count, end = &(*end)->next)
            *end = free.pop();
        *end = nullptr;
        return taken;
    }

    /// Takes headers from the list until it has no more than `left`.
    void give(FreeHeaders& list, std::uint32_t left) noexcept {
        const std::lock_guard<std::mutex> guard(lock);
        while (list.count > left)
            free.push(*list.pop());
    }

private:
    void addSlab() {
        slabs.reserve(slabs.size() + 1);
        auto* const slab =
            static_cast<NodeBlock*>(arena.allocate(NodeBlock::kSlabHeaders * sizeof(NodeBlock)));
        for (std::size_t i = NodeBlock::kSlabHeaders; i > 0; --i)
            free.push(*new (slab + i - 1) NodeBlock);
        slabs.push_back(slab);
    }
};

Headers& GetHeaders() {
    static Headers* const headers = new Headers;
    return *headers;
}

/// The free headers of one thread.
class ThreadHeaders {
public:
    ThreadHeaders() = default;
    ~ThreadHeaders() { GetHeaders().give(free, 0); }
    ThreadHeaders(const ThreadHeaders&) = delete;
    ThreadHeaders& operator=(const ThreadHeaders&) = delete;

    NodeBlock* take() {
        if (!free.first) free = GetHeaders().take(kBatch);
        return free.pop();
    }
    void give(NodeBlock& block) noexcept {
        free.push(block);
        if (free.count > 2 * kBatch) GetHeaders().give(free, kBatch);
    }

private:
    FreeHeaders free;
};

NodeBlock* TakeHeader() {
    ThreadHeaders* const own = PerThread<ThreadHeaders>::Get();
    return own ? own->take() : GetHeaders().take(1).pop();
}

void GiveHeader(NodeBlock& block) noexcept {
    if (ThreadHeaders* const own = PerThread<ThreadHeaders>::Get()) return own->give(block);
    FreeHeaders one;
    one.push(block);
    GetHeaders().give(one, 0);
}

} // namespace

NodeBlock* NodeBlock::Make(std::uint32_t nodes) {
    const std::size_t room = SmallMemory::RoomFor(nodes * sizeof(LocationNode));
    const std::size_t capacity = room / sizeof(LocationNode);
    auto* const array = static_cast<LocationNode*>(SmallMemory::Take(room));
    NodeBlock* block = nullptr;
    try {
        block = TakeHeader();
    } catch (const std::bad_alloc&) {
        SmallMemory::Give(array, room);
        throw;
    }
    block->nodes = array;
    block->capacity = static_cast<std::uint8_t>(capacity);
    block->count.store(0, std::memory_order_relaxed);
    block->texts = nullptr;
    for (std::size_t i = 0; i < capacity; ++i)
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
        SmallMemory::Give(texts, texts->bytes);
    }
    SmallMemory::Give(block.nodes, block.capacity * sizeof(LocationNode));
    GiveHeader(block);
}

NodeBlock* NodeBlock::Slab(std::size_t index) noexcept {
    Headers& headers = GetHeaders();
    const std::lock_guard<std::mutex> guard(headers.lock);
    return index < headers.slabs.size() ? headers.slabs[index] : nullptr;
}

} // namespace OxTellarRuntimeDetail
