#include "KnownPaths.h"

#include <array>

#include "NodeAccess.h"
#include "ThreadState.h"

namespace OxAttribute::KnownPaths {

TELLAR_THREAD_WORD Place* ownPlaces = nullptr;

namespace {

struct Places final : ThreadState {
    std::array<Place, kPlaces> places;
    ~Places() override { ownPlaces = nullptr; }
};

/// Null when the thread has no memory for places, or has ended.
Place* GetOwnPlaces() {
    if (!ownPlaces)
        if (Places* own = ThreadState::Make<Places>()) ownPlaces = own->places.data();
    return ownPlaces;
}

void Remember(Place& found, std::uint64_t container, std::string_view path) {
    if (!IsKept(path) || found.levelCount > kLevels || !GetOwnPlaces()) return;
    found.key = Key(container, path);
    Place* places = ownPlaces + found.key.place();
    if (!(places[0].key == found.key)) places[1] = places[0];
    places[0] = found;
}

} // namespace

const Node* Search(const Node* group, std::string_view path) {
    Container& container = *Container::Of(group);
    Place found;
    const Node* node = group;
    std::string_view rest = path;
    while (IsGroup(node)) {
        const std::string_view name = rest.substr(0, rest.find('.'));
        const std::int64_t index = FindChild(node, name);
        if (index < 0) return nullptr;
        const auto at = static_cast<std::uint64_t>(index);
        if (found.levelCount < kLevels)
            found.levels[found.levelCount] = Level(Entries<FileEntry>(node)[index], at);
        ++found.levelCount;
        node = container.child(node, at);
        if (name.size() < rest.size()) {
            rest.remove_prefix(name.size() + 1);
            continue;
        }
        Remember(found, container.number(), path);
        return node;
    }
    return nullptr;
}

} // namespace OxAttribute::KnownPaths
