#include "PathTable.h"

#include <unordered_set>

#include "ChildNames.h"

namespace TellarOps {
namespace {

constexpr std::size_t kFewestSlots = 16;

/// The slots for so many locations: a power of two, of which at most 3/4 are taken.
std::size_t NumberOfSlots(std::size_t locations) {
    std::size_t slots = kFewestSlots;
    while (4 * locations > 3 * slots)
        slots *= 2;
    return slots;
}

} // namespace

bool LevelWalk::next() {
    if (isAtEnd()) return false;
    do { // FNV-1a
        state = (state ^ static_cast<unsigned char>(path[end])) * 0x100000001B3u;
        ++end;
    } while (!isAtEnd() && path[end] != '/');
    return true;
}

PathTable::PathTable(const StringAttribute& paths)
    : paths(paths), sample(paths.getNearestSample(0.0f)),
      slots(NumberOfSlots(sample.size()), kNone) {
    nodes.reserve(sample.size() + sample.size() / 8);
    std::vector<Node> levels;
    for (std::uint32_t path = 0; path < size(); ++path)
        add(path, levels);
}

void PathTable::add(std::uint32_t path, std::vector<Node>& levels) {
    levels.clear();
    for (LevelWalk walk(sample[path]); walk.next();)
        levels.push_back({path, static_cast<std::uint32_t>(walk.location().size()), walk.hash()});
    // From the location up to the first ancestor that is there.
    std::uint32_t below = kNone;
    for (std::size_t level = levels.size(); level-- > 0;) {
        const Node& added = levels[level];
        const std::size_t slot = findSlot(textOf(added), added.hash);
        const bool isNew = slots[slot] == kNone;
        const auto node = isNew ? static_cast<std::uint32_t>(nodes.size()) : slots[slot];
        if (isNew) {
            slots[slot] = node;
            nodes.push_back(added);
        }
        if (level + 1 == levels.size()) {
            if (nodes[node].listed == kNone)
                nodes[node].listed = path;
            else if (repeated == kNone)
                repeated = path;
        }
        if (below != kNone) {
            nodes[below].lastSibling = nodes[node].lastChild;
            nodes[node].lastChild = below;
        }
        if (!isNew) return;
        below = node;
        if (4 * nodes.size() > 3 * slots.size()) grow();
    }
}

void PathTable::grow() {
    slots.assign(2 * slots.size(), kNone);
    for (std::uint32_t node = 0; node < nodes.size(); ++node) {
        std::size_t slot = nodes[node].hash & (slots.size() - 1);
        while (slots[slot] != kNone)
            slot = (slot + 1) & (slots.size() - 1);
        slots[slot] = node;
    }
}

std::size_t PathTable::findSlot(std::string_view path, std::uint32_t hash) const {
    std::size_t slot = hash & (slots.size() - 1);
    while (slots[slot] != kNone) {
        const Node& node = nodes[slots[slot]];
        if (node.hash == hash && node.length == path.size() && textOf(node) == path) break;
        slot = (slot + 1) & (slots.size() - 1);
    }
    return slot;
}

std::uint32_t PathTable::findNode(std::string_view path) const {
    LevelWalk walk(path);
    while (walk.next()) {
    }
    return findNode(walk);
}

std::uint32_t PathTable::findNode(const LevelWalk& walk) const {
    return nodes.empty() ? kNone : slots[findSlot(walk.location(), walk.hash())];
}

std::uint32_t PathTable::find(const LevelWalk& walk) const {
    const std::uint32_t node = findNode(walk);
    return node == kNone ? kNone : nodes[node].listed;
}

std::uint32_t PathTable::find(std::string_view path) const {
    const std::uint32_t node = findNode(path);
    return node == kNone ? kNone : nodes[node].listed;
}

bool PathTable::isAbove(std::string_view path) const {
    const std::uint32_t node = findNode(path);
    return node != kNone && nodes[node].lastChild != kNone;
}

std::uint32_t PathTable::findTopmost(std::string_view path) const {
    for (LevelWalk walk(path); walk.next();) {
        const std::uint32_t node = findNode(walk);
        if (node == kNone) return kNone; // and so is everything below
        if (nodes[node].listed != kNone) return nodes[node].listed;
    }
    return kNone;
}

std::vector<std::string> PathTable::ancestors() const {
    std::vector<std::string> above;
    for (const Node& node : nodes)
        if (node.lastChild != kNone) above.emplace_back(textOf(node));
    return above;
}

std::vector<std::string_view> PathTable::namesTowards(std::string_view path) const {
    std::vector<std::string_view> names;
    const std::uint32_t parent = findNode(path);
    if (parent == kNone) return names;
    for (std::uint32_t child = nodes[parent].lastChild; child != kNone;
         child = nodes[child].lastSibling)
        names.push_back(textOf(nodes[child]).substr(path.size() + 1));
    return {names.rbegin(), names.rend()};
}

StringAttribute PathTable::withoutListed(const StringAttribute& names,
                                         std::string_view parent) const {
    if (!isAbove(parent)) return names;
    const std::vector<std::string_view> towards = namesTowards(parent);
    std::unordered_set<std::string_view> listed;
    for (const std::string_view name : towards)
        if (find(std::string(parent) + '/' + std::string(name)) != kNone) listed.insert(name);
    return WithoutNames(names, listed);
}

} // namespace TellarOps
