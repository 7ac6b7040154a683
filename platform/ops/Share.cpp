#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/AttributeDifference.h>

#include "AttrEdits.h"
#include "ChildNames.h"
#include "LocationSearch.h"
#include "OpTypes.h"
#include "ShareFacts.h"
#include "ShareState.h"

namespace TellarOps {
namespace {

// Edits of more locations than this count as edits of all below their common ancestor.
constexpr std::uint32_t kMostListed = 10000;

std::vector<OxOpType::Argument> Arguments() {
    return {
        {"locations", "string[]",
         "The paths of the locations that show others; made with their ancestors where missing. "
         "Required."},
        {"sources", "string[]", "The paths of the locations to show. Required."},
        {"indices", "int[]",
         "The source of each location, from 0. Default: one source for each location if there are "
         "equally many, otherwise 0 for all."},
        {"keepSources", "int", "1 leaves the sources visible at their own places. Default: 0."},
    };
}

/// Whether the input has a child of a location, from cooks.
auto CookedChild(CookContext& context) {
    return [&context](const std::string& parent, const std::string& child) -> std::optional<bool> {
        const LocationData data = InputAt(context, parent);
        if (data.getPotentialChildren().getNumberOfValues() == 0) return false;
        return InputAt(context, child).doesLocationExist();
    };
}

/// The parts of a location.
struct Content {
    bool exists = false;
    GroupAttribute attrs;
    StringAttribute children;
};

/// Puts what the input has at a shared location onto the content of its source.
Content WithOwn(const LocationData& own, const StringAttribute& names, const Content& source) {
    Content content;
    content.exists = true;
    const bool isAny = own.doesLocationExist() || source.exists;
    content.attrs = isAny ? WithMissing(own.getAttrs(), source.attrs, "xform") : PlainGroupAttrs();
    content.children = UnionOfNames({source.children, names});
    return content;
}

/// Cooks a location that is on the way to shared ones, or is one.
void CookLayers(CookContext& context, const ShareState& state, const ShareState::Origin& origin) {
    const auto layers = state.layersOf(origin, CookedChild(context));
    const auto withoutHidden = [&](const StringAttribute& names) {
        const bool mayHide = !origin.isShared && !state.keepsSources();
        return mayHide ? state.sources().withoutListed(names, context.path()) : names;
    };
    Content content;
    for (std::size_t i = layers->size(); i-- > 0;) {
        const std::string& layer = (*layers)[i];
        const LocationData own = InputAt(context, layer);
        const StringAttribute names = UnionOfNames(
            {own.getPotentialChildren(), MakeNames(state.locations().namesTowards(layer))});
        const bool isLowest = i + 1 == layers->size();
        if (isLowest && i == 0) {
            PassWithChildren(context, own, withoutHidden(names));
            return;
        }
        if (!isLowest)
            content = WithOwn(own, names, content);
        else if (own.doesLocationExist())
            content = {true, own.getAttrs(), names};
        else if (state.locations().leadsTo(layer))
            content = {true, PlainGroupAttrs(), names};
    }
    context.setAttrs(content.attrs);
    context.setPotentialChildren(withoutHidden(content.children));
}

LocationSet SubtreesOf(const PathTable& paths) {
    std::vector<std::string> all;
    if (paths.size() <= kMostListed) {
        for (std::uint32_t path = 0; path < paths.size(); ++path)
            all.emplace_back(paths[path]);
        return LocationSet::subtrees(all);
    }
    std::string_view common = paths[0];
    for (std::uint32_t path = 1; path < paths.size(); ++path)
        while (!OxLocationPath::IsSelfOrBelow(paths[path], common))
            common = OxLocationPath::Parent(common);
    return common.empty() ? LocationSet::everything()
                          : LocationSet::subtrees({std::string(common)});
}

LocationSet RegionOfSources(const ShareState& state) {
    return SubtreesOf(state.sources()).withParents();
}

/// All locations that the Op changes.
LocationSet RegionOf(const ShareState& state) {
    LocationSet region = SubtreesOf(state.locations());
    if (state.locations().size() <= kMostListed)
        region.add(LocationSet::exactly(state.locations().ancestors()));
    else
        region.add(LocationSet::ancestorsOf(state.locations()[0]));
    if (!state.keepsSources()) region.add(RegionOfSources(state));
    return region;
}

bool Touches(const LocationSet& changed, std::string_view path) {
    return changed.mayContain(path) || changed.mayContainBelow(path);
}

/// Finds the shared locations that differ because of changes in the input.
class TouchedShares {
public:
    TouchedShares(const ShareState& state, const LocationSet& changed)
        : state(state), changed(changed), isLocationTouched(state.locations().size()),
          isSourceTouched(state.sources().size()), isSourceNested(state.sources().size()) {
        for (std::uint32_t location = 0; location < isLocationTouched.size(); ++location)
            isLocationTouched[location] = Touches(changed, state.locations()[location]);
        for (std::uint32_t source = 0; source < isSourceTouched.size(); ++source)
            isSourceTouched[source] = Touches(changed, state.sources()[source]);
        for (const auto& [source, location] : state.dependencies())
            isSourceNested[source] = true;
        while (spread()) {
        }
    }

