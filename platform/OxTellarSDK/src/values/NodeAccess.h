#ifndef OXTELLARSDK_NODEACCESS_H
#define OXTELLARSDK_NODEACCESS_H

#include <cstring>
#include <string_view>

#include "AttributeNode.h"
#include "Container.h"
#include "DataView.h"

/// Reading values in memory and in files alike. These are the most frequent steps of readers, so
/// they are inline.
namespace OxAttribute {

/// Frees a value in memory that has no references.
void FreeNode(Node* node);

inline void Retain(Node* node) noexcept {
    if (Container* container = Container::Of(node))
        container->retain();
    else
        Full(node)->refCount.fetch_add(1, std::memory_order_relaxed);
}

inline void Release(Node* node) noexcept {
    if (Container* container = Container::Of(node))
        container->release();
    else if (Full(node)->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        FreeNode(node);
}

/// The number of children of a group.
inline std::uint64_t CountChildren(const Node* group) noexcept {
    const Container* container = Container::Of(group);
    return container ? container->childCount(group) : Full(group)->count;
}

/// A child of a group, without a reference. A child in a file is checked first; throws
/// std::runtime_error when it is damaged.
inline Node* ChildOf(const Node* group, std::uint64_t index) {
    Container* container = Container::Of(group);
    if (!container) return Entries(group)[index].child;
    return const_cast<Node*>(container->child(group, index));
}

inline std::string_view ChildName(const Node* group, std::uint64_t index) noexcept {
    const Container* container = Container::Of(group);
    return container ? container->childName(group, index) : NameOf(group, Entries(group)[index]);
}

/// Levels of groups from a value down; 0 unless it is a group.
inline std::uint32_t DepthOf(const Node* node) noexcept {
    if (!IsGroup(node)) return 0;
    const Container* container = Container::Of(node);
    return container ? container->depthOf(node) : Full(node)->depth;
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

/// A string of a value in memory that has one sample at time 0. Without an address if it is out of
/// range.
inline std::string_view TextInMemory(const FullNode& node, std::uint64_t index) noexcept {
    if (index >= node.count) return {};
    const auto* const ends = reinterpret_cast<const std::uint32_t*>(&node + 1);
    const char* const texts = reinterpret_cast<const char*>(ends + node.count + 1);
    return {texts + ends[index], ends[index + 1] - ends[index] - 1};
}

/// Text `index` of the strings in a value, in the sample nearest to the time. Without an address
/// when it is out of range or the value has no strings.
inline std::string_view TextAt(const Node* node, std::uint64_t index, float time = 0.0f) noexcept {
    // Every step of a walk reads a type here, nearly always a short text of a file, and a name,
    // nearly always from a list in memory. The word is read once, because that of a mapped file may
    // change.
    const Node head{node->word};
    if (head.type() != kAttributeTypeString) return {};
    if (head.isShort())
        return index == 0 ? std::string_view(Bytes(node) + sizeof(Node), ShortTextLength(head.word))
                          : std::string_view();
    if ((head.word & kTimesOmitted) && !Container::Of(node))
        return TextInMemory(*Full(node), index);
    const DataView view = ViewOf(node, kAttributeTypeString);
    if (index >= view.count) return {};
    return view.text(NearestSample(view, time) * view.count + index);
}

/// The index of the child with this name in a group in memory, or -1.
std::int64_t FindInMemory(const Node* group, std::string_view name) noexcept;

/// The index of the child with this name, or -1. A dot is a part of the name.
inline std::int64_t FindChild(const Node* group, std::string_view name) noexcept {
    const Container* container = Container::Of(group);
    return container ? container->findChild(group, name) : FindInMemory(group, name);
}

} // namespace OxAttribute

#endif
