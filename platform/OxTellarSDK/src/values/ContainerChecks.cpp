// The checks that a container makes before it gives out a value. They read the file only after
// verifyRange() has compared the bytes with their checksums.
#include "Container.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

namespace OxAttribute {

namespace {

bool IsKnownType(int type) {
    return type >= kAttributeTypeNull && type <= kAttributeTypeGroup;
}

bool IsSorted(const Node* group) {
    return group->count > kLinearSearchLimit;
}

/// Compares places, because equal units of names are equal names.
bool HasSameNameUnits(const Node* group, const Node* other) {
    if (group->count != other->count) return false;
    const FileEntry* entries = Entries<FileEntry>(group);
    const FileEntry* others = Entries<FileEntry>(other);
    for (std::uint64_t i = 0; i < group->count; ++i)
        if (entries[i].nameUnit != others[i].nameUnit ||
            entries[i].nameLength != others[i].nameLength)
            return false;
    return true;
}

bool HaveSameName(const Node* group, std::uint64_t a, std::uint64_t b) {
    const FileEntry* entries = Entries<FileEntry>(group);
    return entries[a].nameLength == entries[b].nameLength &&
           NameOf(group, entries[a]) == NameOf(group, entries[b]);
}

} // namespace

void Container::checkFrame() {
    fetch(0, std::min(bytes, std::uint64_t(sizeof header)));
    if (bytes < sizeof header || std::memcmp(base, kContainerMagic, sizeof kContainerMagic) != 0)
        refuse("is no attribute file");
    std::memcpy(&header, base, sizeof header);
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
        footer.tableOffset % kUnitBytes != 0 || footer.reserved != 0 ||
        footer.rootUnit >= footer.tableOffset / kUnitBytes)
        refuse("is damaged: its parts do not fit together");
    checkTable();
}

void Container::checkTable() {
    const std::uint64_t blocks = (footer.tableOffset + kBlockBytes - 1) / kBlockBytes;
    if (footer.tableOffset + blocks * 8 + sizeof footer != bytes)
        refuse("is damaged: its parts do not fit together");
    fetch(footer.tableOffset, bytes);
    const char* table = base + footer.tableOffset;
    if (XXH3_64bits(table, blocks * 8) != footer.tableChecksum)
        refuse("is damaged: its checksums do not have the checksum that it states");

    const XXH128_hash_t content = XXH3_128bits_withSeed(table, blocks * 8, footer.rootUnit);
    contentIdentity.words[0] = content.high64;
    contentIdentity.words[1] = content.low64;
    verifiedBlocks = std::make_unique<std::atomic<std::uint8_t>[]>(blocks);
    checkedUnits.reset(static_cast<std::atomic<std::uint64_t>*>(
        std::calloc(footer.tableOffset / kUnitBytes / 64 + 1, 8)));
    if (!checkedUnits) throw std::bad_alloc();
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
    if (!isChecked(place.unit)) {
        checkNode(place);
        checkedUnits.get()[place.unit / 64].fetch_or(std::uint64_t(1) << place.unit % 64,
                                                     std::memory_order_release);
    }
    const auto* node = reinterpret_cast<const Node*>(base + place.unit * kUnitBytes);
    // A value that was checked as a group of another parent must not be used as a number.
    if (place.type >= 0 && node->type != place.type)
        damaged("no attribute of the type stated stands", place.unit);
    return node;
}

const Node* Container::checkedChild(const Node* group, std::uint64_t index) {
    const FileEntry* entries = Entries<FileEntry>(group);
    Place place{entries[index].childUnit, entries[index].childType, 0, 0};
    if (place.type == kAttributeTypeGroup && !isChecked(place.unit)) {
        // The child's region begins behind the group before it, or where the parent's begins.
        place.firstUnit = group->firstUnit;
        for (std::uint64_t before = index; before-- > 0;) {
            if (entries[before].childType != kAttributeTypeGroup) continue;
            place.firstUnit = entries[before].childUnit + 1ull;
            break;
        }
        place.maximumDepth = group->depth - 1;
    }
    return checked(place);
}

