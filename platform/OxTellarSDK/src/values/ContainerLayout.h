#ifndef OXTELLARSDK_CONTAINERLAYOUT_H
#define OXTELLARSDK_CONTAINERLAYOUT_H

#include <cstdint>

#include "AttributeNode.h"

namespace OxAttribute {

/// The frame of an attribute file: a header, values, one checksum for each block of them, and a
/// footer; and the parts of groups. docs/attribute-file.md describes the format; AttributeNode.h
/// has the layout of numbers and strings. Places are counted in units of kUnitBytes from the start
/// of the file.

constexpr std::uint64_t kBlockBytes = 65536;
constexpr std::uint32_t kContainerVersion = 2;
constexpr char kContainerMagic[8] = {'O', 'x', 'A', 't', 't', 'r', '\x1a', '\n'};
constexpr char kContainerEndMagic[8] = {'O', 'x', 'A', 't', 't', 'E', 'n', 'd'};

/// Limit on the children of one group whose names share a hash. Chance gives a hash to a few names
/// even among millions. A file made to have many of them would make readers compare them forever.
constexpr std::uint64_t kMaximumEqualHashes = 32;

/// Limits of groups with shapes. Shapes are kept in memory, and the first use of such a group
/// compares all of its extent with checksums.
constexpr std::uint32_t kMostShapeChildren = 32;
constexpr std::uint32_t kMostShapeExtent = 16384; // units
constexpr std::uint32_t kMostShapes = 1u << 24;

constexpr std::uint32_t kMostNameBytes = 65535;

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
    std::uint32_t shapesUnit; // where the units of all ShapeRecords stand
    std::uint32_t shapeCount;
    std::uint32_t reserved; // 0
    std::uint64_t tableChecksum;
    char magic[8];
    std::uint64_t footerChecksum; // checksum of the bytes before it
};
static_assert(sizeof(ContainerFooter) == 56, "part of the file format");

/// False for a word that no value in a file has, whatever stands behind it.
inline bool HasKnownFlags(std::uint32_t word) {
    const Node node{word};
    std::uint32_t allowed = Node::kTypeBits | Node::kShort | kInFile;
    if (IsGroup(&node))
        allowed |= kGroupInherit;
    else if (!node.isShort())
        allowed |= kTimesOmitted;
    return node.type() <= kAttributeTypeGroup && (word & kInFile) && !(word & 0xff & ~allowed);
}

/// A group without a shape. The units of its children (u32) and their types (u8) follow.
struct WideGroup : Node { // the payload of its word is its depth
    std::uint32_t namesUnit;
    std::uint32_t extent; // units of its region, from its first to its own
    std::uint32_t count;

    std::uint32_t depth() const { return word >> kPayload & 0xfff; }
};
static_assert(sizeof(WideGroup) == 16, "part of the file format");

/// The names of the children of groups. Behind it lie, for each child, the end of its name and of
/// the NUL behind it (u32), counted from the first name; above kLinearSearchLimit children the
/// hashes of the names (u32) and the indices of the children (u32) in the order of the hashes; and
/// the names.
///
/// This is where the parts of such a record stand. It has a copy of the number of names, because
/// that in a mapped file may change.
struct NamesRecord {
    std::uint32_t count = 0;
    const std::uint32_t* ends = nullptr; // null: no record

    const std::uint32_t* hashes() const { return ends + count; }
    const std::uint32_t* sorted() const { return hashes() + count; }
    const char* text() const { return reinterpret_cast<const char*>(ends - 1 + Words(count)); }

    /// Words in front of the first name.
    static std::uint64_t Words(std::uint64_t count) {
        return 1 + count * (count > kLinearSearchLimit ? 3 : 1);
    }
};

/// The names of all groups with this shape, and the places of their children. `count` ShapeEntries
/// follow.
struct ShapeRecord {
    std::uint32_t namesUnit;
    std::uint32_t extent; // units of the region of each of the groups, from its first to its own
    std::uint16_t depth;
    std::uint16_t count;
};
static_assert(sizeof(ShapeRecord) == 12, "part of the file format");

/// Set in ShapeEntry::word when all groups of the shape share the child.
constexpr std::uint32_t kSharedChild = 128;

struct ShapeEntry {
    std::uint32_t place; // units from the child to the group; of a shared child its unit
    std::uint32_t word;  // of the child
};
static_assert(sizeof(ShapeEntry) == 8, "part of the file format");

} // namespace OxAttribute

#endif
