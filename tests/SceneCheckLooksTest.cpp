// What the rules for materials, textures, lights, cameras and render settings find, and what they
// must not take for a problem. One
// defect for each rule, and what is printed about it, are in tests/tellar/check_defects.py.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CheckScenes.h"
#include "TestOps.h"

using namespace TellarTest;
using namespace OxAttribute;

// Materials and textures --------------------------------------------------------------------------

namespace {

Children Node(const char* name, const Children& more = {}) {
    Children node{{"name", Text(name)}, {"type", Text("standard_surface")}};
    node.insert(node.end(), more.begin(), more.end());
    return node;
}

Children Networked(const Children& nodes, const Children& more = {}) {
    Children material{{"style", Text("network")},
                      {"terminals", Group({{"surface", Text("s")}, {"surfacePort", Text("out")}})},
                      {"nodes", Group(nodes)}};
    material.insert(material.end(), more.begin(), more.end());
    return {{"material", Group(material)}};
}

GroupAttribute Feeds(const char* input, const char* source) {
    return Group({{input, Text(source)}});
}

} // namespace

TEST(MaterialRules, FindNodesByTheirKeysAndNames) {
    const Children nodes{
        {"s", Group(Node("s", {{"connections", Feeds("baseColor", " out @ wood ")}}))},
        {"key", Group(Node("wood", {{"connections", Group({{"in", Feeds("a", "r@grain")}})}}))},
        {"grain", Group(Node("grain"))}};
    EXPECT_EQ(RulesOf(CheckLocation(Networked(nodes))), Names{});
}

TEST(MaterialRules, FindConnectionsThatAreNone) {
    const auto problems = [](const char* source) {
        return ProblemsOf(CheckLocation(Networked(
                              {{"s", Group(Node("s", {{"connections", Feeds("a", source)}}))}})),
                          "material-node");
    };
    const std::string place = "/root/it: material.nodes.s.connections.a: ";
    EXPECT_EQ(problems("paint"), Names{place + "\"paint\" is no connection \"port@node\""});
    EXPECT_EQ(problems("out@"), Names{place + "\"out@\" is no connection \"port@node\""});
    EXPECT_EQ(problems("out@t"), Names{place + "there is no node \"t\""});
}

TEST(MaterialRules, FindNodesWithoutAType) {
    EXPECT_EQ(ProblemsOf(CheckLocation(Networked({{"s", Group({{"name", Text("s")}})}})),
                         "material-node"),
              Names{"/root/it: material.nodes.s: it has no type"});
}

TEST(MaterialRules, LookAtTheInterfaceOfExposedParametersOnly) {
    const auto rules = [](const char* source, const char* exposed) {
        return RulesOf(CheckLocation(
            Networked({{"s", Group(Node("s"))}},
                      {{"parameters", Group({{exposed, Doubles({1})}})},
                       {"interface", Group({{"wear", Group({{"src", Text(source)}})}})}})));
    };
    EXPECT_EQ(rules("s.roughness", "wear"), Names{});
    EXPECT_EQ(rules("t.roughness", "wear"), Names{"material-node"});
    EXPECT_EQ(rules("t.roughness", "other"), Names{});
    EXPECT_EQ(rules("s", "wear"), Names{"material-node"});
}

TEST(MaterialRules, FindACircleOfSeveralNodes) {
    const auto loop = [](const char* last) {
        return RulesOf(CheckLocation(
            Networked({{"s", Group(Node("s", {{"connections", Feeds("a", "out@b")}}))},
                       {"b", Group(Node("b", {{"connections", Feeds("a", "out@c")}}))},
                       {"c", Group(Node("c", {{"connections", Feeds("a", last)}}))},
                       {"d", Group(Node("d"))}})));
    };
    EXPECT_EQ(loop("out@d"), Names{});
    EXPECT_EQ(loop("out@b"), Names{"material-loop"});
}

TEST(MaterialRules, TakeMaterialsThatAreCopiedForUsed) {
    const auto material = Location({{"type", Text("material")}, {"material", Matte()}});
    const auto unused =
        Location({{"type", Text("material")}, {"material", Group({{"other", Int(1)}})}});
    const GroupAttribute scene =
        SceneTree(Location({}, {{"red", material}, {"blue", unused}, {"ball", Location(Ball(1))}}));
    EXPECT_EQ(ProblemsOf(Check(scene), "material-unused"),
              Names{"/root/blue: no location has this material"});
}

