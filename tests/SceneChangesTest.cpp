#include <OxTellarProducers/SceneChanges.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/TellarError.h>

#include "RunTogether.h"
#include "SceneBuilders.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using OxLocationPath::LocationSet;
using TELLAR::CompareScenes;
using TELLAR::SceneChange;
using TELLAR::SceneChanges;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::pair<std::uint32_t, const char*> kMaskNames[] = {
    {TELLAR::kTransformChanged, "transform"},
    {TELLAR::kGeometryChanged, "geometry"},
    {TELLAR::kTopologyChanged, "topology"},
    {TELLAR::kMaterialChanged, "material"},
    {TELLAR::kVisibilityChanged, "visibility"},
    {TELLAR::kSettingsChanged, "settings"},
    {TELLAR::kTypeChanged, "type"},
    {TELLAR::kChildrenChanged, "children"},
    {TELLAR::kOtherChanged, "other"}};

/// "/root/a changed transform other(light)".
std::string LineOf(const SceneChange& change) {
    const char* const kinds[] = {" removed", " added", " changed"};
    std::string line = change.path + kinds[change.kind];
    if (change.kind == SceneChange::Changed && change.mask == TELLAR::kAllChanged)
        return line + " all";
    if (change.kind != SceneChange::Changed) return line;
    for (const auto& [mask, name] : kMaskNames)
        if (change.mask & mask) line += std::string(" ") + name;
    for (const std::string& name : change.attributes)
        line += "(" + name + ")";
    return line;
}

std::vector<std::string> LinesOf(const SceneChanges& changes) {
    std::vector<std::string> lines;
    for (const SceneChange& change : changes)
        lines.push_back(LineOf(change));
    return lines;
}

/// Compares two static scenes.
std::vector<std::string> Compared(const GroupAttribute& before, const GroupAttribute& after) {
    return LinesOf(CompareScenes(MakeClient(SceneTree(before)), MakeClient(SceneTree(after))));
}

/// /root > mesh, with these attributes.
GroupAttribute Mesh(const Children& attrs) {
    return Location({}, {{"mesh", Location(attrs)}});
}

GroupAttribute Named(std::initializer_list<const char*> names) {
    Children children;
    for (const char* const name : names)
        children.emplace_back(name, Location({}));
    return Location({}, children);
}

} // namespace

TEST(CompareScenes, FindsNothingBetweenEqualScenes) {
    EXPECT_THAT(Compared(Mesh({{"n", Int(1)}}), Mesh({{"n", Int(1)}})), IsEmpty());
    EXPECT_THAT(CompareScenes(nullptr, nullptr), IsEmpty());
}

TEST(CompareScenes, TakesAMissingClientForASceneWithoutLocations) {
    const auto client = MakeClient(SceneTree(Mesh({})));
    EXPECT_THAT(LinesOf(CompareScenes(nullptr, client)), ElementsAre("/root added"));
    EXPECT_THAT(LinesOf(CompareScenes(client, nullptr)), ElementsAre("/root removed"));
}

TEST(CompareScenes, ListsParentsFirstAndEachLocationOnce) {
    const auto scene = [](int number) {
        const GroupAttribute leaf = Location({{"n", Int(number)}});
        const GroupAttribute middle = Location({{"n", Int(number)}}, {{"x", leaf}, {"y", leaf}});
        return Location({}, {{"a", middle}, {"b", leaf}, {"same", Location({{"n", Int(0)}})}});
    };
    EXPECT_THAT(Compared(scene(1), scene(2)),
                ElementsAre("/root/a changed other(n)", "/root/a/x changed other(n)",
                            "/root/a/y changed other(n)", "/root/b changed other(n)"));
}

TEST(CompareScenes, ListsTheTopOfWhatIsAddedOrRemoved) {
    const GroupAttribute tree = Location({}, {{"below", Location({})}});
    const GroupAttribute both = Location({}, {{"old", tree}, {"both", Location({})}});
    const GroupAttribute next = Location({}, {{"both", Location({})}, {"new", tree}});
    EXPECT_THAT(Compared(both, next), ElementsAre("/root/old removed", "/root/new added"));
}