void Container::checkNode(const Place& place) {
    const std::uint64_t offset = place.unit * kUnitBytes;
    if (offset < sizeof(ContainerHeader) || offset + sizeof(Node) > footer.tableOffset)
        damaged("a reference leads outside", place.unit);
    verifyRange(offset, offset + sizeof(Node));
    const Node* node = reinterpret_cast<const Node*>(base + offset);
    const std::uint8_t allowed = IsGroup(node) ? kInFile | kGroupInherit : kInFile | kTimesOmitted;
    if (node->refCount.load(std::memory_order_relaxed) != 0 || node->unit != place.unit ||
        !IsKnownType(node->type) || (place.type >= 0 && node->type != place.type) ||
        !IsInFile(node) || (node->flags & ~allowed) != 0 || node->reserved != 0)
        damaged("no attribute of the type stated stands", place.unit);
    if (IsGroup(node))
        checkGroup(node, place);
    else
        checkData(node);
}

/// The end of `elements` elements at `offset`. Throws unless it lies inside.
std::uint64_t Container::endOf(const Node* node, std::uint64_t offset, std::uint64_t elementBytes,
                               std::uint64_t elements) const {
    if (offset > footer.tableOffset || elements > (footer.tableOffset - offset) / elementBytes)
        damaged("an attribute leads outside", node->unit);
    return offset + elements * elementBytes;
}

void Container::checkData(const Node* node) {
    const std::uint64_t offset = node->unit * kUnitBytes;
    if (node->depth != 0) damaged("an attribute has an impossible depth", node->unit);
    if (node->type == kAttributeTypeNull) {
        if (node->count != 0 || node->timeCount != 0 || node->tupleSize != 0)
            damaged("a null attribute has values", node->unit);
        return;
    }
    const bool timesOmitted = node->flags & kTimesOmitted;
    if (node->timeCount == 0 || (timesOmitted && node->timeCount != 1))
        damaged("an attribute has an impossible number of times", node->unit);
    if (node->tupleSize == 0 || node->tupleSize > INT32_MAX)
        damaged("an attribute has an impossible tuple size", node->unit);
    if (!timesOmitted) checkTimes(node);

    const std::uint64_t valuesOffset = offset + sizeof(Node) + TimesBytes(node);
    if (node->count > footer.tableOffset / node->timeCount)
        damaged("an attribute leads outside", node->unit);
    const std::uint64_t elements = NumberOfElements(node) + (node->type == kAttributeTypeString);
    verifyRange(offset, endOf(node, valuesOffset, ElementBytes(node->type), elements));
    if (node->type == kAttributeTypeString) checkStrings(node, valuesOffset);
}

void Container::checkTimes(const Node* node) {
    const std::uint64_t offset = node->unit * kUnitBytes;
    verifyRange(offset, endOf(node, offset + sizeof(Node), 4, node->timeCount));
    for (std::uint64_t i = 0; i < node->timeCount; ++i) {
        const float time = TimeAt(node, i);
        if (!std::isfinite(time) || (i > 0 && !(TimeAt(node, i - 1) < time)))
            damaged("an attribute has times that do not ascend", node->unit);
    }
    // The same value in memory omits this time, and equal values must have equal hashes.
    if (node->timeCount == 1 && TimeAt(node, 0) == 0.0f && !std::signbit(TimeAt(node, 0)))
        damaged("an attribute states the time that goes without saying", node->unit);
}

void Container::checkStrings(const Node* node, std::uint64_t valuesOffset) {
    const std::uint64_t strings = NumberOfElements(node);
    const std::uint32_t* ends = Values<std::uint32_t>(node);
    if (ends[0] != 0) damaged("a string attribute has impossible lengths", node->unit);
    for (std::uint64_t i = 0; i < strings; ++i)
        if (ends[i + 1] <= ends[i])
            damaged("a string attribute has impossible lengths", node->unit);
    const std::uint64_t bytesOffset = valuesOffset + 4 * (strings + 1);
    verifyRange(bytesOffset, endOf(node, bytesOffset, 1, ends[strings]));
    const char* characters = StringBytes(node);
    for (std::uint64_t i = 0; i < strings; ++i)
        if (characters[ends[i + 1] - 1] != '\0')
            damaged("a string attribute has an unfinished string", node->unit);
}