    LocationSet find() const {
        std::vector<LocationSet> touched{changed};
        for (std::uint32_t location = 0; location < isLocationTouched.size(); ++location) {
            const std::uint32_t source = state.sourceOf(location);
            const std::string path(state.locations()[location]);
            if (isLocationTouched[location] || (isSourceTouched[source] && isSourceNested[source]))
                touched.push_back(LocationSet::subtrees({path}));
            else if (isSourceTouched[source])
                touched.push_back(changed.moved(state.sources()[source], path));
        }
        return LocationSet::unionOf(touched);
    }

private:
    /// From locations to the sources that depend on them. False when there is nothing new.
    bool spread() {
        bool isNew = false;
        for (const auto& [source, location] : state.dependencies()) {
            if (isSourceTouched[source]) continue;
            if (!isLocationTouched[location] && !isSourceTouched[state.sourceOf(location)])
                continue;
            isSourceTouched[source] = true;
            isNew = true;
        }
        return isNew;
    }

    const ShareState& state;
    const LocationSet& changed;
    std::vector<bool> isLocationTouched; // what the input has there differs
    std::vector<bool> isSourceTouched;
    std::vector<bool> isSourceNested;
};

class Share final : public BuiltinOp {
public:
    Share()
        : BuiltinOp({"Share", 1,
                     "Shows what is at a location at others too. All that is below comes from the "
                     "source without a copy, so each location costs no more than its path in the "
                     "arguments.",
                     Arguments(), "one"},
                    Inputs::AtMostOne) {}

    void cook(CookContext& context) const override {
        const ShareState& state = StateOf<ShareState>(context);
        const auto origin = state.follow(context.path(), false, CookedChild(context));
        if (origin->isHidden) return;
        const bool mayHide = !origin->isShared && !state.keepsSources();
        if (state.locations().leadsTo(origin->path)) {
            CookLayers(context, state, *origin);
            return;
        }
        const LocationData data = InputAt(context, origin->path);
        if (!data.doesLocationExist()) return;
        StringAttribute names = data.getPotentialChildren();
        if (mayHide) names = state.sources().withoutListed(names, context.path());
        PassWithChildren(context, data, names);
    }

    void check(CheckContext& context) const override {
        const ShareState& state = StateOf<ShareState>(context);
        WarnOfMissingSources(context, state.sources(), state.locations());
    }

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        return DescribeShare(context, StateOf<ShareState>(context));
    }

    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const override {
        return DescribeInstancesOfShare(context, StateOf<ShareState>(context));
    }

    LocationSet touchedBy(const GroupAttribute& before,
                          const GroupAttribute& after) const override {
        const auto names = OxAttribute::DifferingChildren(before, after);
        const auto now = stateOf(after);
        if (now && names == std::vector<std::string>{"keepSources"}) return RegionOfSources(*now);
        LocationSet touched;
        for (const auto& state : {stateOf(before), now})
            if (state) touched.add(RegionOf(*state));
        return touched;
    }

    LocationSet touchedThrough(const GroupAttribute& args, std::size_t,
                               const LocationSet& changed) const override {
        const auto state = stateOf(args);
        if (!state || changed.isEmpty()) return changed;
        if (state->locations().size() > kMostListed)
            return LocationSet::unionOf({changed, SubtreesOf(state->locations())});
        return TouchedShares(*state, changed).find();
    }

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        return std::make_shared<ShareState>(args);
    }

private:
    /// Null for an Op that is not there. There is none without arguments.
    std::shared_ptr<const ShareState> stateOf(const GroupAttribute& args) const {
        if (!args.isValid()) return nullptr;
        return std::static_pointer_cast<const ShareState>(parse(ArgReader(description(), args)));
    }
};

} // namespace

const OxOpType::OpType* ShareOpType() {
    static const auto* type = new Share;
    return type;
}

} // namespace TellarOps
