#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/MaterialFlattening.h>

#include "MaterialGroups.h"
#include "RenderUtils.h"
#include "RunTogether.h"
#include "ScopedEnvironment.h"
#include "SuiteHandles4.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using testing::ElementsAre;

constexpr const char* kSurface[] = {"surface"};
constexpr const char* kBoth[] = {"surface", "displacement"};

/// Names the folder of the delegates before the first test.
class RenderUtils4 : public RenderUtils {};

At GeoWith(const Children& attrs, const Children& rootAttrs = {}) {
    return At::of(StaticRoot(CameraScene({}, attrs, rootAttrs))->getProducerByPath(kGeo));
}

GroupAttribute Flattened(const At& location, const char* const* terminals, std::int64_t count,
                         CallError& error) {
    return Owned(Utils4().getFlattenedMaterialAttr(location.get(), terminals, count, error.out()));
}

TEST_F(RenderUtils4, HaveASizeAVersionAndNoEmptySlot) {
    const OxRenderOutputUtilsHostSuite_v4& suite = Utils4();
    EXPECT_EQ(suite.size, sizeof suite);
    EXPECT_EQ(suite.version, 4u);
    void* slots[60];
    static_assert(sizeof suite == 8 + sizeof slots);
    std::memcpy(slots, &suite.getWorldMatrix, sizeof slots);
    EXPECT_THAT(slots, testing::Each(testing::NotNull()));
}

// Materials ---------------------------------------------------------------------------------------

TEST_F(RenderUtils4, FlattenByTheContentOfMaterialsAndNotByPath) {
    CallError error;
    const auto surfaceOf = [&](const char* node) {
        const At geo = GeoWith({{"material", Network(node, {"surface"})}});
        return TextAt(Flattened(geo, kSurface, 1, error), "terminals.surface");
    };
    EXPECT_EQ(surfaceOf("first"), "first");
    EXPECT_EQ(surfaceOf("second"), "second") << "the same path in another scene";
    EXPECT_TRUE(error.isNull());
}

TEST_F(RenderUtils4, FlattenForTheTerminalsThatAreAskedFor) {
    CallError error;
    const At geo = GeoWith({{"material", Network("near", {"surface"})}},
                           {{"material", Network("far", {"surface", "displacement"})}});
    EXPECT_THAT(NamesIn(Flattened(geo, kSurface, 1, error), "terminals"), ElementsAre("surface"));
    EXPECT_THAT(NamesIn(Flattened(geo, kBoth, 2, error), "terminals"),
                ElementsAre("surface", "displacement"));
    EXPECT_FALSE(Flattened(GeoWith({}), kBoth, 2, error).isValid());
    EXPECT_TRUE(error.isNull());
}

