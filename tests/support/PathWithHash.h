#ifndef TELLAR_TEST_PATHWITHHASH_H
#define TELLAR_TEST_PATHWITHHASH_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

/// Paths whose sources have a given hash. Every character multiplies the hash, so the lowest bits
/// of the new hash depend only on the lowest bits of the old one. Bits can therefore be set 16 at a
/// time, with texts that do not change the bits below.
namespace TellarTest {

constexpr std::uint64_t kHashFactor = 0xc6a4a7935bd1e995;
constexpr std::uint64_t kHashStep = 0xe6546b64;

inline std::uint64_t HashKey(char character) {
    const std::uint64_t key = static_cast<std::uint64_t>(std::int64_t(character)) * kHashFactor;
    return (key ^ key >> 47) * kHashFactor;
}

inline std::uint64_t HashPath(std::uint64_t hash, const std::string& text) {
    for (const char character : text)
        hash = (hash ^ HashKey(character)) * kHashFactor + kHashStep;
    return hash;
}

/// The hash in front of the text, computed from the hash behind it.
inline std::uint64_t HashBefore(std::uint64_t hash, const std::string& text) {
    std::uint64_t inverse = kHashFactor;
    for (int i = 0; i < 5; ++i)
        inverse *= 2 - kHashFactor * inverse;
    for (auto character = text.rbegin(); character != text.rend(); ++character)
        hash = (hash - kHashStep) * inverse ^ HashKey(*character);
    return hash;
}

using Pieces = std::vector<std::string>;

inline Pieces Pairs(const Pieces& texts) {
    Pieces pairs;
    for (const std::string& first : texts)
        for (const std::string& second : texts)
            pairs.push_back(first + second);
    return pairs;
}

/// All texts, each a start and an end, that lead from one hash to the other in the bits of the
/// mask.
inline Pieces Connect(std::uint64_t from, std::uint64_t to, std::uint64_t mask,
                      const Pieces& starts, const Pieces& ends) {
    std::unordered_multimap<std::uint64_t, const std::string*> endsByHash;
    for (const std::string& end : ends)
        endsByHash.emplace(HashBefore(to, end) & mask, &end);
    Pieces found;
    for (const std::string& start : starts) {
        const auto range = endsByHash.equal_range(HashPath(from, start) & mask);
        for (auto end = range.first; end != range.second; ++end)
            found.push_back(start + *end->second);
    }
    return found;
}

/// A path with this hash, of a file with a name of 160 characters in the folder (which ends with a
/// slash). Empty when there is none: at each step about 256 of 2^24 texts are right.
inline std::string PathWithHash(const std::string& folder, std::uint64_t wanted) {
    Pieces texts;
    for (const char character : std::string("0123456789-_abcdefghijklmnopqrstuvwxyz"
                                            "ABCDEFGHIJKLMNOPQRSTUVWXYZ"))
        texts.emplace_back(1, character);
    texts = Pairs(texts);
    Pieces starts = texts;
    std::string path = folder;
    for (int bits = 16;; bits += 16) {
        const std::uint64_t mask = ~std::uint64_t(0) >> (64 - bits);
        const Pieces next = Connect(HashPath(0, path), wanted, mask, starts, texts);
        if (next.empty()) return {};
        path += next[0];
        if (bits == 64) return path;
        texts = Connect(wanted, wanted, mask, starts, texts);
        starts = Pairs(texts);
    }
}

} // namespace TellarTest

#endif
