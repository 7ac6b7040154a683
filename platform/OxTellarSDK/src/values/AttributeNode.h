#ifndef OXTELLARSDK_ATTRIBUTENODE_H
#define OXTELLARSDK_ATTRIBUTENODE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <xxhash.h>

#include <OxTellarSDK/Attribute.h>

/// The layout of values. Every value begins with one word, which has its type, its flags and, in a
/// short value, all the rest that is to be known of it. Short values exist in files only:
///
///     numbers   up to 4,095 at time 0: their count and tuple size are in the word; they follow
///     a string  at time 0, up to 65,535 bytes: its length is in the word; it and a NUL follow
///     null
///     groups    the number of their shape is in the word; nothing follows (see Shape.h)
///
/// Other numbers and strings have a FullNode, in memory and in files alike, behind which lie:
///
///     numbers   times, then timeCount * count values
///     strings   times, then timeCount * count + 1 end offsets, then the bytes; every
///               string is followed by a NUL byte that its end offset includes
///
/// The times are omitted when the only sample is at time 0 (kTimesOmitted).
///
/// Groups in memory are a FullNode, count MemoryEntries and, above kLinearSearchLimit children,
/// their indices sorted by name hash; then the names, and perhaps a LeadingProduct. Those in files
/// that have no shape: see ContainerLayout.h.
///
/// In memory a value is one allocation with a MemoryPrefix in front, and refCount counts its
/// references. In a file the Container, which is found by the value's address, counts them, and the
/// value is never written to. Whether a value is in a file is told by its address alone, because
/// the bytes of a mapped file may change.
namespace OxAttribute {

using Node = ::OxAttributeStruct;

static_assert(sizeof(Node) == 4, "part of the file format");
static_assert(alignof(Node) == 4, "part of the file format");
static_assert(std::atomic<std::uint32_t>::is_always_lock_free, "counts are plain words");

constexpr std::uint64_t kUnitBytes = 4;
constexpr std::uint64_t kLinearSearchLimit = 8;

/// Bits of Node::word beside those in Attribute.h. Bit 7 is 0 (see ShapeRecord).
constexpr std::uint32_t kInFile = 8; // set in files, so that a value is not taken for other bytes
constexpr std::uint32_t kTimesOmitted = 32; // full numbers and strings
constexpr std::uint32_t kGroupInherit = 64;

constexpr std::uint32_t kMostShortNumbers = Node::kCountBits;
constexpr std::uint32_t kMostShortText = 0xffff;
constexpr int kTupleSizeBit = 20; // of short numbers

/// In the word of a value in memory: how many units of SmallMemory it takes; 0 for a larger one.
constexpr int kMemoryUnits = Node::kPayload;
constexpr std::uint32_t kMostMemoryUnits = 0xff;

struct FullNode : Node {
    mutable std::atomic<std::uint32_t> refCount; // 0 in a file
    std::uint64_t count; // data: values in one time sample; groups: children
    union {
        std::uint32_t tupleSize; // data
        std::uint32_t depth;     // groups: levels of groups from here down, at least 1
    };
    std::uint32_t timeCount; // data: time samples; groups in memory: LeadingProduct::children
};
static_assert(sizeof(FullNode) == 24 && alignof(FullNode) == 8, "part of the file format");

/// Lies in front of every value in memory. The hash is not known while its first word is 0.
struct MemoryPrefix {
    std::atomic<std::uint64_t> hash[2];
};

struct MemoryEntry {
    std::uint32_t nameHash; // 0 up to kLinearSearchLimit children
    std::uint32_t nameLength;
    std::uint64_t nameOffset; // relative to the node
    Node* child;
};

inline std::uint64_t AlignUp(std::uint64_t bytes, std::uint64_t alignment) {
    return (bytes + alignment - 1) / alignment * alignment;
}

inline std::uint32_t HashName(std::string_view name) {
    return static_cast<std::uint32_t>(XXH3_64bits(name.data(), name.size()));
}

/// The size of one number of a type; for strings, the size of an end offset.
inline std::uint64_t ElementBytes(int type) {
    return type == kAttributeTypeDouble ? 8 : 4;
}

inline const char* Bytes(const Node* node) {
    return reinterpret_cast<const char*>(node);
}
inline const FullNode* Full(const Node* node) {
    return static_cast<const FullNode*>(node);
}
inline bool IsGroup(const Node* node) {
    return node->type() == kAttributeTypeGroup;
}
inline bool IsNumeric(const Node* node) {
    return node->type() >= kAttributeTypeInt && node->type() <= kAttributeTypeDouble;
}
inline std::uint32_t ShortTextLength(std::uint32_t word) {
    return word >> Node::kPayload & kMostShortText;
}

/// The bytes of times in front of the values of full numbers and strings.
inline std::uint64_t TimesBytes(std::uint32_t word, std::uint64_t timeCount) {
    return word & kTimesOmitted ? 0 : AlignUp(4 * timeCount, 8);
}

// Groups in memory.

inline const MemoryEntry* Entries(const Node* node) {
    return reinterpret_cast<const MemoryEntry*>(Bytes(node) + sizeof(FullNode));
}
/// Child indices sorted by name hash, then by index; only above kLinearSearchLimit.
inline const std::uint32_t* SortedIndices(const Node* node) {
    return reinterpret_cast<const std::uint32_t*>(Entries(node) + Full(node)->count);
}
inline std::string_view NameOf(const Node* node, const MemoryEntry& entry) {
    return {Bytes(node) + entry.nameOffset, entry.nameLength};
}

inline MemoryPrefix* PrefixOf(const Node* node) {
    return reinterpret_cast<MemoryPrefix*>(const_cast<char*>(Bytes(node)) - sizeof(MemoryPrefix));
}

/// A new value in memory with one reference, and `bytes` uninitialised bytes behind its header.
FullNode* AllocateNode(AttributeType type, std::uint64_t bytes);

/// The identity of an Op's arguments. It is the content hash, but for a value in a large file, also
/// one inside of a group in memory, it is computed from the identity of the file and the value's
/// place, so that the value is not read.
Hash ContentIdentity(const Attribute& attribute);

} // namespace OxAttribute

#endif