TEST(CompareScenes, TellsAnotherOrderOfChildrenFromNewChildren) {
    EXPECT_THAT(Compared(Named({"a", "b", "c"}), Named({"a", "c", "b"})),
                ElementsAre("/root changed children"));
    EXPECT_THAT(Compared(Named({"a", "b"}), Named({"new", "a", "b"})),
                ElementsAre("/root/new added"));
    EXPECT_THAT(Compared(Named({"a", "b", "c"}), Named({"a", "c"})),
                ElementsAre("/root/b removed"));
}

struct AttributeCase {
    const char* name;
    Children before;
    Children after;
    const char* difference;
};

class CompareAttribute : public testing::TestWithParam<AttributeCase> {};

TEST_P(CompareAttribute, HasTheMaskOfItsName) {
    EXPECT_THAT(Compared(Mesh(GetParam().before), Mesh(GetParam().after)),
                ElementsAre(std::string("/root/mesh changed ") + GetParam().difference));
}

Children Geometry(const Children& children) {
    return {{"geometry", Group(children)}};
}

INSTANTIATE_TEST_SUITE_P(
    , CompareAttribute,
    testing::Values(
        AttributeCase{"xform", {}, {{"xform", Group({{"matrix", Doubles({1})}})}}, "transform"},
        AttributeCase{"bound", {{"bound", Doubles({1})}}, {}, "geometry"},
        AttributeCase{"points", Geometry({{"point", Group({{"P", Doubles({1})}})}}),
                      Geometry({{"point", Group({{"P", Doubles({2})}})}}), "geometry"},
        AttributeCase{"arbitrary", Geometry({{"arbitrary", Group({{"st", Doubles({1})}})}}),
                      Geometry({{"arbitrary", Group({{"st", Doubles({2})}})}}), "geometry"},
        AttributeCase{"faces", Geometry({{"poly", Group({{"startIndex", Int(1)}})}}),
                      Geometry({{"poly", Group({{"startIndex", Int(2)}})}}), "topology"},
        AttributeCase{"creases", Geometry({}), Geometry({{"creaseSharpness", Doubles({2})}}),
                      "topology"},
        AttributeCase{"lens", Geometry({{"fov", Doubles({1})}}), Geometry({{"fov", Doubles({2})}}),
                      "other(geometry.fov)"},
        AttributeCase{"order", Geometry({{"fov", Int(1)}, {"near", Int(1)}}),
                      Geometry({{"near", Int(1)}, {"fov", Int(1)}}), "other(geometry)"},
        AttributeCase{"noGroup", {{"geometry", Int(1)}}, {{"geometry", Int(2)}}, "other(geometry)"},
        AttributeCase{"material", {}, {{"material", Group({})}}, "material"},
        AttributeCase{"assignment", {}, {{"materialAssign", Text("/root/m")}}, "material"},
        AttributeCase{"textures", {}, {{"textures", Group({})}}, "material"},
        AttributeCase{"visible", {{"visible", Int(1)}}, {{"visible", Int(0)}}, "visibility"},
        AttributeCase{"renderSettings", {}, {{"renderSettings", Group({})}}, "settings"},
        AttributeCase{"liveRender", {}, {{"liveRender", Int(1)}}, "settings"},
        AttributeCase{"liveRenderSettings", {}, {{"liveRenderSettings", Int(1)}}, "settings"},
        AttributeCase{"rendererSettings", {}, {{"lanternSettings", Int(1)}}, "settings"},
        AttributeCase{"type", {{"type", Text("a")}}, {{"type", Text("b")}}, "type"},
        AttributeCase{"otherType", {{"n", Int(1)}}, {{"n", Text("1")}}, "other(n)"},
        AttributeCase{"several",
                      {{"a", Int(1)}, {"xform", Int(1)}},
                      {{"b", Int(1)}},
                      "transform other(b)(a)"}),
    [](const testing::TestParamInfo<AttributeCase>& test) { return test.param.name; });

