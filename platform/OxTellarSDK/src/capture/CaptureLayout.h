#ifndef OXTELLARSDK_CAPTURELAYOUT_H
#define OXTELLARSDK_CAPTURELAYOUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <xxhash.h>

/// The layout of capture files, as docs/capture-file.md describes it. Numbers are little-endian.

namespace OxCapture {

constexpr std::string_view kMagic("OxCapt\x1a\n", 8);
constexpr std::uint32_t kVersion = 1;

struct FileHeader {
    char magic[8];
    std::uint32_t version;
    std::uint32_t reserved; // 0
};
static_assert(sizeof(FileHeader) == 16);

/// Stands before the records of one answer.
struct BlockHeader {
    std::uint64_t contentHash; // XXH3_64bits of the bytes that follow the header
    std::uint32_t bytes;       // their number
    std::uint32_t headerHash;  // the low 32 bits of XXH3_64bits of the 12 bytes before
};
static_assert(sizeof(BlockHeader) == 16);

inline std::uint32_t HeaderHash(const BlockHeader& header) {
    return static_cast<std::uint32_t>(XXH3_64bits(&header, offsetof(BlockHeader, headerHash)));
}

/// The kinds of records. A record begins with its kind, in one byte.
enum class Record : std::uint8_t {
    Text = 1,   // length, bytes
    Data = 2,   // type, tuple size, number of times, times, number of values, values
    Group = 3,  // whether it inherits, number of children, for each its text and attribute
    Answer = 4, // text of the question, length of the key, key, attribute
    End = 5     // nothing; ends the file
};

} // namespace OxCapture

#endif
