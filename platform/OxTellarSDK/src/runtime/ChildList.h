#ifndef OXTELLARSDK_CHILDLIST_H
#define OXTELLARSDK_CHILDLIST_H

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "LocationNode.h"

namespace OxTellarRuntimeDetail {

/// The children of one node, in the order in which they were first asked for. They lie in chunks
/// that never move: the first holds `firstChunk` nodes, the second as many, and each further one
/// twice as many as the one before. The nodes belong to the store.
///
/// Threads: published nodes may be read by any thread. Everything that is said to need the lock is
/// for the holder of the parent's lock, who also sees the nodes that are not published yet.
struct ChildList {
    /// Up to this many children a look at each is as fast as an index.
    static constexpr std::uint32_t kUnindexed = 8;

    /// `room` nodes are made at once at first.
    explicit ChildList(std::uint32_t room) : firstChunk(room > 0 ? room : 1) {}

    /// How many nodes any thread may read.
    std::uint32_t publishedCount() const { return count.load(std::memory_order_acquire); }
    LocationNode& at(std::uint32_t position);
    /// The first of the first `known` nodes with this name; null when there is none.
    LocationNode* findAmong(std::uint32_t known, std::string_view name);

    // Under the lock: the nodes, with those that are not published yet.
    std::uint32_t size() const { return allCount; }
    LocationNode* find(std::string_view name);
    /// Whether the next node needs a new chunk, of nextChunkSize() nodes.
    bool isFull() const { return allCount == chunkStart(chunkOf(allCount)); }
    std::uint32_t nextChunkSize() const;
    void addChunk(LocationNode* nodes);
    /// Prepares for as many nodes more. Needs memory, so it comes before `append`.
    void reserveIndex(std::uint32_t more);
    /// Enters the node after the last one, which has its name by then.
    void append();
    void publish() { count.store(allCount, std::memory_order_release); }

    /// How far a child lies behind its place among the potential children: right for the child
    /// that was found last, and a guess for the next one. Modulo 2^32.
    std::atomic<std::uint32_t> shift{0};

private:
    static constexpr std::uint32_t kNearChunks = 4;
    static constexpr std::uint32_t kFarChunks = 29;
    using FarChunks = std::array<std::atomic<LocationNode*>, kFarChunks>;

    std::uint32_t chunkOf(std::uint32_t position) const;
    std::uint32_t chunkStart(std::uint32_t chunk) const;
    std::atomic<LocationNode*>& chunkAt(std::uint32_t chunk);
    void enterIndex(std::uint32_t position, std::string_view name);

    std::atomic<std::uint32_t> count{0};
    const std::uint32_t firstChunk;
    std::uint32_t allCount = 0;
    std::array<std::atomic<LocationNode*>, kNearChunks> nearChunks{};
    std::atomic<FarChunks*> farChunks{nullptr};
    std::unique_ptr<FarChunks> ownedFarChunks;
    // Open addressing: position + 1 of every node, 0 for a free slot. Empty for few nodes.
    std::vector<std::uint32_t> index;
};

inline std::uint32_t ChildList::chunkOf(std::uint32_t position) const {
    std::uint32_t chunk = 0;
    while (position >= std::uint64_t(firstChunk) << chunk)
        ++chunk;
    return chunk;
}

inline std::uint32_t ChildList::chunkStart(std::uint32_t chunk) const {
    return chunk == 0 ? 0 : firstChunk << (chunk - 1);
}

inline std::atomic<LocationNode*>& ChildList::chunkAt(std::uint32_t chunk) {
    if (chunk < kNearChunks) return nearChunks[chunk];
    return (*farChunks.load(std::memory_order_acquire))[chunk - kNearChunks];
}

inline LocationNode& ChildList::at(std::uint32_t position) {
    const std::uint32_t chunk = chunkOf(position);
    return chunkAt(chunk).load(std::memory_order_acquire)[position - chunkStart(chunk)];
}

} // namespace OxTellarRuntimeDetail

#endif
