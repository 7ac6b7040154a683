#include "InstancingFacts.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AttrEdits.h"
#include "ChildNames.h"

namespace TellarOps {
namespace {

using OxLocationPath::IsSelfOrBelow;
using OxXFormUtil::Bounds;
using Place = InstanceTree::Place;

// The names of a location's children are a fact only up to this many.
constexpr std::uint64_t kMostNames = 1000;
// Nothing is told of more sources than this, because each is a question to the input.
constexpr std::uint32_t kMostSources = 1000;
// The boxes of so many instances of several sources are moved one by one.
constexpr std::uint64_t kMostMoved = 10000;

/// a * b + c for numbers that are not negative; nothing if that is too large.
std::optional<std::int64_t> MultiplyAdd(std::int64_t a, std::int64_t b, std::int64_t c) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    if (b != 0 && a > (most - c) / b) return std::nullopt;
    return a * b + c;
}

/// The facts of all sources, in their order. Those of unused ones are not asked for.
using Sources = std::vector<SubtreeFacts>;

Sources DescribeSources(SubtreeContext& context, const InstancingState& state,
                        const std::vector<InstanceChoice::Use>& uses) {
    Sources sources(uses.size());
    for (std::uint32_t index = 0; index < sources.size(); ++index)
        if (uses[index].count > 0)
            sources[index] = context.input(0, std::string(state.sources[index]));
    return sources;
}

void AddTypes(SubtreeFacts& facts, const std::optional<std::uint32_t>& types) {
    facts.types = facts.types && types ? std::optional(*facts.types | *types) : std::nullopt;
}

/// The boxes of the sources under the transforms of the instances in a range. Not known if that of
/// a source is not.
std::optional<Bounds> BoundOfInstances(const InstancingState& state,
                                       const InstanceTree::Range& range,
                                       const std::vector<InstanceChoice::Use>& uses,
                                       const Sources& sources) {
    std::vector<Bounds> boxes(sources.size());
    Bounds all;
    for (std::size_t source = 0; source < sources.size(); ++source) {
        if (uses[source].count == 0) continue;
        const std::optional<Bounds> box = sources[source].boundInParent();
        if (!box) return std::nullopt;
        boxes[source] = *box;
        all.add(*box);
    }
    const std::uint64_t count = range.end - range.begin;
    const bool areSame = sources.size() == 1 && state.choice->numberShown(range) == count;
    if (areSame || count > kMostMoved) return state.placement->move(all, range.begin, range.end);
    Bounds moved;
    for (std::uint64_t instance = range.begin; instance < range.end; ++instance) {
        if (state.choice->isHidden(instance)) continue;
        const Bounds one =
            state.placement->move(boxes[state.choice->sourceOf(instance)], instance, instance + 1);
        if (!one.isFinite()) return std::nullopt;
        moved.add(one);
    }
    return moved;
}

/// Adds what lies below a group of the tree to the facts about the subtree.
void AddInstances(SubtreeContext& context, const InstancingState& state, const Place& group,
                  SubtreeFacts& facts) {
    const InstanceTree::Range range = state.tree.instancesOf(group);
    if (state.sources.size() > kMostSources) {
        facts.types.reset();
        facts.locations.reset();
        facts.bound.reset();
        return;
    }
    const auto uses = state.choice->usesIn(range, state.sources.size());
    const Sources sources = DescribeSources(context, state, uses);
    const auto groups = static_cast<std::int64_t>(state.tree.numberOfGroupsBelow(group));
    if (groups > 0) AddTypes(facts, OxOpType::kTypeGroup);
    if (facts.locations) facts.locations = MultiplyAdd(groups, 1, *facts.locations);
    bool isAny = false;
    for (std::size_t source = 0; source < sources.size(); ++source) {
        const auto count = static_cast<std::int64_t>(uses[source].count);
        if (count == 0) continue;
        isAny = true;
        AddTypes(facts, sources[source].types);
        const std::optional<std::int64_t> locations = sources[source].locations;
        facts.locations = facts.locations && locations
                              ? MultiplyAdd(count, *locations, *facts.locations)
                              : std::nullopt;
    }
    if (!isAny || !facts.bound) return;
    const std::optional<Bounds> moved = BoundOfInstances(state, range, uses, sources);
    if (!moved || !moved->isFinite())
        facts.bound.reset();
    else
        facts.bound->add(*moved);
}

SubtreeFacts DescribeGroup(SubtreeContext& context, const InstancingState& state,
                           const Place& group) {
    SubtreeFacts facts = FactsOfPlainGroup();
    const InstanceTree::Range range = state.tree.instancesOf(group);
    facts.children.reset();
    if (range.end - range.begin <= kMostNames) facts.children = state.childNames(group);
    AddInstances(context, state, group, facts);
    return facts;
}

SubtreeFacts DescribeInstance(SubtreeContext& context, const InstancingState& state,
                              const Place& place) {
    if (state.choice->isHidden(place.index)) return SubtreeFacts::Missing();
    SubtreeFacts facts = context.input(0, state.sourceOf(place.index) + std::string(place.below));
    if (!place.below.empty() || facts.exists == false || !facts.xform) return facts;
    facts.xform = EditedXForm(*facts.xform, state.placement->transform(place.index),
                              XFormSide::Outermost, kInstancePrefix);
    return facts;
}

/// The names without those that the tree of instances takes for itself.
StringAttribute OtherNames(const InstancingState& state, const StringAttribute& names) {
    const auto sample = names.getNearestSample(0.0f);
    std::vector<std::string_view> others;
    for (const std::string_view name : sample)
        if (state.find(state.target + '/' + std::string(name)).kind == Place::Foreign)
            others.push_back(name);
    return others.size() == sample.size() ? names : MakeNames(others);
}

/// Adds the instances to the facts of the target, which has other children as well.
void DescribeTarget(SubtreeContext& context, const InstancingState& state, SubtreeFacts& facts) {
    if (facts.children) facts.children = OtherNames(state, *facts.children);
    AddChildren(context, facts);
    const Place top = state.tree.top();
    AddInstances(context, state, top, facts);
    const InstanceTree::Range range = state.tree.instancesOf(top);
    if (range.end - range.begin > kMostNames) facts.children.reset();
    if (facts.children) facts.children = UnionOfNames({*facts.children, state.childNames(top)});
}

/// The types of all sources, with groups; nothing if they are not known.
std::optional<std::uint32_t> TypesOfSources(SubtreeContext& context, const InstancingState& state) {
    if (state.sources.size() > kMostSources) return std::nullopt;
    std::uint32_t types = OxOpType::kTypeGroup;
    for (std::uint32_t index = 0; index < state.sources.size(); ++index) {
        const SubtreeFacts source = context.input(0, std::string(state.sources[index]));
        if (!source.types) return std::nullopt;
        types |= *source.types;
    }
    return types;
}

/// The location is neither an instance nor below one.
SubtreeFacts DescribeSurroundings(SubtreeContext& context, const InstancingState& state) {
    const std::string& path = context.path();
    if (state.hides(path)) return SubtreeFacts::Missing();
    SubtreeFacts facts = context.input(0);
    const bool leadsToTarget = IsSelfOrBelow(state.target, path);
    if (!leadsToTarget && !state.hidesBelow(path)) return facts;
    if (!leadsToTarget && facts.exists == false) return facts;
    if (!facts.exists) return {};

    if (!*facts.exists) facts = FactsOfPlainGroup();
    facts.identity = {};
    facts.locations.reset();
    if (facts.children && state.hidesBelow(path))
        facts.children = state.sources.withoutListed(*facts.children, path);
    if (leadsToTarget) {
        facts.bound.reset();
        AddTypes(facts, TypesOfSources(context, state));
    }
    if (path == state.target) {
        DescribeTarget(context, state, facts);
        return facts;
    }
    if (leadsToTarget && facts.children)
        facts.children = WithName(*facts.children, NameTowards(state.target, path));
    AddChildren(context, facts);
    return facts;
}

/// a * b: a acts first.
void Multiply(const Matrix& a, const Matrix& b, double* product) {
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t column = 0; column < 4; ++column) {
            double sum = 0;
            for (std::size_t i = 0; i < 4; ++i)
                sum += a[4 * row + i] * b[4 * i + column];
            product[4 * row + column] = sum;
        }
}

