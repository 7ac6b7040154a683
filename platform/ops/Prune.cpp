#include <string>
#include <string_view>
#include <vector>

#include "ChildNames.h"
#include "LocationSearch.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

using OxLocationPath::Patterns;

struct PruneState : State {
    Patterns roots;     // locations to remove
    Patterns withBelow; // those and everything below them
    bool keepNames = false;
};

std::vector<std::string> WithBelow(std::vector<std::string> globs) {
    for (std::string& glob : globs)
        glob += "/**";
    return globs;
}

/// The names whose locations stay, or `names` itself if all do.
StringAttribute RemainingNames(const StringAttribute& names, const std::string& parent,
                               const Patterns& roots) {
    const auto sample = names.getNearestSample(0.0f);
    std::vector<std::string_view> remaining;
    remaining.reserve(sample.size());
    std::string path = parent + "/";
    for (const std::string_view name : sample) {
        path.resize(parent.size() + 1);
        path += name;
        if (!roots.matches(path)) remaining.push_back(name);
    }
    return remaining.size() == sample.size() ? names : MakeNames(remaining);
}

class Prune final : public BuiltinOp {
public:
    Prune()
        : BuiltinOp(
              {"Prune",
               1,
               "Removes locations and everything below them.",
               {{"paths", "string[]",
                 "Globs of the locations to remove: \"*\" and \"?\" within a level, \"**\" "
                 "across levels. Required."},
                {"keepNames", "int",
                 "1 leaves the names in the potential children of their parents. Default: 0."}},
               "one"},
              Inputs::AtMostOne) {}

    void cook(CookContext& context) const override {
        const PruneState& state = StateOf<PruneState>(context);
        const std::string& path = context.path();
        if (state.withBelow.matches(path)) return;
        if (state.keepNames || !state.roots.mayMatchBelow(path)) {
            PassInput(context);
            return;
        }
        const LocationData data = InputAt(context, path);
        if (data.doesLocationExist())
            PassWithChildren(context, data,
                             RemainingNames(data.getPotentialChildren(), path, state.roots));
    }

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        const PruneState& state = StateOf<PruneState>(context);
        const std::string& path = context.path();
        if (state.withBelow.matches(path)) return SubtreeFacts::Missing();
        SubtreeFacts facts = context.input(0);
        if (facts.exists == false || !state.roots.mayMatchBelow(path)) return facts;
        facts.identity = {};
        facts.locations.reset();
        if (!state.keepNames && facts.children)
            facts.children = RemainingNames(*facts.children, path, state.roots);
        AddChildren(context, facts);
        return facts;
    }

    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const override {
        const PruneState& state = StateOf<PruneState>(context);
        const std::string& path = context.path();
        if (state.withBelow.matches(path) || state.roots.mayMatchBelow(path)) return nullptr;
        return context.instances(0, path);
    }

    void check(CheckContext& context) const override { WarnOfUnmatchedGlobs(context, "paths"); }

    /// Parents of removed locations have other potential children.
    LocationSet touchedBy(const GroupAttribute& before,
                          const GroupAttribute& after) const override {
        return LocationSet::unionOf({rootsOf(before), rootsOf(after)}).withBelow().withParents();
    }
    LocationSet touchedThrough(const GroupAttribute&, std::size_t,
                               const LocationSet& changed) const override {
        return changed;
    }

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<PruneState>();
        const std::vector<std::string> globs = args.globs("paths");
        state->roots = Patterns(globs);
        state->withBelow = Patterns(WithBelow(globs));
        state->keepNames = args.flag("keepNames", false);
        return state;
    }

private:
    LocationSet rootsOf(const GroupAttribute& args) const {
        return LocationSet::matching(ArgReader(description(), args).strings("paths"));
    }
};

} // namespace

const OxOpType::OpType* PruneOpType() {
    static const auto* type = new Prune;
    return type;
}

} // namespace TellarOps
