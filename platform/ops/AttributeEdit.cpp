#include <algorithm>
#include <string>
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
    };

    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<AttributeEditState>(args);
        state->deleted = args.strings("delete");
        state->set = InFolder(args.string("directory", ""), args.group("set"));
        return state;
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
};

} // namespace

const OxOpType::OpType* AttributeEditOpType() {
    static const auto* type = new AttributeEdit;
    return type;
}

} // namespace TellarOps
