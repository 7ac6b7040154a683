#include <OxTellarSDK/Attribute.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <vector>

#if defined(__APPLE__)
#include <malloc/malloc.h>
#else
#include <malloc.h>
#endif

#include "Container.h"
#include "ContainerWriter.h"
#include "NodeAccess.h"
#include "ResultMemory.h"
#include "SmallMemory.h"

namespace OxAttribute {

namespace SmallMemory = OxTellarRuntimeDetail::SmallMemory;
using OxTellarRuntimeDetail::ValueBytes;

static_assert(SmallMemory::kLargest / SmallMemory::kUnit <= kMostMemoryUnits);

namespace {

Hash ToHash(const XXH128_hash_t& value) {
    return {{value.high64, value.low64}};
}

/// The part of the hash that is not content. It follows from the meaning of equality and not from
/// the layout of values.
struct HashedHeader {
    std::int64_t type;
    std::uint64_t tupleSizeOrInherit; // data: tuple size; groups: whether they inherit
    std::uint64_t count;
    std::uint64_t timeCount;
};

Hash HashData(const Node* node) {
    const DataView view = ViewOf(node);
    if (node->type() == kAttributeTypeNull) {
        const HashedHeader header{kAttributeTypeNull, 0, 0, 0};
        return ToHash(XXH3_128bits_withSeed("", 0, XXH3_64bits(&header, sizeof header)));
    }
    const HashedHeader header{view.type, view.tupleSize, view.count, view.timeCount};
    std::uint64_t seed = XXH3_64bits(&header, sizeof header);
    // Without the padding after the times.
    if (view.times) seed = XXH3_64bits_withSeed(view.times, 4ull * view.timeCount, seed);
    if (view.type != kAttributeTypeString)
        return ToHash(
            XXH3_128bits_withSeed(view.values, view.elements() * ElementBytes(view.type), seed));
    const std::uint32_t endsOfOne[2] = {0, view.textBytes};
    seed = XXH3_64bits_withSeed(view.ends ? view.ends : endsOfOne, 4 * (view.elements() + 1), seed);
    return ToHash(XXH3_128bits_withSeed(view.values, view.textBytes, seed));
}

Hash ComputeHash(const Attribute& attribute);

Hash HashGroup(const GroupAttribute& group) {
    // Values in memory keep their hashes, and the container's cache those of its values that are in
    // a group in memory. What is below a group in a file would push each other out of that.
    const bool isInFile = Container::Of(group.getHandle()) != nullptr;
    const std::int64_t count = group.getNumberOfChildren();
    const HashedHeader header{kAttributeTypeGroup, group.getGroupInherit(),
                              static_cast<std::uint64_t>(count), 0};
    struct HashedChild {
        Hash name;
        Hash value;
    };
    std::vector<HashedChild> children(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i) {
        const std::string_view name = group.getChildNameView(i);
        const Attribute child = group.getChildByIndex(i);
        children[static_cast<std::size_t>(i)] = {ToHash(XXH3_128bits(name.data(), name.size())),
                                                 isInFile ? ComputeHash(child) : child.getHash()};
    }
    return ToHash(XXH3_128bits_withSeed(children.data(), children.size() * sizeof(HashedChild),
                                        XXH3_64bits(&header, sizeof header)));
}

Hash ComputeHash(const Attribute& attribute) {
    Hash hash =
        IsGroup(attribute.getHandle()) ? HashGroup(attribute) : HashData(attribute.getHandle());
    if (hash.words[0] == 0) hash.words[0] = 1; // 0 is for "not known yet"
    return hash;
}

/// An identity, and whether it names the places of values in large files instead of the values.
struct Identity {
    Hash hash;
    bool hasPlaces = false;
};

Identity IdentityOf(const Attribute& attribute);

/// Of a group in memory. Its children keep their hashes, so that hashing it afterwards is cheap.
Identity IdentityOfGroup(const GroupAttribute& group) {
    const std::int64_t count = group.getNumberOfChildren();
    std::vector<Hash> hashes;
    hashes.reserve(2 * static_cast<std::size_t>(count));
    bool hasPlaces = false;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::string_view name = group.getChildNameView(i);
        const Identity child = IdentityOf(group.getChildByIndex(i));
        hashes.push_back(ToHash(XXH3_128bits(name.data(), name.size())));
        hashes.push_back(child.hash);
        hasPlaces = hasPlaces || child.hasPlaces;
    }
    if (!hasPlaces) return {group.getHash(), false};
    const std::uint64_t seed = group.getGroupInherit() ? 1 : 2;
    return {ToHash(XXH3_128bits_withSeed(hashes.data(), hashes.size() * sizeof(Hash), seed)), true};
}

Identity IdentityOf(const Attribute& attribute) {
    const Node* const node = attribute.getHandle();
    if (!node) return {};
    const Container* const container = Container::Of(node);
    if (container && container->isLarge()) {
        const Hash file = container->identity();
        return {ToHash(XXH3_128bits_withSeed(&file, sizeof file, container->unitOf(node))), true};
    }
    const bool isOpen = IsGroup(node) && !container && attribute.getKeptHash() == Hash();
    return isOpen ? IdentityOfGroup(attribute) : Identity{attribute.getHash(), false};
}

/// The size that the allocator counts for this memory, with the allocator's own word in front.
std::uint64_t BytesOfLarge(void* memory) noexcept {
#if defined(__APPLE__)
    return malloc_size(memory);
#else
    return malloc_usable_size(memory) + sizeof(std::size_t);
#endif
}

void* AllocateLarge(std::uint64_t bytes) {
    void* const memory = std::malloc(bytes);
    if (!memory) throw std::bad_alloc();
    ValueBytes::Allocated(BytesOfLarge(memory));
    return memory;
}

void FreeLarge(void* memory) noexcept {
    ValueBytes::Freed(BytesOfLarge(memory));
    std::free(memory);
}

} // namespace

