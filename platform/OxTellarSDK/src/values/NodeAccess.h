#ifndef OXTELLARSDK_NODEACCESS_H
#define OXTELLARSDK_NODEACCESS_H

#include <cmath>
#include <cstring>
#include <string_view>

#include "AttributeNode.h"
#include "Container.h"

/// Reading values in memory and in files alike. These are the most frequent steps of readers, so
/// they are inline.
namespace OxAttribute {

/// Frees a value in memory that has no references.
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

/// A child of a group, without a reference. A child in a file is checked first; throws
/// std::runtime_error when it is damaged.
inline Node* ChildOf(const Node* group, std::uint64_t index) {
    if (!IsInFile(group)) return Entries<MemoryEntry>(group)[index].child;
    return const_cast<Node*>(Container::Of(group)->child(group, index));
}

inline std::string_view ChildName(const Node* group, std::uint64_t index) {
    return IsInFile(group) ? NameOf(group, Entries<FileEntry>(group)[index])
                           : NameOf(group, Entries<MemoryEntry>(group)[index]);
}

template <typename Word>
bool IsSameWord(const char* a, const char* b) {
    Word left, right;
    std::memcpy(&left, a, sizeof left);
    std::memcpy(&right, b, sizeof right);
    return left == right;
}

/// The same as memcmp() == 0. Names are short, so two words that may overlap cover most of them.
inline bool IsSameText(const char* a, const char* b, std::size_t length) {
    if (length > 16) return std::memcmp(a, b, length) == 0;
    if (length >= 8)
        return IsSameWord<std::uint64_t>(a, b) &&
               IsSameWord<std::uint64_t>(a + length - 8, b + length - 8);
    if (length >= 4)
        return IsSameWord<std::uint32_t>(a, b) &&
               IsSameWord<std::uint32_t>(a + length - 4, b + length - 4);
    if (length >= 2)
        return IsSameWord<std::uint16_t>(a, b) &&
               IsSameWord<std::uint16_t>(a + length - 2, b + length - 2);
    return length == 0 || *a == *b;
}

template <typename Entry>
bool IsNamed(const Node* node, const Entry& entry, std::string_view name) {
    return entry.nameLength == name.size() &&
           IsSameText(NameOf(node, entry).data(), name.data(), name.size());
}

/// FindChild for a group with more than kLinearSearchLimit children.
std::int64_t FindSorted(const Node* group, std::string_view name);

template <typename Entry>
std::int64_t FindInOrder(const Node* group, std::string_view name) {
    const Entry* entries = Entries<Entry>(group);
    const std::uint64_t count = group->count;
    for (std::uint64_t i = 0; i < count; ++i)
        if (IsNamed(group, entries[i], name)) return static_cast<std::int64_t>(i);
    return -1;
}

/// The index of the child with this name, or -1. A dot is a part of the name.
inline std::int64_t FindChild(const Node* group, std::string_view name) {
    if (group->count > kLinearSearchLimit) return FindSorted(group, name);
    return IsInFile(group) ? FindInOrder<FileEntry>(group, name)
                           : FindInOrder<MemoryEntry>(group, name);
}

/// The index of the sample nearest to `time`; of two that are equally near, the earlier one.
inline std::uint64_t NearestSample(const Node* node, float time) {
    if (node->timeCount == 1) return 0;
    const std::uint64_t last = node->timeCount - 1;
    // Compares neighbours only, because distances from a time far away are rounded to the same.
    std::uint64_t nearest = 0;
    while (nearest < last && double(TimeAt(node, nearest + 1)) - time <
                                 std::fabs(double(time) - TimeAt(node, nearest)))
        ++nearest;
    return nearest;
}

/// The samples on either side of a time, and where between them it is.
struct SampleSpan {
    std::uint64_t before;
    std::uint64_t after; // equal to `before` at a sample, and beyond the first and last
    double blend;        // 0 at `before`, 1 at `after`

    template <typename Result, typename T>
    Result interpolate(T low, T high) const {
        if (before == after) return static_cast<Result>(low);
        return static_cast<Result>(low + (double(high) - low) * blend);
    }
};

inline SampleSpan FindSpan(const Node* node, float time) {
    const std::uint64_t last = node->timeCount - 1;
    std::uint64_t after = 0; // the first sample not before `time`
    while (after < last && TimeAt(node, after) < time)
        ++after;
    const std::uint64_t before = after > 0 && time < TimeAt(node, after) ? after - 1 : after;
    const double start = TimeAt(node, before);
    const double length = TimeAt(node, after) - start;
    return {before, after, length > 0.0 ? (double(time) - start) / length : 0.0};
}

} // namespace OxAttribute

#endif
