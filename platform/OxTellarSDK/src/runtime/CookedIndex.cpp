#include "CookedIndex.h"

#include <cstdlib>
#include <new>

#include "NodeBlock.h"

namespace OxTellarRuntimeDetail {

namespace {

/// How many binary digits a number has; 0 for 0.
std::size_t BitWidth(std::uint32_t number) {
#if defined(__GNUC__)
    return number == 0 ? 0 : static_cast<std::size_t>(32 - __builtin_clz(number));
#else
    std::size_t width = 0;
    for (; number != 0; number /= 2)
        ++width;
    return width;
#endif
}

} // namespace

CookedIndex::~CookedIndex() {
    for (const std::atomic<Word*>& chunk : chunks)
        std::free(chunk.load(std::memory_order_relaxed));
}

std::size_t CookedIndex::chunkWords(std::size_t chunk) {
    return std::size_t(kFirstChunkWords) << (chunk == 0 ? 0 : chunk - 1);
}

CookedIndex::Place CookedIndex::placeOf(std::uint32_t serial) {
    const std::uint32_t word = serial / kWordBits;
    const std::size_t chunk = BitWidth(word / kFirstChunkWords);
    return {chunk, chunk == 0 ? word : word - static_cast<std::uint32_t>(chunkWords(chunk))};
}

/// Null as long as nobody added a location near this one.
CookedIndex::Word* CookedIndex::word(std::uint32_t serial) const {
    const Place place = placeOf(serial);
    Word* chunk = chunks[place.chunk].load(std::memory_order_acquire);
    return chunk ? chunk + place.word : nullptr;
}

bool CookedIndex::contains(std::uint32_t serial) const {
    const Word* bits = word(serial);
    return bits && (bits->load(std::memory_order_relaxed) >> serial % kWordBits & 1) != 0;
}

void CookedIndex::add(std::uint32_t serial) {
    const Place place = placeOf(serial);
    std::atomic<Word*>& chunk = chunks[place.chunk];
    Word* words = chunk.load(std::memory_order_acquire);
    if (!words) {
        // Memory of a large chunk that is never written to is never taken from the system.
        auto* made = static_cast<Word*>(std::calloc(chunkWords(place.chunk), sizeof(Word)));
        if (!made) throw std::bad_alloc();
        if (chunk.compare_exchange_strong(words, made, std::memory_order_acq_rel))
            words = made;
        else
            std::free(made);
    }
    Word& bits = words[place.word];
    const std::uint64_t bit = std::uint64_t(1) << serial % kWordBits;
    if ((bits.load(std::memory_order_relaxed) & bit) == 0)
        bits.fetch_or(bit, std::memory_order_relaxed);
}

void CookedIndex::remove(std::uint32_t serial) {
    if (Word* bits = word(serial))
        bits->fetch_and(~(std::uint64_t(1) << serial % kWordBits), std::memory_order_relaxed);
}

void CookedIndex::removeBlock(std::uint32_t number) noexcept {
    static_assert(NodeBlock::kNodes == 32 && kWordBits == 64, "a block has half a word");
    if (Word* bits = word(number * NodeBlock::kNodes))
        bits->fetch_and(number % 2 != 0 ? 0xffffffffu : ~std::uint64_t(0xffffffffu),
                        std::memory_order_relaxed);
}

void CookedIndex::clear() {
    for (std::size_t i = 0; i < kChunks; ++i)
        if (Word* words = chunks[i].load(std::memory_order_acquire))
            for (std::size_t w = 0; w < chunkWords(i); ++w)
                words[w].store(0, std::memory_order_relaxed);
}

} // namespace OxTellarRuntimeDetail
