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

StringAttribute MergedNames(const std::vector<LocationData>& inputs) {
    std::vector<StringAttribute> lists;
    lists.reserve(inputs.size());
    for (const LocationData& data : inputs)
        lists.push_back(data.getPotentialChildren());
    return UnionOfNames(lists);
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

protected:
    std::shared_ptr<const State> parse(const ArgReader&) const override { return nullptr; }
};

} // namespace

const OxOpType::OpType* MergeOpType() {
    static const auto* type = new Merge;
    return type;
}

} // namespace TellarOps