void Container::checkGroup(const Node* node, const Place& place) {
    const std::uint64_t offset = node->unit * kUnitBytes;
    if (node->timeCount != 0 || node->depth == 0 || node->depth > place.maximumDepth)
        damaged("a group has an impossible depth", node->unit);
    if (node->firstUnit < place.firstUnit || node->firstUnit > node->unit)
        damaged("a group lies outside of its parent", node->unit);
    if (node->count > UINT32_MAX) damaged("an attribute leads outside", node->unit);
    const std::uint64_t childBytes = sizeof(FileEntry) + (IsSorted(node) ? 4 : 0);
    verifyRange(offset, endOf(node, offset + sizeof(Node), childBytes, node->count));

    const FileEntry* entries = Entries<FileEntry>(node);
    std::uint64_t groupsBegin = node->firstUnit;
    for (std::uint64_t i = 0; i < node->count; ++i) {
        if (!IsKnownType(entries[i].childType) || entries[i].reserved != 0)
            damaged("a group has a child of no known type", node->unit);
        if (entries[i].childUnit >= footer.tableOffset / kUnitBytes)
            damaged("a reference leads outside", entries[i].childUnit);
        if (entries[i].childType != kAttributeTypeGroup) continue;
        if (entries[i].childUnit < groupsBegin || entries[i].childUnit >= node->unit)
            damaged("a group has a child group outside of it", node->unit);
        groupsBegin = entries[i].childUnit + 1ull;
    }
    checkNames(node);
}

/// The place for a group that may have the same names. The last name differs most often between
/// groups of unlike kinds, so it chooses the place.
std::atomic<const Node*>& Container::lookalikeOf(const Node* group) {
    const std::uint64_t count = group->count;
    const std::uint64_t name = count > 0 ? Entries<FileEntry>(group)[count - 1].nameUnit : 0;
    return lookalikes[(name * 31 + count) % lookalikes.size()];
}

void Container::checkNames(const Node* node) {
    if (IsSorted(node)) {
        checkNameTexts(node);
        checkSortedNamesDiffer(node);
        return;
    }
    std::atomic<const Node*>& lookalike = lookalikeOf(node);
    const Node* known = lookalike.load(std::memory_order_acquire);
    if (known && HasSameNameUnits(node, known)) return;
    checkNameTexts(node);
    checkFewNamesDiffer(node);
    lookalike.store(node, std::memory_order_release);
}

void Container::checkNameTexts(const Node* node) {
    const FileEntry* entries = Entries<FileEntry>(node);
    for (std::uint64_t i = 0; i < node->count; ++i) {
        const FileEntry& entry = entries[i];
        const std::uint64_t offset = entry.nameUnit * kUnitBytes;
        verifyRange(offset, endOf(node, offset, 1, entry.nameLength + 1ull));
        // Searches use the hash only in groups that are sorted by it.
        if (base[offset + entry.nameLength] != '\0' ||
            (IsSorted(node) && HashName(NameOf(node, entry)) != entry.nameHash))
            damaged("a group has a name that is not what it states", node->unit);
    }
}

void Container::checkFewNamesDiffer(const Node* node) const {
    for (std::uint64_t i = 0; i < node->count; ++i)
        for (std::uint64_t j = 0; j < i; ++j)
            if (HaveSameName(node, i, j))
                damaged("a group has two children of one name", node->unit);
}

void Container::checkSortedNamesDiffer(const Node* node) const {
    const FileEntry* entries = Entries<FileEntry>(node);
    const std::uint32_t* order = SortedIndices<FileEntry>(node);
    for (std::uint64_t i = 0; i < node->count; ++i) {
        if (order[i] >= node->count) damaged("a group has an impossible order", node->unit);
        if (i == 0) continue;
        const std::uint32_t a = order[i - 1], b = order[i];
        if (entries[a].nameHash > entries[b].nameHash ||
            (entries[a].nameHash == entries[b].nameHash && a >= b))
            damaged("a group has an impossible order", node->unit);
        for (std::uint64_t j = i; j-- > 0 && entries[order[j]].nameHash == entries[b].nameHash;) {
            if (HaveSameName(node, order[j], b))
                damaged("a group has two children of one name", node->unit);
            if (i - j >= kMaximumEqualHashes)
                damaged("a group has too many names of one hash", node->unit);
        }
    }
}

} // namespace OxAttribute
