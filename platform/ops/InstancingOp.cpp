#include "InstancingOp.h"

#include <algorithm>
#include <utility>

#include <OxTellarSDK/AttributeDifference.h>

#include "AttrEdits.h"
#include "ChildNames.h"
#include "InstancingFacts.h"
#include "LocationSearch.h"

namespace TellarOps {
namespace {

using OxLocationPath::IsSelfOrBelow;

constexpr std::int32_t kMaxGroupSize = 1000000;
constexpr const char* kKeepSource = "keepSource";

std::vector<OxOpType::Argument> WithCommonArguments(std::vector<OxOpType::Argument> arguments) {
    arguments.push_back({"groupSize", "int",
                         "No location gets more children than this, from 2 to 1000000: beyond it, "
                         "instances are put into nested groups. Default: 100."});
    arguments.push_back(
        {kKeepSource, "int", "1 leaves what is repeated visible at its own place. Default: 0."});
    return arguments;
}

/// The pattern of all instances.
std::string PatternOfInstances(const InstancingState& state) {
    return OxLocationPath::PatternOf(state.target) + state.tree.pattern();
}

LocationSet RegionOfSources(const InstancingState& state) {
    std::vector<std::string> paths;
    for (std::uint32_t source = 0; source < state.sources.size(); ++source)
        paths.emplace_back(state.sources[source]);
    return LocationSet::subtrees(paths).withParents();
}

/// All locations that the Op changes.
LocationSet RegionOf(const InstancingState& state) {
    return LocationSet::unionOf({RegionOfSources(state), LocationSet::subtrees({state.target}),
                                 LocationSet::ancestorsOf(state.target)});
}

/// The location is neither an instance nor below one.
void CookSurroundings(CookContext& context, const InstancingState& state) {
    const std::string& path = context.path();
    if (state.hides(path)) return;
    const bool leadsToTarget = IsSelfOrBelow(state.target, path);
    const LocationData data = InputAt(context, path);
    if (!leadsToTarget && !data.doesLocationExist()) return;

    StringAttribute children = data.getPotentialChildren();
    if (state.hidesBelow(path)) children = state.sources.withoutListed(children, path);
    if (path == state.target)
        children = UnionOfNames({children, state.childNames(state.tree.top())});
    else if (leadsToTarget)
        children = WithName(children, NameTowards(state.target, path));
    PassWithChildren(context, data, children);
}

void CookInstance(CookContext& context, const InstancingState& state,
                  const InstanceTree::Place& place) {
    if (state.choice->isHidden(place.index)) return;
    const std::string source = state.sourceOf(place.index);
    if (!place.below.empty()) {
        const LocationData data = InputAt(context, source + std::string(place.below));
        if (data.doesLocationExist()) context.pass(data);
        return;
    }
    const LocationData data = InputAt(context, source);
    if (!data.doesLocationExist()) return;
    const GroupAttribute transform = state.placement->transform(place.index);
    context.setAttrs(
        WithXFormEdit(data.getAttrs(), transform, XFormSide::Outermost, kInstancePrefix));
    context.setPotentialChildren(data.getPotentialChildren());
}

void RequireApart(const InstancingState& state, std::string_view argument) {
    for (std::uint32_t index = 0; index < state.sources.size(); ++index) {
        const std::string_view source = state.sources[index];
        if (IsSelfOrBelow(state.target, source))
            ThrowArgumentError("target",
                               "must not lie in the source \"" + std::string(source) + '"');
        if (IsSelfOrBelow(source, state.target))
            ThrowArgumentError(argument, "must not lie in the target, as \"" + std::string(source) +
                                             "\" does");
    }
}

} // namespace

InstancingOp::InstancingOp(std::string name, std::string summary,
                           std::vector<OxOpType::Argument> arguments)
    : BuiltinOp({std::move(name), 1, std::move(summary), WithCommonArguments(std::move(arguments)),
                 "one"},
                Inputs::AtMostOne) {}

void InstancingOp::readCommonArguments(const ArgReader& args, std::string_view argument,
                                       InstancingState& state) {
    RequireApart(state, argument);
    state.keepsSources = args.flag(kKeepSource, false);
    const std::int32_t groupSize = args.integer("groupSize", 100, 2, kMaxGroupSize);
    state.tree = InstanceTree(state.placement->count(), static_cast<std::uint64_t>(groupSize));
}

void InstancingOp::cook(CookContext& context) const {
    const InstancingState& state = StateOf<InstancingState>(context);
    const InstanceTree::Place place = state.find(context.path());
    switch (place.kind) {
    case InstanceTree::Place::Foreign:
        CookSurroundings(context, state);
        break;
    case InstanceTree::Place::Missing:
        break;
    case InstanceTree::Place::Group:
        context.setAttrs(PlainGroupAttrs());
        context.setPotentialChildren(state.childNames(place));
        break;
    case InstanceTree::Place::Instance:
        CookInstance(context, state, place);
        break;
    }
}

void InstancingOp::check(CheckContext& context) const {
    WarnOfMissingSources(context, StateOf<InstancingState>(context).sources);
}

SubtreeFacts InstancingOp::describeSubtree(SubtreeContext& context) const {
    return DescribeInstancing(context, StateOf<InstancingState>(context));
}

std::shared_ptr<const Instances> InstancingOp::describeInstances(InstanceContext& context) const {
    return DescribeInstancesOf(context, StateOf<InstancingState>(context));
}

LocationSet InstancingOp::touchedBy(const GroupAttribute& before,
                                    const GroupAttribute& after) const {
    const auto old = stateOf(before);
    const auto now = stateOf(after);
    if (!old || !now) return old || now ? RegionOf(old ? *old : *now) : LocationSet();
    if (old->sources.list() != now->sources.list() || old->target != now->target)
        return LocationSet::unionOf({RegionOf(*old), RegionOf(*now)});
    std::vector<std::string> names = OxAttribute::DifferingChildren(before, after);
    const auto keepSource = std::remove(names.begin(), names.end(), kKeepSource);
    LocationSet touched = keepSource == names.end() ? LocationSet() : RegionOfSources(*now);
    names.erase(keepSource, names.end());
    if (!names.empty()) touched.add(touchedByEdit({names, before, after, *old, *now}));
    return touched;
}

LocationSet InstancingOp::touchedThrough(const GroupAttribute& args, std::size_t,
                                         const LocationSet& changed) const {
    const auto state = stateOf(args);
    LocationSet touched = changed;
    if (!state) return touched;
    const std::string pattern = PatternOfInstances(*state);
    for (std::uint32_t index = 0; index < state->sources.size(); ++index) {
        const std::string_view source = state->sources[index];
        if (changed.mayContain(source) || changed.mayContainBelow(source))
            touched.add(changed.movedToEach(source, pattern));
    }
    return touched;
}

LocationSet InstancingOp::instancesOf(const InstancingState& state) {
    return LocationSet::matching({PatternOfInstances(state)});
}

std::shared_ptr<const InstancingState> InstancingOp::stateOf(const GroupAttribute& args) const {
    if (!args.isValid()) return nullptr;
    return std::static_pointer_cast<const InstancingState>(parse(ArgReader(description(), args)));
}

} // namespace TellarOps