TEST_F(RenderUtils4, GiveTheMaterialsAsAListThatFlattensToTheSame) {
    CallError error;
    const GroupAttribute near = Network("near", {"surface"});
    const GroupAttribute far = Network("far", {"surface", "displacement"});
    const At geo = GeoWith({{"material", near}}, {{"material", far}});
    const GroupAttribute list = Owned(Utils4().getMaterials(geo.get(), error.out()));
    EXPECT_THAT(NamesOf(list), ElementsAre("m0", "m1"));
    EXPECT_EQ(list.getChildByName("m0"), near);
    EXPECT_EQ(list.getChildByName("m1"), far);
    OxAttributeStruct* const materials[] = {near.getHandle(), far.getHandle()};
    const Attribute flattened =
        Owned(Utils4().flattenMaterials(materials, 2, kBoth, 2, error.out()));
    EXPECT_EQ(flattened, Flattened(geo, kBoth, 2, error));
    EXPECT_EQ(Utils4().getMaterials(GeoWith({}).get(), error.out()), nullptr);
    EXPECT_EQ(Utils4().flattenMaterials(nullptr, 0, kBoth, 2, error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
}

TEST_F(RenderUtils4, KeepOneResultForEqualMaterialsUntilTheyAreForgotten) {
    CallError error;
    const auto flatten = [&] {
        const GroupAttribute near = Network("near", {"surface"}); // a new value each time
        const GroupAttribute far = Network("far", {"displacement"});
        OxAttributeStruct* const materials[] = {near.getHandle(), far.getHandle()};
        return Owned(Utils4().flattenMaterials(materials, 2, kBoth, 2, error.out()));
    };
    const Attribute first = flatten();
    EXPECT_EQ(flatten().getHandle(), first.getHandle());
    Utils4().emptyFlattenedMaterialCache();
    EXPECT_NE(flatten().getHandle(), first.getHandle());
    EXPECT_EQ(flatten(), first);
}

TEST_F(RenderUtils4, ForgetMaterialsThatAreNotAskedForAnyMore) {
    constexpr int kMoreThanTwiceTheCache = 9000;
    const std::vector<std::string> terminals{"surface"};
    const auto flatten = [&](int number) {
        return TELLAR::FlattenMaterials(
            {Network("n" + std::to_string(number), terminals), Network("far", terminals)},
            terminals);
    };
    const Attribute often = flatten(-1);
    const Attribute once = flatten(-2);
    for (int i = 0; i < kMoreThanTwiceTheCache; ++i) {
        flatten(i);
        if (i % 1000 == 0) {
            ASSERT_EQ(flatten(-1).getHandle(), often.getHandle()) << i;
        }
    }
    EXPECT_NE(flatten(-2).getHandle(), once.getHandle());
    TELLAR::EmptyFlattenedMaterialCache();
}

TEST_F(RenderUtils4, RefuseWrongListsOfMaterials) {
    CallError error;
    const At geo = GeoWith({});
    const auto number = Int(3);
    OxAttributeStruct* const wrong[] = {number.getHandle(), nullptr};
    EXPECT_EQ(Utils4().flattenMaterials(wrong, 1, kBoth, 2, error.out()), nullptr);
    EXPECT_EQ(error.text(), "flattenMaterials: materials is no group");
    EXPECT_EQ(Utils4().flattenMaterials(wrong + 1, 1, kBoth, 2, error.out()), nullptr);
    EXPECT_EQ(error.text(), "flattenMaterials: materials is null");
    EXPECT_EQ(Utils4().flattenMaterials(wrong, -1, kBoth, 2, error.out()), nullptr);
    EXPECT_EQ(error.text(), "flattenMaterials: materialCount is negative");
    EXPECT_EQ(Utils4().flattenMaterials(nullptr, 0, nullptr, 2, error.out()), nullptr);
    EXPECT_EQ(error.text(), "flattenMaterials: terminalNames is null");
    EXPECT_EQ(Utils4().getFlattenedMaterialAttr(geo.get(), kBoth, -2, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getFlattenedMaterialAttr: count is negative");
    EXPECT_EQ(Utils4().getFlattenedMaterialAttr(nullptr, kBoth, 2, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getFlattenedMaterialAttr: location is null");
    EXPECT_EQ(Utils4().getMaterials(nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getMaterials: location is null");
}

// Nodes -------------------------------------------------------------------------------------------

GroupAttribute Clay() {
    return Group(
        {{"nodes", Group({{"clay", Node("clay", {{"parameters", Group({{"roughness", Int(5)}})},
                                                 {"connections",
                                                  Group({{"Kd:r", Text("out@dots")}})}})}})}});
}

TEST_F(RenderUtils4, ReadTheNodesAndConnectionsOfAMaterial) {
    CallError error;
    const At geo = GeoWith({{"material", Clay()}});
    OxShadingNodeMapStruct* const nodes = Utils4().getShadingNetworkNodes(geo.get(), error.out());
    OxShadingStruct* const clay = Utils4().findShadingNode(nodes, "clay", error.out());
    EXPECT_EQ(Utils4().findShadingNode(nodes, "none", error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    Utils4().destroyShadingNodeMap(nodes);
    EXPECT_STREQ(Utils4().getShadingNodeName(clay), "clay");
    EXPECT_STREQ(Utils4().getShadingNodeType(clay), "matte");
    EXPECT_EQ(Utils4().isShadingNodeValid(clay), 1);
    ASSERT_EQ(Utils4().getNumberOfShadingParameters(clay), 1);
    EXPECT_STREQ(Utils4().getShadingParameterName(clay, 0), "roughness");
    EXPECT_EQ(Utils4().getShadingParameterName(clay, 1), nullptr);
    EXPECT_EQ(Utils4().getShadingParameterName(clay, -1), nullptr);
    EXPECT_EQ(IntOf(Owned(Utils4().getShadingParameter(clay, "roughness", error.out()))), 5);
    EXPECT_EQ(Utils4().getShadingParameter(clay, "none", error.out()), nullptr);
    ASSERT_EQ(Utils4().getNumberOfShadingConnections(clay), 1);
    const char* const name = Utils4().getShadingConnectionName(clay, 0);
    EXPECT_STREQ(name, "Kd:r");
    EXPECT_EQ(Utils4().getShadingConnectionName(clay, 1), nullptr);
    OxShadingStruct* const dots = Utils4().getShadingConnection(clay, name, error.out());
    EXPECT_EQ(Utils4().getShadingConnection(clay, "none", error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    EXPECT_STREQ(Utils4().getConnectionName(dots), "Kd");
    EXPECT_STREQ(Utils4().getConnectedPort(dots), "out");
    EXPECT_STREQ(Utils4().getConnectedNode(dots), "dots");
    EXPECT_EQ(Utils4().isShadingConnectionValid(dots), 1);
    Utils4().retainShadingNode(clay);
    Utils4().releaseShadingNode(clay);
    Utils4().releaseShadingNode(clay);
    Utils4().retainShadingConnection(dots);
    Utils4().releaseShadingConnection(dots);
    Utils4().releaseShadingConnection(dots);
}

TEST_F(RenderUtils4, TellNodesFromConnections) {
    CallError error;
    const GroupAttribute material = Clay();
    OxShadingNodeMapStruct* const nodes =
        Utils4().getShadingNetworkNodesOfMaterial(material.getHandle(), error.out());
    OxShadingStruct* const clay = Utils4().findShadingNode(nodes, "clay", error.out());
    OxShadingStruct* const dots = Utils4().getShadingConnection(clay, "Kd:r", error.out());
    EXPECT_EQ(Utils4().getShadingNodeName(dots), nullptr);
    EXPECT_EQ(Utils4().getShadingNodeType(dots), nullptr);
    EXPECT_EQ(Utils4().getConnectionName(clay), nullptr);
    EXPECT_EQ(Utils4().getConnectedPort(clay), nullptr);
    EXPECT_EQ(Utils4().getConnectedNode(clay), nullptr);
    EXPECT_EQ(Utils4().isShadingConnectionValid(clay), 0);
    EXPECT_EQ(Utils4().isShadingNodeValid(dots), 0);
    EXPECT_EQ(Utils4().getShadingParameter(dots, "roughness", error.out()), nullptr);
    EXPECT_EQ(error.text(), "getShadingParameter: node is a connection");
    Utils4().releaseShadingConnection(dots);
    Utils4().releaseShadingNode(clay);
    Utils4().destroyShadingNodeMap(nodes);
}

TEST_F(RenderUtils4, TakeNullForNodesAndConnections) {
    CallError error;
    const OxRenderOutputUtilsHostSuite_v4& utils = Utils4();
    EXPECT_EQ(utils.getShadingNetworkNodes(nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getShadingNetworkNodes: location is null");
    EXPECT_EQ(utils.getShadingNetworkNodesOfMaterial(nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getShadingNetworkNodesOfMaterial: material is null");
    EXPECT_EQ(utils.findShadingNode(nullptr, "a", error.out()), nullptr);
    EXPECT_EQ(error.text(), "findShadingNode: nodes is null");
    EXPECT_EQ(utils.getShadingParameter(nullptr, "a", error.out()), nullptr);
    EXPECT_EQ(error.text(), "getShadingParameter: node is null");
    EXPECT_EQ(utils.getShadingConnection(nullptr, "a", error.out()), nullptr);
    EXPECT_EQ(error.text(), "getShadingConnection: node is null");
    utils.destroyShadingNodeMap(nullptr);
    utils.retainShadingNode(nullptr);
    utils.releaseShadingNode(nullptr);
    utils.retainShadingConnection(nullptr);
    utils.releaseShadingConnection(nullptr);
    EXPECT_EQ(utils.getShadingNodeName(nullptr), nullptr);
    EXPECT_EQ(utils.getShadingNodeType(nullptr), nullptr);
    EXPECT_EQ(utils.getNumberOfShadingParameters(nullptr), 0);
    EXPECT_EQ(utils.getShadingParameterName(nullptr, 0), nullptr);
    EXPECT_EQ(utils.getNumberOfShadingConnections(nullptr), 0);
    EXPECT_EQ(utils.getShadingConnectionName(nullptr, 0), nullptr);
    EXPECT_EQ(utils.isShadingNodeValid(nullptr), 0);
    EXPECT_EQ(utils.getConnectionName(nullptr), nullptr);
    EXPECT_EQ(utils.getConnectedPort(nullptr), nullptr);
    EXPECT_EQ(utils.getConnectedNode(nullptr), nullptr);
    EXPECT_EQ(utils.isShadingConnectionValid(nullptr), 0);
}

TEST_F(RenderUtils4, LetThreadsShareANode) {
    CallError error;
    const GroupAttribute material = Clay();
    OxShadingNodeMapStruct* const nodes =
        Utils4().getShadingNetworkNodesOfMaterial(material.getHandle(), error.out());
    OxShadingStruct* const clay = Utils4().findShadingNode(nodes, "clay", error.out());
    const At camera = At::of(StaticRoot(CameraScene(CameraAttrs(UnitLens()))));
    CameraInfoStruct* const lens = Utils4().getCameraInfo(camera.get(), kCamera, error.out());
    RunTogether(8, [&](int) {
        for (int i = 0; i < 1000; ++i) {
            Utils4().retainShadingNode(clay);
            Utils4().retainCameraInfo(lens);
            EXPECT_STREQ(Utils4().getShadingNodeName(clay), "clay");
            EXPECT_EQ(Utils4().getCameraFov(lens), 90.0f);
            Utils4().releaseShadingNode(clay);
            Utils4().releaseCameraInfo(lens);
        }
    });
    Utils4().releaseCameraInfo(lens);
    Utils4().releaseShadingNode(clay);
    Utils4().destroyShadingNodeMap(nodes);
}

TEST_F(RenderUtils4, FlattenMaterialsInManyThreads) {
    const At geo = GeoWith({{"material", Network("near", {"surface"})}},
                           {{"material", Network("far", {"displacement"})}});
    Utils4().emptyFlattenedMaterialCache();
    RunTogether(8, [&](int) {
        CallError error;
        for (int i = 0; i < 100; ++i)
            EXPECT_THAT(NamesIn(Flattened(geo, kBoth, 2, error), "terminals"),
                        ElementsAre("surface", "displacement"));
    });
}

// Procedurals, delegates, paths -------------------------------------------------------------------

TEST_F(RenderUtils4, BuildProceduralArgumentsInBothForms) {
    CallError error;
    const At geo = GeoWith({});
    const auto procedural = Group({{"args", Group({{"count", Int(3)}})}});
    EXPECT_EQ(TextOwned(Utils4().getProceduralArguments(geo.get(), nullptr, procedural.getHandle(),
                                                        kOxProceduralClassic, nullptr, nullptr,
                                                        error.out())),
              " -count 3 -frame 1 -shutter 0 0 -cropwindow 0 1 0 1");
    const GroupAttribute group = OxAttribute::ParseAttributeXml(TextOwned(
        Utils4().getProceduralArguments(geo.get(), nullptr, procedural.getHandle(),
                                        kOxProceduralAttributes, nullptr, nullptr, error.out())));
    EXPECT_EQ(TextOf(group.getChildByName("ombraFullName")), kGeo);
    EXPECT_TRUE(error.isNull());
}

TEST_F(RenderUtils4, TellWhatGoesWrongWithProceduralArguments) {
    const ScopedEnvironment unset("TELLAR_NO_SUCH_VARIABLE", std::nullopt);
    CallError error;
    const At geo = GeoWith({});
    const auto procedural =
        Group({{"args", Group({{"file", Text("$TELLAR_NO_SUCH_VARIABLE/a")}})}});
    std::vector<std::string> told;
    const auto tell = [](const char* message, void* user) {
        static_cast<std::vector<std::string>*>(user)->emplace_back(message);
    };
    Owned(Utils4().getProceduralArguments(geo.get(), nullptr, procedural.getHandle(),
                                          kOxProceduralClassic, tell, &told, error.out()));
    EXPECT_EQ(told.size(), 1u);
    EXPECT_TRUE(error.isNull());
    const auto refused = [&](OxSgIteratorStruct* location, OxAttributeStruct* group) {
        EXPECT_EQ(Utils4().getProceduralArguments(location, nullptr, group, kOxProceduralClassic,
                                                  nullptr, nullptr, error.out()),
                  nullptr);
        return error.text();
    };
    EXPECT_EQ(refused(nullptr, procedural.getHandle()), "getProceduralArguments: location is null");
    EXPECT_EQ(refused(geo.get(), nullptr), "getProceduralArguments: procedural is null");
}

TEST_F(RenderUtils4, ConvertTexturesAndExpandPaths) {
    CallError error;
    const auto textures = Group({{"colour", Text("a.tx")}});
    const GroupAttribute converted =
        Owned(Utils4().convertTexturesToArbitraryAttr(textures.getHandle(), error.out()));
    EXPECT_EQ(TextOf(converted.getChildByName("colour.scope")), "primitive");
    EXPECT_EQ(TextOwned(Utils4().getArchString(error.out())), "tarnix1");
    EXPECT_EQ(TextOwned(Utils4().expandArchPath("lib/%ARCH", error.out())), "lib/tarnix1");
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(Utils4().convertTexturesToArbitraryAttr(nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "convertTexturesToArbitraryAttr: textures is null");
    EXPECT_EQ(Utils4().expandArchPath(nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "expandArchPath: path is null");
    Utils4().flushRuntimePluginCaches();
}

TEST_F(RenderUtils4, FindDelegates) {
    CallError error;
    EXPECT_EQ(Utils4().getLocationDelegate("sphere", "lantern", error.out()),
              Utils().getLocationDelegate("sphere", "lantern"));
    EXPECT_EQ(Utils4().getLocationDelegate("sphere", nullptr, error.out()),
              Utils().getLocationDelegate("sphere", ""));
    EXPECT_EQ(Utils4().getLocationDelegate("sphere", "nobody", error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    const StringAttribute types =
        Owned(Utils4().getLocationTypesWithDelegates("lantern", error.out()));
    EXPECT_THAT(ValuesOf(types), testing::Contains("sphere"));
    EXPECT_EQ(Utils4().getLocationDelegate(nullptr, "lantern", error.out()), nullptr);
    EXPECT_EQ(error.text(), "getLocationDelegate: locationType is null");
}

} // namespace
