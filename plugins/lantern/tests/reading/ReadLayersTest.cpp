#include "reading/ReadLayers.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::HasSubstr;

/// Two triangles, one of them with an assigned material, and settings of the root.
std::string SceneWith(const std::string& settings) {
    const std::string painted = Triangle("painted", R"("materialAssign": "/root/materials/red",
            "material": {"style": "network", "terminals": {"surface": "surface"},
                "nodes": {"surface": {"name": "surface", "type": "standard_surface"}}})");
    return SceneJson(R"("geo": {"c": {)" + Triangle("plain") + ", " + painted + "}}",
                     R"("renderSettings": {)" + settings + "}");
}

LayerChoice LayersOf(const std::string& settings) {
    return ReadSilently(SceneWith(settings)).layers;
}

TEST(ReadLayers, ChoosesNothingByItself) {
    const SceneData scene = ReadSilently(SceneWith(""));
    EXPECT_FALSE(scene.layers.any());
    EXPECT_TRUE(scene.locations.empty());
}

TEST(ReadLayers, TakesNamesAndListsOfNames) {
    const LayerChoice layers = LayersOf(R"("aovs": ["depth,albedo", "id"])");
    EXPECT_TRUE(layers.depth && layers.albedo && layers.id);
    EXPECT_FALSE(layers.normal || layers.position || layers.motion || layers.objectMatte);
}

TEST(ReadLayers, TakesAllMattesByOneName) {
    const LayerChoice layers = LayersOf(R"("aovs": "cryptomatte")");
    EXPECT_TRUE(layers.objectMatte && layers.materialMatte && layers.assetMatte);
    const LayerChoice one = LayersOf(R"("aovs": "cryptoMaterial")");
    EXPECT_TRUE(one.materialMatte && !one.objectMatte && !one.assetMatte);
}

TEST(ReadLayers, NamesAnUnknownLayer) {
    EXPECT_THAT(ReadErrorOf(SceneWith(R"("aovs": "depth,dept")")),
                HasSubstr("\"dept\", which is no layer; there are depth, normal"));
    EXPECT_THAT(ReadErrorOf(SceneWith(R"("aovs": 7)")), HasSubstr("must be strings"));
}

TEST(ReadLayers, NeedsThePathsOfInstancesForIds) {
    const SceneData scene = ReadSilently(SceneWith(R"("aovs": "id")"));
    EXPECT_THAT(scene.locations, ElementsAre("/root/world/geo/plain", "/root/world/geo/painted"));
}

TEST(ReadLayers, NamesAssignedMaterialsByTheirPaths) {
    const SceneData scene = ReadSilently(SceneWith(""));
    ASSERT_EQ(scene.materials.size(), 2u);
    EXPECT_EQ(scene.materials[1].name, "/root/materials/red");
}

TEST(ReadLayers, WarnsAboutMotionWithAClosedShutter) {
    Told told;
    ReadJson(SceneWith(R"("aovs": "motion")"), told);
    ASSERT_EQ(told.warnings.size(), 1u);
    EXPECT_THAT(told.warnings[0], HasSubstr("the shutter is closed"));
}

TEST(ReadQuality, TakesANoiseGoalAndATimeLimit) {
    const Quality quality = ReadSilently(SceneWith(R"("noise": 0.25, "minutes": 2.5)")).quality;
    EXPECT_EQ(quality.noise, 0.25f);
    EXPECT_EQ(quality.minutes, 2.5);
    EXPECT_EQ(quality.samples, 4096);
    const Quality limited =
        ReadSilently(SceneWith(R"("noise": 0.25, "lantern": {"samples": 100})")).quality;
    EXPECT_EQ(limited.samples, 100);
    EXPECT_THAT(ReadErrorOf(SceneWith(R"("noise": 2.0)")), HasSubstr("renderSettings.noise"));
    EXPECT_THAT(ReadErrorOf(SceneWith(R"("minutes": -1)")), HasSubstr("renderSettings.minutes"));
}

TEST(ReadFacts, TakesTheFileOfTheSceneTheCameraAndTheFrame) {
    const SceneFacts facts = ReadSilently(SceneWith(R"("scene": "a.json")"), {12, 1}).facts;
    EXPECT_EQ(facts.scene, "a.json");
    EXPECT_EQ(facts.camera, "/root/world/cam/camera");
    EXPECT_EQ(facts.frame, 12);
}

} // namespace