FullNode* AllocateNode(AttributeType type, std::uint64_t bytes) {
    if (bytes > SIZE_MAX / 2) throw std::bad_alloc();
    const std::uint64_t wanted = sizeof(MemoryPrefix) + sizeof(FullNode) + bytes;
    const std::uint64_t room = wanted <= SmallMemory::kLargest ? SmallMemory::RoomFor(wanted) : 0;
    char* const memory =
        static_cast<char*>(room > 0 ? SmallMemory::Take(room) : AllocateLarge(wanted));
    ValueBytes::Allocated(room);
    new (memory) MemoryPrefix{{{0}, {0}}};
    auto* node = new (memory + sizeof(MemoryPrefix)) FullNode;
    node->word = static_cast<std::uint32_t>(type) |
                 static_cast<std::uint32_t>(room / SmallMemory::kUnit) << kMemoryUnits;
    node->refCount.store(1, std::memory_order_relaxed);
    node->count = 0;
    node->tupleSize = 0;
    node->timeCount = 0;
    return node;
}

void FreeNode(Node* node) {
    if (IsGroup(node))
        for (std::uint64_t i = 0; i < Full(node)->count; ++i)
            Release(Entries(node)[i].child);
    const std::uint64_t room = (node->word >> kMemoryUnits & kMostMemoryUnits) * SmallMemory::kUnit;
    if (room == 0) return FreeLarge(PrefixOf(node));
    ValueBytes::Freed(room);
    SmallMemory::Give(PrefixOf(node), room);
}

Hash ContentIdentity(const Attribute& attribute) {
    return IdentityOf(attribute).hash;
}

std::string Hash::str() const {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(32);
    for (const std::uint64_t word : words)
        for (int shift = 60; shift >= 0; shift -= 4)
            text += digits[word >> shift & 15];
    return text;
}

void Attribute::retain(OxAttributeStruct* handle) noexcept {
    Retain(handle);
}

void Attribute::release(OxAttributeStruct* handle) noexcept {
    Release(handle);
}

Hash Attribute::getKeptHash() const noexcept {
    if (!handle || Container::Of(handle)) return {};
    const MemoryPrefix* prefix = PrefixOf(handle);
    const std::uint64_t first = prefix->hash[0].load(std::memory_order_acquire);
    return first == 0 ? Hash() : Hash{{first, prefix->hash[1].load(std::memory_order_relaxed)}};
}

Hash Attribute::getHash() const {
    const Hash kept = getKeptHash();
    if (kept.words[0] != 0) return kept;
    if (!handle) return {};
    if (Container* container = Container::Of(handle))
        return container->cachedHash(handle, [this] { return ComputeHash(*this); });
    const Hash hash = ComputeHash(*this);
    MemoryPrefix* prefix = PrefixOf(handle);
    prefix->hash[1].store(hash.words[1], std::memory_order_relaxed);
    prefix->hash[0].store(hash.words[0], std::memory_order_release);
    return hash;
}

Attribute Attribute::readAttributeStream(void* stream, StreamRead read, int flags) {
    if (flags != 0)
        throw std::invalid_argument("readAttributeStream: flags " + std::to_string(flags) +
                                    " have no meaning");
    StreamName name{"the attribute stream", {}};
    FileBuffer buffer = FileStreamAccess::ReadAll(stream, read, name);
    if (buffer.size() == 0) return {};
    return Container::Open(std::move(buffer), name, ContainerKind::AttributeStream);
}

void Attribute::writeAttributeStream(void* stream, StreamWrite write) const {
    WriteContainer(*this, ContainerKind::AttributeStream, stream, write);
}

NullAttribute::NullAttribute() {
    handle = AllocateNode(kAttributeTypeNull, 0);
}

} // namespace OxAttribute
