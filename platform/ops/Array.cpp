#include <memory>
#include <string>
#include <string_view>

#include <OxTellarSDK/AttributeDifference.h>

#include "ArrayFacts.h"
#include "ArrayState.h"
#include "AttrEdits.h"
#include "ChildNames.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

using OxLocationPath::IsSelfOrBelow;

constexpr std::int32_t kMaxGroupSize = 1000000;

std::vector<OxOpType::Argument> Arguments() {
    return {
        {"source", "string", "The location to be repeated with all below it. Required."},
        {"target", "string",
         "The location under which the instances appear; made with its ancestors where missing. "
         "Required."},
        {"mode", "string", "\"grid\" or \"scatter\". Default: \"grid\"."},
        {"counts", "int[3]", "Grid: instances along x, y, z. Required there."},
        {"spacing", "double[3]", "Grid: distance along x, y, z. Default: 1, 1, 1."},
        {"count", "int", "Scatter: how many instances. Required there."},
        {"seed", "int", "Scatter: another seed, another arrangement. Default: 0."},
        {"extent", "double[6]",
         "Scatter: x min, x max, y min, y max, z min, z max; instances are spread evenly within. "
         "Required there."},
        {"spin", "int", "Scatter: 1 turns each instance about y at random. Default: 0."},
        {"groupSize", "int",
         "No location gets more children than this, from 2 to 1000000: beyond it, instances are "
         "put into nested groups. Default: 100."},
        {"keepSource", "int", "1 leaves the source visible at its own place. Default: 0."},
    };
}

/// The pattern of all instances.
std::string PatternOfInstances(const ArrayState& state) {
    return OxLocationPath::PatternOf(state.target) + state.tree.pattern();
}

/// All locations that an array changes.
LocationSet RegionOf(const ArrayState& state) {
    return LocationSet::unionOf({LocationSet::subtrees({state.source}).withParents(),
                                 LocationSet::subtrees({state.target}),
                                 LocationSet::ancestorsOf(state.target)});
}

/// The locations that differ between arrays with the same source and target when one argument does.
LocationSet TouchedByArgument(const std::string& name, const ArrayState& state) {
    if (name == "keepSource") return LocationSet::subtrees({state.source}).withParents();
    if (name == "spacing" || name == "extent" || name == "seed" || name == "spin")
        return LocationSet::matching({PatternOfInstances(state)});
    return LocationSet::subtrees({state.target});
}

/// True when only the number of instances differs, and those that both arrays have are equal: the
/// count of a scatter, or that of a grid along the last axis.
bool IsLongerOnly(const std::vector<std::string>& names, const GroupAttribute& before,
                  const GroupAttribute& after) {
    if (names.size() != 1) return false;
    if (names[0] != "counts") return names[0] == "count";
    const auto old = IntAttribute(before.getChildByName("counts")).getNearestSample(0);
    const auto now = IntAttribute(after.getChildByName("counts")).getNearestSample(0);
    return old.size() == 3 && now.size() == 3 && old[0] == now[0] && old[1] == now[1];
}

/// The location is neither an instance nor below one.
void CookSurroundings(CookContext& context, const ArrayState& state) {
    const std::string& path = context.path();
    if (!state.keepsSource && IsSelfOrBelow(path, state.source)) return;
    const bool leadsToTarget = IsSelfOrBelow(state.target, path);
    const LocationData data = InputAt(context, path);
    if (!leadsToTarget && !data.doesLocationExist()) return;

    StringAttribute children = data.getPotentialChildren();
    if (!state.keepsSource && OxLocationPath::Parent(state.source) == path)
        children = WithoutName(children, OxLocationPath::Name(state.source));
    if (path == state.target)
        children = UnionOfNames({children, state.tree.topNames()});
    else if (leadsToTarget)
        children = WithName(children, NameTowards(state.target, path));
    PassWithChildren(context, data, children);
}

