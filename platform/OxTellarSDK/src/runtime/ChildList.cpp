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

ChildList::Further::~Further() {
    if (index) SmallMemory::Give(index, std::size_t(slots) * slotBytes);
    for (const std::atomic<Directory*>& lane : directories)
        Directory::Delete(lane.load(std::memory_order_relaxed));
}

std::uint64_t ChildList::Further::bytes() const {
    std::uint64_t sum = SmallMemory::RoomFor(sizeof(Further));
    if (index) sum += SmallMemory::RoomFor(std::size_t(slots) * slotBytes);
    for (const std::atomic<Directory*>& lane : directories)
        for (Directory* directory = lane.load(std::memory_order_relaxed); directory;
             directory = directory->previous)
            sum += SmallMemory::RoomFor(directory->bytes());
    return sum;
}

ChildList::~ChildList() {
    delete ownFurther();
}

std::uint64_t ChildList::bytes() const {
    const Further* const more = ownFurther();
    return SmallMemory::RoomFor(sizeof(ChildList)) + (more ? more->bytes() : 0);
}

std::uint32_t ChildList::numberOfBlocks() const {
    if (const Further* const more = ownFurther()) return more->blocks;
    return first.load(std::memory_order_relaxed) ? 1 : 0;
}

bool ChildList::hasIndex() const {
    const Further* const more = ownFurther();
    return more && more->index;
}

NodeBlock* ChildList::firstStrays() const {
    const Further* const more = further.load(std::memory_order_acquire);
    return more ? more->firstStrays.load(std::memory_order_acquire) : nullptr;
}

LocationNode* ChildList::findNear(std::string_view name) const {
    for (const NodeBlock* block : {first.load(std::memory_order_acquire), firstStrays()}) {
        const std::uint32_t count = block ? block->count.load(std::memory_order_acquire) : 0;
        if (count == 0 || count > kUnindexed) continue;
        if (LocationNode* known = FindIn(block, count, name)) return known;
    }
    return nullptr;
}

LocationNode* ChildList::find(std::string_view name) const {
    if (name.empty()) return nullptr;
    if (!hasIndex()) { // then only the first block of each kind is there
        for (const NodeBlock* block : {first.load(std::memory_order_relaxed), firstStrays()})
            if (LocationNode* known = block ? FindIn(block, block->capacity, name) : nullptr)
                return known;
        return nullptr;
    }
    const Further& more = *ownFurther();
    const std::uint32_t mask = more.slots - 1;
    for (auto i = static_cast<std::uint32_t>(HashName(name)) & mask; more.slot(i) != 0;
         i = (i + 1) & mask) {
        LocationNode* const node = entryAt(PositionOf(more.slot(i)));
        if (node && node->name() == name) return node;
    }
    return nullptr;
}

NodeBlock* ChildList::openStrays() const {
    const Further* const more = ownFurther();
    if (!more || more->strayBlocks == 0) return nullptr;
    NodeBlock* const block = blockAt(kStray | more->lastStrays * 32);
    const bool isOpen = block && block->count.load(std::memory_order_relaxed) < block->capacity;
    return isOpen ? block : nullptr;
}

std::uint32_t ChildList::newStrays() const {
    const Further* const more = ownFurther();
    if (!more || more->strayBlocks == 0) return kStray;
    // After a drop the places behind the last block are likely to be free: they were used later.
    for (std::uint32_t number = more->lastStrays; number < more->strayBlocks; ++number)
        if (!blockAt(kStray | number * 32)) return kStray | number * 32;
    if (!blockAt(kStray)) return kStray;
    return kStray | more->strayBlocks * 32;
}

/// Null when the block was dropped, or is another one now with fewer places.
LocationNode* ChildList::entryAt(std::uint32_t position) const {
    NodeBlock* const block = blockAt(position);
    const std::uint32_t slot = position % NodeBlock::kNodes;
    return block && slot < block->capacity ? block->nodes + slot : nullptr;
}

void ChildList::reserve(std::uint32_t position, std::uint32_t nodes, std::uint32_t last) {
    if (!place(position)) needFurther().reservePlace(LaneOf(position), NumberOf(position));
    const std::uint32_t highest = std::max(position, last) | (NodeBlock::kNodes - 1);
    if (hasIndex() || NumberOf(position) != 0 || entered + nodes > kUnindexed)
        reserveIndex(highest, nodes, last < kStray ? std::min(last + 1, kMostExpected) : 0);
}

ChildList::Further& ChildList::needFurther() {
    Further* more = ownFurther();
    if (!more) {
        more = new Further(numberOfBlocks());
        further.store(more, std::memory_order_release);
    }
    return *more;
}

void ChildList::Further::reservePlace(std::uint32_t lane, std::uint32_t number) {
    if (place(lane, number)) return;
    Directory* const old = directories[lane].load(std::memory_order_relaxed);
    const std::uint32_t size = std::max({number, kFirstDirectorySize, old ? 2 * old->size : 0});
    Directory* const made = Directory::Make(size);
    made->previous = old;
    for (std::uint32_t i = 0; old && i < old->size; ++i)
        made->blocks()[i].store(old->blocks()[i].load(std::memory_order_relaxed),
                                std::memory_order_relaxed);
    directories[lane].store(made, std::memory_order_release);
}

