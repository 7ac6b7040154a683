#include <OxTellarSDK/Attribute.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <unordered_map>

#include <boost/container/small_vector.hpp>

#include <OxTellarSDK/TellarError.h>

#include "GroupChildren.h"
#include "KnownPaths.h"
#include "NodeAccess.h"

namespace OxAttribute {

namespace {

bool IsNamed(const Node* group, const MemoryEntry& entry, std::string_view name) {
    return entry.nameLength == name.size() &&
           IsSameText(NameOf(group, entry).data(), name.data(), name.size());
}

std::int64_t FindByHash(const Node* group, std::string_view name) {
    const MemoryEntry* entries = Entries(group);
    const std::uint32_t hash = HashName(name);
    const std::uint32_t* sorted = SortedIndices(group);
    const std::uint32_t* end = sorted + Full(group)->count;
    const std::uint32_t* found =
        std::lower_bound(sorted, end, hash, [entries](std::uint32_t index, std::uint32_t wanted) {
            return entries[index].nameHash < wanted;
        });
    for (; found != end && entries[*found].nameHash == hash; ++found)
        if (IsNamed(group, entries[*found], name)) return *found;
    return -1;
}

struct GroupSize {
    int depth = 1;
    std::uint64_t nameBytes = 0;
};

/// Throws std::runtime_error unless the children fit in a group.
GroupSize Measure(const NamedChild* children, std::uint64_t count) {
    if (count > UINT32_MAX)
        throw TellarError(kOxErrorValue, "A group cannot have that many children");
    GroupSize size;
    for (std::uint64_t i = 0; i < count; ++i) {
        const NamedChild& child = children[i];
        size.nameBytes += child.name.size() + 1;
        if (child.name.size() > UINT32_MAX)
            throw TellarError(kOxErrorValue, "A group cannot have a name of that length");
        size.depth = std::max(size.depth, static_cast<int>(DepthOf(child.child)) + 1);
    }
    if (size.depth > kMaxGroupDepth)
        throw TellarError(kOxErrorValue, "Groups cannot be nested deeper than " +
                                             std::to_string(kMaxGroupDepth) + " levels");
    return size;
}

} // namespace

std::int64_t FindInMemory(const Node* group, std::string_view name) noexcept {
    const std::uint64_t count = Full(group)->count;
    if (count > kLinearSearchLimit) return FindByHash(group, name);
    const MemoryEntry* entries = Entries(group);
    for (std::uint64_t i = 0; i < count; ++i)
        if (IsNamed(group, entries[i], name)) return static_cast<std::int64_t>(i);
    return -1;
}

namespace {

constexpr std::uint64_t kProductBytes = 16 * sizeof(double);

/// Where the product stands in a group with these children: behind the last name.
std::uint64_t ProductOffset(const FullNode* group) {
    const MemoryEntry& last = Entries(group)[group->count - 1];
    return AlignUp(last.nameOffset + last.nameLength + 1, alignof(double));
}

} // namespace

LeadingProduct ProductOf(const Node* group) noexcept {
    if (Container::Of(group) || Full(group)->timeCount == 0) return {};
    return {reinterpret_cast<const double*>(Bytes(group) + ProductOffset(Full(group))),
            Full(group)->timeCount};
}

Attribute MakeGroup(const NamedChild* children, std::uint64_t count, bool inherit,
                    const LeadingProduct& product) {
    const auto [depth, nameBytes] = Measure(children, count);
    const std::uint64_t sortedBytes = count > kLinearSearchLimit ? 4 * count : 0;
    const std::uint64_t namesOffset = sizeof(FullNode) + count * sizeof(MemoryEntry) + sortedBytes;
    const std::uint64_t productBytes = product.children > 0 ? alignof(double) + kProductBytes : 0;
    FullNode* node = AllocateNode(kAttributeTypeGroup,
                                  namesOffset - sizeof(FullNode) + nameBytes + productBytes);
    if (inherit) node->word |= kGroupInherit;
    node->depth = static_cast<std::uint32_t>(depth);
    node->count = count;
    auto* entries = const_cast<MemoryEntry*>(Entries(node));
    std::uint64_t nameOffset = namesOffset;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::string_view name = children[i].name;
        char* nameStart = reinterpret_cast<char*>(node) + nameOffset;
        if (!name.empty()) std::memcpy(nameStart, name.data(), name.size());
        nameStart[name.size()] = '\0';
        entries[i] = {sortedBytes > 0 ? HashName(name) : 0, static_cast<std::uint32_t>(name.size()),
                      nameOffset, children[i].child};
        Retain(children[i].child);
        nameOffset += name.size() + 1;
    }
    if (sortedBytes > 0) {
        auto* sorted = const_cast<std::uint32_t*>(SortedIndices(node));
        SortByNameHash(sorted, count, [entries](std::uint32_t i) { return entries[i].nameHash; });
    }
    if (product.children > 0) {
        node->timeCount = product.children;
        std::memcpy(reinterpret_cast<char*>(node) + ProductOffset(node), product.matrix,
                    kProductBytes);
    }
    return Attribute::CreateAndSteal(node);
}

