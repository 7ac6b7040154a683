#include <OxTellarProducers/ShadingNodeDescription.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "CountedAllocations.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::ShadingNodeConnectionDescription;
using TELLAR::ShadingNodeDescription;
using testing::ElementsAre;
using testing::IsEmpty;

using NodeMap = ShadingNodeDescription::NodeMap;

Children NamedNode(const std::string& name) {
    return {{"name", Text(name)}, {"type", Text("matte")}};
}

/// A node with these connections.
ShadingNodeDescription NodeWithConnections(const Children& connections) {
    Children node = NamedNode("n");
    node.emplace_back("connections", Group(connections));
    return ShadingNodeDescription(Group(node));
}

NodeMap NodesOf(const GroupAttribute& material) {
    NodeMap nodes{{"left from before", nullptr}};
    ShadingNodeDescription::GetShadingNetworkNodes(material, nodes);
    return nodes;
}

std::vector<std::string> KeysOf(const NodeMap& nodes) {
    std::vector<std::string> keys;
    for (const auto& entry : nodes)
        keys.push_back(entry.first);
    return keys;
}

/// A material that exposes "diffuse" as whatever `src` says, with the nodes a and b.
GroupAttribute MaterialExposing(const Attribute& src) {
    return Group({{"nodes", Group({{"a", Group(NamedNode("a"))}, {"b", Group(NamedNode("b"))}})},
                  {"parameters", Group({{"diffuse", Int(7)}})},
                  {"interface", Group({{"diffuse", Group({{"src", src}})}})}});
}

// Connections -------------------------------------------------------------------------------------

ShadingNodeConnectionDescription Connection(const std::string& name, const std::string& value) {
    return {name, StringAttribute(value)};
}

TEST(ShadingConnection, IsSplitIntoPortAndNode) {
    const auto connection = Connection("Kd", "out@noise");
    EXPECT_EQ(connection.getName(), "Kd");
    EXPECT_EQ(connection.getConnectedPort(), "out");
    EXPECT_EQ(connection.getConnectedNode(), "noise");
    EXPECT_TRUE(connection.isValid());
}

TEST(ShadingConnection, LosesBlanksAroundItsPieces) {
    const auto connection = Connection("Kd", " out @ node1\t");
    EXPECT_EQ(connection.getConnectedPort(), "out");
    EXPECT_EQ(connection.getConnectedNode(), "node1");
}

TEST(ShadingConnection, IsNamedUpToItsLastColon) {
    EXPECT_EQ(Connection("Kd:r", "out@n").getName(), "Kd");
    EXPECT_EQ(Connection("a:b:c", "out@n").getName(), "a:b");
    EXPECT_EQ(Connection("plain", "out@n").getName(), "plain");
    EXPECT_FALSE(Connection(":r", "out@n").isValid());
}

TEST(ShadingConnection, OfAnyOtherValueIsNone) {
    for (const char* value : {"", "out", "out@", "@node", "@", " @ ", "out@node@x", "@@"}) {
        SCOPED_TRACE(value);
        EXPECT_FALSE(Connection("Kd", value).isValid());
    }
    EXPECT_FALSE(ShadingNodeConnectionDescription("Kd", Attribute()).isValid());
    EXPECT_FALSE(ShadingNodeConnectionDescription("Kd", Int(3)).isValid());
    EXPECT_FALSE(ShadingNodeConnectionDescription("Kd", Texts({})).isValid());
    EXPECT_EQ(Connection("Kd", "out@node@x").getConnectedPort(), "");
    EXPECT_EQ(Connection("Kd", "out@").getConnectedPort(), "out");
}

TEST(ShadingConnections, AreKeptByTheirFullNames) {
    const auto node = NodeWithConnections({{"Kd:r", Text("r@noise")}, {"Kd:g", Text("g@noise")}});
    EXPECT_THAT(node.getConnectionNames(), ElementsAre("Kd:r", "Kd:g"));
    ASSERT_TRUE(node.getConnection("Kd:r"));
    EXPECT_EQ(node.getConnection("Kd:r")->getName(), "Kd");
    EXPECT_EQ(node.getConnection("Kd:g")->getConnectedPort(), "g");
    EXPECT_EQ(node.getConnection("Kd"), nullptr);
    EXPECT_EQ(node.getConnection("Kd:r"), node.getConnection("Kd:r")) << "they are shared";
}

TEST(ShadingConnections, ThatAreNoneAreLeftOut) {
    const auto node = NodeWithConnections(
        {{"a", Text("out@")}, {"b", Int(1)}, {"c", Text("out@n")}, {"d", Group({})}});
    EXPECT_THAT(node.getConnectionNames(), ElementsAre("c"));
}

