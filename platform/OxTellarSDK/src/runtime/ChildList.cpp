#include "ChildList.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

#include <xxhash.h>

namespace OxTellarRuntimeDetail {

namespace {

constexpr std::uint32_t kFirstIndexSlots = 32;
constexpr std::uint32_t kFirstDirectorySize = 3;
constexpr std::uint32_t kNarrowNumbers = 0x10000;

std::uint64_t HashName(std::string_view name) {
    return XXH3_64bits(name.data(), name.size());
}

/// What the index has for a position. There are fewer than 2^31 - 1 positions of each kind.
std::uint32_t CodeOf(std::uint32_t position) {
    return (position << 1 | position >> 31) + 1;
}
std::uint32_t PositionOf(std::uint32_t code) {
    return (code - 1) >> 1 | (code - 1) << 31;
}

LocationNode* FindIn(const NodeBlock* block, std::uint32_t count, std::string_view name) {
    for (std::uint32_t i = 0; i < count; ++i)
        if (block->nodes[i].name() == name) return block->nodes + i;
    return nullptr;
}

} // namespace

/// From the C library's allocator, which takes memory of large arrays that is never written to from
/// nobody.
ChildList::Directory* ChildList::Directory::Make(std::uint32_t size) {
    void* const memory = std::calloc(1, sizeof(Directory) + size * sizeof(std::atomic<NodeBlock*>));
    if (!memory) throw std::bad_alloc();
    return new (memory) Directory{size, nullptr};
}

void ChildList::Directory::Delete(Directory* last) noexcept {
    while (last)
        std::free(std::exchange(last, last->previous));
}

ChildList::~ChildList() {
    for (const Lane& lane : lanes)
        Directory::Delete(lane.further.load(std::memory_order_relaxed));
}

std::uint64_t ChildList::bytes() const {
    constexpr std::uint64_t kHeapBytes = 16; // what the heap needs for itself
    std::uint64_t sum = sizeof(ChildList) + kHeapBytes + std::uint64_t(slots) * (isWide ? 4 : 2);
    for (const Lane& lane : lanes)
        for (Directory* directory = lane.further.load(std::memory_order_relaxed); directory;
             directory = directory->previous)
            sum += sizeof(Directory) + directory->size * sizeof(std::atomic<NodeBlock*>);
    return sum;
}

LocationNode* ChildList::findNear(std::string_view name) const {
    for (const Lane& lane : lanes) {
        const NodeBlock* block = lane.first.load(std::memory_order_acquire);
        const std::uint32_t count = block ? block->count.load(std::memory_order_acquire) : 0;
        if (count == 0 || count > kUnindexed) continue;
        if (LocationNode* known = FindIn(block, count, name)) return known;
    }
    return nullptr;
}

LocationNode* ChildList::find(std::string_view name) const {
    if (name.empty()) return nullptr;
    if (slots == 0) { // then only the first block of each kind is there
        for (const Lane& lane : lanes)
            if (const NodeBlock* block = lane.first.load(std::memory_order_relaxed))
                if (LocationNode* known = FindIn(block, block->capacity, name)) return known;
        return nullptr;
    }
    const std::uint32_t mask = slots - 1;
    for (auto i = static_cast<std::uint32_t>(HashName(name)) & mask; slot(i) != 0;
         i = (i + 1) & mask) {
        LocationNode& node = nodeAt(PositionOf(slot(i)));
        if (node.name() == name) return &node;
    }
    return nullptr;
}

NodeBlock* ChildList::openStrays() const {
    NodeBlock* const block = strayBlocks > 0 ? blockAt(kStray | lastStrays * 32) : nullptr;
    return block && block->count.load(std::memory_order_relaxed) < block->capacity ? block
                                                                                   : nullptr;
}

std::uint32_t ChildList::newStrays() const {
    // After a drop the places behind the last block are likely to be free: they were used later.
    for (std::uint32_t number = lastStrays; number < strayBlocks; ++number)
        if (!blockAt(kStray | number * 32)) return kStray | number * 32;
    if (strayBlocks > 0 && !blockAt(kStray)) return kStray;
    return kStray | strayBlocks * 32;
}

LocationNode& ChildList::nodeAt(std::uint32_t position) const {
    return blockAt(position)->nodes[position % NodeBlock::kNodes];
}

void ChildList::reserve(std::uint32_t position, std::uint32_t nodes) {
    reserveBlock(position);
    const std::uint32_t highest = position | (NodeBlock::kNodes - 1);
    if (slots != 0 || NumberOf(position) != 0 || entered + nodes > kUnindexed)
        reserveIndex(highest, nodes);
}

void ChildList::reserveBlock(std::uint32_t position) {
    Lane& lane = lanes[LaneOf(position)];
    const std::uint32_t number = NumberOf(position);
    if (lane.place(number)) return;
    Directory* const old = lane.further.load(std::memory_order_relaxed);
    const std::uint32_t size = std::max({number, kFirstDirectorySize, old ? 2 * old->size : 0});
    Directory* const made = Directory::Make(size);
    made->previous = old;
    for (std::uint32_t i = 0; old && i < old->size; ++i)
        made->blocks()[i].store(old->blocks()[i].load(std::memory_order_relaxed),
                                std::memory_order_relaxed);
    lane.further.store(made, std::memory_order_release);
}

void ChildList::reserveIndex(std::uint32_t highestPosition, std::uint32_t nodes) {
    const std::uint64_t wanted = std::uint64_t(entered) + nodes + 1;
    std::uint64_t size = std::max(slots, kFirstIndexSlots);
    while (wanted * 4 > size * 3)
        size *= 2;
    if (size > ~0u) throw std::bad_alloc();
    const bool wide = isWide || CodeOf(highestPosition) >= kNarrowNumbers;
    if (size != slots || wide != isWide) makeIndex(static_cast<std::uint32_t>(size), wide);
}

void ChildList::makeIndex(std::uint32_t newSlots, bool wide) {
    std::unique_ptr<char[]> made(new char[std::size_t(newSlots) * (wide ? 4 : 2)]());
    const std::unique_ptr<char[]> old = std::exchange(index, std::move(made));
    const std::uint32_t oldSlots = std::exchange(slots, newSlots);
    const bool wasWide = std::exchange(isWide, wide);
    const auto enterOld = [&](std::uint32_t position) {
        const LocationNode& node = nodeAt(position);
        if (node.nameLength != 0) insert(position, node.name());
    };
    for (std::uint32_t i = 0; i < oldSlots; ++i) {
        const std::uint32_t code = wasWide ? reinterpret_cast<std::uint32_t*>(old.get())[i]
                                           : reinterpret_cast<std::uint16_t*>(old.get())[i];
        if (code != 0) enterOld(PositionOf(code));
    }
    if (oldSlots != 0) return;
    for (const Lane& lane : lanes)
        if (const NodeBlock* block = lane.first.load(std::memory_order_relaxed))
            for (std::uint32_t i = 0; i < block->capacity; ++i)
                enterOld(block->first + i);
}

void ChildList::link(NodeBlock& block) {
    const std::uint32_t number = NumberOf(block.first);
    lanes[LaneOf(block.first)].place(number)->store(&block, std::memory_order_release);
    ++blocks;
    if (LaneOf(block.first) == 0) return;
    strayBlocks = std::max(strayBlocks, number + 1);
    lastStrays = number;
}

void ChildList::enter(const LocationNode& node) {
    ++entered;
    if (slots != 0) insert(node.position(), node.name());
}

void ChildList::insert(std::uint32_t position, std::string_view name) {
    const std::uint32_t mask = slots - 1;
    auto i = static_cast<std::uint32_t>(HashName(name)) & mask;
    while (slot(i) != 0)
        i = (i + 1) & mask;
    setSlot(i, CodeOf(position));
}

bool ChildList::unlink(NodeBlock& block) noexcept {
    for (std::uint32_t i = 0; i < block.capacity; ++i) {
        if (block.nodes[i].nameLength == 0) continue;
        --entered;
        if (slots != 0 && blocks > 1) removeFromIndex(block.nodes[i]);
    }
    lanes[LaneOf(block.first)]
        .place(NumberOf(block.first))
        ->store(nullptr, std::memory_order_release);
    return --blocks == 0;
}

/// Fills the free slot with a later entry that may stand there, and so on: a search ends at the
/// first free slot.
void ChildList::removeFromIndex(const LocationNode& node) {
    const std::uint32_t mask = slots - 1;
    const std::uint32_t code = CodeOf(node.position());
    auto free = static_cast<std::uint32_t>(HashName(node.name())) & mask;
    while (slot(free) != code)
        free = (free + 1) & mask;
    for (std::uint32_t i = (free + 1) & mask; slot(i) != 0; i = (i + 1) & mask) {
        const std::string_view name = nodeAt(PositionOf(slot(i))).name();
        const std::uint32_t wanted = static_cast<std::uint32_t>(HashName(name)) & mask;
        if (((i - wanted) & mask) < ((i - free) & mask)) continue;
        setSlot(free, slot(i));
        free = i;
    }
    setSlot(free, 0);
}

std::uint32_t ChildList::slot(std::uint32_t i) const {
    return isWide ? reinterpret_cast<const std::uint32_t*>(index.get())[i]
                  : reinterpret_cast<const std::uint16_t*>(index.get())[i];
}

void ChildList::setSlot(std::uint32_t i, std::uint32_t value) {
    if (isWide)
        reinterpret_cast<std::uint32_t*>(index.get())[i] = value;
    else
        reinterpret_cast<std::uint16_t*>(index.get())[i] = static_cast<std::uint16_t>(value);
}

} // namespace OxTellarRuntimeDetail
