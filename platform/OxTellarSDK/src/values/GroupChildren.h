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

/// Fills `sorted` with the indices of `count` entries, sorted by name hash, then by index.
template <typename Entry>
void SortByNameHash(const Entry* entries, std::uint32_t* sorted, std::uint64_t count) {
    std::iota(sorted, sorted + count, 0u);
    std::sort(sorted, sorted + count, [entries](std::uint32_t a, std::uint32_t b) {
        return entries[a].nameHash != entries[b].nameHash
                   ? entries[a].nameHash < entries[b].nameHash
                   : a < b;
    });
}

} // namespace OxAttribute

#endif