TEST(ShadingConnections, InGroupsHaveDottedNames) {
    const auto node = NodeWithConnections({{"layer", Group({{"Kd", Text("out@n")}})}});
    EXPECT_THAT(node.getConnectionNames(), ElementsAre("layer.Kd"));
    EXPECT_EQ(node.getConnection("layer.Kd")->getName(), "layer.Kd");
}

TEST(ShadingConnections, InGroupsOfGroupsAreSeenOnlyWhereTheComposedNameLeads) {
    const auto hidden =
        NodeWithConnections({{"layer", Group({{"deep", Group({{"Kd", Text("out@n")}})}})}});
    EXPECT_THAT(hidden.getConnectionNames(), IsEmpty());
    // Inside of "layer" the name "layer.deep" leads to something here.
    const auto deep = Group({{"Kd", Text("out@n")}});
    const auto seen = NodeWithConnections(
        {{"layer", Group({{"deep", Group({})}, {"layer", Group({{"deep", deep}})}})}});
    EXPECT_THAT(seen.getConnectionNames(), ElementsAre("layer.deep.Kd"));
}

TEST(ShadingConnections, KeepTheFirstOfTwoWithOneFullName) {
    const auto layer = Group({{"Kd", Text("out@nested")}});
    const auto nestedFirst =
        NodeWithConnections({{"layer", layer}, {"layer.Kd", Text("out@dotted")}});
    EXPECT_EQ(nestedFirst.getConnection("layer.Kd")->getConnectedNode(), "nested");
    EXPECT_THAT(nestedFirst.getConnectionNames(), ElementsAre("layer.Kd", "layer.Kd"));
    const auto dottedFirst =
        NodeWithConnections({{"layer.Kd", Text("out@dotted")}, {"layer", layer}});
    EXPECT_EQ(dottedFirst.getConnection("layer.Kd")->getConnectedNode(), "dotted");
}

// Nodes -------------------------------------------------------------------------------------------

TEST(ShadingNode, HasNameTypeAndParametersInTheirOrder) {
    Children node = NamedNode("red");
    node.emplace_back("parameters", Group({{"z", Int(1)}, {"a", Text("x")}}));
    const ShadingNodeDescription description(Group(node));
    EXPECT_TRUE(description.isValid());
    EXPECT_EQ(description.getName(), "red");
    EXPECT_EQ(description.getType(), "matte");
    EXPECT_THAT(description.getParameterNames(), ElementsAre("z", "a"));
    EXPECT_EQ(IntOf(description.getParameter("z")), 1);
    EXPECT_FALSE(description.getParameter("missing").isValid());
}

TEST(ShadingNode, IsReadFromTheFirstOfSeveralValues) {
    const ShadingNodeDescription node(
        Group({{"name", Texts({"n", "other"})},
               {"type", Texts({"matte", "other"})},
               {"connections", Group({{"Kd", Texts({"out@m", "out@other"})}})}}));
    EXPECT_EQ(node.getName(), "n");
    EXPECT_EQ(node.getType(), "matte");
    EXPECT_EQ(node.getConnection("Kd")->getConnectedNode(), "m");
    const auto nodes = NodesOf(MaterialExposing(Texts({"b.Kd", "a.Kd"})));
    EXPECT_THAT(nodes.at("a")->getParameterNames(), IsEmpty());
    EXPECT_THAT(nodes.at("b")->getParameterNames(), ElementsAre("Kd"));
}

TEST(ShadingNode, WithoutNameOrTypeIsEmpty) {
    const auto parameters = Group({{"a", Int(1)}});
    const ShadingNodeDescription::ParameterMap overrides{{"b", Int(2)}};
    for (const GroupAttribute& node :
         {GroupAttribute(), Group({{"name", Text("n")}, {"parameters", parameters}}),
          Group({{"type", Text("t")}, {"parameters", parameters}}),
          Group({{"name", Int(1)}, {"type", Text("t")}})}) {
        const ShadingNodeDescription description(node, &overrides);
        EXPECT_FALSE(description.isValid());
        EXPECT_EQ(description.getName(), "");
        EXPECT_EQ(description.getType(), "");
        EXPECT_THAT(description.getParameterNames(), IsEmpty());
    }
}

TEST(ShadingNode, WithAnEmptyNameOrTypeIsReadButNotValid) {
    const ShadingNodeDescription unnamed(
        Group({{"name", Text("")}, {"type", Text("t")}, {"parameters", Group({{"a", Int(1)}})}}));
    EXPECT_FALSE(unnamed.isValid());
    EXPECT_THAT(unnamed.getParameterNames(), ElementsAre("a"));
    const ShadingNodeDescription untyped(Group({{"name", Text("n")}, {"type", Texts({})}}));
    EXPECT_FALSE(untyped.isValid());
    EXPECT_EQ(untyped.getName(), "n");
}