/// A source as a prototype: its own transform, and its index among the prototypes.
struct Prototype {
    Matrix matrix;
    std::int64_t index = 0;
};

/// The instances below a group of the tree, or below the target.
class InstancesOfTree final : public Instances {
public:
    /// `prototypes` are those of all sources, `names` the first instances that show them.
    InstancesOfTree(const InstancingState& state, const Place& group,
                    std::vector<Prototype> prototypes, std::vector<std::string> names)
        : placement(state.placement), choice(state.choice), tree(state.tree), group(group),
          range(tree.instancesOf(group)), ofSources(std::move(prototypes)),
          names(std::move(names)) {}

    std::int64_t count() const override {
        return static_cast<std::int64_t>(choice->numberShown(range));
    }
    const std::vector<std::string>& prototypes() const override { return names; }

protected:
    void readRange(std::int64_t begin, std::int64_t end, std::int64_t* prototypes,
                   double* matrices) const override {
        std::uint64_t instance = instanceAt(begin);
        for (std::int64_t i = begin; i < end; ++i, instance = choice->nextShown(instance + 1)) {
            const Prototype& prototype = ofSources[choice->sourceOf(instance)];
            if (prototypes) *prototypes++ = prototype.index;
            if (!matrices) continue;
            Multiply(prototype.matrix, placement->matrix(instance), matrices);
            matrices += prototype.matrix.size();
        }
    }

