// Groups of a container, in files whose bytes may change: every number that is read is compared
// with the end of the values.
#include <algorithm>
#include <cstring>

#include "Container.h"
#include "NodeAccess.h"

namespace OxAttribute {

Container::Wide Container::wide(const Node* group) const noexcept {
    const std::uint64_t rest = footer.tableOffset - static_cast<std::uint64_t>(Bytes(group) - base);
    if (group->isShort() || !IsGroup(group) || rest < sizeof(WideGroup)) return {};
    const auto& header = *static_cast<const WideGroup*>(group);
    Wide wide{header.depth(), header.namesUnit, header.count, nullptr, nullptr};
    if (wide.count > (rest - sizeof(WideGroup)) / (sizeof(std::uint32_t) + 1)) return {};
    wide.units = reinterpret_cast<const std::uint32_t*>(&header + 1);
    wide.types = reinterpret_cast<const std::uint8_t*>(wide.units + wide.count);
    return wide;
}

/// None unless the record's numbers lie inside.
NamesRecord Container::names(std::uint32_t unit) const noexcept {
    if (unit >= units()) return {};
    const auto* const words = reinterpret_cast<const std::uint32_t*>(nodeAt(unit));
    const std::uint32_t count = *words;
    if (NamesRecord::Words(count) > units() - unit) return {};
    return {count, words + 1};
}

namespace {

/// A string attribute like this record, of which so many bytes of text are inside of the file.
Attribute CopyNames(const NamesRecord& names, std::uint32_t textBytes) {
    const std::uint64_t endsBytes = sizeof(std::uint32_t) * names.count;
    FullNode* const node =
        AllocateNode(kAttributeTypeString, sizeof(std::uint32_t) + endsBytes + textBytes);
    Attribute copy = Attribute::CreateAndSteal(node);
    node->word |= kTimesOmitted;
    node->count = names.count;
    node->tupleSize = 1;
    node->timeCount = 1;
    auto* const ends = reinterpret_cast<std::uint32_t*>(node + 1);
    char* const text = reinterpret_cast<char*>(ends + names.count + 1);
    ends[0] = 0;
    std::memcpy(ends + 1, names.ends, endsBytes);
    std::memcpy(text, names.text(), textBytes);
    for (std::uint32_t i = 0; i < names.count; ++i) {
        if (ends[i + 1] <= ends[i] || ends[i + 1] > textBytes) return {};
        text[ends[i + 1] - 1] = '\0';
    }
    return ends[names.count] == textBytes ? copy : Attribute();
}

} // namespace

Attribute Container::copyNames(const Node* group) const {
    const Wide parent = wide(group);
    const NamesRecord record = names(parent.namesUnit);
    if (parent.count == 0 || record.count != parent.count) return {};
    const std::uint32_t textBytes = record.ends[record.count - 1];
    const auto rest = static_cast<std::uint64_t>(base + footer.tableOffset - record.text());
    return textBytes <= rest ? CopyNames(record, textBytes) : Attribute();
}

std::string_view Container::nameAt(const NamesRecord& names, std::uint64_t index) const noexcept {
    constexpr const char* kNothing = ""; // a NUL follows every name
    if (index >= names.count) return kNothing;
    const std::uint32_t begin = index > 0 ? names.ends[index - 1] : 0;
    const std::uint32_t end = names.ends[index];
    const char* const text = names.text();
    const auto rest = static_cast<std::uint64_t>(base + footer.tableOffset - text);
    if (begin >= end || end > rest) return kNothing;
    return {text + begin, end - begin - 1};
}

std::uint64_t Container::childCount(const Node* group) const noexcept {
    const Shape* shape = shapeOf(group);
    return shape ? shape->count : wide(group).count;
}

std::uint32_t Container::depthOf(const Node* group) const noexcept {
    const Shape* shape = shapeOf(group);
    return shape ? shape->depth : wide(group).depth;
}

std::string_view Container::childName(const Node* group, std::uint64_t index) const noexcept {
    if (const Shape* shape = shapeOf(group))
        return index < shape->count ? shape->children[index].nameView() : std::string_view("");
    return nameAt(names(wide(group).namesUnit), index);
}

namespace {

bool IsNamed(const Shape::Child& child, std::string_view name) noexcept {
    return child.nameLength == name.size() && IsSameText(child.name, name.data(), name.size());
}

std::int64_t FindInShape(const Shape& shape, std::string_view name) noexcept {
    for (std::uint32_t i = 0; i < shape.count; ++i)
        if (IsNamed(shape.children[i], name)) return i;
    return -1;
}

} // namespace

std::int64_t Container::findChild(const Node* group, std::string_view name) const noexcept {
    if (const Shape* shape = shapeOf(group)) return FindInShape(*shape, name);
    const Wide parent = wide(group);
    return findWide(parent, names(parent.namesUnit), name);
}

std::int64_t Container::findWide(const Wide& parent, const NamesRecord& names,
                                 std::string_view name) const noexcept {
    if (names.count != parent.count) return -1;
    if (parent.count > kLinearSearchLimit) return findSorted(names, name);
    for (std::uint32_t i = 0; i < parent.count; ++i)
        if (nameAt(names, i) == name) return i;
    return -1;
}

const Node* Container::childNamed(const Node* group, std::string_view name, std::uint64_t hint) {
    if (const Shape* shape = shapeOf(group)) {
        const bool isHinted = hint < shape->count && IsNamed(shape->children[hint], name);
        const std::int64_t index =
            isHinted ? static_cast<std::int64_t>(hint) : FindInShape(*shape, name);
        return index < 0 ? nullptr : childAt(*shape, shape->children[index], group);
    }
    const Wide parent = wide(group);
    const NamesRecord record = names(parent.namesUnit);
    const std::string_view hinted = hint < parent.count ? nameAt(record, hint) : "";
    const bool isHinted = !name.empty() && hinted.size() == name.size() &&
                          IsSameText(hinted.data(), name.data(), name.size());
    const std::int64_t index =
        isHinted ? static_cast<std::int64_t>(hint) : findWide(parent, record, name);
    return index < 0 ? nullptr : wideChild(group, parent, static_cast<std::uint64_t>(index));
}

std::int64_t Container::findSorted(const NamesRecord& names, std::string_view name) const noexcept {
    const std::uint32_t hash = HashName(name);
    const std::uint32_t count = names.count;
    const std::uint32_t* const hashes = names.hashes();
    const std::uint32_t* const end = names.sorted() + count;
    const auto hashOf = [&](std::uint32_t index) { return index < count ? hashes[index] : 0; };
    const std::uint32_t* found =
        std::lower_bound(names.sorted(), end, hash, [&](std::uint32_t index, std::uint32_t wanted) {
            return hashOf(index) < wanted;
        });
    for (; found != end && hashOf(*found) == hash; ++found)
        if (nameAt(names, *found) == name) return *found;
    return -1;
}

const Node* Container::wideChild(const Node* group, std::uint64_t index) {
    return wideChild(group, wide(group), index);
}

const Node* Container::wideChild(const Node* group, const Wide& parent, std::uint64_t index) {
    if (index >= parent.count) missing(group);
    const std::uint32_t unit = parent.units[index];
    if (unit >= units()) missing(group);
    const Node* const node = nodeAt(unit);
    if (!checkedUnits.contains(unit)) return checkedWideChild(group, parent, index, unit);
    // A value that was checked as a group of another parent must not be used as a number.
    if (node->type() != parent.types[index]) missing(node);
    // Holds for what was checked. Nobody goes around in bytes that changed later.
    if (IsGroup(node) && (node >= group || depthOf(node) >= parent.depth)) missing(node);
    return node;
}

} // namespace OxAttribute
