#include <OxTellarProducers/MaterialFlattening.h>

#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "MaterialGroups.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::GetFlattenedMaterialAttr;
using testing::ElementsAre;

// Few materials -----------------------------------------------------------------------------------

TEST(FlattenedMaterial, OfNoneIsInvalid) {
    EXPECT_FALSE(GetFlattenedMaterialAttr(std::vector<GroupAttribute>{}, {"surface"}).isValid());
}

TEST(FlattenedMaterial, OfOneIsThatOne) {
    for (const GroupAttribute& material :
         {Network("n", {"surface"}), Legacy("surface", "matte"), Group({}), GroupAttribute()})
        EXPECT_EQ(GetFlattenedMaterialAttr({material}, {"surface"}).getHandle(),
                  material.getHandle());
}

TEST(FlattenedMaterial, OfLegacyOnesHasTheNearestChildOfEachName) {
    const auto flattened = GetFlattenedMaterialAttr({Group({{"b", Int(1)}, {"a", Int(2)}}),
                                                     Group({{"c", Int(3)}, {"a", Int(4)}}),
                                                     Group({{"b", Int(5)}, {"d", Int(6)}})},
                                                    {});
    EXPECT_EQ(flattened, Closed({{"b", Int(1)}, {"a", Int(2)}, {"c", Int(3)}, {"d", Int(6)}}));
}

TEST(FlattenedMaterial, OfLegacyOnesWithoutChildrenIsInvalid) {
    EXPECT_FALSE(GetFlattenedMaterialAttr({Group({}), Group({})}, {"surface"}).isValid());
    EXPECT_FALSE(GetFlattenedMaterialAttr({GroupAttribute(), GroupAttribute()}, {}).isValid());
}

TEST(FlattenedMaterial, TakesOnlyJustThatStyleForANetwork) {
    for (const Attribute& style : {Text("Network"), Text("network "), Text(""), Int(1)}) {
        const auto flattened = GetFlattenedMaterialAttr(
            {Group({{"style", style}}), Group({{"other", Int(1)}})}, {"surface"});
        EXPECT_THAT(NamesOf(flattened), ElementsAre("style", "other"));
    }
}

// Networks ----------------------------------------------------------------------------------------

TEST(FlattenedNetwork, HasEachTerminalFromTheNearestMaterialThatHasIt) {
    const auto flattened = GetFlattenedMaterialAttr(
        {Network("near", {"surface"}), Network("far", {"surface", "displacement"})},
        {"surface", "displacement"});
    EXPECT_EQ(TextAt(flattened, "terminals.surface"), "near:0");
    EXPECT_EQ(TextAt(flattened, "terminals.displacement"), "far:1");
    EXPECT_THAT(NamesIn(flattened, "nodes"), ElementsAre("near:0", "far:1"));
}

TEST(FlattenedNetwork, LeavesOutMaterialsThatServeNothing) {
    const auto flattened =
        GetFlattenedMaterialAttr({Network("near", {"surface"}), Network("middle", {"surface"}),
                                  Network("far", {"displacement"})},
                                 {"surface", "displacement"});
    EXPECT_THAT(NamesIn(flattened, "nodes"), ElementsAre("near:0", "far:2"));
    EXPECT_EQ(TextAt(flattened, "terminals.displacement"), "far:2");
}

TEST(FlattenedNetwork, LooksAtTheTerminalsAskedForAlone) {
    const auto flattened = GetFlattenedMaterialAttr(
        {Network("near", {"surface"}), Network("far", {"displacement"})}, {"displacement"});
    EXPECT_THAT(NamesIn(flattened, "terminals"), ElementsAre("displacement"));
    EXPECT_THAT(NamesIn(flattened, "nodes"), ElementsAre("far:1"));
    const auto none =
        GetFlattenedMaterialAttr({Network("near", {"surface"}), Network("far", {"surface"})}, {});
    EXPECT_EQ(none, Closed({{"style", Text("network")}}));
}

TEST(FlattenedNetwork, TakesATerminalAskedForTwiceOnce) {
    const auto flattened = GetFlattenedMaterialAttr(
        {Network("near", {"surface"}), Network("far", {"surface"})}, {"surface", "surface"});
    EXPECT_THAT(NamesIn(flattened, "terminals"), ElementsAre("surface"));
    EXPECT_THAT(NamesIn(flattened, "nodes"), ElementsAre("near:0"));
}

