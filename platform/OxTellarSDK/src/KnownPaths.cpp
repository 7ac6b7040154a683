#include "KnownPaths.h"

#include <array>
#include <cstring>

#include "NodeAccess.h"

namespace OxAttribute {

namespace {

constexpr std::size_t kKnownPaths = 128; // a thread
constexpr std::size_t kShortestText = 4;
constexpr std::size_t kLongestText = 20;
constexpr std::uint32_t kLevels = 3;

struct Level {
    std::uint32_t index;
    std::uint32_t nameUnit;
    std::uint32_t nameLength;
};

struct KnownPath {
    std::uint64_t container = 0; // its number; 0 is that of none
    std::uint32_t length = 0;
    char text[kLongestText];
    std::uint32_t levelCount = 0;
    Level levels[kLevels];
};

thread_local KnownPath* threadPaths = nullptr;
thread_local bool threadPathsEnded = false;

struct ThreadPaths {
    std::array<KnownPath, kKnownPaths> paths;
    ~ThreadPaths() {
        threadPaths = nullptr;
        threadPathsEnded = true;
    }
};

bool MakeThreadPaths() {
    if (threadPathsEnded) return false;
    static thread_local ThreadPaths own;
    threadPaths = own.paths.data();
    return true;
}

std::uint32_t WordAt(const char* text) {
    std::uint32_t word;
    std::memcpy(&word, text, sizeof word);
    return word;
}

bool IsKept(std::string_view path) {
    return path.size() >= kShortestText && path.size() <= kLongestText;
}

bool Is(const KnownPath& known, std::uint64_t container, std::string_view path) {
    return known.container == container && known.length == path.size() &&
           IsSameText(known.text, path.data(), path.size());
}

/// The first of the two neighbours that a path may be found in.
std::size_t PlaceOf(std::string_view path) {
    const std::uint32_t ends = WordAt(path.data()) * 0x85ebca6bu ^
                               WordAt(path.data() + path.size() - sizeof(std::uint32_t));
    return (ends * 0x9e3779b1u) >> 25 & ~std::size_t(1);
}
static_assert(kKnownPaths == 1u << (32 - 25), "the shift above");

/// Null when the group does not look like the one before.
const Node* Follow(const KnownPath& known, Container& container, const Node* group) {
    const Node* node = group;
    for (std::uint32_t i = 0; i < known.levelCount; ++i) {
        const Level& level = known.levels[i];
        if (!IsGroup(node) || level.index >= node->count) return nullptr;
        const FileEntry& entry = Entries<FileEntry>(node)[level.index];
        if (entry.nameUnit != level.nameUnit || entry.nameLength != level.nameLength)
            return nullptr;
        node = container.child(node, level.index);
    }
    return node;
}

const Node* Search(Container& container, const Node* group, std::string_view path,
                   KnownPath& found) {
    const Node* node = group;
    std::string_view rest = path;
    for (std::uint32_t level = 0; IsGroup(node); ++level) {
        const std::string_view name = rest.substr(0, rest.find('.'));
        const std::int64_t index = FindChild(node, name);
        if (index < 0) return nullptr;
        const FileEntry& entry = Entries<FileEntry>(node)[index];
        if (level < kLevels)
            found.levels[level] = {static_cast<std::uint32_t>(index), entry.nameUnit,
                                   entry.nameLength};
        found.levelCount = level + 1;
        node = container.child(node, static_cast<std::uint64_t>(index));
        if (name.size() == rest.size()) return node;
        rest.remove_prefix(name.size() + 1);
    }
    return nullptr;
}

/// Keeps `found` in the older of its two places.
void Remember(KnownPath* places, KnownPath& found, std::uint64_t container, std::string_view path) {
    if (found.levelCount > kLevels) return;
    found.container = container;
    found.length = static_cast<std::uint32_t>(path.size());
    std::memcpy(found.text, path.data(), path.size());
    places[1] = places[0];
    places[0] = found;
}

} // namespace

const Node* FindInFile(const Node* group, std::string_view path) {
    Container& container = *Container::Of(group);
    const std::uint64_t number = container.number();
    KnownPath* places = nullptr;
    if (IsKept(path) && (threadPaths || MakeThreadPaths())) {
        places = threadPaths + PlaceOf(path);
        for (int i = 0; i < 2; ++i)
            if (Is(places[i], number, path))
                if (const Node* node = Follow(places[i], container, group)) return node;
    }
    KnownPath found;
    const Node* node = Search(container, group, path, found);
    if (node && places) Remember(places, found, number, path);
    return node;
}

} // namespace OxAttribute
