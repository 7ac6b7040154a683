#include "ContainerWriter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "AttributeNode.h"
#include "BlockHash.h"
#include "GroupChildren.h"

namespace OxAttribute {

namespace {

/// Takes bytes in order, computes the checksum of each block, and passes whole blocks on.
class BlockSink {
public:
    BlockSink(void* stream, StreamWrite write, const std::string& name)
        : stream(stream), write(write), name(name) {
        block.reserve(kBlockBytes);
    }

    [[noreturn]] void fail(const std::string& why) const {
        throw std::runtime_error("Cannot write " + name + ": " + why);
    }

    std::uint64_t offset() const { return passedOn + block.size(); }

    void append(const void* data, std::uint64_t bytes) {
        const char* next = static_cast<const char*>(data);
        while (bytes > 0) {
            const std::uint64_t part = std::min(bytes, kBlockBytes - block.size());
            block.insert(block.end(), next, next + part);
            next += part;
            bytes -= part;
            if (block.size() == kBlockBytes) finishBlock();
        }
    }

    void align() {
        constexpr char zeros[kUnitBytes] = {};
        append(zeros, AlignUp(offset()) - offset());
    }

    void finishBlock() {
        if (block.empty()) return;
        checksums.push_back(HashBlock(block.data(), block.size()));
        passOn(block.data(), block.size());
        block.clear();
    }

    void passOn(const void* data, std::uint64_t bytes) {
        if (write(stream, data, static_cast<std::int64_t>(bytes)) !=
            static_cast<std::int64_t>(bytes))
            fail("not all bytes were taken");
        passedOn += bytes;
    }

    std::vector<std::uint64_t> checksums;

private:
    void* stream;
    StreamWrite write;
    const std::string& name;
    std::vector<char> block;
    std::uint64_t passedOn = 0;
};

/// A cache of where content was written. Its size is fixed, because equal values of a large scene
/// stand near each other. New content evicts what was in its place.
class WrittenContent {
public:
    WrittenContent()
        : places(static_cast<Place*>(std::calloc(kPlaces, sizeof(Place))), &std::free) {
        if (!places) throw std::bad_alloc();
    }
    /// Returns 0 if the content is not in the cache.
    std::uint32_t find(const Hash& hash) const {
        const Place& place = at(hash);
        return place.unit != 0 && place.hash == hash ? place.unit : 0;
    }
    void remember(const Hash& hash, std::uint32_t unit) { at(hash) = {hash, unit}; }

private:
    struct Place {
        Hash hash;
        std::uint32_t unit;
    };
    static constexpr std::size_t kPlaces = 1u << 17;
    Place& at(const Hash& hash) const { return places.get()[hash.words[1] % kPlaces]; }

    std::unique_ptr<Place, decltype(&std::free)> places;
};

class Writer {
public:
    Writer(void* stream, StreamWrite write, const std::string& name) : sink(stream, write, name) {}

    void write(const Attribute& root, ContainerKind kind) {
        if (!root.isValid()) sink.fail("the attribute is invalid");
        ContainerHeader header{};
        std::memcpy(header.magic, kContainerMagic, sizeof header.magic);
        header.version = kContainerVersion;
        header.kind = static_cast<std::uint32_t>(kind);
        sink.append(&header, sizeof header);

        ContainerFooter footer{};
        footer.rootUnit = writeNode(root);
        sink.align();
        sink.finishBlock();
        footer.tableOffset = sink.offset();
        const std::uint64_t tableBytes = sink.checksums.size() * 8;
        footer.fileBytes = footer.tableOffset + tableBytes + sizeof footer;
        footer.tableChecksum = XXH3_64bits(sink.checksums.data(), tableBytes);
        std::memcpy(footer.magic, kContainerEndMagic, sizeof footer.magic);
        footer.footerChecksum = XXH3_64bits(&footer, offsetof(ContainerFooter, footerChecksum));
        sink.passOn(sink.checksums.data(), tableBytes);
        sink.passOn(&footer, sizeof footer);
    }

private:
    std::uint32_t nextUnit() {
        sink.align();
        const std::uint64_t unit = sink.offset() / kUnitBytes;
        if (unit > UINT32_MAX) sink.fail("it is larger than 64 GiB");
        return static_cast<std::uint32_t>(unit);
    }

