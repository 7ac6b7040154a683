// How a store gets new locations.

#include "LocationStore.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include <OxTellarSDK/TellarRuntime.h>

#include "CookedIndex.h"

namespace OxTellarRuntimeDetail {

using OxAttribute::StringAttribute;

namespace {

// So many potential children are compared with the name of a new child to find its place.
constexpr std::int64_t kSearchedNames = 256;

/// The place of the name; less than 0 when it is unknown.
std::int64_t PlaceAmong(const StringAttribute& names, std::string_view name, std::int64_t likely) {
    if (likely >= 0 && names.getValueView(likely) == name) return likely;
    const std::int64_t count = names.getNumberOfValues();
    if (count > kSearchedNames) return -1;
    for (std::int64_t i = 0; i < count; ++i)
        if (names.getValueView(i) == name) return i;
    return -1;
}

/// Room for the text of long names; null when there are none.
class LongNames {
public:
    void count(std::string_view name) {
        if (LocationNode::IsLongName(name)) bytes += name.size();
    }
    /// Throws std::bad_alloc.
    void allocate() {
        if (bytes == 0) return;
        const std::size_t all = sizeof(NameTexts) + bytes;
        texts.reset(new (SmallMemory::Take(all)) NameTexts{nullptr, all});
        end = texts->text();
    }
    /// A copy of a name that was counted.
    std::string_view keep(std::string_view name) {
        if (!LocationNode::IsLongName(name)) return name;
        std::memcpy(end, name.data(), name.size());
        return {std::exchange(end, end + name.size()), name.size()};
    }
    void giveTo(NodeBlock& block) {
        if (!texts) return;
        ResultMemory::Get().added(texts->bytes, 0);
        texts->next = block.texts;
        block.texts = texts.release();
    }

private:
    struct Free {
        void operator()(NameTexts* texts) const { SmallMemory::Give(texts, texts->bytes); }
    };
    std::size_t bytes = 0;
    std::unique_ptr<NameTexts, Free> texts;
    char* end = nullptr;
};

/// For a block that nobody has found yet.
struct DiscardBlock {
    void operator()(NodeBlock* block) const {
        block->holds.fetch_add(NodeBlock::kDropped - 1, std::memory_order_relaxed);
        block->endGeneration();
        NodeBlock::Free(*block);
    }
};

} // namespace

/// Under the parent's lock. Its siblings are added with a potential child: that is how a walk
/// begins. Null when the parent is being dropped.
LocationNode* LocationStore::addChildren(LocationNode& parent, std::string_view name,
                                         std::int64_t likelyIndex) {
    const TellarRuntime::LocationData data(parent.acquireRecord());
    const StringAttribute& names = data.getPotentialChildren();
    const std::int64_t index = PlaceAmong(names, name, likelyIndex);
    ChildList* list = parent.children.load(std::memory_order_relaxed);
    std::unique_ptr<ChildList> made;
    if (!list) made = std::make_unique<ChildList>();
    ChildList& children = list ? *list : *made;
    if (made && !parent.block->tryHold()) return nullptr;
    const std::uint64_t before = list ? list->bytes() : 0;
    try {
        const bool isKnown = index >= 0 && index < ChildList::kStray &&
                             !children.hasBlock(static_cast<std::uint32_t>(index));
        LocationNode& node =
            isKnown ? addKnown(parent, children, names, static_cast<std::uint32_t>(index))
                    : addStray(parent, children, name);
        results.added(children.bytes() - before, 0);
        if (made) parent.children.store(made.release(), std::memory_order_release);
        return &node;
    } catch (...) {
        if (made)
            parent.block->unhold();
        else
            results.added(children.bytes() - before, 0);
        throw;
    }
}

/// The block of potential children with the one at the index, except for those that are there
/// already.
LocationNode& LocationStore::addKnown(LocationNode& parent, ChildList& list,
                                      const StringAttribute& names, std::uint32_t index) {
    const std::uint32_t first = index - index % NodeBlock::kNodes;
    const std::int64_t all = names.getNumberOfValues();
    const auto last = std::min<std::int64_t>(all, ChildList::kStray) - 1;
    const auto count =
        static_cast<std::uint32_t>(std::min<std::int64_t>(all - first, NodeBlock::kNodes));
    std::array<std::string_view, NodeBlock::kNodes> levels;
    LongNames texts;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::string_view name = names.getValueView(first + i);
        if (LocationNode::IsLevel(name)) levels[i] = name;
        texts.count(levels[i]);
    }
    list.reserve(first, count, static_cast<std::uint32_t>(last));
    texts.allocate();
    NodeBlock& block = makeBlock(&parent, first, count);
    list.link(block);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (levels[i].empty() || !list.enterNew(first + i, levels[i])) continue;
        block.nodes[i].setName(texts.keep(levels[i]));
    }
    texts.giveTo(block);
    block.count.store(static_cast<std::uint8_t>(count), std::memory_order_release);
    block.unhold();
    return block.nodes[index - first];
}

