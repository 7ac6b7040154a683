#include "InstancingState.h"

#include <vector>

#include "ChildNames.h"

namespace TellarOps {

using OxLocationPath::IsSelfOrBelow;

InstanceTree::Place InstancingState::find(std::string_view path) const {
    const bool isBelowTarget = path.size() > target.size() && IsSelfOrBelow(path, target);
    return isBelowTarget ? tree.find(path.substr(target.size())) : InstanceTree::Place();
}

std::string InstancingState::sourceOf(std::uint64_t instance) const {
    return std::string(sources[choice->sourceOf(instance)]);
}

bool InstancingState::hides(std::string_view path) const {
    return !keepsSources && sources.findTopmost(path) != PathTable::kNone;
}

bool InstancingState::hidesBelow(std::string_view path) const {
    return !keepsSources && sources.isAbove(path);
}

StringAttribute InstancingState::childNames(const InstanceTree::Place& group) const {
    StringAttribute names = tree.childNames(group);
    const InstanceTree::Range range = tree.instancesOf(group);
    const bool areInstances = group.level == 1;
    if (!areInstances || choice->numberShown(range) == range.end - range.begin) return names;
    const auto sample = names.getNearestSample(0.0f);
    std::vector<std::string_view> shown;
    for (std::uint64_t instance = range.begin; instance < range.end; ++instance)
        if (!choice->isHidden(instance)) shown.push_back(sample[instance - range.begin]);
    return MakeNames(shown);
}

} // namespace TellarOps
