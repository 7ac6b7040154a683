#include "KnownPaths.h"

#include <array>
#include <cstring>
#include <utility>

#include "Container.h"
#include "NodeAccess.h"
#include "PerThread.h"
#include "Prefetch.h"

// The cache maps a container and a path to a Route: the index and the name of the child at every
// level where the path was found last. A group that looks like the last one is then answered by two
// comparisons a level. Names are written once into a file and shared, so equal units are equal
// names. A route that does not fit costs a search and is replaced.
//
// The cache belongs to one thread, has kRoutes entries in pairs, and is deleted when the thread
// ends. Entries of closed files are never hit, because container numbers are not used again.

namespace OxAttribute {

namespace {

constexpr std::size_t kRoutes = 128;
constexpr std::size_t kShortestPath = 4;
constexpr std::size_t kLongestPath = 16;
constexpr std::uint32_t kLevels = 3;

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

/// A path in a container. `head` and `tail` are the path's first and last 8 bytes, or 4 if it is
/// shorter than 8. Together with its length they are all of the path.
struct Key {
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    std::uint64_t containerAndLength = 0; // 0 in an unused entry

    Key() = default;
    Key(std::uint64_t containerNumber, std::string_view path)
        : containerAndLength(containerNumber << 8 | path.size()) {
        const char* end = path.data() + path.size();
        const bool isLong = path.size() >= sizeof head;
        head = isLong ? Read<std::uint64_t>(path.data()) : Read<std::uint32_t>(path.data());
        tail = isLong ? Read<std::uint64_t>(end - 8) : Read<std::uint32_t>(end - 4);
    }

    bool operator==(const Key& other) const {
        return head == other.head && tail == other.tail &&
               containerAndLength == other.containerAndLength;
    }

    /// The first of the two entries that the path may be in.
    std::size_t firstEntry() const {
        return (head * 0x9e3779b97f4a7c15u ^ tail * 0xc2b2ae3d27d4eb4fu) >> (64 - 7) &
               ~std::size_t(1);
    }
};
static_assert(kRoutes == 1u << 7, "the shift above");

/// The child that a route takes in one group.
struct Step {
    std::uint64_t nameHashAndUnit; // the first two members of its entry
    std::uint32_t index;
    std::uint32_t nameLength;

    Step() = default;
    Step(const FileEntry& entry, std::uint64_t index)
        : nameHashAndUnit(Read<std::uint64_t>(&entry)), index(static_cast<std::uint32_t>(index)),
          nameLength(entry.nameLength) {}

    bool hasNameOf(const FileEntry& entry) const {
        return nameHashAndUnit == Read<std::uint64_t>(&entry) && nameLength == entry.nameLength;
    }
};
static_assert(offsetof(FileEntry, nameHash) == 0 && offsetof(FileEntry, nameUnit) == 4,
              "read as one word");

struct Route {
    Key key;
    std::uint64_t stepCount = 0;
    std::array<Step, kLevels> steps;
    std::uintptr_t lastGroup = 0; // address of the group from which it was followed last
};

using Routes = std::array<Route, kRoutes>;

/// Null when the group does not look like the last one, or a value on the way is not checked yet.
///
/// A reader that goes from group to group probably continues with the same step. The values that it
/// would then read next are prefetched.
const Node* Follow(Route& route, const Container& container, const Node* group) {
    const auto here = reinterpret_cast<std::uintptr_t>(group);
    const std::uintptr_t step = here - std::exchange(route.lastGroup, here);
    const bool isWalk = step + kLongestStep < 2 * kLongestStep;
    const Node* node = group;
    for (std::uint64_t i = 0; i < route.stepCount; ++i) {
        const Step& taken = route.steps[i];
        if (!IsGroup(node) || taken.index >= node->count) return nullptr;
        const FileEntry& entry = Entries<FileEntry>(node)[taken.index];
        if (!taken.hasNameOf(entry)) return nullptr;
        node = container.checkedAlready(entry);
        if (!node) return nullptr;
        if (isWalk) Prefetch(reinterpret_cast<std::uintptr_t>(node) + step);
    }
    return node;
}

void Remember(const Route& found) {
    Routes* own = PerThread<Routes>::Get();
    if (!own) return;
    Route* pair = own->data() + found.key.firstEntry();
    if (!(pair[0].key == found.key)) pair[1] = pair[0];
    pair[0] = found;
}

/// FindInFile by the names in the groups. Not inline, so that a hit in the cache does not set
/// up the larger stack frame.
[[gnu::noinline]] const Node* Search(const Node* group, std::string_view path) {
    Container& container = *Container::Of(group);
    std::array<Step, kLevels> steps;
    std::uint64_t stepCount = 0;
    const Node* node = group;
    std::string_view rest = path;
    while (IsGroup(node)) {
        const std::string_view name = rest.substr(0, rest.find('.'));
        const std::int64_t index = FindChild(node, name);
        if (index < 0) return nullptr;
        const auto at = static_cast<std::uint64_t>(index);
        if (stepCount < kLevels) steps[stepCount] = Step(Entries<FileEntry>(node)[index], at);
        ++stepCount;
        node = container.child(node, at);
        if (name.size() == rest.size()) {
            if (stepCount <= kLevels && IsCached(path))
                Remember({Key(container.number(), path), stepCount, steps});
            return node;
        }
        rest.remove_prefix(name.size() + 1);
    }
    return nullptr;
}

} // namespace

const Node* FindInFile(const Node* group, std::string_view path) {
    if (Routes* own = IsCached(path) ? PerThread<Routes>::Find() : nullptr) {
        const Container& container = *Container::Of(group);
        const Key key(container.number(), path);
        Route* pair = own->data() + key.firstEntry();
        for (Route* route = pair; route < pair + 2; ++route)
            if (route->key == key)
                if (const Node* node = Follow(*route, container, group)) return node;
    }
    return Search(group, path);
}

} // namespace OxAttribute