TEST(ShadingNode, HasTheMaterialsValuesInPlaceOfItsOwn) {
    Children node = NamedNode("n");
    node.emplace_back("parameters", Group({{"z", Int(1)}, {"a", Int(2)}}));
    const ShadingNodeDescription::ParameterMap overrides{
        {"y", Int(10)}, {"a", Int(20)}, {"b", Int(30)}};
    const ShadingNodeDescription description(Group(node), &overrides);
    EXPECT_THAT(description.getParameterNames(), ElementsAre("z", "a", "b", "y"));
    EXPECT_EQ(IntOf(description.getParameter("z")), 1);
    EXPECT_EQ(IntOf(description.getParameter("a")), 20);
    EXPECT_EQ(IntOf(description.getParameter("y")), 10);
}

TEST(ShadingNode, HasTheMaterialsValuesWithoutAnyOfItsOwn) {
    const ShadingNodeDescription::ParameterMap overrides{{"a", Int(20)}};
    const ShadingNodeDescription description(Group(NamedNode("n")), &overrides);
    EXPECT_THAT(description.getParameterNames(), ElementsAre("a"));
}

TEST(ShadingNode, CopiesItsNamesOutAndMindsItself) {
    Children parts = NamedNode("n");
    parts.emplace_back("parameters", Group({{"a", Int(1)}}));
    parts.emplace_back("connections", Group({{"b", Text("out@m")}}));
    const ShadingNodeDescription node(Group(parts));
    std::vector<std::string> names{"left from before"};
    node.getParameterNames(names);
    EXPECT_THAT(names, ElementsAre("a"));
    node.getConnectionNames(names);
    EXPECT_THAT(names, ElementsAre("b"));
    auto& own = const_cast<std::vector<std::string>&>(node.getParameterNames());
    node.getParameterNames(own);
    EXPECT_THAT(node.getParameterNames(), ElementsAre("a"));
}

TEST(ShadingNode, IsCopiedAndMovedWhole) {
    Children parts = NamedNode("n");
    parts.emplace_back("parameters", Group({{"a", Int(1)}}));
    parts.emplace_back("connections", Group({{"b", Text("out@m")}}));
    ShadingNodeDescription node(Group(parts));
    ShadingNodeDescription copy(GroupAttribute{});
    copy = node;
    const auto connection = node.getConnection("b");
    const ShadingNodeDescription moved = std::move(node);
    ShadingNodeDescription moveAssigned(GroupAttribute{});
    moveAssigned = ShadingNodeDescription(copy);
    for (const ShadingNodeDescription& other : {copy, moved, moveAssigned}) {
        EXPECT_EQ(other.getName(), "n");
        EXPECT_EQ(other.getType(), "matte");
        EXPECT_EQ(IntOf(other.getParameter("a")), 1);
        EXPECT_THAT(other.getParameterNames(), ElementsAre("a"));
        EXPECT_THAT(other.getConnectionNames(), ElementsAre("b"));
        EXPECT_EQ(other.getConnection("b"), connection) << "it is shared";
    }
}

/// Groups nested `levels` deep. Each holds the next one as "a" and as "b"; the innermost one holds
/// `end`.
GroupAttribute SharedTwice(int levels, Attribute end) {
    for (int level = 0; level < levels; ++level)
        end = Group({{"a", end}, {"b", end}});
    return end;
}

TEST(ShadingNode, FindsTheConnectionsOfAGroupThatStandsUnderTwoNames) {
    const auto node = NodeWithConnections({{"a", SharedTwice(3, Text("out@n"))}});
    EXPECT_THAT(node.getConnectionNames(), ElementsAre("a.a.a", "a.a.b", "a.b.a", "a.b.b"));
}

TEST(ShadingNode, GivesUpOnSharedGroupsWhoseConnectionsDoubleWithEachLevel) {
    // Composed names reach one level, three, six ... down: this is 2^40 ways.
    const auto levels = SharedTwice(40 * 41 / 2, Int(1));
    const long allocations = AllocationsOf([&] {
        NodeWithConnections({{"first", Text("out@n")}, {"a", levels}});
    });
    EXPECT_LT(allocations, 20 * 65536);
}

// Networks ----------------------------------------------------------------------------------------

TEST(ShadingNetwork, IsKeyedByTheNamesOfItsNodes) {
    const auto nodes = NodesOf(Group({{"nodes", Group({{"key", Group(NamedNode("name"))}})}}));
    EXPECT_THAT(KeysOf(nodes), ElementsAre("name"));
    EXPECT_EQ(nodes.at("name")->getType(), "matte");
}

