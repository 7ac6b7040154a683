// Effective materials of leaves that have a material of their own each, below one that all inherit,
// compared with building the same groups by hand.

#include <algorithm>
#include <string>
#include <vector>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "Measure.h"
#include "Rows.h"
#include "Walk.h"

using namespace OxAttribute;

namespace TellarBench {

namespace {

constexpr std::int64_t kMostOwnMaterials = 20000;
constexpr int kNodes = 3;
constexpr std::int64_t kGroupSize = 100;

std::string GetNodeName(int node) {
    return "node" + std::to_string(node);
}

/// A network whose colours are those of the leaf `number` alone.
GroupAttribute DescribeMaterial(std::int64_t number, const char* terminal) {
    GroupBuilder material;
    material.set("style", StringAttribute("network"));
    for (int i = 0; i < kNodes; ++i) {
        const std::string path = "nodes." + GetNodeName(i) + ".";
        const auto colour = static_cast<float>(number * kNodes + i);
        material.set(path + "name", StringAttribute(GetNodeName(i)));
        material.set(path + "type", StringAttribute("matte"));
        material.set(path + "parameters.Kd", FloatAttribute({colour, 0.25f, 0.125f}, 3));
        if (i > 0)
            material.set(path + "connections.Kd", StringAttribute("out@" + GetNodeName(i - 1)));
    }
    material.set(std::string("terminals.") + terminal, StringAttribute(GetNodeName(kNodes - 1)));
    return material.build();
}

std::int64_t CountLeaves() {
    return std::min(GetOptions().leaves, kMostOwnMaterials);
}

GroupAttribute DescribeScene() {
    const auto locations = [](GroupBuilder& children) {
        GroupBuilder location;
        location.set("c", children.build());
        return location.build();
    };
    GroupBuilder groups;
    for (std::int64_t first = 0; first < CountLeaves(); first += kGroupSize) {
        GroupBuilder leaves;
        const std::int64_t end = std::min(first + kGroupSize, CountLeaves());
        for (std::int64_t leaf = first; leaf < end; ++leaf)
            leaves.set("leaf" + std::to_string(leaf) + ".a.material",
                       DescribeMaterial(leaf + 1, "surface"));
        groups.set("group" + std::to_string(first), locations(leaves));
    }
    GroupBuilder ops;
    ops.set("scene.opType", StringAttribute("StaticScene"));
    ops.set("scene.opArgs.a.material", DescribeMaterial(0, "displacement"));
    ops.set("scene.opArgs.c", groups.build());
    return ops.build();
}

std::vector<Producer> HoldLeaves() {
    const Producer root = TELLAR::CreateThreadAwareGeometryProducer(DescribeScene(), "/root");
    std::vector<Producer> leaves;
    for (Producer group = root->getFirstChild(); group; group = group->getNextSibling())
        for (Producer leaf = group->getFirstChild(); leaf; leaf = leaf->getNextSibling())
            leaves.push_back(leaf);
    return leaves;
}

/// Adds the nodes of a material, with a suffix behind their names, as flattening does.
void AddNodes(GroupBuilder& nodes, const GroupAttribute& material, const std::string& suffix) {
    const GroupAttribute all(material.getChildByName("nodes"));
    for (std::int64_t i = 0; i < all.getNumberOfChildren(); ++i) {
        const std::string name = all.getChildName(i) + suffix;
        GroupBuilder node(BuilderModeStrict);
        node.update(all.getChildByIndex(i));
        const GroupAttribute connections(
            GroupAttribute(all.getChildByIndex(i)).getChildByName("connections"));
        if (connections.isValid()) {
            const StringAttribute from(connections.getChildByName("Kd"));
            node.set("connections",
                     GroupAttribute({{"Kd", StringAttribute(from.getValue() + suffix)}}, true));
        }
        node.set("name", StringAttribute(name));
        nodes.set(name, node.build());
    }
}

GroupAttribute BuildByHand(GeometryProducer* leaf, const GroupAttribute& inherited) {
    const GroupAttribute own(leaf->getAttribute("material"));
    const std::string suffixes[] = {":0", ":1"};
    GroupBuilder nodes(BuilderModeStrict);
    nodes.setGroupInherit(false);
    AddNodes(nodes, own, suffixes[0]);
    AddNodes(nodes, inherited, suffixes[1]);
    GroupBuilder terminals(BuilderModeStrict);
    terminals.setGroupInherit(false);
    const auto addTerminal = [&](const char* name, const GroupAttribute& material,
                                 const std::string& suffix) {
        const StringAttribute node(material.getChildByName(std::string("terminals.") + name));
        terminals.set(name, StringAttribute(node.getValue() + suffix));
    };
    addTerminal("surface", own, suffixes[0]);
    addTerminal("displacement", inherited, suffixes[1]);
    GroupBuilder material(BuilderModeStrict);
    material.setGroupInherit(false);
    material.set("style", StringAttribute("network"));
    material.set("nodes", nodes.build());
    material.set("terminals", terminals.build());
    return material.build();
}

Checksum Sum(const std::vector<GroupAttribute>& materials) {
    Checksum total;
    for (const GroupAttribute& material : materials) {
        LocationSum sum;
        sum.addText(material.getHash().str());
        total.add(sum);
    }
    return total;
}

template <typename Make>
double Time(const std::vector<Producer>& leaves, std::vector<GroupAttribute>& materials,
            const Make& make) {
    materials.assign(leaves.size(), {});
    const Stopwatch watch;
    for (std::size_t i = 0; i < leaves.size(); ++i)
        materials[i] = make(leaves[i]);
    return watch.seconds();
}

void CompareOwnMaterials(Row& row) {
    const std::vector<std::string> terminals = {"surface", "displacement"};
    const std::vector<Producer> leaves = HoldLeaves();
    const GroupAttribute inherited(leaves.front()->getRootProducer()->getAttribute("material"));
    std::vector<GroupAttribute> flattened;
    std::vector<GroupAttribute> byHand;
    const double handTime = Time(
        leaves, byHand, [&](const Producer& leaf) { return BuildByHand(leaf.get(), inherited); });
    const double time = Time(leaves, flattened, [&](const Producer& leaf) {
        return TELLAR::GetFlattenedMaterialAttr(leaf, terminals);
    });
    row.verify(Sum(flattened), Sum(byHand));
    const double perLeaf = 1e9 / static_cast<double>(leaves.size());
    row.report("own_ns", time * perLeaf, handTime * perLeaf);
    row.report("own_times", time / handTime);
    row.finish(time);
}

} // namespace

void AddOwnMaterialRows() {
    AddRow("own_materials", 1, CompareOwnMaterials);
}

} // namespace TellarBench
