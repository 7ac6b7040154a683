// The checks that a container makes before it gives out a value. They read the file only after
// verifyRange() has compared the bytes with their checksums.
#include "Container.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "NodeAccess.h"

namespace OxAttribute {

void Container::checkFrame() {
    fetch(0, std::min(bytes, std::uint64_t(sizeof header)));
    if (bytes < sizeof header || std::memcmp(base, kContainerMagic, sizeof kContainerMagic) != 0)
        refuse("is no attribute file");
    std::memcpy(&header, base, sizeof header);
    if (header.version == 1)
        refuse("has format version 1, which this program no longer reads; convert its source, "
               "such as a scene's JSON file, again");
    if (header.version != kContainerVersion)
        refuse("has format version " + std::to_string(header.version) +
               ", of which this program knows nothing");
    if (bytes < sizeof header + sizeof footer) refuse("is damaged: it ends early");

    fetch(bytes - sizeof footer, bytes);
    std::memcpy(&footer, base + bytes - sizeof footer, sizeof footer);
    if (std::memcmp(footer.magic, kContainerEndMagic, sizeof kContainerEndMagic) != 0)
        refuse("is damaged: it ends early, or other bytes follow it");
    if (XXH3_64bits(&footer, offsetof(ContainerFooter, footerChecksum)) != footer.footerChecksum)
        refuse("is damaged: its footer does not have the checksum that it states");
    if (footer.fileBytes != bytes) refuse("is damaged: it is not as long as it states");

    if (footer.tableOffset < sizeof header || footer.tableOffset > bytes ||
        footer.tableOffset % alignof(FullNode) != 0 || footer.reserved != 0 ||
        footer.rootUnit >= units() || footer.shapeCount > kMostShapes ||
        footer.shapesUnit > units() || footer.shapeCount > units() - footer.shapesUnit)
        refuse("is damaged: its parts do not fit together");
    checkTable();
}

void Container::checkTable() {
    const std::uint64_t blocks = (footer.tableOffset + kBlockBytes - 1) / kBlockBytes;
    if (footer.tableOffset + blocks * 8 + sizeof footer != bytes)
        refuse("is damaged: its parts do not fit together");
    fetch(footer.tableOffset, bytes);
    checksums = std::make_unique<std::uint64_t[]>(blocks);
    std::memcpy(checksums.get(), base + footer.tableOffset, blocks * 8);
    if (XXH3_64bits(checksums.get(), blocks * 8) != footer.tableChecksum)
        refuse("is damaged: its checksums do not have the checksum that it states");

    const XXH128_hash_t content =
        XXH3_128bits_withSeed(checksums.get(), blocks * 8, footer.rootUnit);
    contentIdentity.words[0] = content.high64;
    contentIdentity.words[1] = content.low64;
    verifiedBlocks = std::make_unique<std::atomic<std::uint8_t>[]>(blocks);
    shapes = std::make_unique<std::atomic<const Shape*>[]>(footer.shapeCount);
    checkedUnits = CheckedUnits(units());
}

void Container::checkKind(ContainerKind wanted) const {
    if (header.kind == static_cast<std::uint32_t>(wanted)) return;
    if (header.kind == static_cast<std::uint32_t>(ContainerKind::OpFile))
        refuse("is a serialised op file, not an attribute stream");
    if (header.kind == static_cast<std::uint32_t>(ContainerKind::AttributeStream))
        refuse("is an attribute stream, not a serialised op file");
    refuse("is damaged: it is of no known kind");
}

const Node* Container::checked(const Place& place) {
    if (!checkedUnits.contains(place.unit)) {
        checkNode(place);
        checkedUnits.add(place.unit);
    }
    const Node* const node = nodeAt(place.unit);
    // A value that was checked as a group of another parent must not be used as a number.
    if (place.type >= 0 && node->type() != place.type) missing(node);
    return node;
}

void Container::checkNode(const Place& place) {
    const std::uint64_t offset = place.unit * kUnitBytes;
    if (offset < sizeof(ContainerHeader) || offset + sizeof(Node) > footer.tableOffset)
        damaged("a reference leads outside", place.unit);
    verifyRange(offset, offset + sizeof(Node));
    const Node* const node = nodeAt(place.unit);
    if (!HasKnownFlags(node->word) || (place.type >= 0 && node->type() != place.type))
        missing(node);
    if (!IsGroup(node))
        checkData(node);
    else if (node->isShort())
        checkShaped(node, place);
    else
        checkWide(node, place);
}

/// The end of `elements` elements at `offset`. Throws unless it lies inside; the error names the
/// unit of the value or names that `user` is.
std::uint64_t Container::endOf(std::uint64_t user, std::uint64_t offset, std::uint64_t elementBytes,
                               std::uint64_t elements) const {
    if (offset > footer.tableOffset || elements > (footer.tableOffset - offset) / elementBytes)
        damaged("an attribute leads outside", user);
    return offset + elements * elementBytes;
}

void Container::checkData(const Node* node) {
    if (node->isShort())
        checkShort(node);
    else
        checkFull(node);
}

void Container::checkShort(const Node* node) {
    const std::uint64_t unit = unitOf(node);
    const std::uint64_t values = unit * kUnitBytes + sizeof(Node);
    checkShortWord(node->word, unit);
    if (node->type() == kAttributeTypeString) {
        const std::uint32_t length = ShortTextLength(node->word);
        verifyRange(values, endOf(unit, values, 1, length + 1ull));
        if (base[values + length] != '\0')
            damaged("a string attribute has an unfinished string", unit);
    } else if (node->isShortNumbers()) {
        const std::uint64_t elementBytes = ElementBytes(node->type());
        if (values % elementBytes != 0) damaged("values stand where they cannot be read", unit);
        verifyRange(values, endOf(unit, values, elementBytes, node->shortCount()));
    }
}

/// Checks of a number, string or null all that its word tells.
void Container::checkShortWord(std::uint32_t word, std::uint64_t unit) const {
    const Node node{word};
    const std::uint32_t payload = word >> Node::kPayload;
    if (!node.isShort() && (payload != 0 || node.type() == kAttributeTypeNull))
        damaged("an attribute has an impossible head", unit);
    if (!node.isShort()) return;
    if (node.type() == kAttributeTypeNull && payload != 0)
        damaged("a null attribute has values", unit);
    if (node.type() == kAttributeTypeString && payload > kMostShortText)
        damaged("an attribute has an impossible head", unit);
    if (node.isShortNumbers() && word >> kTupleSizeBit == 0)
        damaged("an attribute has an impossible tuple size", unit);
}

/// True if a value must be written in the short form, which equal values have in common.
bool IsShortForm(const FullNode& node, std::uint64_t textBytes) {
    if (!(node.word & kTimesOmitted)) return false;
    if (node.type() != kAttributeTypeString)
        return node.count <= kMostShortNumbers && node.tupleSize <= kMostShortNumbers;
    return node.count == 1 && node.tupleSize == 1 && textBytes <= kMostShortText + 1;
}

void Container::checkFull(const Node* node) {
    const std::uint64_t unit = unitOf(node);
    const std::uint64_t offset = unit * kUnitBytes;
    checkShortWord(node->word, unit);
    if (offset % alignof(FullNode) != 0) damaged("values stand where they cannot be read", unit);
    verifyRange(offset, endOf(unit, offset, 1, sizeof(FullNode)));
    const FullNode& full = *Full(node);
    if (full.refCount.load(std::memory_order_relaxed) != 0)
        damaged("an attribute has an impossible head", unit);
    if (full.tupleSize == 0 || full.tupleSize > INT32_MAX)
        damaged("an attribute has an impossible tuple size", unit);
    // Read once, because they may change.
    const std::uint64_t count = full.count;
    const std::uint32_t timeCount = full.timeCount;
    if (timeCount == 0 || timeCount > INT32_MAX || ((full.word & kTimesOmitted) && timeCount != 1))
        damaged("an attribute has an impossible number of times", unit);
    const std::uint64_t times = offset + sizeof(FullNode);
    const std::uint64_t values =
        full.word & kTimesOmitted ? times : AlignUp(endOf(unit, times, 4, timeCount), 8);
    verifyRange(times, endOf(unit, values, 1, 0));
    if (!(full.word & kTimesOmitted)) checkTimes(full, timeCount);
    if (count > (footer.tableOffset - values) / 4 / timeCount)
        damaged("an attribute leads outside", unit);
    if (node->type() == kAttributeTypeString)
        checkStrings(full, count * timeCount, values);
    else
        verifyRange(values, endOf(unit, values, ElementBytes(node->type()), count * timeCount));
    if (IsShortForm(full, fullView(node).textBytes))
        damaged("a value that would be shorter stands", unit);
}

void Container::checkTimes(const FullNode& node, std::uint32_t timeCount) const {
    const std::uint64_t unit = unitOf(&node);
    const auto* const times = reinterpret_cast<const float*>(&node + 1);
    for (std::uint32_t i = 0; i < timeCount; ++i)
        if (!std::isfinite(times[i]) || (i > 0 && !(times[i - 1] < times[i])))
            damaged("an attribute has times that do not ascend", unit);
    if (timeCount == 1 && times[0] == 0.0f && !std::signbit(times[0]))
        damaged("an attribute states the time that goes without saying", unit);
}

void Container::checkStrings(const FullNode& node, std::uint64_t elements,
                             std::uint64_t valuesOffset) {
    const std::uint64_t unit = unitOf(&node);
    const std::uint64_t bytesOffset = endOf(unit, valuesOffset, 4, elements + 1);
    verifyRange(valuesOffset, bytesOffset);
    const auto* const ends = reinterpret_cast<const std::uint32_t*>(base + valuesOffset);
    const std::uint32_t textBytes = ends[elements];
    verifyRange(bytesOffset, endOf(unit, bytesOffset, 1, textBytes));
    if (ends[0] != 0) damaged("a string attribute has impossible lengths", unit);
    std::uint32_t begin = 0;
    for (std::uint64_t i = 0; i < elements; ++i) {
        const std::uint32_t end = ends[i + 1];
        if (begin >= end || end > textBytes)
            damaged("a string attribute has impossible lengths", unit);
        if (base[bytesOffset + end - 1] != '\0')
            damaged("a string attribute has an unfinished string", unit);
        begin = end;
    }
}

} // namespace OxAttribute
