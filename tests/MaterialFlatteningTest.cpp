#include <OxTellarProducers/MaterialFlattening.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "RunTogether.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::EmptyFlattenedMaterialCache;
using TELLAR::GetFlattenedMaterialAttr;
using TELLAR::MinimizeResolvedMaterialAttr;
using testing::ElementsAre;
using testing::IsEmpty;

using Names = std::vector<std::string>;
using Ptr = TELLAR::GeometryProducer::Ptr;

/// A group through which nothing of the locations above shows.
GroupAttribute Closed(const Children& children) {
    return {children, false};
}

std::vector<std::string> NamesOf(const GroupAttribute& group) {
    std::vector<std::string> names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        names.push_back(group.getChildName(i));
    return names;
}

/// The names of a group's child group.
std::vector<std::string> NamesIn(const GroupAttribute& group, const char* child) {
    return NamesOf(group.getChildByName(child));
}

std::string TextAt(const GroupAttribute& group, const char* path) {
    return TextOf(group.getChildByName(path));
}

/// The child of a node whose name has a dot or colon in it, which is no path.
GroupAttribute NodeOf(const GroupAttribute& material, const char* name) {
    const GroupAttribute nodes(material.getChildByName("nodes"));
    return nodes.getChildByIndex(nodes.findChild(name));
}

GroupAttribute Node(const std::string& name, const Children& more = {}) {
    Children children{{"name", Text(name)}, {"type", Text("matte")}};
    children.insert(children.end(), more.begin(), more.end());
    return Group(children);
}

/// A network of one node that serves the terminals.
GroupAttribute Network(const std::string& node, const Names& terminals, const Children& more = {}) {
    Children served;
    for (const std::string& terminal : terminals)
        served.emplace_back(terminal, Text(node));
    Children children{{"style", Text("network")},
                      {"nodes", Group({{node, Node(node)}})},
                      {"terminals", Group(served)}};
    children.insert(children.end(), more.begin(), more.end());
    return Group(children);
}

GroupAttribute Legacy(const std::string& terminal, const std::string& shader,
                      const Children& parameters = {}) {
    return Group({{terminal + "Shader", Text(shader)}, {terminal + "Params", Group(parameters)}});
}

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

// Minimising --------------------------------------------------------------------------------------

TEST(MinimizedMaterial, OfAnyOtherStyleIsTheSame) {
    for (const GroupAttribute& material : {Group({{"style", Text("Network")}, {"extra", Int(1)}}),
                                           Legacy("surface", "matte"), Group({}), GroupAttribute()})
        EXPECT_EQ(MinimizeResolvedMaterialAttr(material).getHandle(), material.getHandle());
}

TEST(MinimizedMaterial, KeepsWhatNetworksAreReadFromInItsOrder) {
    const auto material =
        Group({{"terminals", Text("any attribute")},
               {"extra", Int(1)},
               {"interface", Group({{"diffuse", Group({{"src", Text("n.Kd")}, {"hint", Int(1)}})},
                                    {"unused", Group({{"src", Text("n.Ks")}})}})},
               {"parameters", Group({{"diffuse", Int(7)}, {"lost", Int(8)}})},
               {"nodes", Group({{"n", Node("n")}})},
               {"style", Text("network")}});
    EXPECT_EQ(MinimizeResolvedMaterialAttr(material),
              Closed({{"style", Text("network")},
                      {"nodes", Group({{"n", Node("n")}})},
                      {"parameters", Group({{"diffuse", Int(7)}, {"lost", Int(8)}})},
                      {"interface", Closed({{"diffuse", Closed({{"src", Text("n.Kd")}})}})},
                      {"terminals", Text("any attribute")}}));
}

TEST(MinimizedMaterial, WithoutParametersLosesItsInterface) {
    const auto interface = Group({{"diffuse", Group({{"src", Text("n.Kd")}})}});
    EXPECT_EQ(
        MinimizeResolvedMaterialAttr(Group({{"style", Text("network")}, {"interface", interface}})),
        Closed({{"style", Text("network")}}));
}

TEST(MinimizedMaterial, HasItsInterfaceInTheOrderOfItsParameters) {
    const auto entry = Group({{"src", Text("n.Kd")}});
    const auto material =
        Group({{"style", Text("network")},
               {"parameters", Group({{"c", Int(1)}, {"a", Int(2)}, {"b", Int(3)}})},
               {"interface", Group({{"a", entry}, {"b", entry}, {"c", entry}})}});
    EXPECT_THAT(NamesIn(MinimizeResolvedMaterialAttr(material), "interface"),
                ElementsAre("c", "a", "b"));
}

