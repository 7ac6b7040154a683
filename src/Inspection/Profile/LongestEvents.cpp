#include "LongestEvents.h"

#include <algorithm>
#include <utility>

namespace TELLAR {

namespace {

bool IsLonger(const CookEvent& a, const CookEvent& b) {
    return a.duration > b.duration;
}

/// Of events that start together, the outer one is the longer one.
bool IsEarlier(const CookEvent& a, const CookEvent& b) {
    return a.start != b.start ? a.start < b.start : a.duration > b.duration;
}

} // namespace

void LongestEvents::add(CookEvent* added, std::size_t count) {
    const std::lock_guard<std::mutex> guard(lock);
    for (std::size_t i = 0; i < count; ++i) {
        if (events.size() >= 2 * wanted) forgetShorter();
        events.push_back(std::move(added[i]));
    }
}

/// Called with the lock.
void LongestEvents::forgetShorter() {
    const auto end = events.begin() + static_cast<std::ptrdiff_t>(wanted);
    std::nth_element(events.begin(), end - 1, events.end(), IsLonger);
    events.erase(end, events.end());
    least.store(events.back().duration, std::memory_order_relaxed);
}

std::vector<CookEvent> LongestEvents::getLongest() {
    std::vector<CookEvent> longest;
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (events.size() > wanted) forgetShorter();
        longest = events;
    }
    std::sort(longest.begin(), longest.end(), IsEarlier);
    return longest;
}

} // namespace TELLAR
