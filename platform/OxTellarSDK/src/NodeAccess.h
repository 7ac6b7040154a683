#ifndef OXTELLARSDK_NODEACCESS_H
#define OXTELLARSDK_NODEACCESS_H

#include <cmath>
#include <cstring>
#include <string_view>

#include "AttributeNode.h"
#include "Container.h"

/// How values are read wherever they lie: the steps that every reader of attributes takes again
/// and again, so they are inline.
namespace OxAttribute {

/// Frees a value in memory that nobody counts any more.
void FreeNode(Node* node);

inline void Retain(Node* node) noexcept {
    if (IsInFile(node))
        Container::Of(node)->retain();
    else
        node->refCount.fetch_add(1, std::memory_order_relaxed);
}

inline void Release(Node* node) noexcept {
    if (IsInFile(node))
        Container::Of(node)->release();
    else if (node->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        FreeNode(node);
}

/// A child of a group that somebody keeps. A child in a file is checked first; throws
/// std::runtime_error when it is damaged.
inline Node* ChildOf(const Node* group, std::uint64_t index) {
    if (!IsInFile(group)) return Entries<MemoryEntry>(group)[index].child;
    return const_cast<Node*>(Container::Of(group)->child(group, index));
}

template <typename Entry>
bool IsNamed(const Node* node, std::uint64_t index, std::string_view name) {
    const Entry& entry = Entries<Entry>(node)[index];
    return entry.nameLength == name.size() && NameOf(node, entry) == name;
}

/// Above kLinearSearchLimit children.
std::int64_t FindSorted(const Node* group, std::string_view name);

template <typename Entry>
std::int64_t FindInOrder(const Node* group, std::string_view name) {
    for (std::uint64_t i = 0; i < group->count; ++i)
        if (IsNamed<Entry>(group, i, name)) return static_cast<std::int64_t>(i);
    return -1;
}

/// The index of the child with just this name, or -1.
inline std::int64_t FindChild(const Node* group, std::string_view name) {
    if (group->count > kLinearSearchLimit) return FindSorted(group, name);
    return IsInFile(group) ? FindInOrder<FileEntry>(group, name)
                           : FindInOrder<MemoryEntry>(group, name);
}

/// The sample nearest to `time`, the earlier one of two as near.
inline std::uint64_t NearestSample(const Node* node, float time) {
    if (node->timeCount == 1) return 0;
    const std::uint64_t last = node->timeCount - 1;
    std::uint64_t nearest = 0; // only neighbours are compared: far away, all seem equally near
    while (nearest < last && double(TimeAt(node, nearest + 1)) - time <
                                 std::fabs(double(time) - TimeAt(node, nearest)))
        ++nearest;
    return nearest;
}

} // namespace OxAttribute

#endif
