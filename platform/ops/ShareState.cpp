#include "ShareState.h"

#include <algorithm>
#include <cstddef>

namespace TellarOps {
namespace {

// An error names at most this many sources of a circle.
constexpr std::size_t kMostNamed = 6;

[[noreturn]] void ThrowCircle(const PathTable& sources, const std::vector<std::uint32_t>& circle) {
    std::string names;
    for (std::size_t i = 0; i < std::min(circle.size(), kMostNamed); ++i)
        names += '"' + std::string(sources[circle[i]]) + "\" shows ";
    if (circle.size() > kMostNamed) names += "and so on until ";
    ThrowArgumentError("locations", "must not make a source show itself: " + names + '"' +
                                        std::string(sources[circle.front()]) + '"');
}

} // namespace

ShareState::ShareState(const ArgReader& args)
    : shared(args.locations("locations")), shown(args.locations("sources")),
      keeps(args.flag("keepSources", false)) {
    if (shared.firstRepeated() != PathTable::kNone)
        ThrowArgumentError("locations", "holds \"" + std::string(shared[shared.firstRepeated()]) +
                                            "\" more than once");
    if (shown.size() == 0 && shared.size() > 0)
        ThrowArgumentError("sources", "must name a location to show");
    const IntAttribute given = args.indices("indices", shown.size(), "sources");
    indices = given.getNearestSample(0.0f);
    if (given.isValid() && indices.size() != shared.size())
        ThrowArgumentError("indices", "has " + std::to_string(indices.size()) + " values for " +
                                          std::to_string(shared.size()) + " locations");
    isOneEach = shown.size() == shared.size();
    findDependencies();
    refuseCircles();
}

std::uint32_t ShareState::sourceOf(std::uint32_t location) const {
    std::uint32_t source = isOneEach ? location : 0;
    if (!indices.empty()) source = static_cast<std::uint32_t>(indices[location]);
    return shown.find(shown[source]);
}

void ShareState::findDependencies() {
    for (std::uint32_t location = 0; location < shared.size(); ++location)
        for (LevelWalk walk(shared[location]); walk.next() && shown.leadsTo(walk);)
            if (const std::uint32_t source = shown.find(walk); source != PathTable::kNone)
                dependsOn.emplace_back(source, location);
    for (std::uint32_t source = 0; source < shown.size(); ++source)
        for (LevelWalk walk(shown[source]); walk.next() && shared.leadsTo(walk);)
            if (const std::uint32_t location = shared.find(walk);
                location != PathTable::kNone && !walk.isAtEnd())
                dependsOn.emplace_back(shown.find(shown[source]), location);
    std::sort(dependsOn.begin(), dependsOn.end());
}

void ShareState::refuseCircles() const {
    enum class Visit : std::uint8_t { None, Open, Done };
    std::vector<Visit> visits(shown.size(), Visit::None);
    struct Step {
        std::uint32_t source;
        std::vector<Dependency>::const_iterator next;
    };
    const auto enter = [&](std::vector<Step>& steps, std::uint32_t source) {
        visits[source] = Visit::Open;
        steps.push_back(
            {source, std::lower_bound(dependsOn.begin(), dependsOn.end(), Dependency(source, 0))});
    };
    // Depth first, without calls: there may be any number of sources.
    for (const Dependency& dependency : dependsOn) {
        if (visits[dependency.first] != Visit::None) continue;
        std::vector<Step> steps;
        enter(steps, dependency.first);
        while (!steps.empty()) {
            Step& step = steps.back();
            if (step.next == dependsOn.end() || step.next->first != step.source) {
                visits[step.source] = Visit::Done;
                steps.pop_back();
                continue;
            }
            const std::uint32_t source = sourceOf((step.next++)->second);
            if (visits[source] == Visit::None) {
                enter(steps, source);
            } else if (visits[source] == Visit::Open) {
                std::vector<std::uint32_t> circle;
                for (const Step& each : steps)
                    if (each.source == source || !circle.empty()) circle.push_back(each.source);
                ThrowCircle(shown, circle);
            }
        }
    }
}

} // namespace TellarOps