void ChildList::reserveIndex(std::uint32_t highestPosition, std::uint32_t nodes,
                             std::uint32_t expected) {
    const Further& more = needFurther();
    const std::uint8_t bytes = std::max(more.slotBytes, SlotBytesFor(CodeOf(highestPosition)));
    const auto isFull = [](std::uint64_t used, std::uint64_t size) { return used * 4 > size * 3; };
    const std::uint64_t added = std::uint64_t(nodes) + 1;
    std::uint64_t size = std::max(more.slots, kFirstIndexSlots);
    if (size == more.slots && bytes == more.slotBytes && !isFull(more.taken + added, size)) return;
    // Half as many free slots again where dropped blocks have left entries: it is not soon full.
    const std::uint64_t wanted = entered + added + (more.taken > entered ? entered / 2 : 0);
    while (isFull(std::max<std::uint64_t>(wanted, expected + 1), size))
        size *= 2;
    if (size > ~0u) throw std::bad_alloc();
    makeIndex(static_cast<std::uint32_t>(size), bytes);
}

void ChildList::makeIndex(std::uint32_t slots, std::uint8_t slotBytes) {
    Further& more = *ownFurther();
    const std::size_t bytes = std::size_t(slots) * slotBytes;
    auto* const made = static_cast<char*>(std::memset(SmallMemory::Take(bytes), 0, bytes));
    char* const old = std::exchange(more.index, made);
    const std::uint32_t oldSlots = std::exchange(more.slots, slots);
    const std::uint8_t oldSlotBytes = std::exchange(more.slotBytes, slotBytes);
    more.taken = 0;
    const auto enterOld = [&](std::uint32_t position) {
        const LocationNode* const node = entryAt(position);
        if (node && node->nameLength != 0 && insert(position, node->name())) ++more.taken;
    };
    for (std::uint32_t i = 0; i < oldSlots; ++i)
        if (const std::uint32_t code = CodeIn(old, i, oldSlotBytes)) enterOld(PositionOf(code));
    if (old) return SmallMemory::Give(old, std::size_t(oldSlots) * oldSlotBytes);
    for (const NodeBlock* block : {first.load(std::memory_order_relaxed), firstStrays()})
        for (std::uint32_t i = 0; block && i < block->capacity; ++i)
            enterOld(block->first + i);
}

void ChildList::link(NodeBlock& block) {
    place(block.first)->store(&block, std::memory_order_release);
    Further* const more = ownFurther();
    if (!more) return;
    ++more->blocks;
    if (LaneOf(block.first) == 0) return;
    const std::uint32_t number = NumberOf(block.first);
    more->strayBlocks = std::max(more->strayBlocks, number + 1);
    more->lastStrays = number;
}

void ChildList::enter(const LocationNode& node) {
    ++entered;
    if (hasIndex() && insert(node.position(), node.name())) ++ownFurther()->taken;
}

bool ChildList::enterNew(std::uint32_t position, std::string_view name) {
    const bool isNew = hasIndex() ? insertNew(position, name) : !find(name);
    if (isNew) ++entered;
    return isNew;
}

/// `find` and `insert` in one: false when there is another child of the name.
bool ChildList::insertNew(std::uint32_t position, std::string_view name) {
    Further& more = *ownFurther();
    const std::uint32_t mask = more.slots - 1;
    const std::uint32_t code = CodeOf(position);
    bool isThere = false;
    auto i = static_cast<std::uint32_t>(HashName(name)) & mask;
    for (; more.slot(i) != 0; i = (i + 1) & mask) {
        if (more.slot(i) == code) isThere = true; // left by a block that was dropped
        const LocationNode* const node = entryAt(PositionOf(more.slot(i)));
        if (node && node->name() == name) return false;
    }
    if (isThere) return true;
    more.setSlot(i, code);
    ++more.taken;
    return true;
}

/// False when the entry is there already.
bool ChildList::insert(std::uint32_t position, std::string_view name) {
    Further& more = *ownFurther();
    const std::uint32_t mask = more.slots - 1;
    const std::uint32_t code = CodeOf(position);
    auto i = static_cast<std::uint32_t>(HashName(name)) & mask;
    for (; more.slot(i) != 0; i = (i + 1) & mask)
        if (more.slot(i) == code) return false;
    more.setSlot(i, code);
    return true;
}

bool ChildList::unlink(NodeBlock& block) noexcept {
    for (std::uint32_t i = 0; i < block.capacity; ++i)
        if (block.nodes[i].nameLength != 0) --entered;
    place(block.first)->store(nullptr, std::memory_order_release);
    Further* const more = ownFurther();
    return !more || --more->blocks == 0;
}

std::uint32_t ChildList::Further::slot(std::uint32_t number) const {
    return CodeIn(index, number, slotBytes);
}

void ChildList::Further::setSlot(std::uint32_t number, std::uint32_t value) {
    if (slotBytes == 1)
        reinterpret_cast<std::uint8_t*>(index)[number] = static_cast<std::uint8_t>(value);
    else if (slotBytes == 2)
        reinterpret_cast<std::uint16_t*>(index)[number] = static_cast<std::uint16_t>(value);
    else
        reinterpret_cast<std::uint32_t*>(index)[number] = value;
}

} // namespace OxTellarRuntimeDetail
