#ifndef TELLAR_TEST_PATHWITHHASH_H
#define TELLAR_TEST_PATHWITHHASH_H

#include <cstdint>
#include <string>
#include <vector>

/// Paths whose sources have a hash that was chosen before. Each character multiplies the hash, so
/// its lowest bits depend on the lowest bits of the one before alone: they can be made right 16 at
/// a time, with texts that leave right what is right already.
namespace TellarTest {

inline std::uint64_t HashPath(std::uint64_t hash, const std::string& text) {
    constexpr std::uint64_t kFactor = 0xc6a4a7935bd1e995;
    for (const char character : text) {
        std::uint64_t key = static_cast<std::uint64_t>(std::int64_t(character)) * kFactor;
        key = (key ^ key >> 47) * kFactor;
        hash = (hash ^ key) * kFactor + 0xe6546b64;
    }
    return hash;
}

/// Goes through all rows of `length` texts until `stop` returns true for a row's text and its hash.
template <typename Stop>
bool ForEachRow(const std::vector<std::string>& texts, int length, std::uint64_t hash,
                std::string& row, const Stop& stop) {
    if (length == 0) return stop(row, hash);
    const std::size_t size = row.size();
    for (const std::string& text : texts) {
        row += text;
        if (ForEachRow(texts, length - 1, HashPath(hash, text), row, stop)) return true;
        row.resize(size);
    }
    return false;
}

/// A path with this hash, of a file with a name of 160 characters in the folder (which ends with a
/// slash). Empty when none is found: of the 2^24 rows at each step about 256 are right.
inline std::string PathWithHash(const std::string& folder, std::uint64_t wanted) {
    std::vector<std::string> texts;
    for (const char character : std::string("0123456789-_abcdefghijklmnopqrstuvwxyz"
                                            "ABCDEFGHIJKLMNOPQRSTUVWXYZ"))
        texts.emplace_back(1, character);
    std::string path = folder;
    for (int bits = 16; bits <= 64; bits += 16) {
        const std::uint64_t mask = ~std::uint64_t(0) >> (64 - bits);
        const auto isRight = [&](std::uint64_t hash) { return ((hash ^ wanted) & mask) == 0; };
        const int length = bits == 16 ? 4 : 3;
        if (!ForEachRow(texts, length, HashPath(0, path), path,
                        [&](const std::string&, std::uint64_t hash) { return isRight(hash); }))
            return {};
        if (bits == 64) break;
        std::vector<std::string> keeping;
        std::string row;
        ForEachRow(texts, length, wanted & mask, row,
                   [&](const std::string& text, std::uint64_t hash) {
                       if (isRight(hash)) keeping.push_back(text);
                       return false;
                   });
        texts = std::move(keeping);
    }
    return path;
}

} // namespace TellarTest

#endif
