#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/DelimiterCodec.h>

#include "ChildNames.h"
#include "OpTypes.h"
#include "StaticDescription.h"
#include "StaticFacts.h"
#include "Textures.h"

namespace TellarOps {
namespace {

using OxAttribute::DelimiterDecode;

struct StaticSceneState : State {
    std::string location;
    std::string directory; // relative textures count from here; may be empty
    StaticFacts facts;
};

/// The description of a location at or below `location`; invalid when there is none.
template <typename Context>
GroupAttribute FindDescription(const Context& context, std::string_view location) {
    // The arguments have the layout of a location.
    if (context.path().size() == location.size())
        return context.args().isValid() ? context.args() : GroupAttribute(true);
    return Descend(context.args(), context.path(), location);
}

class StaticScene final : public BuiltinOp {
public:
    StaticScene()
        : BuiltinOp(
              {"StaticScene",
               1,
               "Presents a scene that its arguments hold: each location a group of "
               "attributes \"a\" and child locations \"c\".",
               {{"location", "string",
                 "The path of the location that the arguments describe; its ancestors are "
                 "made without attributes. Default: \"/root\"."},
                {"a", "group", "The location's attributes. Default: none."},
                {"c", "group",
                 "Its child locations by name, in delimiter encoding, each a group with \"a\" "
                 "and \"c\" of its own. Default: none."},
                DirectoryArgument()},
               "none"},
              Inputs::None) {}

    void cook(CookContext& context) const override {
        const GroupAttribute siblings(context.parentNote());
        const auto& state = StateOf<StaticSceneState>(context);
        const std::string& location = state.location;
        if (siblings.isValid())
            present(context, state,
                    ChildDescription(siblings, OxLocationPath::Name(context.path()),
                                     context.probableIndex()));
        else if (OxLocationPath::IsSelfOrBelow(context.path(), location))
            present(context, state, FindDescription(context, location));
        else
            cookAncestor(context, location);
    }

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        const auto& state = StateOf<StaticSceneState>(context);
        const std::string& path = context.path();
        if (OxLocationPath::IsSelfOrBelow(path, state.location)) {
            const GroupAttribute description = FindDescription(context, state.location);
            return description.isValid() ? state.facts.find(path, description)
                                         : SubtreeFacts::Missing();
        }
        if (!OxLocationPath::IsSelfOrBelow(state.location, path)) return SubtreeFacts::Missing();
        SubtreeFacts facts = OxOpType::DescribeLocation(
            GroupAttribute(), MakeNames({NameTowards(state.location, path)}));
        AddChildren(context, facts);
        return facts;
    }

    void check(CheckContext& context) const override {
        const auto& state = StateOf<StaticSceneState>(context);
        std::vector<std::pair<std::string, GroupAttribute>> open{
            {state.location, context.args().isValid() ? context.args() : GroupAttribute(true)}};
        while (!open.empty()) {
            context.countLocation();
            const auto [path, description] = std::move(open.back());
            open.pop_back();
            WarnOfMissingTextures(context, InFolder(state.directory, AttrsOf(description)), path);
            const GroupAttribute children = ChildrenOf(description);
            for (std::int64_t i = children.getNumberOfChildren(); i-- > 0;)
                open.emplace_back(path + '/' + DelimiterDecode(children.getChildNameView(i)),
                                  children.getChildByIndex(i));
        }
    }

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<StaticSceneState>();
        state->location = args.location("location", "/root");
        state->directory = args.string("directory", "");
        args.group("a");
        args.group("c");
        return state;
    }

private:
    static void cookAncestor(CookContext& context, const std::string& location) {
        if (!OxLocationPath::IsSelfOrBelow(location, context.path())) return;
        context.setAttrs(GroupAttribute());
        context.setPotentialChildren(MakeNames({NameTowards(location, context.path())}));
    }

    static void present(CookContext& context, const StaticSceneState& state,
                        const GroupAttribute& description) {
        if (!description.isValid()) return;
        context.setAttrs(InFolder(state.directory, AttrsOf(description)));
        const GroupAttribute children = ChildrenOf(description);
        if (children.getNumberOfChildren() == 0) return;
        context.setPotentialChildren(DecodedNames(children));
        context.setNote(
            children); // lets the cooks of the children find their descriptions directly
    }
};

} // namespace

const OxOpType::OpType* StaticSceneOpType() {
    static const auto* type = new StaticScene;
    return type;
}

} // namespace TellarOps
