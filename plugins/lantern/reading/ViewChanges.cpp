#include "reading/ViewChanges.h"

#include <cstdint>
#include <string>

namespace lantern {
namespace {

/// Whether there is nothing but cameras and groups from the location down.
bool HoldsOnlyCameras(const Suites& suites, const Location& location) {
    OxSubtree subtree{};
    if (!suites.iterators().getSubtree(location.get(), &subtree, nullptr)) return false;
    const std::uint32_t others = ~std::uint32_t{kOxTypeCamera | kOxTypeGroup};
    return (subtree.known & kOxSubtreeTypes) != 0 && (subtree.types & others) == 0;
}

bool ChangesView(const Suites& suites, const Location& root, const OxChange& change) {
    if (change.kind != kOxChangeChanged) return false;
    if (change.path == std::string("/root")) return change.mask == kOxChangeSettings;
    // The type is that of the new revision, and an error may hide what was there before.
    if (change.mask & (kOxChangeType | kOxChangeError)) return false;
    const Location location = root.byPath(change.path);
    return location && !location.hasFailed() && HoldsOnlyCameras(suites, location);
}

} // namespace

bool ChangeViewAlone(const Suites& suites, const Location& root, const OxChangesStruct* changes) {
    const std::int64_t count = suites.iterators().getNumberOfChanges(changes);
    for (std::int64_t i = 0; i < count; ++i) {
        OxChange change{};
        if (!suites.iterators().getChange(changes, i, &change)) return false;
        if (!ChangesView(suites, root, change)) return false;
    }
    return true;
}

} // namespace lantern