    std::string pathOf(std::int64_t index) const override {
        return tree.pathOf(instanceAt(index), group);
    }

private:
    std::uint64_t instanceAt(std::int64_t index) const {
        return choice->shown(range.begin, static_cast<std::uint64_t>(index));
    }

    std::shared_ptr<const Placement> placement;
    std::shared_ptr<const InstanceChoice> choice;
    InstanceTree tree;
    Place group;
    InstanceTree::Range range;
    std::vector<Prototype> ofSources;
    std::vector<std::string> names;
};

std::shared_ptr<const Instances>
InstancesOfGroup(InstanceContext& context, const InstancingState& state, const Place& group) {
    if (state.placement->isMoving() || state.sources.size() > kMostSources) return nullptr;
    const auto uses = state.choice->usesIn(state.tree.instancesOf(group), state.sources.size());
    const Sources sources = DescribeSources(context, state, uses);
    std::vector<Prototype> prototypes(sources.size());
    std::vector<std::string> names;
    for (std::size_t source = 0; source < sources.size(); ++source) {
        if (uses[source].count == 0) continue;
        const SubtreeFacts& facts = sources[source];
        if (!facts.exists.value_or(false) || !facts.xform) return nullptr;
        const std::optional<Matrix> matrix = OxXFormUtil::RestingMatrix(*facts.xform);
        if (!matrix) return nullptr;
        prototypes[source] = {*matrix, static_cast<std::int64_t>(names.size())};
        names.push_back(state.tree.pathOf(uses[source].first, group));
    }
    return std::make_shared<InstancesOfTree>(state, group, std::move(prototypes), std::move(names));
}

/// Whether the target has no children but the instances.
bool HasOnlyInstances(InstanceContext& context, const InstancingState& state) {
    const SubtreeFacts input = context.input(0, state.target);
    return input.children && OtherNames(state, *input.children).getNumberOfValues() == 0;
}

} // namespace

SubtreeFacts DescribeInstancing(SubtreeContext& context, const InstancingState& state) {
    const Place place = state.find(context.path());
    switch (place.kind) {
    case Place::Group:
        return DescribeGroup(context, state, place);
    case Place::Instance:
        return DescribeInstance(context, state, place);
    case Place::Missing:
        return SubtreeFacts::Missing();
    case Place::Foreign:
        break;
    }
    return DescribeSurroundings(context, state);
}

std::shared_ptr<const Instances> DescribeInstancesOf(InstanceContext& context,
                                                     const InstancingState& state) {
    const std::string& path = context.path();
    const Place place = state.find(path);
    if (place.kind == Place::Missing) return nullptr;
    if (place.kind == Place::Group) return InstancesOfGroup(context, state, place);
    if (place.kind == Place::Instance) {
        if (state.choice->isHidden(place.index)) return nullptr;
        return context.instances(0, state.sourceOf(place.index) + std::string(place.below));
    }
    if (path == state.target)
        return HasOnlyInstances(context, state) ? InstancesOfGroup(context, state, state.tree.top())
                                                : nullptr;
    const bool isChanged = IsSelfOrBelow(state.target, path) || state.hidesBelow(path);
    return isChanged || state.hides(path) ? nullptr : context.instances(0, path);
}

} // namespace TellarOps
