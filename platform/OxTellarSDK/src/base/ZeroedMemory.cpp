#include "ZeroedMemory.h"

#include <cstddef>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace OxTellarRuntimeDetail {

using Word = std::atomic<std::uint64_t>;

namespace {

/// Writes only where it must: a page that nobody has written to takes no memory.
void Store0(Word* begin, Word* end) noexcept {
    for (Word* word = begin; word < end; ++word)
        if (word->load(std::memory_order_relaxed) != 0) word->store(0, std::memory_order_relaxed);
}

} // namespace

void ClearWords(Word* begin, Word* end) noexcept {
#if defined(__linux__)
    static const auto wordsOfPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / sizeof(Word);
    const auto intoPage = [](const Word* word) {
        return reinterpret_cast<std::uintptr_t>(word) / sizeof(Word) % wordsOfPage;
    };
    Word* const first = begin + (wordsOfPage - intoPage(begin)) % wordsOfPage;
    Word* const last = end - intoPage(end);
    const std::ptrdiff_t words = last - first;
    if (words > 0 &&
        madvise(first, static_cast<std::size_t>(words) * sizeof(Word), MADV_DONTNEED) == 0) {
        Store0(begin, first);
        return Store0(last, end);
    }
#endif
    Store0(begin, end);
}

} // namespace OxTellarRuntimeDetail
