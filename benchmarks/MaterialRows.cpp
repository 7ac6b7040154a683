// Effective materials of many leaves that inherit few materials: for the first time, and again.

#include <algorithm>
#include <memory>
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

constexpr std::int64_t kMaterials = 100;
constexpr std::int64_t kMostMaterialLeaves = 100000;

/// /root/world has a material that all leaves inherit. Each of its groups has one of three nodes.
struct MaterialScene {
    std::int64_t leavesOfGroup =
        std::max<std::int64_t>(1, std::min(GetOptions().leaves, kMostMaterialLeaves) / kMaterials);

    std::int64_t leaves() const { return leavesOfGroup * kMaterials; }
};

std::string GetNodeName(std::int64_t group, int node) {
    return "n" + std::to_string(group) + "_" + std::to_string(node);
}

GroupAttribute DescribeMaterial(std::int64_t group, const char* terminal) {
    GroupBuilder material;
    material.set("style", StringAttribute("network"));
    for (int i = 0; i < 3; ++i) {
        const std::string name = GetNodeName(group, i);
        const std::string path = "nodes." + name + ".";
        material.set(path + "name", StringAttribute(name));
        material.set(path + "type", StringAttribute("matte"));
        material.set(path + "parameters.Kd", FloatAttribute({0.5f, 0.25f, 0.125f}, 3));
        if (i > 0)
            material.set(path + "connections.Kd",
                         StringAttribute("out@" + GetNodeName(group, i - 1)));
    }
    material.set(std::string("terminals.") + terminal, StringAttribute(GetNodeName(group, 2)));
    return material.build();
}

GroupAttribute DescribeMaterialScene(const MaterialScene& scene) {
    GroupBuilder world;
    world.set("a.material", DescribeMaterial(kMaterials, "displacement"));
    for (std::int64_t group = 0; group < kMaterials; ++group) {
        const std::string path = "c.group" + std::to_string(group) + ".";
        world.set(path + "a.material", DescribeMaterial(group, "surface"));
        for (std::int64_t leaf = 0; leaf < scene.leavesOfGroup; ++leaf)
            world.set(path + "c.leaf" + std::to_string(leaf) + ".a.type",
                      StringAttribute("polymesh"));
    }
    GroupBuilder ops;
    ops.set("scene.opType", StringAttribute("StaticScene"));
    ops.set("scene.opArgs.c.world", world.build());
    return ops.build();
}

std::vector<Producer> HoldAllLeaves(const MaterialScene& scene) {
    const Producer root =
        TELLAR::CreateThreadAwareGeometryProducer(DescribeMaterialScene(scene), "/root");
    std::vector<Producer> leaves;
    leaves.reserve(static_cast<std::size_t>(scene.leaves()));
    const Producer world = root->getChildByName("world");
    for (Producer group = world->getFirstChild(); group; group = group->getNextSibling())
        for (Producer leaf = group->getFirstChild(); leaf; leaf = leaf->getNextSibling())
            leaves.push_back(leaf);
    return leaves;
}

/// The tree to compare with: leaves point to their group, which has its finished material.
struct PlainGroup {
    std::string surface;
    std::string displacement;
    std::size_t nodes = 6;
};
struct PlainLeaf {
    const PlainGroup* group;
};

struct PlainLeaves {
    explicit PlainLeaves(const MaterialScene& scene) {
        for (std::int64_t group = 0; group < kMaterials; ++group)
            groups.push_back({GetNodeName(group, 2) + ":0", GetNodeName(kMaterials, 2) + ":1"});
        for (std::int64_t i = 0; i < scene.leaves(); ++i)
            leaves.push_back(std::make_unique<PlainLeaf>(
                PlainLeaf{&groups[static_cast<std::size_t>(i / scene.leavesOfGroup)]}));
    }

    std::vector<PlainGroup> groups;
    std::vector<std::unique_ptr<PlainLeaf>> leaves;
};

Checksum Sum(const std::vector<GroupAttribute>& materials) {
    Checksum total;
    for (const GroupAttribute& material : materials) {
        LocationSum sum;
        sum.addText(StringAttribute(material.getChildByName("terminals.surface")).getValueView());
        sum.addText(
            StringAttribute(material.getChildByName("terminals.displacement")).getValueView());
        sum.add(static_cast<std::size_t>(
            GroupAttribute(material.getChildByName("nodes")).getNumberOfChildren()));
        total.add(sum);
    }
    return total;
}

Checksum Sum(const std::vector<const PlainGroup*>& materials) {
    Checksum total;
    for (const PlainGroup* material : materials) {
        LocationSum sum;
        sum.addText(material->surface);
        sum.addText(material->displacement);
        sum.add(material->nodes);
        total.add(sum);
    }
    return total;
}

double TimeFlattening(const std::vector<Producer>& leaves, std::vector<GroupAttribute>& materials) {
    const std::vector<std::string> terminals = {"surface", "displacement"};
    materials.assign(leaves.size(), {});
    const Stopwatch watch;
    for (std::size_t i = 0; i < leaves.size(); ++i)
        materials[i] = TELLAR::GetFlattenedMaterialAttr(leaves[i], terminals);
    return watch.seconds();
}

double TimePlain(const PlainLeaves& plain, std::vector<const PlainGroup*>& materials) {
    materials.assign(plain.leaves.size(), nullptr);
    const Stopwatch watch;
    for (std::size_t i = 0; i < plain.leaves.size(); ++i)
        materials[i] = plain.leaves[i]->group;
    return watch.seconds();
}

void CompareMaterials(Row& row) {
    const MaterialScene scene;
    const std::vector<Producer> leaves = HoldAllLeaves(scene);
    const PlainLeaves plain(scene);
    const double perLeaf = 1e9 / static_cast<double>(leaves.size());

    std::vector<GroupAttribute> first;
    std::vector<GroupAttribute> again;
    std::vector<const PlainGroup*> expected;
    const double firstTime = TimeFlattening(leaves, first);
    const double againTime = TimeFlattening(leaves, again);
    const double plainTime = TimePlain(plain, expected);
    row.verify(Sum(first), Sum(expected));
    row.verify(Sum(again), Sum(expected));
    row.report("first_ns", firstTime * perLeaf, plainTime * perLeaf);
    row.report("cached_ns", againTime * perLeaf, plainTime * perLeaf);
    row.finish(firstTime + againTime);
}

} // namespace

void AddMaterialRows() {
    AddRow("materials", 1, CompareMaterials);
}

} // namespace TellarBench