TEST(ShadingNetwork, KeepsTheFirstOfTwoNodesWithOneName) {
    const auto nodes = NodesOf(Group(
        {{"nodes", Group({{"one", Group({{"name", Text("n")}, {"type", Text("first")}})},
                          {"two", Group({{"name", Text("n")}, {"type", Text("second")}})}})}}));
    EXPECT_THAT(KeysOf(nodes), ElementsAre("n"));
    EXPECT_EQ(nodes.at("n")->getType(), "first");
}

TEST(ShadingNetwork, LeavesOutWhatIsNoNode) {
    EXPECT_THAT(KeysOf(NodesOf(Group({{"nodes", Group({{"a", Group({{"name", Text("a")}})},
                                                       {"b", Int(1)},
                                                       {"c", Group(NamedNode("c"))}})}}))),
                ElementsAre("c"));
}

TEST(ShadingNetwork, WithoutNodesIsEmpty) {
    EXPECT_THAT(NodesOf({}), IsEmpty());
    EXPECT_THAT(NodesOf(Group({})), IsEmpty());
    EXPECT_THAT(NodesOf(Group({{"nodes", Text("none")}})), IsEmpty());
}

TEST(ShadingNetwork, LaysExposedValuesOverThoseOfTheNodes) {
    const auto nodes = NodesOf(MaterialExposing(Text("b.Kd")));
    EXPECT_THAT(nodes.at("a")->getParameterNames(), IsEmpty());
    EXPECT_EQ(IntOf(nodes.at("b")->getParameter("Kd")), 7);
}

TEST(ShadingNetwork, IgnoresExposedValuesThatLeadNowhere) {
    for (const Attribute& src : {Text("a.b.c"), Text("ab"), Text(""), Int(1), Attribute(Texts({})),
                                 Text("nobody.Kd"), Attribute()}) {
        const auto nodes = NodesOf(MaterialExposing(src));
        EXPECT_THAT(nodes.at("a")->getParameterNames(), IsEmpty());
        EXPECT_THAT(nodes.at("b")->getParameterNames(), IsEmpty());
    }
}

TEST(ShadingNetwork, TakesTheLaterOfTwoValuesForOneParameter) {
    const auto nodes =
        NodesOf(Group({{"nodes", Group({{"a", Group(NamedNode("a"))}})},
                       {"parameters", Group({{"one", Int(1)}, {"two", Int(2)}})},
                       {"interface", Group({{"two", Group({{"src", Text("a.Kd")}})},
                                            {"one", Group({{"src", Text("a.Kd")}})}})}}));
    EXPECT_EQ(IntOf(nodes.at("a")->getParameter("Kd")), 2);
}

TEST(ShadingNetwork, FindsExposedValuesByTheKeyAndNotTheName) {
    const auto nodes =
        NodesOf(Group({{"nodes", Group({{"key", Group(NamedNode("name"))}})},
                       {"parameters", Group({{"one", Int(1)}, {"two", Int(2)}})},
                       {"interface", Group({{"one", Group({{"src", Text("key.Kd")}})},
                                            {"two", Group({{"src", Text("name.Ks")}})}})}}));
    EXPECT_THAT(nodes.at("name")->getParameterNames(), ElementsAre("Kd"));
}

TEST(ShadingNetwork, NeedsBothParametersAndInterfaceForThat) {
    const auto nodesGroup = Group({{"a", Group(NamedNode("a"))}});
    const auto parameters = Group({{"one", Int(1)}});
    const auto interface = Group({{"one", Group({{"src", Text("a.Kd")}})}});
    for (const auto& material :
         {Group({{"nodes", nodesGroup}, {"parameters", parameters}}),
          Group({{"nodes", nodesGroup}, {"interface", interface}}),
          Group({{"nodes", nodesGroup}, {"parameters", parameters}, {"interface", Int(1)}})})
        EXPECT_THAT(NodesOf(material).at("a")->getParameterNames(), IsEmpty());
}

TEST(ShadingNetwork, OfALocationIsThatOfItsMaterial) {
    const auto material = Group({{"nodes", Group({{"a", Group(NamedNode("a"))}})}});
    const auto producer = TELLAR::CreateStaticGeometryProducer(
        "/root/geo", Location({{"material", material}}), nullptr);
    NodeMap nodes;
    ShadingNodeDescription::GetShadingNetworkNodes(producer, nodes);
    EXPECT_THAT(KeysOf(nodes), ElementsAre("a"));
    const auto none = TELLAR::CreateStaticGeometryProducer(
        "/root/geo", Location({{"material", Text("red")}}), nullptr);
    ShadingNodeDescription::GetShadingNetworkNodes(none, nodes);
    EXPECT_THAT(nodes, IsEmpty());
}

} // namespace
