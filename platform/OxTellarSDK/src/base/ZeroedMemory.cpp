#include "ZeroedMemory.h"

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
    static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto first = (reinterpret_cast<std::uintptr_t>(begin) + page - 1) / page * page;
    const auto last = reinterpret_cast<std::uintptr_t>(end) / page * page;
    auto* const pages = reinterpret_cast<Word*>(first);
    if (first < last && madvise(pages, last - first, MADV_DONTNEED) == 0) {
        Store0(begin, pages);
        return Store0(reinterpret_cast<Word*>(last), end);
    }
#endif
    Store0(begin, end);
}

} // namespace OxTellarRuntimeDetail
