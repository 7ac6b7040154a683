#include "KnownPaths.h"

#include <array>
#include <cstring>
#include <utility>

#include "NodeAccess.h"
#include "PerThread.h"
#include "Prefetch.h"

// The cache maps a shape of a container and a path to the child, or the value further below, that
// the path leads to. All that is below a group with a shape has a fixed place (see Shape.h), so a
// group of a known shape is answered without looking at what is on the way.
//
// The cache belongs to one thread, has kRoutes entries in pairs, and is deleted when the thread
// ends. Entries of closed files are never hit, because container numbers are not used again.

namespace OxAttribute {

namespace {

constexpr std::size_t kRoutes = 1024;
constexpr std::size_t kShortestPath = 4;
constexpr std::size_t kLongestPath = 16;

// In bytes, between one group and the next. A larger step is a jump, and not part of a walk.
constexpr std::uintptr_t kLongestStep = 16384;

bool IsCached(std::string_view path) {
    return path.size() >= kShortestPath && path.size() <= kLongestPath;
}

template <typename Word>
Word Read(const void* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// A path below a shape. `head` and `tail` are the path's first and last 8 bytes, or 4 if it is
/// shorter than 8. Together with its length they are all of the path.
struct Key {
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    std::uint64_t shapeAndLength = 0; // 0 in an unused entry

    Key() = default;
    Key(const Container& container, const Shape& shape, std::string_view path)
        : shapeAndLength(container.number() << 32 | std::uint64_t(shape.number) << 8 |
                         path.size()) {
        const char* end = path.data() + path.size();
        const bool isLong = path.size() >= sizeof head;
        head = isLong ? Read<std::uint64_t>(path.data()) : Read<std::uint32_t>(path.data());
        tail = isLong ? Read<std::uint64_t>(end - 8) : Read<std::uint32_t>(end - 4);
    }

    bool operator==(const Key& other) const {
        return head == other.head && tail == other.tail && shapeAndLength == other.shapeAndLength;
    }

    /// The first of the two entries that the path may be in.
    std::size_t firstEntry() const {
        const std::uint64_t mixed = head * 0x9e3779b97f4a7c15u ^ tail * 0xc2b2ae3d27d4eb4fu ^
                                    shapeAndLength * 0xd6e8feb86659fd93u;
        return mixed >> (64 - 10) & ~std::size_t(1);
    }
};
static_assert(kRoutes == 1u << 10, "the shift above");

struct Route {
    Key key;
    Shape::Child end;             // where the path leads to, seen from the group
    std::uintptr_t lastGroup = 0; // address of the group from which it was followed last
};

using Routes = std::array<Route, kRoutes>;

/// A reader that goes from group to group probably continues with the same step. The value that it
/// would then read next is prefetched.
const Node* Follow(Route& route, Container& container, const Shape& shape, const Node* group) {
    const auto here = reinterpret_cast<std::uintptr_t>(group);
    const std::uintptr_t step = here - std::exchange(route.lastGroup, here);
    const Node* const node = container.childAt(shape, route.end, group);
    const bool isWalk = step + kLongestStep < 2 * kLongestStep;
    if (isWalk && !route.end.isShared) Prefetch(reinterpret_cast<std::uintptr_t>(node) + step);
    return node;
}

void Remember(const Key& key, const Shape::Child& end) {
    Routes* own = PerThread<Routes>::Get();
    if (!own) return;
    Route* pair = own->data() + key.firstEntry();
    if (!(pair[0].key == key)) pair[1] = pair[0];
    pair[0] = {key, end, 0};
}

/// FindInFile by the names in the groups. Not inline, so that a hit in the cache does not set
/// up the larger stack frame.
[[gnu::noinline]] const Node* Search(Container& container, const Node* group,
                                     std::string_view path) {
    const Shape* const start = container.shapeOf(group);
    bool isKept = start && IsCached(path);
    const Node* node = group;
    Shape::Child end{};
    std::uint64_t toGroup = 0; // bytes from `node` to `group`, if it is below a shape
    std::string_view rest = path;
    while (IsGroup(node)) {
        const std::string_view name = rest.substr(0, rest.find('.'));
        const std::int64_t index = container.findChild(node, name);
        if (index < 0) return nullptr;
        const Shape* const shape = container.shapeOf(node);
        isKept = isKept && shape && static_cast<std::uint32_t>(index) < shape->count;
        if (isKept) {
            end = shape->children[index];
            if (!end.isShared) end.offset = toGroup += end.offset;
        }
        node = container.child(node, static_cast<std::uint64_t>(index));
        if (name.size() == rest.size()) {
            if (isKept) Remember(Key(container, *start, path), end);
            return node;
        }
        rest.remove_prefix(name.size() + 1);
    }
    return nullptr;
}

} // namespace

const Node* FindInFile(Container& container, const Node* group, std::string_view path) {
    Routes* const own = IsCached(path) ? PerThread<Routes>::Find() : nullptr;
    const Shape* const shape = own ? container.shapeOf(group) : nullptr;
    if (!shape) return Search(container, group, path);
    const Key key(container, *shape, path);
    Route* pair = own->data() + key.firstEntry();
    for (Route* route = pair; route < pair + 2; ++route)
        if (route->key == key) return Follow(*route, container, *shape, group);
    return Search(container, group, path);
}

} // namespace OxAttribute
