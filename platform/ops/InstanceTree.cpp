#include "InstanceTree.h"

#include <algorithm>
#include <string>

#include "ChildNames.h"

namespace TellarOps {
namespace {

constexpr std::size_t kPrefixLength = 2;

// A set of locations with more of them than this is no faster than the subtree of all.
constexpr std::uint64_t kMostListed = 1000;

std::string_view PrefixOf(std::size_t level) {
    return level == 0 ? "i_" : "g_";
}

std::size_t NumberOfDigits(std::uint64_t number) {
    return std::to_string(number).size();
}

/// Writes `index` right-aligned into `width` characters at `out`.
void WriteDigits(std::uint64_t index, std::size_t width, char* out) {
    for (std::size_t place = width; place-- > 0; index /= 10)
        out[place] = static_cast<char>('0' + index % 10);
}

} // namespace

InstanceTree::InstanceTree(std::uint64_t count, std::uint64_t groupSize)
    : groupSize(groupSize), counts{count} {
    while (counts.back() > groupSize)
        counts.push_back((counts.back() - 1) / groupSize + 1);
    for (const std::uint64_t levelCount : counts)
        widths.push_back(NumberOfDigits(levelCount > 0 ? levelCount - 1 : 0));
}

InstanceTree::Place InstanceTree::find(std::string_view path) const {
    Place place;
    place.level = topLevel();
    Range range{0, counts.back()};
    while (true) {
        path.remove_prefix(1);
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(name.size());
        if (!readName(name, place.level, range, place.index)) {
            place.kind = place.level == topLevel() ? Place::Foreign : Place::Missing;
            return place;
        }
        if (place.level == 0 || path.empty()) break;
        range = childrenOf(place.level, place.index);
        --place.level;
    }
    place.kind = place.level == 0 ? Place::Instance : Place::Group;
    place.below = path;
    return place;
}

InstanceTree::Place InstanceTree::top() const {
    Place place;
    place.kind = Place::Group;
    place.level = counts.size();
    return place;
}

InstanceTree::Range InstanceTree::instancesOf(const Place& group) const {
    Range range{group.index, group.index + 1};
    for (std::size_t level = group.level; level > 0; --level)
        range = childrenOf(level, range);
    return range;
}

std::uint64_t InstanceTree::numberOfGroupsBelow(const Place& group) const {
    std::uint64_t groups = 0;
    Range range{group.index, group.index + 1};
    for (std::size_t level = group.level; level > 1; --level) {
        range = childrenOf(level, range);
        groups += range.end - range.begin;
    }
    return groups;
}

std::string InstanceTree::pathOf(std::uint64_t instance, const Place& group) const {
    return group.level == 0 ? std::string() : pathOf(group.level - 1, 0, instance);
}

std::string InstanceTree::pathOf(std::size_t first, std::size_t level, std::uint64_t index) const {
    std::string path;
    for (std::size_t above = first + 1; above-- > level;) {
        std::uint64_t indexAbove = index;
        for (std::size_t i = level; i < above; ++i)
            indexAbove /= groupSize;
        if (!path.empty()) path += '/';
        path += PrefixOf(above);
        path.append(widths[above], '0');
        WriteDigits(indexAbove, widths[above], path.data() + path.size() - widths[above]);
    }
    return path;
}

LocationSet InstanceTree::differenceTo(const InstanceTree& other, const std::string& top) const {
    if (groupSize != other.groupSize || widths != other.widths) return LocationSet::subtrees({top});
    const bool isSmaller = counts.front() < other.counts.front();
    const InstanceTree& less = isSmaller ? *this : other;
    const InstanceTree& more = isSmaller ? other : *this;
    std::vector<std::string> parents;
    std::vector<std::string> added;
    for (std::size_t level = 0; level < counts.size(); ++level) {
        // Only those below groups that both trees have.
        std::uint64_t end = more.counts[level];
        if (level < topLevel()) end = std::min(end, less.counts[level + 1] * groupSize);
        const std::uint64_t begin = less.counts[level];
        if (begin >= end) continue;
        if (end - begin > kMostListed) return LocationSet::subtrees({top});
        parents.push_back(level == topLevel()
                              ? top
                              : top + '/' +
                                    pathOf(topLevel(), level + 1, less.counts[level + 1] - 1));
        for (std::uint64_t index = begin; index < end; ++index)
            added.push_back(top + '/' + pathOf(topLevel(), level, index));
    }
    return LocationSet::unionOf({LocationSet::exactly(parents), LocationSet::subtrees(added)});
}

std::string InstanceTree::pattern() const {
    std::string pattern;
    for (std::size_t level = counts.size(); level-- > 0;) {
        pattern += '/';
        pattern += PrefixOf(level);
        pattern += '*';
    }
    return pattern;
}

StringAttribute InstanceTree::topNames() const {
    return names(topLevel(), {0, counts.back()});
}

StringAttribute InstanceTree::childNames(const Place& place) const {
    return names(place.level - 1, childrenOf(place.level, place.index));
}

InstanceTree::Range InstanceTree::childrenOf(std::size_t level, Range groups) const {
    return {groups.begin * groupSize, std::min(groups.end * groupSize, counts[level - 1])};
}

InstanceTree::Range InstanceTree::childrenOf(std::size_t level, std::uint64_t index) const {
    return childrenOf(level, {index, index + 1});
}

StringAttribute InstanceTree::names(std::size_t level, Range range) const {
    const std::size_t length = kPrefixLength + widths[level];
    const auto count = static_cast<std::size_t>(range.end - range.begin);
    std::string text(count * length, '\0');
    std::vector<std::string_view> views;
    views.reserve(count);
    for (std::size_t place = 0; place < count; ++place) {
        char* name = text.data() + place * length;
        PrefixOf(level).copy(name, kPrefixLength);
        WriteDigits(range.begin + place, widths[level], name + kPrefixLength);
        views.emplace_back(name, length);
    }
    return MakeNames(views);
}

bool InstanceTree::readName(std::string_view name, std::size_t level, Range range,
                            std::uint64_t& index) const {
    if (name.size() != kPrefixLength + widths[level]) return false;
    if (name.substr(0, kPrefixLength) != PrefixOf(level)) return false;
    std::uint64_t number = 0;
    for (const char digit : name.substr(kPrefixLength)) {
        if (digit < '0' || digit > '9') return false;
        number = number * 10 + static_cast<std::uint64_t>(digit - '0');
    }
    index = number;
    return number >= range.begin && number < range.end;
}

} // namespace TellarOps
