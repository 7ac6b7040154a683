#include "ArrayFacts.h"

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

/// a * b + c for numbers that are not negative; nothing if that is too large.
std::optional<std::int64_t> MultiplyAdd(std::int64_t a, std::int64_t b, std::int64_t c) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    if (b != 0 && a > (most - c) / b) return std::nullopt;
    return a * b + c;
}

/// Adds what lies below a group of the tree to the facts about the subtree.
void AddInstances(SubtreeFacts& facts, const ArrayState& state, const Place& group,
                  const SubtreeFacts& source) {
    const InstanceTree::Range range = state.tree.instancesOf(group);
    const auto groups = static_cast<std::int64_t>(state.tree.numberOfGroupsBelow(group));
    const auto count = static_cast<std::int64_t>(range.end - range.begin);
    if (groups > 0 && facts.types) facts.types = *facts.types | OxOpType::kTypeGroup;
    if (facts.types && count > 0)
        facts.types = source.types ? std::optional(*facts.types | *source.types) : std::nullopt;
    if (facts.locations && source.locations)
        facts.locations = MultiplyAdd(count, *source.locations, *facts.locations + groups);
    else if (count > 0)
        facts.locations.reset();
    if (count == 0 || !facts.bound) return;
    const std::optional<Bounds> box = source.boundInParent();
    const Bounds moved = box ? state.placement->move(*box, range.begin, range.end) : Bounds();
    if (!box || !moved.isFinite())
        facts.bound.reset();
    else
        facts.bound->add(moved);
}

SubtreeFacts DescribeGroup(SubtreeContext& context, const ArrayState& state, const Place& group) {
    SubtreeFacts facts = FactsOfPlainGroup();
    const InstanceTree::Range range = state.tree.instancesOf(group);
    facts.children.reset();
    if (range.end - range.begin <= kMostNames) facts.children = state.tree.childNames(group);
    AddInstances(facts, state, group, context.input(0, state.source));
    return facts;
}

SubtreeFacts DescribeInstance(SubtreeContext& context, const ArrayState& state,
                              const Place& place) {
    SubtreeFacts facts = context.input(0, state.source + std::string(place.below));
    if (!place.below.empty() || facts.exists == false || !facts.xform) return facts;
    facts.xform = EditedXForm(*facts.xform, state.placement->transform(place.index),
                              XFormSide::Outermost, kInstancePrefix);
    return facts;
}

/// The names without those that the tree of instances takes for itself.
StringAttribute OtherNames(const ArrayState& state, const StringAttribute& names) {
    const auto sample = names.getNearestSample(0.0f);
    std::vector<std::string_view> others;
    for (const std::string_view name : sample)
        if (state.find(state.target + '/' + std::string(name)).kind == Place::Foreign)
            others.push_back(name);
    return others.size() == sample.size() ? names : MakeNames(others);
}

/// Adds the instances to the facts of the target, which has other children as well.
void DescribeTarget(SubtreeContext& context, const ArrayState& state, const SubtreeFacts& source,
                    SubtreeFacts& facts) {
    if (facts.children) facts.children = OtherNames(state, *facts.children);
    AddChildren(context, facts);
    const Place top = state.tree.top();
    AddInstances(facts, state, top, source);
    const InstanceTree::Range range = state.tree.instancesOf(top);
    if (range.end - range.begin > kMostNames) facts.children.reset();
    if (facts.children) facts.children = UnionOfNames({*facts.children, state.tree.topNames()});
}

/// The location is neither an instance nor below one.
SubtreeFacts DescribeSurroundings(SubtreeContext& context, const ArrayState& state) {
    const std::string& path = context.path();
    if (!state.keepsSource && IsSelfOrBelow(path, state.source)) return SubtreeFacts::Missing();
    SubtreeFacts facts = context.input(0);
    const bool leadsToTarget = IsSelfOrBelow(state.target, path);
    if (!leadsToTarget && !state.hidesSourceBelow(path)) return facts;
    if (!leadsToTarget && facts.exists == false) return facts;
    if (!facts.exists) return {};

    const SubtreeFacts source = context.input(0, state.source);
    if (!*facts.exists) facts = FactsOfPlainGroup();
    facts.identity = {};
    facts.locations.reset();
    if (facts.children && !state.keepsSource && OxLocationPath::Parent(state.source) == path)
        facts.children = WithoutName(*facts.children, OxLocationPath::Name(state.source));
    if (leadsToTarget) {
        facts.bound.reset();
        const bool areTypesKnown = facts.types && source.types;
        facts.types = areTypesKnown
                          ? std::optional(*facts.types | *source.types | OxOpType::kTypeGroup)
                          : std::nullopt;
    }
    if (path == state.target) {
        DescribeTarget(context, state, source, facts);
        return facts;
    }
    if (leadsToTarget && facts.children)
        facts.children = WithName(*facts.children, NameTowards(state.target, path));
    AddChildren(context, facts);
    return facts;
}

