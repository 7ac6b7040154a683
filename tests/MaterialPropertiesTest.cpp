// What must hold for any material, told by random ones: sound networks first, then groups in which
// nothing need be as it should.

#include <OxTellarProducers/ConvertTextures.h>
#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarProducers/ShadingNodeDescription.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::GetFlattenedMaterialAttr;
using TELLAR::MinimizeResolvedMaterialAttr;
using TELLAR::ShadingNodeDescription;
using testing::Contains;

using Names = std::vector<std::string>;
using NodeMap = ShadingNodeDescription::NodeMap;

const Names kTerminals = {"surface", "displacement", "light", "volume"};

class Random {
public:
    explicit Random(unsigned int seed) : engine(seed) {}

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(engine); }
    bool chance() { return below(2) == 0; }
    template <typename T>
    const T& one(const std::vector<T>& of) {
        return of[static_cast<std::size_t>(below(static_cast<int>(of.size())))];
    }
    void shuffle(Names& names) { std::shuffle(names.begin(), names.end(), engine); }

private:
    std::mt19937 engine;
};

// Sound materials ---------------------------------------------------------------------------------

GroupAttribute SoundNode(Random& random, const std::string& name, const Names& nodes) {
    Children connections;
    for (int i = random.below(3); i > 0; --i)
        connections.emplace_back("input" + std::to_string(i), Text("out@" + random.one(nodes)));
    if (random.chance())
        connections.emplace_back("layer", Group({{"Kd", Text("out@" + random.one(nodes))}}));
    return Group({{"name", Text(name)},
                  {"type", Text("type" + std::to_string(random.below(3)))},
                  {"parameters", Group({{"Kd", Int(random.below(9))}})},
                  {"connections", Group(connections)}});
}

/// A network that refers to its own nodes alone.
GroupAttribute SoundNetwork(Random& random) {
    Names names;
    for (int i = 0; i <= random.below(4); ++i)
        names.push_back("n" + std::to_string(i));
    Children nodes;
    Children parameters;
    Children interface;
    Children terminals;
    for (const std::string& name : names) {
        nodes.emplace_back(name, SoundNode(random, name, names));
        if (random.chance()) continue;
        parameters.emplace_back("exposed_" + name, Int(random.below(9)));
        interface.emplace_back("exposed_" + name, Group({{"src", Text(name + ".Kd")}}));
    }
    for (const std::string& terminal : kTerminals)
        if (random.chance()) terminals.emplace_back(terminal, Text(random.one(names)));
    return Group({{"style", Text("network")},
                  {"nodes", Group(nodes)},
                  {"parameters", Group(parameters)},
                  {"interface", Group(interface)},
                  {"terminals", Group(terminals)}});
}

GroupAttribute SoundLegacy(Random& random) {
    Children children;
    for (const std::string& terminal : kTerminals) {
        if (random.chance()) continue;
        children.emplace_back(terminal + "Shader", Text("matte"));
        children.emplace_back(terminal + "Params", Group({{"Kd", Int(random.below(9))}}));
    }
    return Group(children);
}

std::vector<GroupAttribute> SoundMaterials(Random& random) {
    std::vector<GroupAttribute> materials;
    for (int i = 0; i <= random.below(5); ++i)
        materials.push_back(random.below(4) == 0 ? SoundLegacy(random) : SoundNetwork(random));
    return materials;
}

/// The names of nodes that something in the material refers to.
Names ReferencesOf(const GroupAttribute& material) {
    Names references;
    const GroupAttribute terminals(material.getChildByName("terminals"));
    for (std::int64_t i = 0; i < terminals.getNumberOfChildren(); ++i)
        references.push_back(TextOf(terminals.getChildByIndex(i)));
    const GroupAttribute interface(material.getChildByName("interface"));
    for (std::int64_t i = 0; i < interface.getNumberOfChildren(); ++i) {
        const std::string src =
            TextOf(GroupAttribute(interface.getChildByIndex(i)).getChildByName("src"));
        references.push_back(src.substr(0, src.find('.')));
    }
    NodeMap nodes;
    ShadingNodeDescription::GetShadingNetworkNodes(material, nodes);
    for (const auto& node : nodes)
        for (const std::string& name : node.second->getConnectionNames())
            references.push_back(node.second->getConnection(name)->getConnectedNode());
    return references;
}

