// Walks two groups together, without a handle for each value.
#include <cstring>
#include <map>
#include <utility>

#include <OxTellarSDK/AttributeDifference.h>

#include "Container.h"
#include "NodeAccess.h"

namespace OxAttribute {

namespace {

using Tell = std::function<void(const std::vector<std::string_view>&)>;

/// Compares two checked values that are no groups.
bool HaveEqualData(const Node* a, const Node* b) {
    if (a->type() != b->type()) return false;
    if (a->type() == kAttributeTypeNull) return true;
    const DataView left = ViewOf(a), right = ViewOf(b);
    if (left.count != right.count || left.timeCount != right.timeCount ||
        left.tupleSize != right.tupleSize || left.textBytes != right.textBytes ||
        !left.times != !right.times)
        return false;
    if (left.times && std::memcmp(left.times, right.times, 4ull * left.timeCount) != 0)
        return false;
    const std::uint64_t elements = left.elements();
    if (left.type != kAttributeTypeString)
        return elements == 0 ||
               std::memcmp(left.values, right.values, elements * ElementBytes(left.type)) == 0;
    // A short string has no ends.
    const bool haveEqualEnds =
        !left.ends || !right.ends || std::memcmp(left.ends, right.ends, 4 * elements) == 0;
    return haveEqualEnds && std::memcmp(left.values, right.values, left.textBytes) == 0;
}

/// Calls itself for groups, which are nested at most kMaxGroupDepth levels deep.
class GroupWalk {
public:
    explicit GroupWalk(const Tell& tell) : tell(tell) {}

    /// Both values have been checked.
    void compare(const Node* a, const Node* b) {
        if (a == b) return;
        if (IsGroup(a) && IsGroup(b))
            compareGroups(a, b);
        else if (IsGroup(a) || IsGroup(b) || !HaveEqualData(a, b))
            tell(names);
    }

private:
    static Hash KeptHash(const Node* node) {
        return Attribute::CreateAndRetain(const_cast<Node*>(node)).getKeptHash();
    }

    void compareGroups(const Node* a, const Node* b) {
        if (haveEqualBytes(a, b)) return;
        const Hash hash = KeptHash(a);
        if (hash != Hash() && hash == KeptHash(b)) return;
        const std::uint64_t count = CountChildren(a);
        bool isEqual = ((a->word ^ b->word) & kGroupInherit) == 0 && count == CountChildren(b);
        for (std::uint64_t i = 0; isEqual && i < count; ++i)
            isEqual = ChildName(a, i) == ChildName(b, i);
        if (!isEqual) return tell(names);
        for (std::uint64_t i = 0; i < count; ++i) {
            names.push_back(ChildName(a, i));
            compare(ChildOf(a, i), ChildOf(b, i));
            names.pop_back();
        }
    }

    /// True for groups in files that have equal shapes and regions, which are then equal. Others
    /// may be equal too.
    bool haveEqualBytes(const Node* a, const Node* b) {
        const Container* const before = Container::Of(a);
        const Container* const after = Container::Of(b);
        const Shape* const shape = before ? before->shapeOf(a) : nullptr;
        const Shape* const other = after ? after->shapeOf(b) : nullptr;
        if (!shape || !other || shape->extentBytes != other->extentBytes) return false;
        const std::uint64_t extent = shape->extentBytes;
        return before->hasInFront(a, extent) && after->hasInFront(b, extent) &&
               std::memcmp(Bytes(a) - extent, Bytes(b) - extent, extent + sizeof(Node)) == 0 &&
               areEqual(*before, *shape, *after, *other);
    }

    /// Whether groups of these shapes are equal when the bytes of their regions are.
    bool areEqual(const Container& before, const Shape& a, const Container& after, const Shape& b) {
        const Pair pair{&a, &b};
        const auto known = comparedShapes.find(pair);
        if (known != comparedShapes.end()) return known->second;
        const bool result = compareShapes(before, a, after, b);
        return comparedShapes[pair] = result;
    }

    bool compareShapes(const Container& before, const Shape& a, const Container& after,
                       const Shape& b) {
        // The values of full ones need not be in the region.
        if (a.hasFullValues || b.hasFullValues || a.count != b.count) return false;
        for (std::uint32_t i = 0; i < a.count; ++i) {
            const Shape::Child& left = a.children[i];
            const Shape::Child& right = b.children[i];
            if (left.word != right.word || left.isShared != right.isShared ||
                left.nameView() != right.nameView())
                return false;
            if (left.isShared) {
                if (!HaveEqualData(before.sharedAt(left), after.sharedAt(right))) return false;
                continue;
            }
            if (left.offset != right.offset) return false;
            const Node head{left.word};
            if (!IsGroup(&head)) continue;
            const Shape* const below = before.shapeOf(&head);
            const Shape* const other = after.shapeOf(&head);
            if (!below || !other || !areEqual(before, *below, after, *other)) return false;
        }
        return true;
    }

    using Pair = std::pair<const Shape*, const Shape*>;

    const Tell& tell;
    std::vector<std::string_view> names; // from the groups down
    std::map<Pair, bool> comparedShapes;
};

} // namespace

void ForEachDifference(const GroupAttribute& before, const GroupAttribute& after,
                       const Tell& tell) {
    if (before.isValid() && after.isValid())
        GroupWalk(tell).compare(before.getHandle(), after.getHandle());
    else if (before.isValid() != after.isValid())
        tell({});
}

} // namespace OxAttribute