void CookInstance(CookContext& context, const ArrayState& state, const InstanceTree::Place& place) {
    if (!place.below.empty()) {
        const LocationData data = InputAt(context, state.source + std::string(place.below));
        if (data.doesLocationExist()) context.pass(data);
        return;
    }
    const LocationData data = InputAt(context, state.source);
    if (!data.doesLocationExist()) return;
    const GroupAttribute transform = state.placement->transform(place.index);
    context.setAttrs(
        WithXFormEdit(data.getAttrs(), transform, XFormSide::Outermost, kInstancePrefix));
    context.setPotentialChildren(data.getPotentialChildren());
}

class Array final : public BuiltinOp {
public:
    Array()
        : BuiltinOp({"Array", 1,
                     "Repeats a location and all below it many times, as a grid or scattered. "
                     "Instances are computed one by one as they are asked for, so their number "
                     "costs nothing.",
                     Arguments(), "one"},
                    Inputs::AtMostOne) {}

    void cook(CookContext& context) const override {
        const ArrayState& state = StateOf<ArrayState>(context);
        const InstanceTree::Place place = state.find(context.path());
        switch (place.kind) {
        case InstanceTree::Place::Foreign:
            CookSurroundings(context, state);
            break;
        case InstanceTree::Place::Missing:
            break;
        case InstanceTree::Place::Group:
            context.setAttrs(PlainGroupAttrs());
            context.setPotentialChildren(state.tree.childNames(place));
            break;
        case InstanceTree::Place::Instance:
            CookInstance(context, state, place);
            break;
        }
    }

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        return DescribeArray(context, StateOf<ArrayState>(context));
    }

    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const override {
        return DescribeArrayInstances(context, StateOf<ArrayState>(context));
    }

    LocationSet touchedBy(const GroupAttribute& before,
                          const GroupAttribute& after) const override {
        const auto old = stateOf(before);
        const auto now = stateOf(after);
        if (!old || !now) return old || now ? RegionOf(old ? *old : *now) : LocationSet();
        if (old->source != now->source || old->target != now->target)
            return LocationSet::unionOf({RegionOf(*old), RegionOf(*now)});
        const std::vector<std::string> names = OxAttribute::DifferingChildren(before, after);
        if (IsLongerOnly(names, before, after))
            return old->tree.differenceTo(now->tree, now->target);
        LocationSet touched;
        for (const std::string& name : names)
            touched.add(TouchedByArgument(name, *now));
        return touched;
    }

    LocationSet touchedThrough(const GroupAttribute& args, std::size_t,
                               const LocationSet& changed) const override {
        const auto state = stateOf(args);
        return LocationSet::unionOf(
            {changed, changed.movedToEach(state->source, PatternOfInstances(*state))});
    }

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<ArrayState>();
        state->source = args.location("source", "");
        state->target = args.location("target", "");
        if (IsSelfOrBelow(state->target, state->source))
            ThrowArgumentError("target", "must not lie in the source");
        if (IsSelfOrBelow(state->source, state->target))
            ThrowArgumentError("source", "must not lie in the target");
        state->keepsSource = args.flag("keepSource", false);
        const bool isGrid = args.choice("mode", {"grid", "scatter"}) == "grid";
        state->placement = isGrid ? ReadGrid(args) : ReadScatter(args);
        const std::int32_t groupSize = args.integer("groupSize", 100, 2, kMaxGroupSize);
        state->tree =
            InstanceTree(state->placement->count(), static_cast<std::uint64_t>(groupSize));
        return state;
    }

private:
    /// Null for an Op that is not there. There is none without arguments.
    std::shared_ptr<const ArrayState> stateOf(const GroupAttribute& args) const {
        if (!args.isValid()) return nullptr;
        return std::static_pointer_cast<const ArrayState>(parse(ArgReader(description(), args)));
    }
};

} // namespace

const OxOpType::OpType* ArrayOpType() {
    static const auto* type = new Array;
    return type;
}

} // namespace TellarOps