GroupAttribute::GroupAttribute(bool groupInherit)
    : GroupAttribute(MakeGroup(nullptr, 0, groupInherit)) {}

namespace {

using KeptChildren = boost::container::small_vector<NamedChild, kLinearSearchLimit>;

/// Keeps each valid child, and the last one of each name in the place of the first.
void KeepFew(const std::vector<GroupAttribute::Child>& children, KeptChildren& kept) {
    for (const auto& [name, attribute] : children) {
        if (!attribute.isValid()) continue;
        const auto known = std::find_if(
            kept.begin(), kept.end(), [&name = name](const auto& one) { return one.name == name; });
        if (known == kept.end())
            kept.push_back({name, attribute.getHandle()});
        else
            known->child = attribute.getHandle();
    }
}

/// The same with an index, whose memory few children are not worth.
void KeepMany(const std::vector<GroupAttribute::Child>& children, KeptChildren& kept) {
    kept.reserve(children.size());
    std::unordered_map<std::string_view, std::size_t> places;
    for (const auto& [name, attribute] : children) {
        if (!attribute.isValid()) continue;
        const auto [place, isNew] = places.try_emplace(name, kept.size());
        if (isNew)
            kept.push_back({name, attribute.getHandle()});
        else
            kept[place->second].child = attribute.getHandle();
    }
}

} // namespace

GroupAttribute::GroupAttribute(const std::vector<Child>& children, bool groupInherit) {
    KeptChildren kept;
    if (children.size() <= kLinearSearchLimit)
        KeepFew(children, kept);
    else
        KeepMany(children, kept);
    Attribute::operator=(MakeGroup(kept.data(), kept.size(), groupInherit));
}

std::int64_t GroupAttribute::getNumberOfChildren() const noexcept {
    return handle ? static_cast<std::int64_t>(CountChildren(handle)) : 0;
}

namespace {

// Readers go through groups of a scene by index, so each of these looks once where the group lies.

/// Empty when the index is out of range.
std::string_view NameAt(const Node* group, std::uint64_t index) noexcept {
    if (const Container* container = Container::Of(group))
        return container->childName(group, index);
    return index < Full(group)->count ? NameOf(group, Entries(group)[index]) : std::string_view();
}

/// Null when the index is out of range.
Node* ChildAt(const Node* group, std::uint64_t index) {
    Container* const container = Container::Of(group);
    if (!container) return index < Full(group)->count ? Entries(group)[index].child : nullptr;
    const Shape* const shape = container->shapeOf(group);
    if (index >= (shape ? shape->count : container->childCount(group))) return nullptr;
    return const_cast<Node*>(shape ? container->childAt(*shape, shape->children[index], group)
                                   : container->child(group, index));
}

/// The answer about a child that a group does not have. Throws if that may be so only because bytes
/// of its file were lost.
Attribute Absent(const Node* group) {
    if (const Container* container = Container::Of(group)) container->demandPresent();
    return {};
}

} // namespace