/// The instances below a group of the tree, or below the target.
class ArrayInstances final : public Instances {
public:
    ArrayInstances(const ArrayState& state, const Place& group, const Matrix& source)
        : placement(state.placement), tree(state.tree), group(group),
          range(tree.instancesOf(group)), source(source) {
        if (range.begin < range.end) names.push_back(tree.pathOf(range.begin, group));
    }

    std::int64_t count() const override {
        return static_cast<std::int64_t>(range.end - range.begin);
    }
    const std::vector<std::string>& prototypes() const override { return names; }

protected:
    void readRange(std::int64_t begin, std::int64_t end, std::int64_t* prototypes,
                   double* matrices) const override {
        for (std::int64_t i = begin; i < end; ++i) {
            if (prototypes) *prototypes++ = 0;
            if (!matrices) continue;
            const auto index = range.begin + static_cast<std::uint64_t>(i);
            multiply(placement->matrix(index), matrices);
            matrices += source.size();
        }
    }

    std::string pathOf(std::int64_t index) const override {
        return tree.pathOf(range.begin + static_cast<std::uint64_t>(index), group);
    }

private:
    /// The source's own transform acts first.
    void multiply(const Matrix& place, double* product) const {
        for (std::size_t row = 0; row < 4; ++row)
            for (std::size_t column = 0; column < 4; ++column) {
                double sum = 0;
                for (std::size_t i = 0; i < 4; ++i)
                    sum += source[4 * row + i] * place[4 * i + column];
                product[4 * row + column] = sum;
            }
    }

    std::shared_ptr<const Placement> placement;
    InstanceTree tree;
    Place group;
    InstanceTree::Range range;
    Matrix source;
    std::vector<std::string> names; // the first instance is the prototype
};

std::shared_ptr<const Instances> InstancesOfGroup(InstanceContext& context, const ArrayState& state,
                                                  const Place& group) {
    const SubtreeFacts source = context.input(0, state.source);
    if (!source.exists.value_or(false) || !source.xform) return nullptr;
    const std::optional<Matrix> matrix = OxXFormUtil::RestingMatrix(*source.xform);
    return matrix ? std::make_shared<ArrayInstances>(state, group, *matrix) : nullptr;
}

/// Whether the target has no children but the instances.
bool HasOnlyInstances(InstanceContext& context, const ArrayState& state) {
    const SubtreeFacts input = context.input(0, state.target);
    return input.children && OtherNames(state, *input.children).getNumberOfValues() == 0;
}

} // namespace

SubtreeFacts DescribeArray(SubtreeContext& context, const ArrayState& state) {
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

std::shared_ptr<const Instances> DescribeArrayInstances(InstanceContext& context,
                                                        const ArrayState& state) {
    const std::string& path = context.path();
    const Place place = state.find(path);
    if (place.kind == Place::Missing) return nullptr;
    if (place.kind == Place::Group) return InstancesOfGroup(context, state, place);
    if (place.kind == Place::Instance)
        return context.instances(0, state.source + std::string(place.below));
    if (path == state.target)
        return HasOnlyInstances(context, state) ? InstancesOfGroup(context, state, state.tree.top())
                                                : nullptr;
    const bool isChanged = IsSelfOrBelow(state.target, path) || state.hidesSourceBelow(path);
    const bool isHidden = !state.keepsSource && IsSelfOrBelow(path, state.source);
    return isChanged || isHidden ? nullptr : context.instances(0, path);
}

} // namespace TellarOps