    std::uint32_t writeNode(const Attribute& attribute) {
        if (attribute.getType() == kAttributeTypeGroup) return writeGroup(attribute);
        const Hash hash = attribute.getHash();
        if (const std::uint32_t known = written.find(hash)) return known;
        const std::uint32_t unit = writeData(attribute.getHandle());
        written.remember(hash, unit);
        return unit;
    }

    std::uint32_t writeData(const Node* node) {
        Node header{};
        header.type = node->type;
        header.flags = static_cast<std::uint8_t>((node->flags & kTimesOmitted) | kInFile);
        header.unit = nextUnit();
        header.tupleSize = node->tupleSize;
        header.count = node->count;
        header.timeCount = node->timeCount;
        sink.append(&header, sizeof header);
        if (node->type == kAttributeTypeNull) return header.unit;
        sink.append(Bytes(node) + sizeof(Node), TimesBytes(node));
        const bool strings = node->type == kAttributeTypeString;
        const std::uint64_t elements = NumberOfElements(node) + strings;
        sink.append(Values<char>(node), elements * ElementBytes(node->type));
        if (strings) sink.append(StringBytes(node), Values<std::uint32_t>(node)[elements - 1]);
        return header.unit;
    }

    std::uint32_t writeName(std::string_view name) {
        if (name.size() > UINT16_MAX)
            sink.fail("a child's name has " + std::to_string(name.size()) +
                      " bytes; 65535 are possible");
        const XXH128_hash_t value = XXH3_128bits(name.data(), name.size());
        const Hash hash{{value.high64, value.low64}};
        if (const std::uint32_t known = writtenNames.find(hash)) return known;
        const std::uint32_t unit = nextUnit();
        sink.append(name.data(), name.size());
        sink.append("", 1);
        writtenNames.remember(hash, unit);
        return unit;
    }

    std::uint32_t writeGroup(const GroupAttribute& group) {
        Node header{};
        header.type = kAttributeTypeGroup;
        header.flags =
            static_cast<std::uint8_t>(kInFile | (group.getGroupInherit() ? kGroupInherit : 0));
        header.depth = group.getHandle()->depth;
        header.firstUnit = nextUnit();
        header.count = static_cast<std::uint64_t>(group.getNumberOfChildren());

        std::vector<FileEntry> entries(header.count);
        for (std::uint64_t i = 0; i < header.count; ++i) {
            const Attribute child = group.getChildByIndex(static_cast<std::int64_t>(i));
            entries[i].childUnit = writeNode(child);
            entries[i].childType = static_cast<std::int8_t>(child.getType());
        }
        for (std::uint64_t i = 0; i < header.count; ++i) {
            const std::string_view name = group.getChildNameView(static_cast<std::int64_t>(i));
            entries[i].nameHash = HashName(name);
            entries[i].nameLength = static_cast<std::uint16_t>(name.size());
            entries[i].nameUnit = writeName(name);
        }
        header.unit = nextUnit();
        sink.append(&header, sizeof header);
        sink.append(entries.data(), entries.size() * sizeof(FileEntry));
        if (header.count > kLinearSearchLimit) writeSortedIndices(entries);
        return header.unit;
    }

    /// The indices of the children in the order of their names' hashes.
    void writeSortedIndices(const std::vector<FileEntry>& entries) {
        std::vector<std::uint32_t> sorted(entries.size());
        SortByNameHash(entries.data(), sorted.data(), sorted.size());
        for (std::size_t i = kMaximumEqualHashes; i < sorted.size(); ++i)
            if (entries[sorted[i]].nameHash == entries[sorted[i - kMaximumEqualHashes]].nameHash)
                sink.fail("too many names in one group have one hash");
        sink.append(sorted.data(), sorted.size() * sizeof(std::uint32_t));
    }

    BlockSink sink;
    WrittenContent written;
    WrittenContent writtenNames;
};

} // namespace

void WriteContainer(const Attribute& root, ContainerKind kind, void* stream, StreamWrite write,
                    const std::string& name) {
    Writer(stream, write, name).write(root, kind);
}

} // namespace OxAttribute