std::string GroupAttribute::getChildName(std::int64_t index) const {
    return std::string(getChildNameView(index));
}

std::string_view GroupAttribute::getChildNameView(std::int64_t index) const noexcept {
    if (!handle || index < 0) return {};
    return NameAt(handle, static_cast<std::uint64_t>(index));
}

StringAttribute GroupAttribute::getChildNames() const {
    const auto count = static_cast<std::size_t>(getNumberOfChildren());
    if (count == 0) return {};
    if (const Container* const container = Container::Of(handle))
        if (Attribute names = container->copyNames(handle); names.isValid())
            return StringAttribute(std::move(names));
    std::vector<std::string_view> names;
    names.reserve(count);
    for (std::size_t index = 0; index < count; ++index)
        names.push_back(NameAt(handle, index));
    return StringAttribute(names.data(), static_cast<std::int64_t>(count), 1);
}

Attribute GroupAttribute::getChildByIndex(std::int64_t index) const {
    if (!handle || index < 0) return {};
    Node* const child = ChildAt(handle, static_cast<std::uint64_t>(index));
    if (!child) return Absent(handle);
    Retain(child);
    return CreateAndSteal(child);
}

namespace {

/// The value at a dotted path below a group, without a reference; null if there is none.
const Node* FindAt(const Node* node, std::string_view path) {
    while (IsGroup(node)) {
        if (Container* container = Container::Of(node)) return FindInFile(*container, node, path);
        const std::size_t dot = path.find('.');
        const std::int64_t index = FindInMemory(node, path.substr(0, dot));
        if (index < 0) return nullptr;
        node = Entries(node)[index].child;
        if (dot == std::string_view::npos) return node;
        path.remove_prefix(dot + 1);
    }
    return nullptr;
}

} // namespace

Attribute GroupAttribute::getChildByName(std::string_view path) const {
    if (!handle) return {};
    // The most frequent case, which finds the file once: the child lies in it too.
    Container* const container = IsGroup(handle) ? Container::Of(handle) : nullptr;
    auto* const node =
        const_cast<Node*>(container ? FindInFile(*container, handle, path) : FindAt(handle, path));
    if (!node) return Absent(handle);
    if (container)
        container->retain();
    else
        Retain(node);
    return CreateAndSteal(node);
}

std::string_view GroupAttribute::getTextView(std::string_view path) const {
    if (!handle) return {};
    const Node* const node = FindAt(handle, path);
    if (node) return TextAt(node, 0);
    Absent(handle);
    return {};
}

Attribute GroupAttribute::getChild(std::string_view name, std::int64_t hint) const {
    if (!handle) return {};
    const auto first = static_cast<std::uint64_t>(hint); // beyond all children without a hint
    if (Container* const container = Container::Of(handle)) {
        const Node* const child = container->childNamed(handle, name, first);
        if (!child) return {};
        container->retain(); // the child lies in the same file
        return CreateAndSteal(const_cast<Node*>(child));
    }
    const MemoryEntry* const entries = Entries(handle);
    const bool isHinted = first < Full(handle)->count && IsNamed(handle, entries[first], name);
    const std::int64_t index = isHinted ? hint : FindInMemory(handle, name);
    return index < 0 ? Attribute() : CreateAndRetain(entries[index].child);
}

std::int64_t GroupAttribute::findChild(std::string_view name) const noexcept {
    return handle ? FindChild(handle, name) : -1;
}

std::int64_t GroupAttribute::findChild(std::string_view name, std::int64_t hint) const noexcept {
    // An empty name could also be no name at all.
    const bool isHinted = handle && hint >= 0 && !name.empty();
    if (isHinted && NameAt(handle, static_cast<std::uint64_t>(hint)) == name) return hint;
    return findChild(name);
}

bool GroupAttribute::getGroupInherit() const noexcept {
    return !handle || (handle->word & kGroupInherit) != 0;
}

} // namespace OxAttribute
