#include "WorkStack.h"

#include <utility>

namespace TELLAR {

std::unique_lock<std::mutex> WorkStack::guardShared() {
    return isShared ? std::unique_lock<std::mutex>(lock) : std::unique_lock<std::mutex>();
}

void WorkStack::start(Share share) {
    const auto guard = guardShared();
    left = share.level.siblings.count();
    levels.clear();
    levels.push_back(std::move(share.level));
    place = std::move(share.parentPlace);
}

WorkStack::Next WorkStack::advance(std::optional<Level> children) {
    const auto guard = guardShared();
    while (!levels.empty() && levels.back().siblings.count() == 0)
        levels.pop_back();
    if (children) {
        left += children->siblings.count();
        levels.push_back(std::move(*children));
    }
    if (levels.empty()) return {nullptr, 0, false};
    Siblings& siblings = levels.back().siblings;
    const std::int64_t index = siblings.next++;
    --left;
    place.resize(siblings.depth);
    place.back() = index;
    return {&levels.back(), index, left > 0};
}

std::optional<WorkStack::Share> WorkStack::takeShare() {
    const auto guard = guardShared();
    if (left == 0) return std::nullopt;
    for (Level& level : levels) {
        const std::int64_t count = level.siblings.count();
        if (count == 0) continue;
        const std::int64_t number = (count + 1) / 2;
        const auto above = static_cast<std::ptrdiff_t>(level.siblings.depth) - 1;
        Share share{{level.siblings.takeLast(number), level.inherited},
                    std::vector<std::int64_t>(place.begin(), place.begin() + above)};
        left -= number;
        return share;
    }
    return std::nullopt;
}

} // namespace TELLAR
