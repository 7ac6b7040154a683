#include "EditOp.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <OxTellarSDK/AttributeDifference.h>

#include "LocationSearch.h"

namespace TellarOps {
namespace {

std::vector<OxOpType::Argument> WithPaths(std::vector<OxOpType::Argument> arguments) {
    arguments.insert(arguments.begin(), {"paths", "string[]",
                                         "Globs of the locations to change: \"*\" and \"?\" within "
                                         "a level, \"**\" across levels. Required."});
    return arguments;
}

/// The globs that are in one of the lists only.
std::vector<std::string> Difference(std::vector<std::string> a, std::vector<std::string> b) {
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    std::vector<std::string> difference;
    std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(),
                                  std::back_inserter(difference));
    return difference;
}

} // namespace

EditOp::EditOp(std::string name, std::string summary, std::vector<OxOpType::Argument> arguments)
    : BuiltinOp({std::move(name), 1, std::move(summary), WithPaths(std::move(arguments)), "one"},
                Inputs::AtMostOne) {}

void EditOp::cook(CookContext& context) const {
    const LocationData data = InputAt(context, context.path());
    if (!data.doesLocationExist()) return;
    if (!StateOf<EditState>(context).paths.matches(context.path())) {
        context.pass(data);
        return;
    }
    const GroupAttribute& attrs = data.getAttrs();
    const GroupAttribute edited = edit(context, attrs);
    if (edited.getHandle() == attrs.getHandle()) {
        context.pass(data);
        return;
    }
    context.setAttrs(edited);
    context.setPotentialChildren(data.getPotentialChildren());
}

/// Changes the facts about a matched location alone.
void EditOp::editOwnFacts(const EditState& state, SubtreeFacts& facts) const {
    const EditedParts edited = editedParts(state);
    if (edited.type) facts.ownTypes = editedTypes(state);
    if (edited.xform && facts.xform) facts.xform = editedXForm(state, *facts.xform);
    if (!edited.type && !edited.shape) return;
    facts.ownBound.reset();
    facts.isPlain = false;
}

SubtreeFacts EditOp::describeSubtree(SubtreeContext& context) const {
    SubtreeFacts facts = context.input(0);
    const auto& state = StateOf<EditState>(context);
    const bool editsThis = state.paths.matches(context.path());
    const bool mayEditBelow = state.paths.mayMatchBelow(context.path());
    const EditedParts edited = editedParts(state);
    const bool editsShape = edited.type || edited.shape;
    const bool editsContent = editsShape || edited.others;
    if (facts.exists == false || (!editsThis && !mayEditBelow)) return facts;
    if (!editsContent && !edited.xform) return facts;

    if (editsThis) editOwnFacts(state, facts);
    // The location's own transform is part of neither its identity nor its bound.
    if (editsContent || mayEditBelow) facts.identity = {};
    if (editsShape || (edited.xform && mayEditBelow)) facts.bound.reset();
    if (edited.type) {
        const auto given = editedTypes(state);
        facts.types = facts.types && given ? std::optional(*facts.types | *given) : std::nullopt;
    }
    if (mayEditBelow) AddChildren(context, facts);
    return facts;
}

std::shared_ptr<const Instances> EditOp::describeInstances(InstanceContext& context) const {
    if (StateOf<EditState>(context).paths.mayMatchBelow(context.path())) return nullptr;
    return context.instances(0, context.path());
}

void EditOp::check(CheckContext& context) const {
    WarnOfUnmatchedGlobs(context, "paths");
}

LocationSet EditOp::touchedBy(const GroupAttribute& before, const GroupAttribute& after) const {
    const std::vector<std::string> names = OxAttribute::DifferingChildren(before, after);
    if (names == std::vector<std::string>{"paths"})
        return LocationSet::matching(Difference(globsOf(before), globsOf(after)));
    return LocationSet::unionOf({matchesOf(before), matchesOf(after)});
}

LocationSet EditOp::touchedThrough(const GroupAttribute&, std::size_t,
                                   const LocationSet& changed) const {
    return changed;
}

LocationSet EditOp::matchesOf(const GroupAttribute& args) const {
    return LocationSet::matching(globsOf(args));
}

std::vector<std::string> EditOp::globsOf(const GroupAttribute& args) const {
    return ArgReader(description(), args).strings("paths");
}

} // namespace TellarOps