TEST(MaterialRules, FindAssignmentsWithoutEffect) {
    const auto problems = [](const Children& target) {
        const auto ball = Location({{"materialAssign", Text("/root/red")}});
        return ProblemsOf(Check(SceneTree(Location({}, {{"red", Location(target)}, {"it", ball}}))),
                          "material-missing");
    };
    const std::string place = "/root/it: materialAssign: ";
    EXPECT_EQ(problems({{"type", Text("group")}}), Names{place + "\"/root/red\" has no material"});
    EXPECT_EQ(problems({{"type", Text("material")}, {"material", Matte()}}),
              Names{place + "the location does not have the material of \"/root/red\""});
}

TEST(MaterialRules, KnowMeshesThatNeedNoMaterial) {
    const GroupAttribute colors = Set("face", "color3", Floats({1, 0, 0, 0, 1, 0}));
    Children colored = WithSet("color", colors);
    colored.erase(colored.begin() + 1);
    EXPECT_EQ(RulesOf(CheckLocation(colored)), Names{});
    Children plain = Square();
    plain.erase(plain.begin() + 1);
    EXPECT_EQ(RulesOf(CheckLocation(plain)), Names{"material-none"});
    const auto part = Location({{"type", Text("faceset")},
                                {"material", Matte()},
                                {"geometry", Group({{"faces", Ints({0})}})}});
    EXPECT_EQ(RulesOf(CheckLocation(plain, {{"part", part}})), Names{});
    EXPECT_EQ(
        RulesOf(Check(SceneTree(Location({{"material", Matte()}}, {{"it", Location(plain)}})))),
        Names{});
}

TEST(TextureRules, TellAMissingFileOnce) {
    const auto look = [](const char* name, const char* file) {
        return Location(
            Networked({{"s", Group(Node("s", {{"connections", Feeds("a", "out@i")}}))},
                       {"i", Group(Node(name, {{"parameters", Group({{"file", Text(file)}})}}))}}));
    };
    const TELLAR::CheckReport report =
        Check(SceneTree(Location({}, {{"a", look("i", "/none/x.png")},
                                      {"b", look("k", "/none/x.png")},
                                      {"c", look("i", "$NONE/y.png")}})));
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].location, "/root/a");
    EXPECT_EQ(report.findings[0].others, 1u);
    EXPECT_EQ(report.findings[0].attribute, "material.nodes.i.parameters.file");
    EXPECT_EQ(report.findings[0].file, "/none/x.png");
}

TEST(TextureRules, FindTexturesOfNodesThatNothingUses) {
    const Children image = Node("i", {{"parameters", Group({{"file", Text("$A/b.png")}})}});
    EXPECT_EQ(ProblemsOf(CheckLocation(Networked({{"s", Group(Node("s"))}, {"i", Group(image)}})),
                         "texture-unused"),
              Names{"/root/it: material.nodes.i.parameters.file: no terminal uses the node of the "
                    "texture \"$A/b.png\""});
}

TEST(TextureRules, LeaveTexturesOfOtherMaterialsAlone) {
    const Children attrs{{"material", Matte()}, {"textures", Group({{"a", Text("$A/b.png")}})}};
    EXPECT_EQ(RulesOf(CheckLocation(attrs)), Names{});
}

// Lights and cameras ------------------------------------------------------------------------------

namespace {

Children Light(const char* type, const Children& more = {}) {
    Children light{{"type", Text(type)}};
    light.insert(light.end(), more.begin(), more.end());
    return {{"type", Text("light")}, {"light", Group(light)}};
}

Names RulesOfLight(const char* type, const Children& more) {
    return RulesOf(CheckLocation(Light(type, more)));
}

} // namespace

TEST(LightRules, FindLightsWithoutEffect) {
    EXPECT_EQ(RulesOfLight("point", {{"color", Doubles({0, 0, 0})}}), Names{"light-dark"});
    EXPECT_EQ(RulesOfLight("point", {{"exposure", Doubles({-200})}}), Names{"light-dark"});
    EXPECT_EQ(RulesOfLight("spot", {{"coneOuter", Doubles({0})}}), Names{"light-dark"});
    const Attribute black = Doubles({0, 0, 0});
    EXPECT_EQ(
        RulesOfLight("environment", {{"horizon", black}, {"zenith", black}, {"ground", black}}),
        Names{"light-dark"});
    EXPECT_EQ(RulesOfLight("environment", {{"horizon", black}, {"zenith", black}}), Names{});
    EXPECT_EQ(RulesOfLight("environment", {{"horizon", black},
                                           {"zenith", black},
                                           {"ground", black},
                                           {"texture", Text("$A/b.exr")}}),
              Names{});
    EXPECT_EQ(RulesOf(CheckLocation({{"type", Text("light")}})), Names{"light-type"});
}

