#include "ShareFacts.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ChildNames.h"

namespace TellarOps {
namespace {

// The types of at most so many sources are asked for.
constexpr std::uint32_t kMostSources = 1000;

/// Whether the input has a child of a location, from facts.
auto ChildFacts(SubtreeContext& context) {
    return [&context](const std::string& parent, const std::string& child) -> std::optional<bool> {
        const SubtreeFacts facts = context.input(0, parent);
        if (facts.children && facts.children->getNumberOfValues() == 0) return false;
        return context.input(0, child).exists;
    };
}

std::optional<std::uint32_t> Union(std::optional<std::uint32_t> a, std::optional<std::uint32_t> b) {
    return a && b ? std::optional(*a | *b) : std::nullopt;
}

/// The types that are below a location on the way to shared ones.
std::optional<std::uint32_t> TypesOfSources(SubtreeContext& context, const ShareState& state) {
    if (state.sources().size() > kMostSources) return std::nullopt;
    std::optional<std::uint32_t> types = OxOpType::kTypeGroup;
    for (std::uint32_t source = 0; types && source < state.sources().size(); ++source)
        types = Union(types, context.input(0, std::string(state.sources()[source])).types);
    return types;
}

/// The names that a layer adds to those of the layers below; nothing if they are not known.
std::optional<StringAttribute> NamesOf(const ShareState& state, const std::string& layer,
                                       const SubtreeFacts& own) {
    if (!own.children) return std::nullopt;
    return UnionOfNames({*own.children, MakeNames(state.locations().namesTowards(layer))});
}

/// The facts of a location of the input, with the shared locations that the Op makes below it.
SubtreeFacts DescribeLowest(SubtreeContext& context, const ShareState& state,
                            const std::string& layer) {
    SubtreeFacts facts = context.input(0, layer);
    if (!facts.exists || !state.locations().leadsTo(layer)) return facts;
    if (!*facts.exists) facts = FactsOfPlainGroup();
    facts.types = Union(facts.types, TypesOfSources(context, state));
    facts.locations.reset();
    facts.bound.reset();
    facts.identity = {};
    facts.children = NamesOf(state, layer, facts);
    return facts;
}

/// Puts what the input has at a shared location onto the facts of its source.
void AddOwn(const ShareState& state, const std::string& layer, const SubtreeFacts& own,
            SubtreeFacts& facts) {
    const std::optional<StringAttribute> names = NamesOf(state, layer, own);
    const bool addsNames = !names || names->getNumberOfValues() > 0;
    if (facts.exists == false) {
        facts = FactsOfPlainGroup();
        facts.ownTypes = facts.types = *own.exists ? 0u : *facts.ownTypes;
    }
    facts.xform = own.xform;
    if (*own.exists) {
        facts.identity = {};
        facts.ownTypes = Union(facts.ownTypes, own.ownTypes);
        facts.types = Union(facts.types, own.ownTypes);
        // A shape that has attributes of both is not known.
        if (!own.isPlain) facts.ownBound = facts.isPlain ? own.ownBound : std::nullopt;
        if (!own.isPlain) facts.bound.reset();
        facts.isPlain = facts.isPlain && own.isPlain;
    }
    if (!addsNames) return;
    facts.identity = {};
    facts.types.reset();
    facts.locations.reset();
    facts.bound.reset();
    facts.children = facts.children && names
                         ? std::optional(UnionOfNames({*facts.children, *names}))
                         : std::nullopt;
}

} // namespace

SubtreeFacts DescribeShare(SubtreeContext& context, const ShareState& state) {
    const std::string& path = context.path();
    const auto hasChild = ChildFacts(context);
    const auto origin = state.follow(path, false, hasChild);
    if (!origin) return {};
    if (origin->isHidden) return SubtreeFacts::Missing();
    const auto layers = state.layersOf(*origin, hasChild);
    if (!layers) return {};

    SubtreeFacts facts = DescribeLowest(context, state, layers->back());
    if (!facts.exists) return {};
    for (std::size_t i = layers->size() - 1; i-- > 0;) {
        const SubtreeFacts own = context.input(0, (*layers)[i]);
        if (!own.exists) return {};
        AddOwn(state, (*layers)[i], own, facts);
    }
    if (facts.exists == false) return facts;
    const bool mayHide = !origin->isShared && !state.keepsSources();
    if (mayHide && state.sources().isAbove(path)) {
        facts.identity = {};
        facts.locations.reset();
        if (facts.children) facts.children = state.sources().withoutListed(*facts.children, path);
    }
    AddChildren(context, facts);
    return facts;
}

std::shared_ptr<const Instances> DescribeInstancesOfShare(InstanceContext& context,
                                                          const ShareState& state) {
    const std::string& path = context.path();
    const auto hasChild = ChildFacts(context);
    const auto origin = state.follow(path, false, hasChild);
    if (!origin || origin->isHidden) return nullptr;
    if (!origin->isShared && !state.keepsSources() && state.sources().isAbove(path)) return nullptr;
    const auto layers = state.layersOf(*origin, hasChild);
    if (!layers || state.locations().leadsTo(layers->back())) return nullptr;
    for (std::size_t i = 0; i + 1 < layers->size(); ++i) {
        const auto names = NamesOf(state, (*layers)[i], context.input(0, (*layers)[i]));
        if (!names || names->getNumberOfValues() > 0) return nullptr;
    }
    return context.instances(0, layers->back());
}

} // namespace TellarOps
