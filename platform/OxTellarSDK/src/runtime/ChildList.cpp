#include "ChildList.h"

#include <xxhash.h>

namespace OxTellarRuntimeDetail {

namespace {

constexpr std::uint64_t kFirstIndexSlots = 32;

std::uint64_t HashName(std::string_view name) {
    return XXH3_64bits(name.data(), name.size());
}

} // namespace

LocationNode* ChildList::findAmong(std::uint32_t known, std::string_view name) {
    for (std::uint32_t i = 0; i < known; ++i)
        if (at(i).name() == name) return &at(i);
    return nullptr;
}

LocationNode* ChildList::find(std::string_view name) {
    if (allCount <= kUnindexed) return findAmong(allCount, name);
    const std::uint64_t mask = index.size() - 1;
    for (std::uint64_t slot = HashName(name) & mask; index[slot] != 0; slot = (slot + 1) & mask)
        if (at(index[slot] - 1).name() == name) return &at(index[slot] - 1);
    return nullptr;
}

std::uint32_t ChildList::nextChunkSize() const {
    const std::uint32_t chunk = chunkOf(allCount);
    return firstChunk << (chunk == 0 ? 0 : chunk - 1);
}

void ChildList::addChunk(LocationNode* nodes) {
    const std::uint32_t chunk = chunkOf(allCount);
    if (chunk >= kNearChunks && !ownedFarChunks) {
        ownedFarChunks = std::make_unique<FarChunks>();
        farChunks.store(ownedFarChunks.get(), std::memory_order_release);
    }
    chunkAt(chunk).store(nodes, std::memory_order_release);
}

void ChildList::append() {
    const std::uint32_t position = allCount++;
    if (!index.empty()) enterIndex(position, at(position).name());
}

void ChildList::enterIndex(std::uint32_t position, std::string_view name) {
    const std::uint64_t mask = index.size() - 1;
    std::uint64_t slot = HashName(name) & mask;
    while (index[slot] != 0)
        slot = (slot + 1) & mask;
    index[slot] = position + 1;
}

void ChildList::reserveIndex(std::uint32_t more) {
    const std::uint64_t nodes = std::uint64_t(allCount) + more;
    if (nodes <= kUnindexed) return;
    std::uint64_t slots = index.empty() ? kFirstIndexSlots : index.size();
    if (!index.empty() && (nodes + 1) * 4 <= slots * 3) return;
    while ((nodes + 1) * 4 > slots * 3)
        slots *= 2;
    index.assign(slots, 0);
    for (std::uint32_t i = 0; i < allCount; ++i)
        enterIndex(i, at(i).name());
}

} // namespace OxTellarRuntimeDetail
