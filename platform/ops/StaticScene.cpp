#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/DelimiterCodec.h>

#include "ChildNames.h"
#include "OpTypes.h"
#include "Textures.h"

namespace TellarOps {
namespace {

using OxAttribute::DelimiterDecode;
using OxAttribute::DelimiterEncode;

struct StaticSceneState : State {
    std::string location;
    std::string directory; // relative textures count from here; may be empty
};

/// Whether the name needs encoding or looks like an encoded one.
bool HasEncodedCharacter(std::string_view name) {
    bool has = false;
    for (const char c : name)
        has |= c == '.' || c == '/' || c == '%' || c == '\0';
    return has;
}

/// The index of the child whose decoded name is `name`, or -1.
std::int64_t FindEncoded(const GroupAttribute& children, std::string_view name, std::int64_t hint) {
    if (!HasEncodedCharacter(name)) return children.findChild(name, hint);
    const std::int64_t index = children.findChild(DelimiterEncode(name), hint);
    if (index >= 0) return index;
    // The name may also be written without encoding, unless it looks like an encoded one.
    return DelimiterDecode(name) == name ? children.findChild(name, hint) : -1;
}

GroupAttribute ChildrenOf(const GroupAttribute& description) {
    return description.getChildByIndex(description.findChild("c", 1));
}

GroupAttribute AttrsOf(const GroupAttribute& description) {
    return description.getChildByIndex(description.findChild("a", 0));
}

/// Invalid when there is no such child or it is not a group.
GroupAttribute ChildDescription(const GroupAttribute& children, std::string_view name,
                                std::int64_t hint) {
    return children.getChildByIndex(FindEncoded(children, name, hint));
}

/// The description of `path`, which lies below `location`, found from the description of
/// `location`.
GroupAttribute Descend(GroupAttribute description, std::string_view path,
                       std::string_view location) {
    while (description.isValid() && path.size() > location.size()) {
        const std::string_view name = NameTowards(path, location);
        location = path.substr(0, location.size() + 1 + name.size());
        description = ChildDescription(ChildrenOf(description), name, -1);
    }
    return description;
}

StringAttribute DecodedNames(const GroupAttribute& children) {
    const auto count = static_cast<std::size_t>(children.getNumberOfChildren());
    std::vector<std::string_view> names;
    names.reserve(count);
    bool anyEncoded = false;
    for (std::size_t index = 0; index < count; ++index) {
        names.push_back(children.getChildNameView(static_cast<std::int64_t>(index)));
        anyEncoded = anyEncoded || names.back().find('%') != std::string_view::npos;
    }
    if (!anyEncoded) return MakeNames(names);
    std::vector<std::string> decoded;
    decoded.reserve(count);
    for (std::string_view& name : names) {
        decoded.push_back(DelimiterDecode(name));
        name = decoded.back();
    }
    return MakeNames(names);
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
            present(context, state, findDescription(context, location));
        else
            cookAncestor(context, location);
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

    static GroupAttribute findDescription(const CookContext& context, std::string_view location) {
        // The arguments have the layout of a location.
        if (context.path().size() == location.size())
            return context.args().isValid() ? context.args() : GroupAttribute(true);
        return Descend(context.args(), context.path(), location);
    }
};

} // namespace

const OxOpType::OpType* StaticSceneOpType() {
    static const auto* type = new StaticScene;
    return type;
}

} // namespace TellarOps
