#include <optional>

#include "AttrEdits.h"
#include "EditOp.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

constexpr const char* kPrefix = "edit";

std::vector<OxOpType::Argument> Arguments() {
    std::vector<OxOpType::Argument> arguments = XFormArguments();
    arguments.push_back({"order", "string",
                         "\"after\" the location's own transform, in its parent's space, or "
                         "\"before\" it, in its own. Default: \"after\"."});
    return arguments;
}

class Transform final : public EditOp {
public:
    Transform()
        : EditOp("Transform",
                 "Adds a transform to the locations that match. Of the transforms given, scale "
                 "acts first on a point, then rotate, then translate; matrix before all of them.",
                 Arguments()) {}

protected:
    struct TransformState : EditState {
        using EditState::EditState;
        GroupAttribute xform; // invalid: nothing to do
        XFormSide side = XFormSide::Outermost;
    };

    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<TransformState>(args);
        state->xform = ReadXForm(args, NumberForm::AsGiven);
        const bool isAfter = args.choice("order", {"after", "before"}) == "after";
        state->side = isAfter ? XFormSide::Outermost : XFormSide::Innermost;
        return state;
    }

    GroupAttribute edit(CookContext& context, const GroupAttribute& attrs) const override {
        const TransformState& state = StateOf<TransformState>(context);
        if (!state.xform.isValid()) return attrs;
        return WithXFormEdit(attrs, state.xform, state.side, kPrefix);
    }

    EditedParts editedParts(const EditState& state) const override {
        EditedParts edited;
        edited.xform = static_cast<const TransformState&>(state).xform.isValid();
        return edited;
    }

    std::optional<GroupAttribute> editedXForm(const EditState& editState,
                                              const GroupAttribute& xform) const override {
        const auto& state = static_cast<const TransformState&>(editState);
        return EditedXForm(xform, state.xform, state.side, kPrefix);
    }
};

} // namespace

const OxOpType::OpType* TransformOpType() {
    static const auto* type = new Transform;
    return type;
}

} // namespace TellarOps
