#ifndef OXTELLARSDK_CONTAINERLAYOUT_H
#define OXTELLARSDK_CONTAINERLAYOUT_H

#include <cstdint>

namespace OxAttribute {

/// The frame of an attribute file: a header, values, one checksum for each block of them, and a
/// footer. docs/attribute-file.md describes the format; AttributeNode.h has the layout of values.

constexpr std::uint64_t kBlockBytes = 65536;
constexpr std::uint32_t kContainerVersion = 1;
constexpr char kContainerMagic[8] = {'O', 'x', 'A', 't', 't', 'r', '\x1a', '\n'};
constexpr char kContainerEndMagic[8] = {'O', 'x', 'A', 't', 't', 'E', 'n', 'd'};

/// Limit on the children of one group whose names share a hash. Chance gives a hash to a few names
/// even among millions. A file made to have many of them would make readers compare them forever.
constexpr std::uint64_t kMaximumEqualHashes = 32;

enum class ContainerKind : std::uint32_t { AttributeStream = 1, OpFile = 2 };

struct ContainerHeader {
    char magic[8];
    std::uint32_t version;
    std::uint32_t kind;
    std::uint8_t reserved[48]; // 0
};
static_assert(sizeof(ContainerHeader) == 64, "part of the file format");

struct ContainerFooter {
    std::uint64_t tableOffset; // end of the values, start of the block checksums
    std::uint64_t fileBytes;
    std::uint32_t rootUnit;
    std::uint32_t reserved; // 0
    std::uint64_t tableChecksum;
    char magic[8];
    std::uint64_t footerChecksum; // checksum of the bytes before it
};
static_assert(sizeof(ContainerFooter) == 48, "part of the file format");

} // namespace OxAttribute

#endif