/// The numbers, which follow a ":", of the materials that serve the terminals.
std::set<std::string> WinnersOf(const GroupAttribute& material) {
    std::set<std::string> winners;
    const GroupAttribute terminals(material.getChildByName("terminals"));
    for (std::int64_t i = 0; i < terminals.getNumberOfChildren(); ++i) {
        const std::string node = TextOf(terminals.getChildByIndex(i));
        winners.insert(terminals.getChildName(i) + node.substr(node.rfind(':')));
    }
    return winners;
}

TEST(AnyMaterial, IsItselfWhenItIsTheOnlyOne) {
    Random random(1);
    for (int i = 0; i < 200; ++i) {
        const GroupAttribute material = i % 2 ? SoundNetwork(random) : SoundLegacy(random);
        EXPECT_EQ(GetFlattenedMaterialAttr({material}, kTerminals), material);
    }
}

TEST(AnyMaterial, IsTheSameMinimizedTwice) {
    Random random(2);
    for (int i = 0; i < 200; ++i) {
        const GroupAttribute once =
            MinimizeResolvedMaterialAttr(i % 2 ? SoundNetwork(random) : SoundLegacy(random));
        EXPECT_EQ(MinimizeResolvedMaterialAttr(once), once);
    }
}

TEST(AnyMaterials, RefersToItsOwnNodesAloneWhenTheyAllDid) {
    Random random(3);
    int checked = 0;
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        const GroupAttribute flattened =
            GetFlattenedMaterialAttr(SoundMaterials(random), kTerminals);
        if (TextOf(flattened.getChildByName("style")) != "network") continue;
        const Names nodes = NamesOf(flattened.getChildByName("nodes"));
        for (const std::string& reference : ReferencesOf(flattened)) {
            EXPECT_THAT(nodes, Contains(reference));
            ++checked;
        }
    }
    EXPECT_GT(checked, 1000);
}

TEST(AnyMaterials, AreServedByTheSameOnesInWhateverOrderTerminalsAreNamed) {
    Random random(4);
    for (int i = 0; i < 300; ++i) {
        SCOPED_TRACE(i);
        std::vector<GroupAttribute> materials = SoundMaterials(random);
        materials.push_back(SoundNetwork(random));
        materials.push_back(SoundNetwork(random));
        Names shuffled = kTerminals;
        random.shuffle(shuffled);
        EXPECT_EQ(WinnersOf(GetFlattenedMaterialAttr(materials, shuffled)),
                  WinnersOf(GetFlattenedMaterialAttr(materials, kTerminals)));
    }
}

TEST(AnyMaterials, GiveTheSameWhetherTheyAreMinimizedFirstForWhatNetworksAreReadFrom) {
    Random random(5);
    for (int i = 0; i < 300; ++i) {
        SCOPED_TRACE(i);
        std::vector<GroupAttribute> materials{SoundNetwork(random), SoundNetwork(random)};
        const GroupAttribute flattened = GetFlattenedMaterialAttr(materials, kTerminals);
        for (GroupAttribute& material : materials)
            material = MinimizeResolvedMaterialAttr(material);
        EXPECT_EQ(GetFlattenedMaterialAttr(materials, kTerminals), flattened);
    }
}

// Faulty ones -------------------------------------------------------------------------------------

const Names kKeys = {"style", "nodes", "interface",     "parameters",    "terminals", "name",
                     "type",  "src",   "connections",   "surfaceShader", "surface",   "maps",
                     "a",     "b:c",   "surfaceParams", "indicies",      ".",         "a.b",
                     "",      "@",     "displacement",  "materials",     " ",         ":"};
const Names kTexts = {"network", "",        "a",   "a@b", "@",   "@@",      "a@",    "@b",
                      "a@b@c",   "a.b",     ".",   "..",  "a.",  ".b",      "a.b.c", ":",
                      "b:c",     " a @ b ", "a:0", "\t",  "\n@", "network "};