TEST(MinimizedMaterial, LosesNodesAndParametersThatAreNoGroups) {
    const auto material = Group({{"style", Text("network")},
                                 {"nodes", Text("n")},
                                 {"parameters", Int(1)},
                                 {"interface", Group({{"a", Group({{"src", Text("n.Kd")}})}})},
                                 {"terminals", Int(3)}});
    EXPECT_EQ(MinimizeResolvedMaterialAttr(material),
              Closed({{"style", Text("network")}, {"terminals", Int(3)}}));
}

TEST(MinimizedMaterial, HasNoInterfaceWhenNoEntryHasASource) {
    const auto parameters = Group({{"a", Int(1)}, {"b", Int(2)}});
    const auto interface = Group({{"a", Group({})}, {"b", Text("n.Kd")}, {"c", Group({})}});
    EXPECT_THAT(
        NamesOf(MinimizeResolvedMaterialAttr(Group(
            {{"style", Text("network")}, {"parameters", parameters}, {"interface", interface}}))),
        ElementsAre("style", "parameters"));
}

TEST(MinimizedMaterial, KeepsASourceOfAnyType) {
    const auto material = Group({{"style", Text("network")},
                                 {"parameters", Group({{"a", Int(1)}})},
                                 {"interface", Group({{"a", Group({{"src", Int(3)}})}})}});
    EXPECT_EQ(IntOf(MinimizeResolvedMaterialAttr(material).getChildByName("interface.a.src")), 3);
}

TEST(MinimizedMaterial, IsTheSameMinimizedAgain) {
    const auto once = MinimizeResolvedMaterialAttr(
        Network("n", {"surface"},
                {{"parameters", Group({{"a", Int(1)}})},
                 {"interface", Group({{"a", Group({{"src", Text("n.Kd")}, {"x", Int(1)}})}})}}));
    EXPECT_EQ(MinimizeResolvedMaterialAttr(once), once);
}

// Locations ---------------------------------------------------------------------------------------

/// /root > parent > child, each with a material or none.
Ptr ChildOf(const GroupAttribute& rootMaterial, const GroupAttribute& parentMaterial,
            const GroupAttribute& childMaterial) {
    const auto attrs = [](const GroupAttribute& material) {
        return material.isValid() ? Children{{"material", material}} : Children{};
    };
    const auto parent =
        Location(attrs(parentMaterial), {{"child", Location(attrs(childMaterial))}});
    const auto root = Location(attrs(rootMaterial), {{"parent", parent}});
    return TELLAR::CreateStaticGeometryProducer("/root", root, nullptr)
        ->getProducerByPath("/root/parent/child");
}

class LocationMaterial : public testing::Test {
protected:
    void SetUp() override { EmptyFlattenedMaterialCache(); }
    void TearDown() override { EmptyFlattenedMaterialCache(); }
};

TEST_F(LocationMaterial, IsMadeOfItsOwnAndThoseAboveNearestFirst) {
    const auto flattened = GetFlattenedMaterialAttr(
        ChildOf(Network("far", {"surface", "x"}), {}, Network("near", {"surface"})),
        {"surface", "x"});
    EXPECT_THAT(NamesIn(flattened, "nodes"), ElementsAre("near:0", "far:1"));
}

TEST_F(LocationMaterial, IsMinimizedEvenWhenThereIsOne) {
    const auto flattened = GetFlattenedMaterialAttr(
        ChildOf({}, Network("n", {"surface"}, {{"extra", Int(1)}}), {}), {"surface"});
    EXPECT_THAT(NamesOf(flattened), ElementsAre("style", "nodes", "terminals"));
}

TEST_F(LocationMaterial, IsInvalidWithoutAnyAndForANullProducer) {
    EXPECT_FALSE(GetFlattenedMaterialAttr(ChildOf({}, {}, {}), {"surface"}).isValid());
    EXPECT_FALSE(GetFlattenedMaterialAttr(Ptr(), {"surface"}).isValid());
}

TEST_F(LocationMaterial, IsKeptByPathWhateverElseIsAskedUntilAllIsForgotten) {
    const auto first =
        GetFlattenedMaterialAttr(ChildOf({}, {}, Network("n", {"surface"})), {"surface"});
    const auto other = ChildOf(Network("far", {"x"}), {}, Network("near", {"surface"}));
    EXPECT_EQ(GetFlattenedMaterialAttr(other, {"x"}).getHandle(), first.getHandle());
    EmptyFlattenedMaterialCache();
    EXPECT_THAT(NamesIn(GetFlattenedMaterialAttr(other, {"x"}), "nodes"), ElementsAre("far:1"));
}

