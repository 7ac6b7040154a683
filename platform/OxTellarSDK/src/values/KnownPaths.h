#ifndef OXTELLARSDK_KNOWNPATHS_H
#define OXTELLARSDK_KNOWNPATHS_H

#include <cstring>
#include <string_view>
#include <utility>

#include "AttributeNode.h"
#include "Container.h"
#include "Prefetch.h"
#include "ThreadWord.h"

/// Finding attributes in files by dotted path. Readers ask group after group for the same few
/// paths, and groups of a scene look alike: each thread remembers at which place, and under which
/// name's unit, it found every level of a path last. Names are written once and shared, so that
/// comparing units tells a name.
namespace OxAttribute::KnownPaths {

constexpr std::size_t kPlaces = 128; // a thread
constexpr std::size_t kShortestPath = 4;
constexpr std::size_t kLongestPath = 16;
constexpr std::uint32_t kLevels = 3;
constexpr std::uintptr_t kLongestPace = 16384; // bytes between groups; further apart is a jump

inline bool IsKept(std::string_view path) {
    return path.size() >= kShortestPath && path.size() <= kLongestPath;
}

template <typename Word>
Word Read(const char* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// A path in a container. `head` and `tail` are its first and last 8 bytes, or 4 of a path shorter
/// than that: with the length, they are all of it.
struct Key {
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    std::uint64_t containerAndLength = 0; // 0 is that of none

    Key() = default;
    /// Of a path that is kept.
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
    /// The first of the two places that a path may be in.
    std::size_t place() const {
        return (head * 0x9e3779b97f4a7c15u ^ tail * 0xc2b2ae3d27d4eb4fu) >> (64 - 7) &
               ~std::size_t(1);
    }
};
static_assert(kPlaces == 1u << 7, "the shift above");

struct Level {
    std::uint64_t hashAndUnit; // as they stand in the entry
    std::uint32_t index;
    std::uint32_t nameLength;

    Level() = default;
    Level(const FileEntry& entry, std::uint64_t at)
        : hashAndUnit(Read<std::uint64_t>(reinterpret_cast<const char*>(&entry))),
          index(static_cast<std::uint32_t>(at)), nameLength(entry.nameLength) {}
    bool isNameOf(const FileEntry& entry) const {
        return hashAndUnit == Read<std::uint64_t>(reinterpret_cast<const char*>(&entry)) &&
               nameLength == entry.nameLength;
    }
};
static_assert(offsetof(FileEntry, nameHash) == 0 && offsetof(FileEntry, nameUnit) == 4,
              "read as one word");

struct Place {
    Key key;
    std::uint64_t levelCount = 0;
    Level levels[kLevels];
    std::uintptr_t lastGroup = 0; // below which the path was followed last
};

/// Null until the thread first searches, after its end, and without memory for them.
extern TELLAR_THREAD_WORD Place* ownPlaces;

/// Null when the group does not look like the one before, or something is not checked yet.
///
/// Who goes from group to group probably goes on at the same pace: what would then be read next
/// is fetched meanwhile.
inline const Node* Follow(Place& place, const Container& container, const Node* group) {
    const auto here = reinterpret_cast<std::uintptr_t>(group);
    const std::uintptr_t pace = here - std::exchange(place.lastGroup, here);
    const bool isWalk = pace + kLongestPace < 2 * kLongestPace;
    const Node* node = group;
    for (std::uint64_t i = 0; i < place.levelCount; ++i) {
        const Level& level = place.levels[i];
        if (!IsGroup(node) || level.index >= node->count) return nullptr;
        const FileEntry& entry = Entries<FileEntry>(node)[level.index];
        if (!level.isNameOf(entry)) return nullptr;
        node = container.checkedAlready(entry);
        if (!node) return nullptr;
        if (isWalk) Prefetch(reinterpret_cast<std::uintptr_t>(node) + pace);
    }
    return node;
}

/// As FindInFile, from the names themselves.
const Node* Search(const Node* group, std::string_view path);

/// What stands at a dotted path below a group in a file, without a reference; null when there is
/// nothing. Throws std::runtime_error when the file is damaged there.
inline const Node* FindInFile(const Node* group, std::string_view path) {
    if (IsKept(path) && ownPlaces) {
        const Container& container = *Container::Of(group);
        const Key key(container.number(), path);
        Place* places = ownPlaces + key.place();
        for (Place* place = places; place < places + 2; ++place)
            if (place->key == key)
                if (const Node* node = Follow(*place, container, group)) return node;
    }
    return Search(group, path);
}

} // namespace OxAttribute::KnownPaths

#endif