TEST(FlattenedNetwork, IgnoresTerminalsThatNameNoNode) {
    const auto withTerminal = [](const Attribute& value) {
        return Group({{"style", Text("network")}, {"terminals", Group({{"surface", value}})}});
    };
    for (const Attribute& value : {Text(""), Int(1), Attribute(Texts({}))}) {
        const auto flattened = GetFlattenedMaterialAttr(
            {withTerminal(value), Network("far", {"surface"})}, {"surface"});
        EXPECT_EQ(TextAt(flattened, "terminals.surface"), "far:1");
    }
}

TEST(FlattenedNetwork, RenamesNodesAndWhatTheyAreConnectedTo) {
    const auto node = Node(
        "n",
        {{"connections", GroupAttribute({{"Kd", Text("out@noise")}, {"count", Int(3)}}, false)},
         {"parameters", Group({{"Ks", Int(7)}})}});
    const auto material = Group({{"style", Text("network")},
                                 {"nodes", Group({{"key", node}, {"noise", Node("noise")}})},
                                 {"terminals", Group({{"surface", Text("key")}})}});
    const auto flattened = GetFlattenedMaterialAttr(
        {Group({}), Network("other", {"displacement"}), material}, {"surface"});
    const GroupAttribute renamed = NodeOf(flattened, "key:2");
    EXPECT_THAT(NamesOf(renamed), ElementsAre("name", "type", "connections", "parameters"));
    EXPECT_EQ(TextAt(renamed, "name"), "key:2") << "the key, whatever the name was";
    EXPECT_EQ(TextAt(renamed, "type"), "matte");
    EXPECT_EQ(IntOf(renamed.getChildByName("parameters.Ks")), 7);
    EXPECT_EQ(renamed.getChildByName("connections"),
              GroupAttribute({{"Kd", Text("out@noise:2")}, {"count", Int(3)}}, true));
}

TEST(FlattenedNetwork, RenamesConnectionsInGroupsOneLevelDeep) {
    const auto layer = GroupAttribute(
        {{"Kd", Text("out@a")}, {"deep", Group({{"Ks", Text("out@b")}})}, {"n", Int(1)}}, false);
    const auto material =
        Group({{"style", Text("network")},
               {"nodes", Group({{"n", Node("n", {{"connections", Group({{"layer", layer}})}})}})},
               {"terminals", Group({{"surface", Text("n")}})}});
    const GroupAttribute renamed =
        NodeOf(GetFlattenedMaterialAttr({material, Network("far", {"x"})}, {"surface"}), "n:0");
    EXPECT_EQ(
        renamed.getChildByName("connections.layer"),
        GroupAttribute(
            {{"Kd", Text("out@a:0")}, {"deep", Group({{"Ks", Text("out@b")}})}, {"n", Int(1)}},
            true));
}

TEST(FlattenedNetwork, RenamesEveryValueOfAConnection) {
    const std::map<float, std::vector<std::string>> samples{{0.0f, {"a@n", "b@n"}},
                                                            {1.0f, {"c@n", ""}}};
    const auto node = Node("n", {{"connections", Group({{"Kd", StringAttribute(samples, 2)}})}});
    const auto material = Group({{"style", Text("network")},
                                 {"nodes", Group({{"n", node}})},
                                 {"terminals", Group({{"surface", Text("n")}})}});
    const std::map<float, std::vector<std::string>> renamed{{0.0f, {"a@n:0", "b@n:0"}},
                                                            {1.0f, {"c@n:0", ":0"}}};
    EXPECT_EQ(
        NodeOf(GetFlattenedMaterialAttr({material, Network("far", {"x"})}, {"surface"}), "n:0")
            .getChildByName("connections.Kd"),
        StringAttribute(renamed, 2));
}

TEST(FlattenedNetwork, NamesNodesThatHadNoName) {
    const auto material =
        Group({{"style", Text("network")},
               {"nodes", Group({{"n", Group({{"type", Text("matte")}})}, {"noGroup", Int(1)}})},
               {"terminals", Group({{"surface", Text("n")}})}});
    const auto flattened = GetFlattenedMaterialAttr({material, Network("far", {"x"})}, {"surface"});
    EXPECT_EQ(TextAt(NodeOf(flattened, "n:0"), "name"), "n:0");
    EXPECT_THAT(NamesIn(flattened, "nodes"), ElementsAre("n:0"));
}

