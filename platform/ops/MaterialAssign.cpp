#include <string>

#include "AttrEdits.h"
#include "EditOp.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

class MaterialAssign final : public EditOp {
public:
    MaterialAssign()
        : EditOp("MaterialAssign",
                 "Assigns a material: sets \"materialAssign\" to its path and, when that location "
                 "has a \"material\" group, \"material\" to this group.",
                 {{"material", "string", "The path of the material location. Required."}}) {}

protected:
    struct MaterialAssignState : EditState {
        using EditState::EditState;
        std::string material;
        StringAttribute materialAssign;
    };

    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<MaterialAssignState>(args);
        state->material = args.location("material", "");
        state->materialAssign = StringAttribute(state->material);
        return state;
    }

    GroupAttribute edit(CookContext& context, const GroupAttribute& attrs) const override {
        const MaterialAssignState& state = StateOf<MaterialAssignState>(context);
        const GroupAttribute assigned = WithChild(attrs, "materialAssign", state.materialAssign);
        const GroupAttribute materialAttrs = InputAt(context, state.material).getAttrs();
        const GroupAttribute material(
            materialAttrs.getChildByIndex(materialAttrs.findChild("material")));
        return material.isValid() ? WithChild(assigned, "material", material) : assigned;
    }
};

} // namespace

const OxOpType::OpType* MaterialAssignOpType() {
    static const auto* type = new MaterialAssign;
    return type;
}

} // namespace TellarOps
