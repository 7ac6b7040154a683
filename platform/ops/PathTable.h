#ifndef TELLAROPS_PATHTABLE_H
#define TELLAROPS_PATHTABLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "BuiltinOp.h"

namespace TellarOps {

/// Goes down a path level by level: "/root", "/root/world", and so on.
class LevelWalk {
public:
    explicit LevelWalk(std::string_view path) : path(path) {}

    /// False at the end of the path.
    bool next();
    bool isAtEnd() const { return end == path.size(); }
    std::string_view location() const { return path.substr(0, end); }
    std::uint32_t hash() const {
        // Paths that differ in their last digits only differ in few bits of the state.
        return static_cast<std::uint32_t>(((state ^ (state >> 29)) * 0xBF58476D1CE4E5B9u) >> 32);
    }

private:
    std::string_view path;
    std::size_t end = 0;
    std::uint64_t state = 0xCBF29CE484222325u; // continues from level to level
};

/// A list of location paths and the locations above them, found by hash. The paths stay where they
/// are, in their attribute; the table takes some 32 bytes for each location. Immutable.
class PathTable {
public:
    static constexpr std::uint32_t kNone = UINT32_MAX;

    PathTable() = default;
    /// All paths are absolute and have no empty levels. Equal paths count as the first of them.
    explicit PathTable(const StringAttribute& paths);

    const StringAttribute& list() const { return paths; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(sample.size()); }
    /// Path `index` of the list.
    std::string_view operator[](std::uint32_t index) const { return sample[index]; }

    /// The index of the first path in the list that is equal to one before it, or kNone.
    std::uint32_t firstRepeated() const { return repeated; }

    /// The index of a path in the list, or kNone.
    std::uint32_t find(std::string_view path) const;
    /// Whether the path is in the list or above a path that is.
    bool leadsTo(std::string_view path) const { return findNode(path) != kNone; }
    /// The same for the location that a walk has reached. Takes a constant time.
    std::uint32_t find(const LevelWalk& walk) const;
    bool leadsTo(const LevelWalk& walk) const { return findNode(walk) != kNone; }
    /// Whether the path is above a path in the list.
    bool isAbove(std::string_view path) const;
    /// The topmost path in the list that is `path` or above it, as an index, or kNone.
    std::uint32_t findTopmost(std::string_view path) const;
    /// All paths that are above one in the list, in no particular order.
    std::vector<std::string> ancestors() const;
    /// The names of the children of `path` that lead to paths in the list, in the order of the
    /// list.
    std::vector<std::string_view> namesTowards(std::string_view path) const;

    /// The names without those of children of `parent` that are in the list.
    StringAttribute withoutListed(const StringAttribute& names, std::string_view parent) const;

private:
    /// A location: a path in the list or the beginning of one.
    struct Node {
        std::uint32_t path; // the first path in the list that begins with the location's
        std::uint32_t length;
        std::uint32_t hash;
        std::uint32_t listed = kNone;      // the index of the location's own path
        std::uint32_t lastChild = kNone;   // nodes
        std::uint32_t lastSibling = kNone; // the one before this
    };

    std::string_view textOf(const Node& node) const {
        return sample[node.path].substr(0, node.length);
    }
    /// `levels` is working memory.
    void add(std::uint32_t path, std::vector<Node>& levels);
    /// The slot of a location, which holds kNone if there is none.
    std::size_t findSlot(std::string_view path, std::uint32_t hash) const;
    std::uint32_t findNode(std::string_view path) const;
    std::uint32_t findNode(const LevelWalk& walk) const;
    void grow();

    StringAttribute paths;
    OxAttribute::ConstStringSample sample;
    std::vector<Node> nodes;
    std::uint32_t repeated = kNone;
    std::vector<std::uint32_t> slots; // nodes; a power of two, of which at most 3/4 are taken
};

} // namespace TellarOps

#endif