TEST_F(LocationMaterial, ThatThereIsNoneIsKeptToo) {
    EXPECT_FALSE(GetFlattenedMaterialAttr(ChildOf({}, {}, {}), {"surface"}).isValid());
    const auto other = ChildOf({}, {}, Network("n", {"surface"}));
    EXPECT_FALSE(GetFlattenedMaterialAttr(other, {"surface"}).isValid());
    EmptyFlattenedMaterialCache();
    EXPECT_TRUE(GetFlattenedMaterialAttr(other, {"surface"}).isValid());
}

/// Two leaves below a location with a material of its own, and a root with another.
Ptr RootOfTwoLeaves(const GroupAttribute& one, const GroupAttribute& other) {
    const auto leaves = Location(
        {{"material", Network("middle", {"x"})}},
        {{"one", Location({{"material", one}})}, {"other", Location({{"material", other}})}});
    return TELLAR::CreateStaticGeometryProducer(
        "/root", Location({{"material", Network("far", {"y"})}}, {{"leaves", leaves}}), nullptr);
}

GroupAttribute FlattenedAt(const Ptr& root, const char* path, const Names& terminals) {
    return GetFlattenedMaterialAttr(root->getProducerByPath(path), terminals);
}

TEST_F(LocationMaterial, IsOneValueForLocationsWithEqualMaterials) {
    const auto root = RootOfTwoLeaves(Network("near", {"z"}), Network("near", {"z"}));
    const auto one = FlattenedAt(root, "/root/leaves/one", {"x", "z"});
    const auto other = FlattenedAt(root, "/root/leaves/other", {"x", "z"});
    EXPECT_EQ(one.getHandle(), other.getHandle());
    EXPECT_THAT(NamesIn(one, "nodes"), ElementsAre("near:0", "middle:1"));
}

TEST_F(LocationMaterial, IsMadeAnewWhenAllIsForgotten) {
    const auto root = RootOfTwoLeaves(Network("near", {"z"}), Network("near", {"z"}));
    const auto before = FlattenedAt(root, "/root/leaves/one", {"x", "z"});
    EmptyFlattenedMaterialCache();
    const auto after = FlattenedAt(root, "/root/leaves/one", {"x", "z"});
    EXPECT_EQ(after, before);
    EXPECT_NE(after.getHandle(), before.getHandle());
}

TEST_F(LocationMaterial, IsNotSharedAcrossOtherMaterialsOrTerminals) {
    const auto root = RootOfTwoLeaves(Network("near", {"z"}), Network("another", {"z"}));
    EXPECT_EQ(TextAt(FlattenedAt(root, "/root/leaves/one", {"z"}), "terminals.z"), "near:0");
    EXPECT_EQ(TextAt(FlattenedAt(root, "/root/leaves/other", {"z"}), "terminals.z"), "another:0");

    EmptyFlattenedMaterialCache();
    const auto equal = RootOfTwoLeaves(Network("near", {"z"}), Network("near", {"z"}));
    EXPECT_THAT(NamesIn(FlattenedAt(equal, "/root/leaves/one", {"z"}), "nodes"),
                ElementsAre("near:0"));
    EXPECT_THAT(NamesIn(FlattenedAt(equal, "/root/leaves/other", {"z", "y"}), "nodes"),
                ElementsAre("near:0", "far:2"));
}

TEST_F(LocationMaterial, MayBeAskedForByManyThreadsWhileOthersForgetAll) {
    Children leaves;
    for (int i = 0; i < 20; ++i)
        leaves.emplace_back("leaf" + std::to_string(i),
                            Location({{"material", Network("n" + std::to_string(i % 3), {"z"})}}));
    const auto scene = Location({{"material", Network("far", {"y"})}, {"tag", Text(UniqueTag())}},
                                {{"world", Location({}, leaves)}});
    const auto root = TELLAR::CreateThreadAwareGeometryProducer(SceneTree(scene), "/root");
    ASSERT_TRUE(root);
    RunTogether(8, [&](int number) {
        for (int round = 0; round < 30; ++round) {
            if (number == 0) EmptyFlattenedMaterialCache();
            for (int i = 0; i < 20; ++i) {
                const std::string path = "/root/world/leaf" + std::to_string(i);
                const auto flattened = FlattenedAt(root, path.c_str(), {"z", "y"});
                ASSERT_EQ(TextAt(flattened, "terminals.z"), "n" + std::to_string(i % 3) + ":0");
                ASSERT_EQ(TextAt(flattened, "terminals.y"), "far:1");
            }
        }
    });
}

} // namespace