TEST(CompareScenes, ReportsAnErrorOfOneSceneAndGoesOnWithTheSiblings) {
    const std::string tag = UniqueTag();
    const auto scene = [&](const char* failing, int number) {
        const GroupAttribute child = Location({{"n", Int(number)}, {"tag", Text(tag)}});
        const GroupAttribute root = Location({}, {{"a", child}, {"b", child}, {"c", child}});
        return MakeClient(
            Group({{"scene", OpEntry("StaticScene", root)},
                   {"throw", OpEntry("TestThrow", Group({{"at", Text(failing)}}), {"scene"})}}));
    };
    const SceneChanges broken = CompareScenes(scene("nowhere", 1), scene("/root/b", 2));
    EXPECT_THAT(LinesOf(broken), ElementsAre("/root/a changed other(n)", "/root/b changed all",
                                             "/root/c changed other(n)"));
    EXPECT_FALSE(broken[1].oldError);
    const ErrorFacts facts = FactsOf(broken[1].newError);
    EXPECT_EQ(facts.location, "/root/b");
    EXPECT_THAT(facts.text, HasSubstr("It fails on purpose."));

    const SceneChanges repaired = CompareScenes(scene("/root/b", 1), scene("nowhere", 1));
    EXPECT_THAT(LinesOf(repaired), ElementsAre("/root/b changed all"));
    EXPECT_TRUE(repaired[0].oldError);
    EXPECT_FALSE(repaired[0].newError);

    EXPECT_THAT(LinesOf(CompareScenes(scene("/root/b", 1), scene("/root/b", 2))),
                ElementsAre("/root/a changed other(n)", "/root/c changed other(n)"));
}

TEST(CompareScenes, ReportsASceneWhoseOpIsUnknown) {
    const SceneChanges changes =
        CompareScenes(MakeClient(SceneTree(Mesh({}))), MakeClient(Group({{"a", OpEntry("No")}})));
    EXPECT_THAT(LinesOf(changes), ElementsAre("/root changed all"));
    EXPECT_THAT(FactsOf(changes[0].newError).text, HasSubstr("there is no op type of this name"));
}

TEST(CompareScenes, VisitsAChildOnceThatIsNamedTwice) {
    const auto scene = [](int endless) {
        return MakeClient(
            Group({{"tree", OpEntry("TestTree", Group({{"children", Texts({"a", "a", "b/c", ""})},
                                                       {"endless", Int(endless)},
                                                       {"tag", Int(endless)}}))},
                   {"count", OpEntry("TestCount", {}, {"tree"})}}));
    };
    EXPECT_THAT(LinesOf(CompareScenes(scene(0), scene(2))),
                ElementsAre("/root changed other(cook)", "/root/a changed other(cook)"));
}

TEST(CompareScenes, LooksOnlyWhereTheCallerSaysThatSomethingWasTouched) {
    const auto scene = [](int number) {
        const GroupAttribute child = Location({{"n", Int(number)}});
        return MakeClient(SceneTree(Location({{"n", Int(number)}}, {{"a", child}, {"b", child}})));
    };
    const auto before = scene(1);
    const auto after = scene(2);
    EXPECT_THAT(LinesOf(CompareScenes(before, after, LocationSet::exactly({"/root/b"}))),
                ElementsAre("/root/b changed other(n)"));
    EXPECT_FALSE(after->getCachedLocation("/root/a").isValid());
    EXPECT_THAT(CompareScenes(before, after, LocationSet()), IsEmpty());
}

TEST(CompareScenes, GoesToTheEndOfADeepScene) {
    const auto scene = [](int number) {
        GroupAttribute location = Location({{"n", Int(number)}});
        for (int depth = 0; depth < 500; ++depth)
            location = Location({}, {{"a", location}});
        return location;
    };
    const std::vector<std::string> lines = Compared(scene(1), scene(2));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].size(), std::string("/root").size() + 2 * 500 + 17);
}

TEST(CompareScenes, GivesEightThreadsTheSameAnswer) {
    const auto scene = [](int number) {
        Children groups;
        for (int i = 0; i < 20; ++i) {
            Children leaves;
            for (int j = 0; j < 20; ++j)
                leaves.emplace_back("leaf" + std::to_string(j), Location({{"n", Int(number * j)}}));
            groups.emplace_back("group" + std::to_string(i), Location({}, leaves));
        }
        return MakeClient(SceneTree(Location({{"tag", Text(UniqueTag())}}, groups)));
    };
    const auto before = scene(1);
    const auto after = scene(2);
    std::vector<std::vector<std::string>> lines(8);
    RunTogether(8, [&](int number) {
        lines[static_cast<std::size_t>(number)] = LinesOf(CompareScenes(before, after));
    });
    EXPECT_EQ(lines[0].size(), 1u + 20 * 19);
    for (const std::vector<std::string>& each : lines)
        EXPECT_EQ(each, lines[0]);
}
