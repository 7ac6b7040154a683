// The checks of groups, their names and their shapes. They read the file only after verifyRange()
// has compared the bytes with their checksums.
#include <algorithm>
#include <memory>

#include "Container.h"

namespace OxAttribute {

namespace {

/// The bytes of a short value that is no group.
std::uint64_t ShortBytes(std::uint32_t word) {
    const Node node{word};
    if (node.isShortNumbers()) return sizeof(Node) + node.shortCount() * ElementBytes(node.type());
    return sizeof(Node) + (node.type() == kAttributeTypeString ? ShortTextLength(word) + 1 : 0);
}

} // namespace

void Container::checkWide(const Node* node, const Place& place) {
    const std::uint64_t offset = place.unit * kUnitBytes;
    verifyRange(offset, endOf(place.unit, offset, 1, sizeof(WideGroup)));
    const auto& group = *static_cast<const WideGroup*>(node);
    if (group.word >> Node::kPayload != group.depth() || group.depth() == 0 ||
        group.depth() > place.maximumDepth)
        damaged("a group has an impossible depth", place.unit);
    if (group.extent > place.unit || place.unit - group.extent < place.firstUnit)
        damaged("a group lies outside of its parent", place.unit);
    verifyRange(offset, endOf(place.unit, offset + sizeof(WideGroup), 5, group.count));
    checkedNames(group.namesUnit, group.count, place.unit);

    const Wide parent = wide(node);
    std::uint64_t groupsBegin = place.unit - group.extent;
    for (std::uint32_t i = 0; i < parent.count; ++i) {
        if (parent.types[i] > kAttributeTypeGroup)
            damaged("a group has a child of no known type", place.unit);
        if (parent.units[i] >= units()) damaged("a reference leads outside", parent.units[i]);
        if (parent.types[i] != kAttributeTypeGroup) continue;
        if (parent.units[i] < groupsBegin || parent.units[i] >= place.unit)
            damaged("a group has a child group outside of it", place.unit);
        groupsBegin = parent.units[i] + 1ull;
    }
}

const Node* Container::checkedWideChild(const Node* group, const Wide& parent, std::uint64_t index,
                                        std::uint32_t unit) {
    Place place{unit, parent.types[index], 0, 0};
    if (place.type == kAttributeTypeGroup) {
        // The child's region begins behind the group before it, or where the parent's begins.
        place.firstUnit = unitOf(group) - static_cast<const WideGroup*>(group)->extent;
        for (std::uint64_t before = index; before-- > 0;) {
            if (parent.types[before] != kAttributeTypeGroup) continue;
            place.firstUnit = parent.units[before] + 1ull;
            break;
        }
        place.maximumDepth = parent.depth - 1;
    }
    return checked(place);
}

void Container::checkShaped(const Node* node, const Place& place) {
    const std::uint32_t number = node->word >> Node::kPayload;
    if (number >= footer.shapeCount) missing(node);
    const Shape& shape = checkedShape(number, place.maximumDepth);
    const std::uint64_t offset = place.unit * kUnitBytes;
    if (shape.extentBytes > offset || (offset - shape.extentBytes) / kUnitBytes < place.firstUnit)
        damaged("a group lies outside of its parent", place.unit);
    if (shape.alignment.isKnown && offset % 8 != shape.alignment.remainder)
        damaged("values stand where they cannot be read", place.unit);
    verifyRange(offset - shape.extentBytes, offset + sizeof(Node));
}

const Shape& Container::checkedShape(std::uint32_t number, std::uint32_t maximumDepth) {
    const Shape* shape = shapes[number].load(std::memory_order_acquire);
    if (!shape) {
        std::unique_ptr<Shape> made = readShape(number, maximumDepth);
        if (shapes[number].compare_exchange_strong(shape, made.get(), std::memory_order_acq_rel))
            shape = made.release();
    }
    if (shape->depth > maximumDepth)
        damaged("a group has an impossible depth", footer.shapesUnit + number);
    return *shape;
}

/// Calls itself for the shapes of child groups, whose depths are less.
std::unique_ptr<Shape> Container::readShape(std::uint32_t number, std::uint32_t maximumDepth) {
    const std::uint64_t place = footer.shapesUnit + number;
    verifyRange(place * kUnitBytes, (place + 1) * kUnitBytes);
    const std::uint32_t unit = nodeAt(place)->word;
    const std::uint64_t offset = unit * kUnitBytes;
    verifyRange(offset, endOf(place, offset, 1, sizeof(ShapeRecord)));
    const ShapeRecord record = *reinterpret_cast<const ShapeRecord*>(base + offset);
    if (record.depth == 0 || record.depth > maximumDepth)
        damaged("a group has an impossible depth", unit);
    if (record.count > kMostShapeChildren || record.extent > kMostShapeExtent)
        damaged("a shape is too large", unit);
    const std::uint64_t entriesOffset = offset + sizeof(ShapeRecord);
    verifyRange(offset, endOf(unit, entriesOffset, sizeof(ShapeEntry), record.count));
    const NamesRecord names = checkedNames(record.namesUnit, record.count, unit);

    auto shape = std::make_unique<Shape>();
    shape->number = number;
    shape->count = record.count;
    shape->depth = record.depth;
    shape->extentBytes = record.extent * kUnitBytes;
    shape->children = std::make_unique<Shape::Child[]>(record.count);
    const auto* const entries = reinterpret_cast<const ShapeEntry*>(base + entriesOffset);
    std::uint64_t groupsBegin = 0; // bytes from the start of the region
    for (std::uint32_t i = 0; i < record.count; ++i) {
        Shape::Child& child = shape->children[i];
        const ShapeEntry entry = entries[i];
        const std::string_view name = nameAt(names, i);
        child.name = name.data();
        child.nameLength = static_cast<std::uint32_t>(name.size());
        child.word = entry.word & ~kSharedChild;
        child.isShared = (entry.word & kSharedChild) != 0;
        child.offset = entry.place * kUnitBytes;
        if (!HasKnownFlags(child.word)) damaged("a shape has a child of no known type", unit);
        if (Node{child.word}.type() == kAttributeTypeGroup)
            groupsBegin = checkShapeGroup(*shape, child, number, groupsBegin);
        else if (child.isShared)
            checkSharedChild(child);
        else
            checkShapeValue(*shape, child, unit);
    }
    return shape;
}

/// Returns where the region of the next child group may begin.
std::uint64_t Container::checkShapeGroup(Shape& shape, Shape::Child& child, std::uint32_t number,
                                         std::uint64_t groupsBegin) {
    const std::uint64_t place = footer.shapesUnit + number;
    const std::uint32_t childNumber = child.word >> Node::kPayload;
    if (child.isShared || !Node{child.word}.isShort() || childNumber >= number)
        damaged("a shape has a child of no known type", place);
    const Shape& below = checkedShape(childNumber, shape.depth - 1);
    if (child.offset == 0 || child.offset + below.extentBytes + groupsBegin > shape.extentBytes)
        damaged("a group has a child group outside of it", place);
    shape.hasFullValues = shape.hasFullValues || below.hasFullValues;
    if (below.alignment.isKnown) align(shape, below.alignment.remainder + child.offset, place);
    child.check = Shape::Check::Word;
    return shape.extentBytes - child.offset + kUnitBytes;
}

void Container::checkSharedChild(Shape::Child& child) {
    const Node node{child.word};
    const std::uint64_t unit = child.offset / kUnitBytes;
    if (unit >= units()) damaged("a reference leads outside", unit);
    const Node* const shared = checked({unit, node.type(), 0, 0});
    if (shared->word != node.word) missing(shared);
    child.check = Shape::Check::Word;
}

void Container::checkShapeValue(Shape& shape, Shape::Child& child, std::uint64_t unit) {
    const Node node{child.word};
    const std::uint64_t bytes = node.isShort() ? ShortBytes(child.word) : sizeof(FullNode);
    if (child.offset < bytes || child.offset > shape.extentBytes)
        damaged("an attribute leads outside", unit);
    checkShortWord(child.word, unit);
    if (!node.isShort()) {
        align(shape, child.offset, unit);
        child.check = Shape::Check::Full;
        shape.hasFullValues = true;
        return;
    }
    if (node.type() == kAttributeTypeDouble) align(shape, child.offset + sizeof(Node), unit);
    child.check = node.type() == kAttributeTypeString ? Shape::Check::Text : Shape::Check::Word;
}

/// Takes note that groups of the shape stand at this remainder of 8 bytes.
void Container::align(Shape& shape, std::uint64_t remainder, std::uint64_t unit) const {
    remainder %= 8;
    if (shape.alignment.isKnown && shape.alignment.remainder != remainder)
        damaged("values stand where they cannot be read", unit);
    shape.alignment = {true, static_cast<std::uint8_t>(remainder)};
}

void Container::checkMore(const Shape::Child& entry, const Node* node) {
    if (entry.check == Shape::Check::Full)
        checked({unitOf(node), node->type(), 0, 0});
    else if (Bytes(node)[ShortBytes(entry.word) - 1] != '\0')
        damaged("a string attribute has an unfinished string", unitOf(node));
}

NamesRecord Container::checkedNames(std::uint32_t unit, std::uint64_t count, std::uint64_t user) {
    const std::uint64_t offset = unit * kUnitBytes;
    verifyRange(offset, endOf(user, offset, 4, 1));
    const auto* const words = reinterpret_cast<const std::uint32_t*>(base + offset);
    const NamesRecord names{*words, words + 1};
    if (names.count != count) damaged("a group has more or fewer names than children", user);
    std::atomic<std::uint32_t>& known = knownNames[unit % knownNames.size()];
    if (known.load(std::memory_order_acquire) == unit) return names;
    const std::uint64_t textOffset = endOf(user, offset, 4, NamesRecord::Words(count));
    verifyRange(offset, textOffset);
    if (count > 0) verifyRange(textOffset, endOf(user, textOffset, 1, names.ends[count - 1]));
    checkNameTexts(names, user);
    if (count > kLinearSearchLimit)
        checkSortedNamesDiffer(names, user);
    else
        checkFewNamesDiffer(names, user);
    known.store(unit, std::memory_order_release);
    return names;
}

void Container::checkNameTexts(const NamesRecord& names, std::uint64_t user) {
    const bool isSorted = names.count > kLinearSearchLimit;
    const std::uint32_t end = names.count > 0 ? names.ends[names.count - 1] : 0;
    std::uint32_t begin = 0;
    for (std::uint32_t i = 0; i < names.count; ++i) {
        const std::uint32_t next = names.ends[i];
        if (next <= begin || next > end || next - begin > kMostNameBytes + 1 ||
            names.text()[next - 1] != '\0' ||
            (isSorted && HashName({names.text() + begin, next - begin - 1}) != names.hashes()[i]))
            damaged("a group has a name that is not what it states", user);
        begin = next;
    }
}

void Container::checkFewNamesDiffer(const NamesRecord& names, std::uint64_t user) const {
    for (std::uint32_t i = 0; i < names.count; ++i)
        for (std::uint32_t j = 0; j < i; ++j)
            if (nameAt(names, i) == nameAt(names, j))
                damaged("a group has two children of one name", user);
}

void Container::checkSortedNamesDiffer(const NamesRecord& names, std::uint64_t user) const {
    const std::uint32_t* const hashes = names.hashes();
    const auto at = [&](std::uint32_t place) {
        const std::uint32_t index = names.sorted()[place];
        if (index >= names.count) damaged("a group has an impossible order", user);
        return index;
    };
    for (std::uint32_t i = 0; i < names.count; ++i) {
        const std::uint32_t b = at(i);
        if (i == 0) continue;
        const std::uint32_t a = at(i - 1);
        if (hashes[a] > hashes[b] || (hashes[a] == hashes[b] && a >= b))
            damaged("a group has an impossible order", user);
        for (std::uint32_t j = i; j-- > 0 && hashes[at(j)] == hashes[b];) {
            if (nameAt(names, at(j)) == nameAt(names, b))
                damaged("a group has two children of one name", user);
            if (i - j >= kMaximumEqualHashes)
                damaged("a group has too many names of one hash", user);
        }
    }
}

} // namespace OxAttribute
