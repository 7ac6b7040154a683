#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "EditOp.h"
#include "OpTypes.h"
#include "Textures.h"

namespace TellarOps {
namespace {

class AttributeEdit final : public EditOp {
public:
    AttributeEdit()
        : EditOp("AttributeEdit",
                 "Deletes and sets attributes of the locations that match, in this order.",
                 {{"delete", "string[]", "Dotted names of attributes to delete. Default: none."},
                  {"set", "group",
                   "Attributes to set; groups are merged with those there. Default: none."},
                  DirectoryArgument()}) {}

    void check(CheckContext& context) const override {
        EditOp::check(context);
        WarnOfMissingTextures(context, StateOf<AttributeEditState>(context).set, {});
    }

protected:
    struct AttributeEditState : EditState {
        using EditState::EditState;
        std::vector<std::string> deleted;
        GroupAttribute set;
        EditedParts edited;
    };

    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<AttributeEditState>(args);
        state->deleted = args.strings("delete");
        state->set = InFolder(args.string("directory", ""), args.group("set"));
        for (const std::string& name : state->deleted)
            addEdited(name, state->edited);
        for (std::int64_t i = 0; i < state->set.getNumberOfChildren(); ++i)
            addEdited(state->set.getChildNameView(i), state->edited);
        return state;
    }

    static void addEdited(std::string_view dottedName, EditedParts& edited) {
        const std::string_view name = dottedName.substr(0, dottedName.find('.'));
        if (name == "type")
            edited.type = true;
        else if (name == "geometry" || name == "bound")
            edited.shape = true;
        else if (name == "xform")
            edited.xform = true;
        else
            edited.others = true;
    }

    GroupAttribute edit(CookContext& context, const GroupAttribute& attrs) const override {
        const AttributeEditState& state = StateOf<AttributeEditState>(context);
        const bool deletesAny =
            std::any_of(state.deleted.begin(), state.deleted.end(), [&](const std::string& name) {
                return attrs.getChildByName(name).isValid();
            });
        if (!deletesAny && state.set.getNumberOfChildren() == 0) return attrs;

        OxAttribute::GroupBuilder builder;
        builder.setGroupInherit(attrs.getGroupInherit());
        builder.update(attrs);
        for (const std::string& name : state.deleted)
            builder.del(name);
        builder.deepUpdate(state.set);
        return builder.build();
    }

    EditedParts editedParts(const EditState& state) const override {
        return static_cast<const AttributeEditState&>(state).edited;
    }

    // A location whose type is deleted is a group.
    std::optional<std::uint32_t> editedTypes(const EditState& state) const override {
        const GroupAttribute& set = static_cast<const AttributeEditState&>(state).set;
        const StringAttribute type(set.getChildByIndex(set.findChild("type")));
        return OxOpType::TypeBit(type.getValueView());
    }
};

} // namespace

const OxOpType::OpType* AttributeEditOpType() {
    static const auto* type = new AttributeEdit;
    return type;
}

} // namespace TellarOps
