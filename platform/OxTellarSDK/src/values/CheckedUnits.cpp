#include "CheckedUnits.h"

#include <cstdlib>
#include <new>

#include "ZeroedMemory.h"

namespace OxAttribute {

void CheckedUnits::Free::operator()(Word* words) const noexcept {
    std::free(words);
}

CheckedUnits::Words CheckedUnits::Make(std::uint64_t count) {
    Words words(static_cast<Word*>(std::calloc(count, sizeof(Word))));
    if (!words) throw std::bad_alloc();
    return words;
}

CheckedUnits::CheckedUnits(std::uint64_t count)
    : names(Make(count / kUnitsOfWord + kWordsOfUnit)), bits(Make(count / 64 + 1)) {}

/// False when the word is full of other names.
bool CheckedUnits::AddTo(Word& word, std::uint64_t name) noexcept {
    std::uint64_t seen = word.load(std::memory_order_relaxed);
    for (;;) {
        if (HasName(seen, name)) return true;
        if (FreePlaces(seen) == 0) return false;
        int place = 0;
        while ((seen >> place & kTaken) != 0)
            place += kPlaceBits;
        if (word.compare_exchange_weak(seen, seen | name << place, std::memory_order_release,
                                       std::memory_order_relaxed))
            return true;
    }
}

void CheckedUnits::add(std::uint64_t unit) noexcept {
    const std::uint64_t name = NameOf(unit);
    Word* const first = names.get() + unit / kUnitsOfWord;
    for (Word* word = first; word != first + kWordsOfUnit; ++word)
        if (AddTo(*word, name)) return;
    bits.get()[unit / 64].fetch_or(std::uint64_t(1) << unit % 64, std::memory_order_release);
}

void CheckedUnits::remove(std::uint64_t begin, std::uint64_t end) noexcept {
    if (begin >= end) return;
    using OxTellarRuntimeDetail::ClearWords;
    ClearWords(names.get() + begin / kUnitsOfWord,
               names.get() + (end - 1) / kUnitsOfWord + kWordsOfUnit);
    ClearWords(bits.get() + begin / 64, bits.get() + (end - 1) / 64 + 1);
}

} // namespace OxAttribute
