#include "ChildList.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include <xxhash.h>

namespace OxTellarRuntimeDetail {

namespace {

constexpr std::uint32_t kFirstIndexSlots = 32;
// An index has room for so many children that will probably come, so that it is not made anew with
// each block of a list that is walked. Of a longer list perhaps only some are asked for.
constexpr std::uint32_t kMostExpected = 128;
constexpr std::uint32_t kFirstDirectorySize = 3;

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

/// The bytes of a slot that has room for all codes up to this one.
std::uint8_t SlotBytesFor(std::uint32_t code) {
    if (code <= 0xff) return 1;
    return code <= 0xffff ? 2 : 4;
}

std::uint32_t CodeIn(const char* index, std::uint32_t slot, std::uint8_t slotBytes) {
    if (slotBytes == 1) return reinterpret_cast<const std::uint8_t*>(index)[slot];
    return slotBytes == 2 ? reinterpret_cast<const std::uint16_t*>(index)[slot]
                          : reinterpret_cast<const std::uint32_t*>(index)[slot];
}

LocationNode* FindIn(const NodeBlock* block, std::uint32_t count, std::string_view name) {
    for (std::uint32_t i = 0; i < count; ++i)
        if (block->nodes[i].name() == name) return block->nodes + i;
    return nullptr;
}

} // namespace

/// Large ones come from the C library's allocator, which takes memory of arrays that is never
/// written to from nobody.
ChildList::Directory* ChildList::Directory::Make(std::uint32_t size) {
    const std::size_t bytes = Bytes(size);
    void* memory = nullptr;
    if (bytes <= SmallMemory::kLargest)
        memory = std::memset(SmallMemory::Take(bytes), 0, bytes);
    else
        memory = std::calloc(1, bytes);
    if (!memory) throw std::bad_alloc();
    return new (memory) Directory{size, nullptr};
}

void ChildList::Directory::Delete(Directory* last) noexcept {
    while (last) {
        Directory* const directory = std::exchange(last, last->previous);
        SmallMemory::Give(directory, directory->bytes());
    }
}

ChildList::~ChildList() {
    if (index) SmallMemory::Give(index, std::size_t(slots) * slotBytes);
    for (const Lane& lane : lanes)
        Directory::Delete(lane.further.load(std::memory_order_relaxed));
}

std::uint64_t ChildList::bytes() const {
    std::uint64_t sum = SmallMemory::RoomFor(sizeof(ChildList));
    if (index) sum += SmallMemory::RoomFor(std::size_t(slots) * slotBytes);
    for (const Lane& lane : lanes)
        for (Directory* directory = lane.further.load(std::memory_order_relaxed); directory;
             directory = directory->previous)
            sum += SmallMemory::RoomFor(directory->bytes());
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
        LocationNode* const node = entryAt(PositionOf(slot(i)));
        if (node && node->name() == name) return node;
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

/// Null when the block was dropped, or is another one now with fewer places.
LocationNode* ChildList::entryAt(std::uint32_t position) const {
    NodeBlock* const block = blockAt(position);
    const std::uint32_t slot = position % NodeBlock::kNodes;
    return block && slot < block->capacity ? block->nodes + slot : nullptr;
}

void ChildList::reserve(std::uint32_t position, std::uint32_t nodes, std::uint32_t last) {
    reserveBlock(position);
    const std::uint32_t highest = std::max(position, last) | (NodeBlock::kNodes - 1);
    if (slots != 0 || NumberOf(position) != 0 || entered + nodes > kUnindexed)
        reserveIndex(highest, nodes, last < kStray ? std::min(last + 1, kMostExpected) : 0);
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

void ChildList::reserveIndex(std::uint32_t highestPosition, std::uint32_t nodes,
                             std::uint32_t expected) {
    const std::uint8_t bytes = std::max(slotBytes, SlotBytesFor(CodeOf(highestPosition)));
    const auto isFull = [](std::uint64_t used, std::uint64_t size) { return used * 4 > size * 3; };
    const std::uint64_t more = std::uint64_t(nodes) + 1;
    std::uint64_t size = std::max(slots, kFirstIndexSlots);
    if (size == slots && bytes == slotBytes && !isFull(taken + more, size)) return;
    // Half as many free slots again where dropped blocks have left entries: it is not soon full.
    const std::uint64_t wanted = entered + more + (taken > entered ? entered / 2 : 0);
    while (isFull(std::max<std::uint64_t>(wanted, expected + 1), size))
        size *= 2;
    if (size > ~0u) throw std::bad_alloc();
    makeIndex(static_cast<std::uint32_t>(size), bytes);
}

void ChildList::makeIndex(std::uint32_t newSlots, std::uint8_t newSlotBytes) {
    const std::size_t bytes = std::size_t(newSlots) * newSlotBytes;
    auto* const made = static_cast<char*>(std::memset(SmallMemory::Take(bytes), 0, bytes));
    char* const old = std::exchange(index, made);
    const std::uint32_t oldSlots = std::exchange(slots, newSlots);
    const std::uint8_t oldSlotBytes = std::exchange(slotBytes, newSlotBytes);
    taken = 0;
    const auto enterOld = [&](std::uint32_t position) {
        const LocationNode* const node = entryAt(position);
        if (node && node->nameLength != 0 && insert(position, node->name())) ++taken;
    };
    for (std::uint32_t i = 0; i < oldSlots; ++i)
        if (const std::uint32_t code = CodeIn(old, i, oldSlotBytes)) enterOld(PositionOf(code));
    if (old) return SmallMemory::Give(old, std::size_t(oldSlots) * oldSlotBytes);
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
    if (slots != 0 && insert(node.position(), node.name())) ++taken;
}

bool ChildList::enterNew(std::uint32_t position, std::string_view name) {
    const bool isNew = slots == 0 ? !find(name) : insertNew(position, name);
    if (isNew) ++entered;
    return isNew;
}

/// `find` and `insert` in one: false when there is another child of the name.
bool ChildList::insertNew(std::uint32_t position, std::string_view name) {
    const std::uint32_t mask = slots - 1;
    const std::uint32_t code = CodeOf(position);
    bool isThere = false;
    auto i = static_cast<std::uint32_t>(HashName(name)) & mask;
    for (; slot(i) != 0; i = (i + 1) & mask) {
        if (slot(i) == code) isThere = true; // left by a block that was dropped
        const LocationNode* const node = entryAt(PositionOf(slot(i)));
        if (node && node->name() == name) return false;
    }
    if (isThere) return true;
    setSlot(i, code);
    ++taken;
    return true;
}

/// False when the entry is there already.
bool ChildList::insert(std::uint32_t position, std::string_view name) {
    const std::uint32_t mask = slots - 1;
    const std::uint32_t code = CodeOf(position);
    auto i = static_cast<std::uint32_t>(HashName(name)) & mask;
    for (; slot(i) != 0; i = (i + 1) & mask)
        if (slot(i) == code) return false;
    setSlot(i, code);
    return true;
}

bool ChildList::unlink(NodeBlock& block) noexcept {
    for (std::uint32_t i = 0; i < block.capacity; ++i)
        if (block.nodes[i].nameLength != 0) --entered;
    lanes[LaneOf(block.first)]
        .place(NumberOf(block.first))
        ->store(nullptr, std::memory_order_release);
    return --blocks == 0;
}

std::uint32_t ChildList::slot(std::uint32_t i) const {
    return CodeIn(index, i, slotBytes);
}

void ChildList::setSlot(std::uint32_t i, std::uint32_t value) {
    if (slotBytes == 1)
        reinterpret_cast<std::uint8_t*>(index)[i] = static_cast<std::uint8_t>(value);
    else if (slotBytes == 2)
        reinterpret_cast<std::uint16_t*>(index)[i] = static_cast<std::uint16_t>(value);
    else
        reinterpret_cast<std::uint32_t*>(index)[i] = value;
}

} // namespace OxTellarRuntimeDetail
