#ifndef OXTELLARSDK_GROUPCHILDREN_H
#define OXTELLARSDK_GROUPCHILDREN_H

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string_view>

#include "AttributeNode.h"

namespace OxAttribute {

/// A child for MakeGroup, which borrows the name and adds a reference to the value.
struct NamedChild {
    std::string_view name;
    Node* child;
};

/// The product of the first children of a group of transforms, which does not change with time. The
/// group carries it along, so that they need not all be composed again. It follows from the
/// children and is no part of the group's content.
struct LeadingProduct {
    const double* matrix = nullptr; ///< 16 values; null when nothing goes along
    std::uint32_t children = 0;     ///< so many; at least one of them takes part
};

/// A new group in memory; all groups are made here. Names must be unique and attributes valid.
/// Throws std::runtime_error when the group would be nested too deep.
/// The product is copied.
Attribute MakeGroup(const NamedChild* children, std::uint64_t count, bool inherit,
                    const LeadingProduct& product = {});

/// The product that goes along with a group, which it belongs to.
LeadingProduct ProductOf(const Node* group) noexcept;

/// Fills `sorted` with the indices of `count` names, sorted by their hashes, which `hashOf` gives
/// for an index, then by index.
template <typename HashOf>
void SortByNameHash(std::uint32_t* sorted, std::uint64_t count, HashOf hashOf) {
    std::iota(sorted, sorted + count, 0u);
    std::sort(sorted, sorted + count, [hashOf](std::uint32_t a, std::uint32_t b) {
        const std::uint32_t hashOfA = hashOf(a), hashOfB = hashOf(b);
        return hashOfA != hashOfB ? hashOfA < hashOfB : a < b;
    });
}

} // namespace OxAttribute

#endif
