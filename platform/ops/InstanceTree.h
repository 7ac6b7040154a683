#ifndef TELLAROPS_INSTANCETREE_H
#define TELLAROPS_INSTANCETREE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "BuiltinOp.h"

namespace TellarOps {

/// The groups above the instances of an array. The tree has `count` instances in index order, below
/// as many levels of groups as needed so that each group has at most `groupSize` children.
/// Instance 4711 of 10000 in groups of 100 is "g_47/i_4711".
///
/// Names hold the index among all groups or instances of their level, padded with zeros to
/// one width. Everything is computed from indices, so the tree takes some fifty words for any
/// count. Immutable.
class InstanceTree {
public:
    InstanceTree() : InstanceTree(0, 2) {}
    /// `groupSize` is at least 2.
    InstanceTree(std::uint64_t count, std::uint64_t groupSize);

    struct Range {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
    };

    struct Place {
        enum Kind {
            Foreign,  ///< the first name is not in the tree
            Missing,  ///< the first name is in the tree, the path is not
            Group,    ///< a group of the tree
            Instance, ///< an instance, or something below one
        };
        Kind kind = Foreign;
        std::size_t level = 0;   ///< groups: 1 for those that hold instances
        std::uint64_t index = 0; ///< among all of the level
        std::string_view below;  ///< instances: the rest of the path, "" or "/name..."
    };

    /// `path` is relative to the tree's top: "/g_47/i_4711/mesh".
    Place find(std::string_view path) const;

    /// The tree itself as a group.
    Place top() const;
    /// The instances below a group: [begin, end).
    Range instancesOf(const Place& group) const;
    /// The number of groups below a group, at all levels.
    std::uint64_t numberOfGroupsBelow(const Place& group) const;
    /// The path of an instance relative to a group above it: "g_47/i_4711".
    std::string pathOf(std::uint64_t instance, const Place& group) const;
    /// The pattern of all instances, relative to the tree's top: "/g_*/i_*".
    std::string pattern() const;

    /// Where two trees below the location `top` differ, when they repeat the same source and their
    /// instances with equal indices are equal.
    LocationSet differenceTo(const InstanceTree& other, const std::string& top) const;

    /// Invalid for a tree without instances.
    StringAttribute topNames() const;
    /// The children of the group at `place`.
    StringAttribute childNames(const Place& place) const;

private:
    std::size_t topLevel() const { return counts.size() - 1; }
    /// The names that lead to the location `index` of a level, from the level `first` down:
    /// "g_47/i_4711".
    std::string pathOf(std::size_t first, std::size_t level, std::uint64_t index) const;
    /// The children of some groups of a level, or of one.
    Range childrenOf(std::size_t level, Range groups) const;
    Range childrenOf(std::size_t level, std::uint64_t index) const;
    StringAttribute names(std::size_t level, Range range) const;
    /// False unless `name` is the name of one of `range`.
    bool readName(std::string_view name, std::size_t level, Range range,
                  std::uint64_t& index) const;

    std::uint64_t groupSize;
    std::vector<std::uint64_t> counts; // one per level; level 0 holds the instances
    std::vector<std::size_t> widths;   // digits in the names of the level
};

} // namespace TellarOps

#endif
