#ifndef OXTELLARSDK_ATTRIBUTENODE_H
#define OXTELLARSDK_ATTRIBUTENODE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <xxhash.h>

#include <OxTellarSDK/Attribute.h>

/// The layout of values, which is nearly the same in memory and in attribute files. A value begins
/// with a header (OxAttributeStruct), behind which lie:
///
///     numbers   times, then timeCount * count values
///     strings   times, then timeCount * count + 1 end offsets, then the bytes; every
///               string is followed by a NUL byte that its end offset includes
///     groups    count entries (MemoryEntry or FileEntry), then, above
///               kLinearSearchLimit children, their indices sorted by name hash
///
/// The times are omitted when the only sample is at time 0 (kTimesOmitted).
///
/// In memory a value is one allocation with a MemoryPrefix in front, and refCount counts its
/// references. In a file the Container, found through `unit`, counts the references, and the value
/// is never written to.
namespace OxAttribute {

using Node = ::OxAttributeStruct;

static_assert(sizeof(Node) == 32 && alignof(Node) == 8, "part of the file format");
static_assert(std::atomic<std::uint32_t>::is_always_lock_free, "counts are plain words");

constexpr std::uint64_t kUnitBytes = 16;
constexpr std::uint64_t kLinearSearchLimit = 8;

enum NodeFlags : std::uint8_t {
    kInFile = 1,
    kTimesOmitted = 2,
    kGroupInherit = 4,
};

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

struct FileEntry {
    std::uint32_t nameHash;
    std::uint32_t nameUnit;
    std::uint32_t childUnit;
    std::uint16_t nameLength;
    std::int8_t childType;
    std::uint8_t reserved; // 0
};
static_assert(sizeof(FileEntry) == 16, "part of the file format");

inline std::uint64_t AlignUp(std::uint64_t bytes, std::uint64_t alignment = kUnitBytes) {
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
inline bool IsInFile(const Node* node) {
    return node->flags & kInFile;
}
inline bool IsGroup(const Node* node) {
    return node->type == kAttributeTypeGroup;
}

inline std::uint64_t TimesBytes(const Node* node) {
    return node->flags & kTimesOmitted ? 0 : AlignUp(4ull * node->timeCount);
}
inline float TimeAt(const Node* node, std::uint64_t index) {
    if (node->flags & kTimesOmitted) return 0.0f;
    return reinterpret_cast<const float*>(Bytes(node) + sizeof(Node))[index];
}
template <typename T>
const T* Values(const Node* node) {
    return reinterpret_cast<const T*>(Bytes(node) + sizeof(Node) + TimesBytes(node));
}
inline std::uint64_t NumberOfElements(const Node* node) {
    return node->count * node->timeCount;
}
inline const char* StringBytes(const Node* node) {
    return reinterpret_cast<const char*>(Values<std::uint32_t>(node) + NumberOfElements(node) + 1);
}

template <typename Entry>
const Entry* Entries(const Node* node) {
    return reinterpret_cast<const Entry*>(Bytes(node) + sizeof(Node));
}
/// Child indices sorted by name hash, then by index; only above kLinearSearchLimit.
template <typename Entry>
const std::uint32_t* SortedIndices(const Node* node) {
    return reinterpret_cast<const std::uint32_t*>(Entries<Entry>(node) + node->count);
}

inline const char* FileBase(const Node* node) {
    return Bytes(node) - node->unit * kUnitBytes;
}

inline std::string_view NameOf(const Node* node, const MemoryEntry& entry) {
    return {Bytes(node) + entry.nameOffset, entry.nameLength};
}
inline std::string_view NameOf(const Node* node, const FileEntry& entry) {
    return {FileBase(node) + entry.nameUnit * kUnitBytes, entry.nameLength};
}

inline MemoryPrefix* PrefixOf(const Node* node) {
    return reinterpret_cast<MemoryPrefix*>(const_cast<char*>(Bytes(node)) - sizeof(MemoryPrefix));
}

/// A new value in memory with one reference, and `bytes` uninitialised bytes behind its header.
Node* AllocateNode(AttributeType type, std::uint64_t bytes);

/// The identity of an Op's arguments. It is the content hash, but for a value in a large file, also
/// one inside of a group in memory, it is computed from the identity of the file and the value's
/// place, so that the value is not read.
Hash ContentIdentity(const Attribute& attribute);

} // namespace OxAttribute

#endif
