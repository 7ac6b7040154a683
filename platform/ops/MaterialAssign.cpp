#include <string>

#include "AttrEdits.h"
#include "EditOp.h"
#include "LocationSearch.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

GroupAttribute MaterialOf(const LocationData& location) {
    const GroupAttribute& attrs = location.getAttrs();
    return attrs.getChildByIndex(attrs.findChild("material"));
}

bool HasMaterial(const LocationData& location) {
    return MaterialOf(location).isValid();
}

class MaterialAssign final : public EditOp {
public:
    MaterialAssign()
        : EditOp("MaterialAssign",
                 "Assigns a material: sets \"materialAssign\" to its path and, when that location "
                 "has a \"material\" group, \"material\" to this group.",
                 {{"material", "string", "The path of the material location. Required."}}) {}

    /// Warns also of a material that does not exist in the input, from which it would be copied,
    /// nor at its path in the whole scene.
    void check(CheckContext& context) const override {
        EditOp::check(context);
        const std::string& path = StateOf<MaterialAssignState>(context).material;
        const LocationData fromInput = context.input(0, path);
        if (HasMaterial(fromInput) || HasMaterial(context.scene(path))) return;
        constexpr auto kind = OxOpType::WarningKind::DeadAssignment;
        if (fromInput.doesLocationExist())
            context.warnOf(kind, "\"" + path + "\" has no material to assign");
        else
            context.warnOf(kind, "there is no material \"" + path + "\" to assign" +
                                     HintAboutPath(context, path));
    }

    LocationSet touchedThrough(const GroupAttribute& args, std::size_t,
                               const LocationSet& changed) const override {
        const std::string material = ArgReader(description(), args).location("material", "");
        if (!changed.mayContain(material)) return changed;
        return LocationSet::unionOf({changed, matchesOf(args)});
    }

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
        const GroupAttribute material = MaterialOf(InputAt(context, state.material));
        return material.isValid() ? WithChild(assigned, "material", material) : assigned;
    }

    EditedParts editedParts(const EditState&) const override {
        EditedParts edited;
        edited.others = true;
        return edited;
    }
};

} // namespace

const OxOpType::OpType* MaterialAssignOpType() {
    static const auto* type = new MaterialAssign;
    return type;
}

} // namespace TellarOps
