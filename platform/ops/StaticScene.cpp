#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/AttributeDifference.h>
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

/// The locations of an Op without arguments are /root alone.
LocationSet AllLocationsOf(const GroupAttribute& args, const std::string& location) {
    if (!args.isValid()) return LocationSet::exactly({location});
    return LocationSet::unionOf(
        {LocationSet::subtrees({location}), LocationSet::ancestorsOf(location)});
}

/// False when more than a look at the values is needed.
bool AreKnownToBeEqual(const Attribute& a, const Attribute& b) {
    if (a.getHandle() == b.getHandle()) return true;
    const OxAttribute::Hash hash = a.getKeptHash();
    return hash != OxAttribute::Hash() && hash == b.getKeptHash();
}

bool HaveEqualNames(const GroupAttribute& a, const GroupAttribute& b) {
    if (a.getNumberOfChildren() != b.getNumberOfChildren()) return false;
    for (std::int64_t i = 0; i < a.getNumberOfChildren(); ++i)
        if (a.getChildNameView(i) != b.getChildNameView(i)) return false;
    return true;
}

/// The location in a description that a list of names leads to ("c", "world", "a", "type"): a child
/// location, or one with a child or an attribute that they lead to.
struct NamedLocation {
    std::string path;
    std::size_t levels = 0; ///< the number of names that lead to it
    bool isAttribute = false;
};

NamedLocation LocationAt(const std::string& start, const std::vector<std::string_view>& names) {
    NamedLocation location{start};
    while (location.levels + 1 < names.size() && names[location.levels] == "c") {
        location.path += '/' + DelimiterDecode(names[location.levels + 1]);
        location.levels += 2;
    }
    location.isAttribute = location.levels < names.size() && names[location.levels] == "a";
    return location;
}

/// Finds the locations that differ between two descriptions. Each part of them is compared once.
class DescriptionComparison {
public:
    LocationSet compare(const std::string& location, const GroupAttribute& before,
                        const GroupAttribute& after) {
        open.push_back({location, before, after});
        while (!open.empty()) {
            const Pair pair = std::move(open.back());
            open.pop_back();
            OxAttribute::ForEachDifference(
                pair.before, pair.after,
                [&](const std::vector<std::string_view>& names) { add(pair, names); });
        }
        return LocationSet::unionOf(
            {LocationSet::exactly(locations), LocationSet::subtrees(subtrees)});
    }

private:
    struct Pair {
        std::string path;
        GroupAttribute before;
        GroupAttribute after;
    };

    /// Takes note of a difference in two descriptions.
    void add(const Pair& pair, const std::vector<std::string_view>& names) {
        const NamedLocation location = LocationAt(pair.path, names);
        if (location.isAttribute) {
            if (locations.empty() || locations.back() != location.path)
                locations.push_back(location.path);
            return;
        }
        const bool isOther = names.size() > location.levels && names[location.levels] != "c";
        if (isOther) return; // neither attributes nor children
        GroupAttribute before = pair.before;
        GroupAttribute after = pair.after;
        for (std::size_t level = 0; level < location.levels; ++level) {
            before = before.getChildByIndex(before.findChild(names[level]));
            after = after.getChildByIndex(after.findChild(names[level]));
        }
        if (!before.isValid() || !after.isValid())
            subtrees.push_back(location.path); // not a group: a location that does not exist
        else
            compareLocation(location.path, before, after);
    }

    /// Compares descriptions that do not have the same parts.
    void compareLocation(const std::string& path, const GroupAttribute& before,
                         const GroupAttribute& after) {
        const GroupAttribute childrenBefore = ChildrenOf(before);
        const GroupAttribute children = ChildrenOf(after);
        const bool isEqual = HaveEqualNames(childrenBefore, children) &&
                             OxAttribute::HaveEqualContent(AttrsOf(before), AttrsOf(after));
        if (!isEqual) locations.push_back(path);
        if (!AreKnownToBeEqual(childrenBefore, children))
            compareChildren(path, childrenBefore, children);
    }

    void compareChildren(const std::string& path, const GroupAttribute& before,
                         const GroupAttribute& after) {
        for (std::int64_t i = 0; i < after.getNumberOfChildren(); ++i) {
            const std::string_view name = after.getChildNameView(i);
            compareChild(path, name, before.getChildByIndex(before.findChild(name, i)),
                         after.getChildByIndex(i));
        }
        for (std::int64_t i = 0; i < before.getNumberOfChildren(); ++i) {
            const std::string_view name = before.getChildNameView(i);
            if (after.findChild(name, i) < 0)
                compareChild(path, name, before.getChildByIndex(i), {});
        }
    }

    /// A child that is not a group is a location that does not exist.
    void compareChild(const std::string& path, std::string_view name, const GroupAttribute& before,
                      const GroupAttribute& after) {
        if (AreKnownToBeEqual(before, after)) return;
        std::string childPath = path + '/' + DelimiterDecode(name);
        if (before.isValid() && after.isValid())
            open.push_back({std::move(childPath), before, after});
        else
            subtrees.push_back(std::move(childPath));
    }

    std::vector<Pair> open;
    std::vector<std::string> locations;
    std::vector<std::string> subtrees;
};

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
                    ChildDescription(siblings, context.name(), context.probableIndex()));
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

    LocationSet touchedBy(const GroupAttribute& before,
                          const GroupAttribute& after) const override {
        const ArgReader argsBefore(description(), before);
        const ArgReader args(description(), after);
        const std::string locationBefore = locationOf(argsBefore);
        const std::string location = locationOf(args);
        if (!before.isValid() || !after.isValid() || locationBefore != location)
            return LocationSet::unionOf(
                {AllLocationsOf(before, locationBefore), AllLocationsOf(after, location)});
        if (directoryOf(argsBefore) != directoryOf(args)) return LocationSet::subtrees({location});
        return DescriptionComparison().compare(location, before, after);
    }

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<StaticSceneState>();
        state->location = locationOf(args);
        state->directory = directoryOf(args);
        args.group("a");
        args.group("c");
        return state;
    }

private:
    static std::string locationOf(const ArgReader& args) {
        return args.location("location", "/root");
    }
    static std::string directoryOf(const ArgReader& args) { return args.string("directory", ""); }

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
