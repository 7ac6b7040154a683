// Walks two groups together, without a handle for each value.
#include <cstring>

#include <OxTellarSDK/AttributeDifference.h>

#include "AttributeNode.h"
#include "Container.h"
#include "NodeAccess.h"

namespace OxAttribute {

namespace {

using Tell = std::function<void(const std::vector<std::string_view>&)>;

bool HaveEqualShape(const Node* a, const Node* b) {
    return a->type == b->type && a->flags == b->flags && a->count == b->count &&
           a->timeCount == b->timeCount && (IsGroup(a) || a->tupleSize == b->tupleSize);
}

/// The size of a sound value in a file, from its header to its end. For a group, without the order
/// of its names, which follows from them.
std::uint64_t BytesInFile(const Node* node) {
    if (IsGroup(node)) return sizeof(Node) + node->count * sizeof(FileEntry);
    const std::uint64_t elements = NumberOfElements(node);
    const std::uint64_t bytes = sizeof(Node) + TimesBytes(node);
    if (node->type != kAttributeTypeString) return bytes + elements * ElementBytes(node->type);
    return bytes + 4 * (elements + 1) + Values<std::uint32_t>(node)[elements];
}

/// Compares two values of one shape and of `bytes` bytes in files. Times are filled up with bytes
/// that mean nothing.
bool HaveEqualValues(const Node* a, const Node* b, std::uint64_t bytes) {
    const std::uint64_t times = a->flags & kTimesOmitted ? 0 : 4ull * a->timeCount;
    const std::uint64_t values = sizeof(Node) + TimesBytes(a);
    return std::memcmp(Bytes(a) + sizeof(Node), Bytes(b) + sizeof(Node), times) == 0 &&
           std::memcmp(Bytes(a) + values, Bytes(b) + values, bytes - values) == 0;
}

/// Calls itself for groups, which are nested at most kMaxGroupDepth levels deep.
class GroupWalk {
public:
    explicit GroupWalk(const Tell& tell) : tell(tell) {}

    /// Both values have been checked.
    void compare(const Node* a, const Node* b) {
        if (a == b) return;
        if (IsInFile(a) && IsInFile(b))
            compareInFiles({*Container::Of(a), *Container::Of(b)}, a, b->unit);
        else if (IsGroup(a) && IsGroup(b))
            compareGroups(a, b);
        else if (!HaveEqualContent(Attribute::CreateAndRetain(const_cast<Node*>(a)),
                                   Attribute::CreateAndRetain(const_cast<Node*>(b))))
            tell(names);
    }

private:
    struct Files {
        Container& before;
        Container& after;
    };

    static Hash KeptHash(const Node* node) {
        return Attribute::CreateAndRetain(const_cast<Node*>(node)).getKeptHash();
    }

    void compareGroups(const Node* a, const Node* b) {
        const Hash hash = KeptHash(a);
        if (hash != Hash() && hash == KeptHash(b)) return;
        const bool haveEqualInheritance = ((a->flags ^ b->flags) & kGroupInherit) == 0;
        bool isEqual = haveEqualInheritance && a->count == b->count;
        for (std::uint64_t i = 0; isEqual && i < a->count; ++i)
            isEqual = ChildName(a, i) == ChildName(b, i);
        if (!isEqual) return tell(names);
        for (std::uint64_t i = 0; i < a->count; ++i) {
            names.push_back(ChildName(a, i));
            compare(ChildOf(a, i), ChildOf(b, i));
            names.pop_back();
        }
    }

    /// Compares a checked value with the bytes at a place of another file. What is equal to a sound
    /// value is sound as well, so the value there is not checked.
    void compareInFiles(const Files& files, const Node* a, std::uint32_t unit) {
        if (&files.before == &files.after && a->unit == unit) return;
        const std::uint64_t bytes = BytesInFile(a);
        const char* const place = files.after.verifiedBytes(unit, bytes);
        const auto* b = reinterpret_cast<const Node*>(place);
        if (!b || !HaveEqualShape(a, b)) return tell(names);
        if (IsGroup(a)) return compareGroupsInFiles(files, a, b);
        if (!HaveEqualValues(a, b, bytes)) tell(names);
    }

    void compareGroupsInFiles(const Files& files, const Node* a, const Node* b) {
        const FileEntry* const entries = Entries<FileEntry>(a);
        const FileEntry* const others = Entries<FileEntry>(b);
        for (std::uint64_t i = 0; i < a->count; ++i)
            if (!isSameName(files.after, NameOf(a, entries[i]), others[i])) return tell(names);
        for (std::uint64_t i = 0; i < a->count; ++i) {
            names.push_back(NameOf(a, entries[i]));
            compareInFiles(files, files.before.child(a, i), others[i].childUnit);
            names.pop_back();
        }
    }

    static bool isSameName(Container& file, std::string_view name, const FileEntry& entry) {
        if (entry.nameLength != name.size()) return false;
        const char* const other = file.verifiedBytes(entry.nameUnit, name.size());
        return other && IsSameText(name.data(), other, name.size());
    }

    const Tell& tell;
    std::vector<std::string_view> names; // from the groups down
};

} // namespace

void ForEachDifference(const GroupAttribute& before, const GroupAttribute& after,
                       const Tell& tell) {
    if (before.isValid() && after.isValid())
        GroupWalk(tell).compare(before.getHandle(), after.getHandle());
    else if (before.isValid() != after.isValid())
        tell({});
}

} // namespace OxAttribute
