#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "ChildNames.h"
#include "MergeCheck.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

/// The location's data from the inputs that have it, in input order. Inputs that present the same
/// record count as one.
std::vector<LocationData> ExistingInputs(CookContext& context) {
    std::vector<LocationData> existing;
    for (std::size_t index = 0; index < context.numberOfInputs(); ++index) {
        LocationData data = context.input(index);
        if (!data.doesLocationExist()) continue;
        if (existing.empty() || existing.back().getRecord() != data.getRecord())
            existing.push_back(std::move(data));
    }
    return existing;
}

GroupAttribute MergedAttrs(const std::vector<LocationData>& inputs) {
    OxAttribute::GroupBuilder builder;
    std::size_t given = 0;
    GroupAttribute last;
    for (const LocationData& data : inputs) {
        const GroupAttribute& attrs = data.getAttrs();
        if (!attrs.isValid()) continue;
        ++given;
        last = attrs;
        builder.setGroupInherit(attrs.getGroupInherit());
        builder.deepUpdate(attrs);
    }
    return given > 1 ? builder.build() : last;
}

void AddTypes(std::optional<std::uint32_t>& types, const std::optional<std::uint32_t>& more) {
    types = types && more ? std::optional(*types | *more) : std::nullopt;
}

StringAttribute MergedNames(const std::vector<LocationData>& inputs) {
    std::vector<StringAttribute> lists;
    lists.reserve(inputs.size());
    for (const LocationData& data : inputs)
        lists.push_back(data.getPotentialChildren());
    return UnionOfNames(lists);
}

GroupAttribute MergedXForms(const std::vector<SubtreeFacts>& inputs) {
    OxAttribute::GroupBuilder builder;
    for (const SubtreeFacts& facts : inputs)
        if (facts.xform->isValid())
            builder.deepUpdate(GroupAttribute({{"xform", *facts.xform}}, true));
    return builder.build().getChildByName("xform");
}

/// The facts about a location that all inputs have, alone, and the types of its subtree. The shape
/// of a location is known if it comes from one input only.
SubtreeFacts MergedFacts(const std::vector<SubtreeFacts>& inputs) {
    SubtreeFacts merged = SubtreeFacts::Missing();
    merged.exists = true;
    merged.locations.reset();
    merged.bound.reset();
    std::vector<StringAttribute> names;
    std::size_t shapes = 0;
    for (const SubtreeFacts& facts : inputs) {
        AddTypes(merged.types, facts.types);
        AddTypes(merged.ownTypes, facts.ownTypes);
        if (!facts.xform) merged.xform.reset();
        if (!facts.children) merged.children.reset();
        names.push_back(facts.children.value_or(StringAttribute()));
        if (facts.isPlain) continue;
        ++shapes;
        merged.isPlain = false;
        merged.ownBound = facts.ownBound;
    }
    if (shapes > 1) merged.ownBound.reset();
    if (merged.xform) merged.xform = MergedXForms(inputs);
    if (merged.children) merged.children = UnionOfNames(names);
    return merged;
}

class Merge final : public BuiltinOp {
public:
    Merge()
        : BuiltinOp({"Merge",
                     1,
                     "Presents all locations of all inputs. Where several have a location, their "
                     "attributes are merged, later inputs winning, and their children united.",
                     {},
                     "any number"},
                    Inputs::Any) {}

    /// Warns of inputs that are the same scene, and of locations to which several inputs give a
    /// type.
    void check(CheckContext& context) const override { CheckMerge(context); }

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        std::vector<SubtreeFacts> inputs;
        for (std::size_t index = 0; index < context.numberOfInputs(); ++index) {
            SubtreeFacts facts = context.input(index);
            if (!facts.exists) return {};
            if (*facts.exists) inputs.push_back(std::move(facts));
        }
        if (inputs.empty()) return SubtreeFacts::Missing();
        if (inputs.size() == 1) return inputs.front();
        SubtreeFacts facts = MergedFacts(inputs);
        AddChildren(context, facts);
        return facts;
    }

    /// The instances below a location are known if they come from one input, and no other input has
    /// anything below it.
    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const override {
        std::optional<std::size_t> source;
        for (std::size_t index = 0; index < context.numberOfInputs(); ++index) {
            const SubtreeFacts facts = context.input(index);
            if (!facts.children) return nullptr;
            if (facts.children->getNumberOfValues() == 0) continue;
            if (source) return nullptr;
            source = index;
        }
        return source ? context.instances(*source, context.path()) : nullptr;
    }

    void cook(CookContext& context) const override {
        const std::vector<LocationData> inputs = ExistingInputs(context);
        if (inputs.empty()) return;
        if (inputs.size() == 1) {
            context.pass(inputs.front());
            return;
        }
        context.setAttrs(MergedAttrs(inputs));
        context.setPotentialChildren(MergedNames(inputs));
    }

    /// There are no arguments, and a single input is passed on.
    LocationSet touchedBy(const GroupAttribute&, const GroupAttribute&) const override {
        return {};
    }
    LocationSet touchedThrough(const GroupAttribute&, std::size_t,
                               const LocationSet& changed) const override {
        return changed;
    }

protected:
    std::shared_ptr<const State> parse(const ArgReader&) const override { return nullptr; }
};

} // namespace

const OxOpType::OpType* MergeOpType() {
    static const auto* type = new Merge;
    return type;
}

} // namespace TellarOps