GroupAttribute FaultyGroup(Random& random, int depth);

Attribute FaultyValue(Random& random, int depth) {
    switch (random.below(depth > 0 ? 9 : 6)) {
    case 0:
    case 1:
        return Text(random.one(kTexts));
    case 2:
        return Texts({random.one(kTexts), random.one(kTexts)});
    case 3:
        return random.chance() ? Attribute(Texts({})) : Int(random.below(3));
    case 4:
        return Doubles({0.5});
    case 5:
        return OxAttribute::NullAttribute();
    default:
        return FaultyGroup(random, depth - 1);
    }
}

GroupAttribute FaultyGroup(Random& random, int depth) {
    Children children;
    for (int i = random.below(8); i > 0; --i)
        children.emplace_back(random.one(kKeys), FaultyValue(random, depth));
    return GroupAttribute(children, random.chance());
}

/// A group of faulty groups under the names that are looked for.
GroupAttribute FaultyMaterial(Random& random) {
    Children children;
    for (const std::string& key : kKeys)
        if (random.below(3) > 0) children.emplace_back(key, FaultyValue(random, 4));
    if (random.chance()) children.emplace_back("style", Text("network"));
    return Group(children);
}

void ReadAll(const GroupAttribute& material) {
    NodeMap nodes;
    ShadingNodeDescription::GetShadingNetworkNodes(material, nodes);
    for (const auto& node : nodes) {
        EXPECT_TRUE(node.second->isValid());
        for (const std::string& name : node.second->getParameterNames())
            EXPECT_TRUE(node.second->getParameter(name).isValid());
        for (const std::string& name : node.second->getConnectionNames())
            EXPECT_TRUE(node.second->getConnection(name)->isValid());
    }
}

TEST(FaultyMaterials, AreReadWithoutAWord) {
    Random random(6);
    for (int i = 0; i < 3000; ++i) {
        SCOPED_TRACE(i);
        const GroupAttribute material = FaultyMaterial(random);
        EXPECT_NO_THROW(ReadAll(material));
        const GroupAttribute minimized = MinimizeResolvedMaterialAttr(material);
        EXPECT_EQ(MinimizeResolvedMaterialAttr(minimized), minimized);
    }
}

TEST(FaultyMaterials, AreFlattenedWithoutAWord) {
    Random random(7);
    for (int i = 0; i < 2000; ++i) {
        SCOPED_TRACE(i);
        const std::vector<GroupAttribute> materials{FaultyMaterial(random), SoundNetwork(random),
                                                    FaultyMaterial(random), SoundLegacy(random)};
        GroupAttribute flattened;
        EXPECT_NO_THROW(flattened = GetFlattenedMaterialAttr(
                            materials, {random.one(kKeys), random.one(kTexts), "surface"}));
        EXPECT_NO_THROW(ReadAll(flattened));
    }
}

TEST(FaultyMaterials, AreNoTexturesEither) {
    Random random(8);
    for (int i = 0; i < 2000; ++i)
        EXPECT_NO_THROW(TELLAR::ConvertTexturesToArbitraryAttr(FaultyMaterial(random)));
}

/// Groups in each other: name > name > ... as deep as groups may be, with something at the end.
GroupAttribute Deep(const std::string& name, int levels, const Attribute& end) {
    Attribute inner = end;
    for (int i = 0; i < levels; ++i)
        inner = Group({{name, inner}});
    return GroupAttribute(inner);
}

TEST(FaultyMaterials, MayBeAsDeepAsGroupsCanBe) {
    Random random(9);
    const int levels = OxAttribute::kMaxGroupDepth - 4;
    const auto connections = Deep("a", levels, Text("out@n"));
    const auto node =
        Group({{"name", Text("n")}, {"type", Text("t")}, {"connections", connections}});
    const auto material = Group({{"style", Text("network")},
                                 {"nodes", Group({{"n", node}})},
                                 {"terminals", Group({{"surface", Text("n")}})}});
    EXPECT_NO_THROW(ReadAll(material));
    EXPECT_NO_THROW(GetFlattenedMaterialAttr({material, SoundNetwork(random)}, kTerminals));
}

} // namespace
