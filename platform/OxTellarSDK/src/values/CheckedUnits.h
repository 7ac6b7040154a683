#ifndef OXTELLARSDK_CHECKEDUNITS_H
#define OXTELLARSDK_CHECKEDUNITS_H

#include <atomic>
#include <cstdint>
#include <memory>

namespace OxAttribute {

/// The values of a file that were checked, by their units. It may forget one, which is then checked
/// again.
///
/// Few units are those of such values: a leaf of a scene has a hundred units, and one of them is
/// marked. So 256 neighbouring units share a word, in which up to four of them are named, and use
/// the words behind it as well when it is full. A unit that is named nowhere has a bit in a second
/// table. The system gives only those pages of the tables that are written to.
///
/// Threads: everything may be called from any number of threads. What a thread wrote before it
/// added a unit is seen by those who find it.
class CheckedUnits {
public:
    CheckedUnits() = default;
    /// For units below `count`. Throws std::bad_alloc.
    explicit CheckedUnits(std::uint64_t count);

    bool contains(std::uint64_t unit) const noexcept {
        const std::uint64_t name = NameOf(unit);
        const Word* word = names.get() + unit / kUnitsOfWord;
        for (const Word* const end = word + kWordsOfUnit; word != end; ++word) {
            const std::uint64_t seen = word->load(std::memory_order_acquire);
            if (HasName(seen, name)) return true;
            if (FreePlaces(seen) != 0) return false;
        }
        return (bits.get()[unit / 64].load(std::memory_order_acquire) >> unit % 64 & 1) != 0;
    }
    void add(std::uint64_t unit) noexcept;
    /// Also forgets units near the ends of the range.
    void remove(std::uint64_t begin, std::uint64_t end) noexcept;

    /// Writes where the next units will probably be added. The kernel maps an untouched page that
    /// is read first to the shared zero page and has to replace it, with a second page fault for
    /// which all threads wait, on the first write.
    void expect(std::uint64_t unit) noexcept {
        names.get()[unit / kUnitsOfWord].fetch_or(0, std::memory_order_relaxed);
    }
    /// The units whose words fill a page.
    static constexpr std::uint64_t kUnitsOfPage = 4096 / 8 * 256;

private:
    using Word = std::atomic<std::uint64_t>;
    struct Free {
        void operator()(Word* words) const noexcept;
    };
    using Words = std::unique_ptr<Word, Free>;

    static constexpr std::uint64_t kUnitsOfWord = 256;
    static constexpr std::uint64_t kWordsOfUnit = 4; // where its name may stand
    static constexpr std::uint64_t kPlaces = 0x0001000100010001;
    static constexpr std::uint64_t kTaken = 0x8000; // in a place with a name
    static constexpr int kPlaceBits = 16;

    /// No two units whose names may stand in the same word have the same name.
    static std::uint64_t NameOf(std::uint64_t unit) { return kTaken | (unit & (kTaken - 1)); }
    static std::uint64_t FreePlaces(std::uint64_t word) { return ~word & kPlaces * kTaken; }
    static bool HasName(std::uint64_t word, std::uint64_t name) {
        const std::uint64_t others = word ^ kPlaces * name; // 0 in a place with the name
        return ((others - kPlaces) & ~others & kPlaces * kTaken) != 0;
    }

    static Words Make(std::uint64_t count);
    static bool AddTo(Word& word, std::uint64_t name) noexcept;

    Words names;
    Words bits;
};

} // namespace OxAttribute

#endif
