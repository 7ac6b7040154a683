#ifndef OXTELLARSDK_COMPRESSEDLAYOUT_H
#define OXTELLARSDK_COMPRESSEDLAYOUT_H

#include <cstdint>

namespace OxAttribute {

/// A file that is compressed in blocks: one zstd frame for each block, in the order of the plain
/// file; then a skippable zstd frame with the compressed length of each block as 32 bits, and a
/// footer. Programs that know zstd alone decompress the whole file. docs/attribute-file.md
/// describes the format.

constexpr unsigned char kZstdMagic[4] = {0x28, 0xb5, 0x2f, 0xfd};

/// The plain bytes of a block that our writer makes. Larger blocks take less of the disk, smaller
/// ones are decompressed sooner when one value is wanted.
constexpr std::uint32_t kCompressedBlockBytes = 128u << 10;
/// Readers refuse larger blocks, which no writer makes, and blocks that are no power of two.
constexpr std::uint32_t kMaximumCompressedBlockBytes = 1u << 20;

constexpr std::uint32_t kSkippableFrameMagic = 0x184d2a5e;
constexpr std::uint64_t kSkippableFrameHeaderBytes = 8; // the magic number and a length
constexpr char kCompressedEndMagic[8] = {'O', 'x', 'Z', 's', 't', 'E', 'n', 'd'};

struct CompressedFooter {
    std::uint64_t plainBytes;
    std::uint32_t blockBytes; // plain bytes of each block but the last
    std::uint32_t reserved;   // 0
    std::uint64_t tableChecksum;
    char magic[8];
    std::uint64_t footerChecksum; // checksum of the bytes before it
};
static_assert(sizeof(CompressedFooter) == 40, "part of the file format");

} // namespace OxAttribute

#endif
