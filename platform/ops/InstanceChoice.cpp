#include "InstanceChoice.h"

#include <algorithm>
#include <string>

namespace TellarOps {
InstanceChoice::InstanceChoice(const ArgReader& args, std::uint64_t count,
                               std::uint32_t numberOfSources) {
    if (numberOfSources == 0 && count > 0)
        ThrowArgumentError("sources", "must name a location to repeat");
    const IntAttribute indices = args.indices("indices", numberOfSources, "sources");
    sources = indices.getNearestSample(0.0f);
    if (indices.isValid() && sources.size() != count)
        ThrowArgumentError("indices", "has " + std::to_string(sources.size()) + " values for " +
                                          std::to_string(count) + " instances");

    const auto left = args.indices("hidden", count, "instances").getNearestSample(0.0f);
    hidden.assign(left.begin(), left.end());
    std::sort(hidden.begin(), hidden.end());
    hidden.erase(std::unique(hidden.begin(), hidden.end()), hidden.end());
}

bool InstanceChoice::isHidden(std::uint64_t instance) const {
    return std::binary_search(hidden.begin(), hidden.end(), instance);
}

std::uint64_t InstanceChoice::numberShown(const Range& range) const {
    const auto begin = std::lower_bound(hidden.begin(), hidden.end(), range.begin);
    const auto end = std::lower_bound(begin, hidden.end(), range.end);
    return range.end - range.begin - static_cast<std::uint64_t>(end - begin);
}

std::uint64_t InstanceChoice::nextShown(std::uint64_t instance) const {
    auto next = std::lower_bound(hidden.begin(), hidden.end(), instance);
    for (; next != hidden.end() && *next == instance; ++next)
        ++instance;
    return instance;
}

std::uint64_t InstanceChoice::shown(std::uint64_t begin, std::uint64_t place) const {
    const auto first = std::lower_bound(hidden.begin(), hidden.end(), begin);
    // The hidden instances that lie before the wanted one: each moves it on by one.
    std::size_t before = 0;
    std::size_t most = static_cast<std::size_t>(hidden.end() - first);
    while (before < most) {
        const std::size_t middle = before + (most - before) / 2;
        const std::uint64_t next = first[static_cast<std::ptrdiff_t>(middle)];
        if (next - begin <= place + middle)
            before = middle + 1;
        else
            most = middle;
    }
    return begin + place + before;
}

std::vector<InstanceChoice::Use> InstanceChoice::usesIn(const Range& range,
                                                        std::uint32_t number) const {
    std::vector<Use> uses(number);
    if (number == 0) return uses;
    if (sources.empty()) {
        uses[0] = {numberShown(range), nextShown(range.begin)};
        return uses;
    }
    auto nextHidden = std::lower_bound(hidden.begin(), hidden.end(), range.begin);
    for (std::uint64_t instance = range.begin; instance < range.end; ++instance) {
        if (nextHidden != hidden.end() && *nextHidden == instance) {
            ++nextHidden;
            continue;
        }
        Use& use = uses[sourceOf(instance)];
        if (use.count++ == 0) use.first = instance;
    }
    return uses;
}

} // namespace TellarOps
