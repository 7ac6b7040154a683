#include "ContainerWriter.h"

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "AttributeNode.h"
#include "BlockSink.h"
#include "DataView.h"
#include "GroupChildren.h"
#include "NodeAccess.h"
#include "ShapeWriter.h"
#include "WrittenContent.h"

namespace OxAttribute {

namespace {

/// Values of so many bytes are written once if the writer remembers them. Smaller ones must have
/// occurred more often than a shape costs (see isWorthSharing).
constexpr std::uint64_t kLargeValue = 64;
constexpr std::uint64_t kSmallValue = 16;
constexpr std::uint32_t kOftenSeen = 8;

/// Where a value was written, and how often it was to be written.
struct WrittenValue {
    std::uint32_t unit;
    std::uint32_t seen;
};

/// The last group with certain names: its values, and whether it had a shape. Groups with equal
/// names are probably alike, and they should have equal shapes.
struct LastGroup {
    Hash names;
    bool hadShape;
    std::array<Hash, kMostShapeChildren> values;
};

/// The word of a value that is no group, as it stands in a file.
std::uint32_t WordOf(const Node* node, const DataView& view) {
    const auto type = static_cast<std::uint32_t>(node->type());
    if (type == kAttributeTypeNull) return type | kInFile | Node::kShort;
    if (!view.times && type == kAttributeTypeString && view.count == 1 && view.tupleSize == 1 &&
        view.textBytes <= kMostShortText + 1)
        return type | kInFile | Node::kShort | (view.textBytes - 1) << Node::kPayload;
    if (!view.times && type != kAttributeTypeString && view.count <= kMostShortNumbers &&
        view.tupleSize <= kMostShortNumbers)
        return type | kInFile | Node::kShort |
               static_cast<std::uint32_t>(view.count) << Node::kPayload |
               view.tupleSize << kTupleSizeBit;
    return type | kInFile | (view.times ? 0 : kTimesOmitted);
}

std::uint64_t ValueBytes(const DataView& view) {
    if (view.type == kAttributeTypeString) return view.textBytes;
    return view.elements() * ElementBytes(view.type);
}

class Writer {
public:
    Writer(void* stream, StreamWrite write, const std::string& name)
        : sink(stream, write, name), shapes(sink) {}