TEST(LightRules, FindValuesThatAreNotUsed) {
    EXPECT_EQ(RulesOfLight("area", {{"size", Doubles({1, 0})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("area", {{"size", Doubles({1})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"decay", Doubles({0, 0, 0})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"color", Doubles({1, 1})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"color", Doubles({1, -1, 1})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"intensity", Text("2")}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("spot", {{"coneOuter", Doubles({-5})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"color", Doubles({0.5})}, {"decay", Doubles({1, 0, 0})}}),
              Names{});
}

TEST(CameraRules, FindLensesThatAreNotWhole) {
    const auto problems = [](const char* changed, const Attribute& value) {
        Children lens;
        for (const char* name : {"fov", "near", "far", "left", "right", "bottom", "top"}) {
            const bool isLow = std::string(name) == "left" || std::string(name) == "bottom";
            const double number = std::string(name) == "fov"   ? 40
                                  : std::string(name) == "far" ? 100
                                  : isLow                      ? -1
                                                               : 1;
            lens.emplace_back(name, DoubleAttribute(number));
        }
        if (*changed != '\0') lens.emplace_back(changed, value); // the last of a name wins
        return ProblemsOf(CheckLocation({{"type", Text("camera")}, {"geometry", Group(lens)}}),
                          "camera-lens");
    };
    const std::string place = "/root/it: geometry.";
    EXPECT_EQ(problems("", {}), Names{});
    EXPECT_EQ(problems("near", Floats({1}, 1)), Names{place + "near: it is no double"});
    EXPECT_EQ(problems("near", Text("1")), Names{place + "near: it holds no number"});
    EXPECT_EQ(problems("near", Doubles({0})), Names{place + "near: it is 0"});
    EXPECT_EQ(problems("far", Doubles({1})),
              Names{place + "far: it is 1, which is not beyond near"});
    EXPECT_EQ(problems("right", Doubles({-1})).size(), 1u);
    EXPECT_EQ(problems("projection", Text("orthographic")),
              Names{place + "orthographicWidth: it is 0"});
    EXPECT_EQ(problems("focusDistance", Doubles({0})), Names{place + "focusDistance: it is 0"});
    EXPECT_EQ(ProblemsOf(CheckLocation({{"type", Text("camera")}}), "camera-lens").size(), 7u);
}

TEST(CameraRules, DoNotMissACameraThatNoSettingNames) {
    const auto camera = Location({{"type", Text("group")}});
    EXPECT_EQ(RulesOf(Check(SceneTree(Location({}, {{"a", camera}})))), Names{});
    const GroupAttribute settings = Group({{"cameraName", Text("/root/a")}});
    EXPECT_EQ(RulesOf(Check(SceneTree(Location({{"renderSettings", settings}}, {{"a", camera}})))),
              Names{"camera-missing"});
}

// Render settings ---------------------------------------------------------------------------------

namespace {

TELLAR::CheckReport CheckSettings(const Attribute& settings) {
    return Check(SceneTree(Location({{"renderSettings", settings}})));
}

} // namespace

TEST(SettingRules, SuggestANameForAnUnknownSetting) {
    const TELLAR::CheckReport report = CheckSettings(Group({{"nois", Doubles({0.1})}}));
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].text, "it is not known; did you mean \"noise\"?");
}

TEST(SettingRules, LeaveSettingsOfOtherRenderersAlone) {
    EXPECT_EQ(RulesOf(CheckSettings(Group({{"toaster", Group({{"heat", Int(3)}})}}))), Names{});
}

TEST(SettingRules, TellAWrongTypeOnce) {
    EXPECT_EQ(RulesOf(CheckSettings(Group({{"cameraName", Int(3)}}))), Names{"setting-type"});
    EXPECT_EQ(RulesOf(CheckSettings(Group({{"cameraName", Text("/root/none")}}))),
              Names{"camera-missing"});
    const TELLAR::CheckReport report = CheckSettings(Int(3));
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].attribute, "renderSettings");
}

TEST(CameraRules, LeaveACameraThatCannotBeCookedToItsError) {
    const GroupAttribute settings = Group({{"cameraName", Text("/root/a")}});
    const auto camera = Location({{"type", Text("camera")}});
    const GroupAttribute scene =
        SceneTree(Location({{"renderSettings", settings}}, {{"a", camera}}));
    EXPECT_EQ(RulesOf(Check(Group(
                  {{"scene", scene.getChildByIndex(0)},
                   {"bad", OpEntry("TestThrow", Group({{"at", Text("/root/a")}}), {"scene"})}}))),
              Names{"cook-error"});
}
