#ifndef OXTELLARSDK_GROUPCHILDREN_H
#define OXTELLARSDK_GROUPCHILDREN_H

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string_view>

#include <OxTellarSDK/Attribute.h>

namespace OxAttribute {

/// A child for MakeGroup, which borrows name and attribute.
struct NamedChild {
    std::string_view name;
    const Attribute* attribute;
};

/// A new group in memory; all groups are made here. Names must be unique and attributes valid.
/// Throws std::runtime_error when the group would be nested too deep.
Attribute MakeGroup(const NamedChild* children, std::uint64_t count, bool inherit);

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