LocationNode& LocationStore::addStray(LocationNode& parent, ChildList& list,
                                      std::string_view name) {
    NodeBlock* block = list.openStrays();
    const std::uint32_t slot = block ? block->count.load(std::memory_order_relaxed) : 0;
    const std::uint32_t first = block ? block->first : list.newStrays();
    LongNames texts;
    texts.count(name);
    list.reserve(first, 1, first);
    texts.allocate();
    if (!block) {
        block = &makeBlock(&parent, first, 1u << std::min(list.numberOfBlocks(), 5u));
        list.link(*block);
        block->unhold();
    }
    LocationNode& node = block->nodes[slot];
    node.setName(texts.keep(name));
    texts.giveTo(*block);
    list.enter(node);
    block->count.store(static_cast<std::uint8_t>(slot + 1), std::memory_order_release);
    return node;
}

/// A new block with one hold, the caller's. Nobody can find it yet.
NodeBlock& LocationStore::makeBlock(LocationNode* parent, std::uint32_t first,
                                    std::uint32_t nodes) {
    std::unique_ptr<NodeBlock, DiscardBlock> block(NodeBlock::Make(nodes));
    block->number = takeNumber();
    block->parent = parent;
    block->first = first;
    block->usedIn.store(OxTellarMemory::CurrentTick(), std::memory_order_relaxed);
    block->store.store(this, std::memory_order_release);
    results.added(block->bytes(), 0);
    return *block.release();
}

std::uint32_t LocationStore::takeNumber() {
    if (hasFreeNumbers.load(std::memory_order_relaxed)) {
        const std::lock_guard<std::mutex> guard(numbersLock);
        if (!freeNumbers.empty()) {
            const std::uint32_t number = freeNumbers.back();
            freeNumbers.pop_back();
            if (freeNumbers.empty()) hasFreeNumbers.store(false, std::memory_order_relaxed);
            return number;
        }
    }
    constexpr std::uint32_t kMost = UINT32_MAX / NodeBlock::kNodes;
    std::uint32_t number = nextNumber.load(std::memory_order_relaxed);
    do {
        if (number >= kMost) throw std::bad_alloc();
    } while (!nextNumber.compare_exchange_weak(number, number + 1, std::memory_order_relaxed));
    return number;
}

/// For a block that nobody can find any more. Without memory to note that the number is free, it is
/// not used again.
void LocationStore::giveNumber(const NodeBlock& block) noexcept {
    const std::lock_guard<std::mutex> guard(numbersLock);
    for (CookedIndex* const cooked : indexes)
        cooked->removeBlock(block.number);
    try {
        freeNumbers.push_back(block.number);
        hasFreeNumbers.store(true, std::memory_order_relaxed);
    } catch (const std::bad_alloc&) {
    }
}

} // namespace OxTellarRuntimeDetail
