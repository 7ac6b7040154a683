#ifndef OXTELLARSDK_COOKEDINDEX_H
#define OXTELLARSDK_COOKEDINDEX_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace OxTellarRuntimeDetail {

/// Which locations of a store one runtime has cooked: one bit each, by serial number. The bits lie
/// in chunks, the second of which is as large as the first and each further one twice as large as
/// the one before: a small scene takes a cache line, and a large one is found as fast.
/// Threads: everything may be called from any number of threads.
class CookedIndex {
public:
    CookedIndex() = default;
    ~CookedIndex();
    CookedIndex(const CookedIndex&) = delete;
    CookedIndex& operator=(const CookedIndex&) = delete;

    bool contains(std::uint32_t serial) const;
    /// Throws std::bad_alloc. Writes nothing for a location that is there already.
    void add(std::uint32_t serial);
    void remove(std::uint32_t serial);
    /// Removes the 32 serial numbers of a NodeBlock.
    void removeBlock(std::uint32_t number) noexcept;
    void clear();

private:
    using Word = std::atomic<std::uint64_t>;
    static constexpr std::uint32_t kWordBits = 64;
    static constexpr std::uint32_t kFirstChunkWords = 8;
    static constexpr std::size_t kChunks = 24; // the last one ends with the largest serial number

    struct Place {
        std::size_t chunk;
        std::uint32_t word; // index of the word in the chunk
    };
    static Place placeOf(std::uint32_t serial);
    static std::size_t chunkWords(std::size_t chunk);
    Word* word(std::uint32_t serial) const;
    std::array<std::atomic<Word*>, kChunks> chunks{};
};

} // namespace OxTellarRuntimeDetail

#endif