    void write(const Attribute& root, ContainerKind kind) {
        if (!root.isValid()) sink.fail("the attribute is invalid");
        ContainerHeader header{};
        std::memcpy(header.magic, kContainerMagic, sizeof header.magic);
        header.version = kContainerVersion;
        header.kind = static_cast<std::uint32_t>(kind);
        sink.append(&header, sizeof header);

        ContainerFooter footer{};
        footer.rootUnit = IsGroup(root.getHandle())
                              ? writeGroup(root).place
                              : writeValue(root.getHandle(), ViewOf(root.getHandle()));
        shapes.finish(footer);
        sink.align(alignof(FullNode));
        shapes.checkUnit();
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
    /// A child of a group that is written; `place` is its unit.
    using Child = ShapeWriter::Child;

    std::uint32_t writeValue(const Node* node, const DataView& view) {
        const std::uint32_t word = WordOf(node, view);
        if (word & Node::kShort)
            writeShort(word, view);
        else
            writeFull(word, view);
        return lastUnit;
    }

    void writeShort(std::uint32_t word, const DataView& view) {
        if (view.type == kAttributeTypeDouble)
            sink.align(8, sizeof(Node)); // its values are aligned
        else
            sink.align(kUnitBytes);
        lastUnit = shapes.checkUnit();
        sink.append(&word, sizeof word);
        if (Node{word}.type() != kAttributeTypeNull) sink.append(view.values, ValueBytes(view));
    }

    void writeFull(std::uint32_t word, const DataView& view) {
        sink.align(alignof(FullNode));
        lastUnit = shapes.checkUnit();
        const std::uint32_t none = 0;
        sink.append(&word, sizeof word);
        sink.append(&none, sizeof none);
        sink.append(&view.count, sizeof view.count);
        sink.append(&view.tupleSize, sizeof view.tupleSize);
        sink.append(&view.timeCount, sizeof view.timeCount);
        if (view.times) sink.append(view.times, 4ull * view.timeCount);
        sink.align(8);
        if (view.ends) sink.append(view.ends, 4 * (view.elements() + 1));
        sink.append(view.values, ValueBytes(view));
    }

    /// A value that is no group, as a child.
    Child writeData(const Attribute& attribute, bool isWide, Hash* last) {
        const Node* const node = attribute.getHandle();
        const DataView view = ViewOf(node);
        const Hash hash = attribute.getHash();
        const bool wasHere = last && *last == hash;
        if (last) *last = hash;
        WrittenValue* known = values.find(hash);
        if (known) {
            ++known->seen;
            if (isWide || wasHere || isWorthSharing(ValueBytes(view), known->seen))
                return {known->unit, WordOf(node, view) | kSharedChild, 0};
        }
        const std::uint32_t unit = writeValue(node, view);
        if (!known) values.remember(hash, {unit, 1});
        return {unit, WordOf(node, view), 0};
    }

    /// Groups that share a value have a shape of their own, so a small value that occurs here and
    /// there is written again.
    static bool isWorthSharing(std::uint64_t bytes, std::uint32_t seen) {
        return bytes >= kLargeValue || (bytes >= kSmallValue && seen >= kOftenSeen);
    }

    Child writeGroup(const GroupAttribute& group) {
        const auto count = static_cast<std::uint64_t>(group.getNumberOfChildren());
        if (count > UINT32_MAX) sink.fail("a group has too many children");
        const Hash names = hashNames(group, count);
        const bool isWide = count > kMostShapeChildren;
        LastGroup* const last = isWide ? nullptr : &lastGroupNamed(names);
        const bool hadShape = last && last->hadShape;

        sink.align(kUnitBytes);
        const std::uint32_t firstUnit = shapes.checkUnit();
        std::vector<Child> children(count);
        for (std::uint64_t i = 0; i < count; ++i) {
            const Attribute child = group.getChildByIndex(static_cast<std::int64_t>(i));
            if (child.getType() == kAttributeTypeGroup) {
                // The regions of groups that are alike begin alike, so that they have one shape.
                if (!hadShape) sink.align(8);
                children[i] = writeGroup(child);
            } else {
                Hash* const lastValue = last && last->names == names ? &last->values[i] : nullptr;
                children[i] = writeData(child, isWide, lastValue);
            }
        }
        sink.align(kUnitBytes);
        const std::uint32_t inherit = group.getGroupInherit() ? kGroupInherit : 0;
        const Child written =
            shapes.writeGroup({group, names, firstUnit, inherit, children.data(), count});
        // Groups below may have had the same names.
        if (last && last->names == names) last->hadShape = (written.word & Node::kShort) != 0;
        return written;
    }

    /// The hash of a group's names: of their lengths and of their bytes.
    Hash hashNames(const GroupAttribute& group, std::uint64_t count) {
        nameLengths.resize(count);
        nameBytes.clear();
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::string_view name = group.getChildNameView(static_cast<std::int64_t>(i));
            if (name.size() > kMostNameBytes)
                sink.fail("a child's name has " + std::to_string(name.size()) +
                          " bytes; 65535 are possible");
            nameLengths[i] = static_cast<std::uint32_t>(name.size());
            nameBytes.insert(nameBytes.end(), name.begin(), name.end());
        }
        const std::uint64_t seed =
            XXH3_64bits(nameLengths.data(), nameLengths.size() * sizeof(std::uint32_t));
        const XXH128_hash_t value = XXH3_128bits_withSeed(nameBytes.data(), nameBytes.size(), seed);
        return {{value.high64, value.low64}};
    }

    LastGroup& lastGroupNamed(const Hash& names) {
        LastGroup* const last = lastGroups.find(names);
        return last ? *last : lastGroups.remember(names, LastGroup{names, false, {}});
    }

    BlockSink sink;
    ShapeWriter shapes;
    WrittenContent<WrittenValue, 1u << 14> values;
    WrittenContent<LastGroup, 1u << 12> lastGroups;
    std::vector<std::uint32_t> nameLengths; // of hashNames
    std::vector<char> nameBytes;
    std::uint32_t lastUnit = 0;
};

} // namespace

void WriteContainer(const Attribute& root, ContainerKind kind, void* stream, StreamWrite write,
                    const std::string& name) {
    std::make_unique<Writer>(stream, write, name)->write(root, kind);
}

} // namespace OxAttribute
