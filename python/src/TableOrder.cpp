#include "TableOrder.h"

#include <algorithm>
#include <cstddef>

namespace TellarPython {

namespace {

constexpr std::int64_t kUnknown = -1;

} // namespace

bool TableOrder::follows(const std::vector<std::int64_t>& place) {
    const bool isFollowing = !isFirst && isNext(place);
    if (!isFollowing) siblings.assign(place.size(), kUnknown);
    siblings.resize(place.size(), children);
    last = place;
    isFirst = false;
    return isFollowing;
}

bool TableOrder::isNext(const std::vector<std::int64_t>& place) const {
    const std::size_t depth = place.size();
    if (children > 0) // the first child
        return depth == last.size() + 1 && place.back() == 0 &&
               std::equal(last.begin(), last.end(), place.begin());
    // The next sibling of the last location, or of one of its ancestors if there is no other
    // location left below it.
    if (depth == 0 || depth > last.size() || place.back() != last[depth - 1] + 1) return false;
    for (std::size_t level = depth; level < last.size(); ++level)
        if (last[level] + 1 != siblings[level]) return false;
    return std::equal(place.begin(), place.end() - 1, last.begin());
}

} // namespace TellarPython