TEST(FlattenedNetwork, RenamesInterfaceAndParameters) {
    const auto interface =
        Group({{"diffuse", Group({{"src", Text("n.Kd")}, {"hint", Text("colour")}})},
               {"deep", Group({{"src", Text("a.b.c")}})},
               {"plain", Group({{"src", Text("n")}})},
               {"number", Group({{"src", Int(1)}})},
               {"none", Group({})},
               {"noGroup", Text("n.Kd")}});
    const auto material = Network(
        "n", {"surface"}, {{"interface", interface}, {"parameters", Group({{"diffuse", Int(7)}})}});
    const auto flattened =
        GetFlattenedMaterialAttr({Network("near", {"x"}), material}, {"surface"});
    EXPECT_EQ(flattened.getChildByName("interface"),
              Closed({{"diffuse:1", Closed({{"src", Text("n:1.Kd")}})}}));
    EXPECT_EQ(flattened.getChildByName("parameters"), Closed({{"diffuse:1", Int(7)}}));
}

TEST(FlattenedNetwork, HasItsPartsInOrderAndOnlyThoseThatHoldSomething) {
    const auto whole = Network("n", {"surface"},
                               {{"parameters", Group({{"diffuse", Int(7)}})},
                                {"interface", Group({{"diffuse", Group({{"src", Text("n.Kd")}})}})},
                                {"extra", Int(1)}});
    const auto flattened =
        GetFlattenedMaterialAttr({whole, Network("far", {"displacement"})}, {"surface"});
    EXPECT_THAT(NamesOf(flattened),
                ElementsAre("style", "nodes", "interface", "parameters", "terminals"));
    const auto bare = GetFlattenedMaterialAttr(
        {Network("n", {"surface"}), Network("far", {"displacement"})}, {"surface"});
    EXPECT_THAT(NamesOf(bare), ElementsAre("style", "nodes", "terminals"));
}

TEST(FlattenedNetwork, LetsNothingShowThroughButConnections) {
    const auto flattened = GetFlattenedMaterialAttr(
        {Network("n", {"surface"},
                 {{"parameters", Group({{"diffuse", Int(7)}})},
                  {"interface", Group({{"diffuse", Group({{"src", Text("n.Kd")}})}})}}),
         Network("far", {"x"})},
        {"surface"});
    EXPECT_FALSE(flattened.getGroupInherit());
    for (const char* part : {"nodes", "interface", "parameters", "terminals"})
        EXPECT_FALSE(GroupAttribute(flattened.getChildByName(part)).getGroupInherit()) << part;
}

// Legacy materials among networks -----------------------------------------------------------------

TEST(FlattenedMixture, TakesALegacyMaterialForANetworkOfOneNodeATerminal) {
    const auto flattened = GetFlattenedMaterialAttr({Legacy("surface", "plastic", {{"Kd", Int(7)}}),
                                                     Network("far", {"surface", "displacement"})},
                                                    {"surface", "displacement"});
    EXPECT_EQ(TextAt(flattened, "terminals.surface"), "surface:0");
    EXPECT_EQ(TextAt(flattened, "terminals.displacement"), "far:1");
    const GroupAttribute node = NodeOf(flattened, "surface:0");
    EXPECT_EQ(node, Closed({{"name", Text("surface:0")},
                            {"type", Text("plastic")},
                            {"parameters", Group({{"Kd", Int(7)}})}}));
}

TEST(FlattenedMixture, TakesShadersWithoutParametersToo) {
    const auto flattened = GetFlattenedMaterialAttr(
        {Network("near", {"displacement"}), Group({{"surfaceShader", Text("plastic")}})},
        {"surface"});
    EXPECT_EQ(NodeOf(flattened, "surface:1"),
              Closed({{"name", Text("surface:1")}, {"type", Text("plastic")}}));
}

TEST(FlattenedMixture, LeavesOutLegacyMaterialsWithoutSuchAShader) {
    for (const GroupAttribute& legacy :
         {Legacy("light", "sun"), Legacy("surface", ""), Group({{"surfaceShader", Int(1)}}),
          Group({}), GroupAttribute()}) {
        const auto flattened =
            GetFlattenedMaterialAttr({legacy, Network("far", {"surface"})}, {"surface"});
        EXPECT_THAT(NamesIn(flattened, "nodes"), ElementsAre("far:1"));
    }
}

} // namespace
