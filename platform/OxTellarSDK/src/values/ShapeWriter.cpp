#include "ShapeWriter.h"

#include <algorithm>
#include <utility>

#include "GroupChildren.h"

namespace OxAttribute {

std::uint32_t ShapeWriter::checkUnit() const {
    const std::uint64_t unit = sink.offset() / kUnitBytes;
    if (unit > UINT32_MAX) sink.fail("it is larger than 16 GiB");
    return static_cast<std::uint32_t>(unit);
}

ShapeWriter::Child ShapeWriter::writeGroup(const Group& group) {
    std::uint32_t depth = 0;
    for (std::uint64_t i = 0; i < group.count; ++i)
        depth = std::max(depth, group.children[i].depth);
    ++depth;
    const std::uint32_t unit = checkUnit();
    const std::uint32_t numberPlusOne = numberFor(group, unit, depth);
    if (numberPlusOne == 0) return writeWide(group, depth);
    const std::uint32_t word = kAttributeTypeGroup | kInFile | Node::kShort | group.inherit |
                               (numberPlusOne - 1) << Node::kPayload;
    sink.append(&word, sizeof word);
    return {unit, word, depth};
}

/// Fills `entries`.
void ShapeWriter::describe(const Group& group, std::uint32_t unit) {
    entries.clear();
    for (std::uint64_t i = 0; i < group.count; ++i) {
        const Child& child = group.children[i];
        const bool isShared = (child.word & kSharedChild) != 0;
        entries.push_back({isShared ? child.place : unit - child.place, child.word});
    }
}

std::uint32_t ShapeWriter::numberFor(const Group& group, std::uint32_t unit, std::uint32_t depth) {
    const std::uint32_t extent = unit - group.firstUnit;
    if (group.count > kMostShapeChildren || extent > kMostShapeExtent) return 0;
    for (std::uint64_t i = 0; i < group.count; ++i) {
        const Node head{group.children[i].word};
        if (head.type() == kAttributeTypeGroup && !head.isShort()) return 0;
    }
    describe(group, unit);
    const XXH128_hash_t value =
        XXH3_128bits_withSeed(entries.data(), entries.size() * sizeof(ShapeEntry),
                              group.names.words[0] ^ (std::uint64_t(extent) << 32 | depth));
    const Hash key{{value.high64, value.low64}};
    std::uint32_t* const number = known.find(key);
    if (!number) {
        known.remember(key, 0);
        return 0;
    }
    if (*number == 0 && shapeUnits.size() < kMostNumbers) *number = newNumber(group, extent, depth);
    return *number;
}

std::uint32_t ShapeWriter::newNumber(const Group& group, std::uint32_t extent,
                                     std::uint32_t depth) {
    Waiting shape{static_cast<std::uint32_t>(shapeUnits.size()), group.names, {}, {}, entries};
    for (std::uint64_t i = 0; i < group.count; ++i)
        shape.names.push_back(group.attribute.getChildName(static_cast<std::int64_t>(i)));
    shape.record = {0, extent, static_cast<std::uint16_t>(depth),
                    static_cast<std::uint16_t>(group.count)};
    waiting.push_back(std::move(shape));
    shapeUnits.push_back(0);
    return static_cast<std::uint32_t>(shapeUnits.size());
}

ShapeWriter::Child ShapeWriter::writeWide(const Group& group, std::uint32_t depth) {
    writeWaiting();
    const auto count = static_cast<std::uint32_t>(group.count);
    WideGroup head{};
    head.word = kAttributeTypeGroup | kInFile | group.inherit | depth << Node::kPayload;
    head.namesUnit = writeNames(
        group.names, count, [&](std::uint32_t i) { return group.attribute.getChildNameView(i); });
    sink.align(kUnitBytes);
    const std::uint32_t unit = checkUnit();
    head.extent = unit - group.firstUnit;
    head.count = count;
    sink.append(&head, sizeof head);
    for (std::uint32_t i = 0; i < count; ++i)
        sink.append(&group.children[i].place, sizeof group.children[i].place);
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto type = static_cast<std::uint8_t>(group.children[i].word & Node::kTypeBits);
        sink.append(&type, sizeof type);
    }
    return {unit, head.word, depth};
}

void ShapeWriter::writeWaiting() {
    for (Waiting& shape : waiting) {
        shape.record.namesUnit =
            writeNames(shape.nameHash, shape.record.count,
                       [&](std::uint32_t i) { return std::string_view(shape.names[i]); });
        sink.align(kUnitBytes);
        shapeUnits[shape.number] = checkUnit();
        sink.append(&shape.record, sizeof shape.record);
        sink.append(shape.entries.data(), shape.entries.size() * sizeof(ShapeEntry));
    }
    waiting.clear();
}

void ShapeWriter::finish(ContainerFooter& footer) {
    writeWaiting();
    sink.align(kUnitBytes);
    footer.shapesUnit = checkUnit();
    footer.shapeCount = static_cast<std::uint32_t>(shapeUnits.size());
    sink.append(shapeUnits.data(), shapeUnits.size() * sizeof(std::uint32_t));
}

/// Returns the unit of names, which are written unless they are known.
template <typename NameAt>
std::uint32_t ShapeWriter::writeNames(const Hash& hash, std::uint32_t count, NameAt nameAt) {
    if (const std::uint32_t* written = names.find(hash)) return *written;
    sink.align(kUnitBytes);
    const std::uint32_t unit = checkUnit();
    sink.append(&count, sizeof count);
    std::uint64_t end = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        end += nameAt(i).size() + 1;
        if (end > UINT32_MAX) sink.fail("the names of one group are larger than 4 GiB");
        const auto stored = static_cast<std::uint32_t>(end);
        sink.append(&stored, sizeof stored);
    }
    if (count > kLinearSearchLimit) writeHashes(count, nameAt);
    for (std::uint32_t i = 0; i < count; ++i) {
        sink.append(nameAt(i).data(), nameAt(i).size());
        sink.append("", 1);
    }
    names.remember(hash, unit);
    return unit;
}

/// The hashes of the names, and the indices of the children in their order.
template <typename NameAt>
void ShapeWriter::writeHashes(std::uint32_t count, NameAt nameAt) {
    std::vector<std::uint32_t> hashes(count);
    for (std::uint32_t i = 0; i < count; ++i)
        hashes[i] = HashName(nameAt(i));
    std::vector<std::uint32_t> sorted(count);
    SortByNameHash(sorted.data(), count, [&](std::uint32_t i) { return hashes[i]; });
    for (std::uint32_t i = kMaximumEqualHashes; i < count; ++i)
        if (hashes[sorted[i]] == hashes[sorted[i - kMaximumEqualHashes]])
            sink.fail("too many names in one group have one hash");
    sink.append(hashes.data(), count * sizeof(std::uint32_t));
    sink.append(sorted.data(), count * sizeof(std::uint32_t));
}

} // namespace OxAttribute
