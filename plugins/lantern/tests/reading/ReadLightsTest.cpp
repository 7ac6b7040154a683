#include "reading/ReadLight.h"

#include <cmath>

#include <gmock/gmock.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string LightJson(const std::string& light) {
    return SceneJson(R"("l": {"a": {"type": "light", "xform.translate": [1.0, 2, 3],
                                    "light": {)" +
                     light + "}}}");
}

/// The only light of a scene, which must be of that kind.
template <typename Kind>
Kind OnlyLightOf(const SceneData& scene) {
    EXPECT_THAT(scene.lights, SizeIs(1));
    return std::get<Kind>(scene.lights.at(0));
}

template <typename Kind>
Kind ReadOne(const std::string& light) {
    return OnlyLightOf<Kind>(ReadSilently(LightJson(light)));
}

TEST(ReadLights, ScaleColorByIntensityAndExposure) {
    const auto light = ReadOne<PointLight>(
        R"("type": "point", "color": [1.0, 0.5, 0.25], "intensity": 40.0, "exposure": 2)");
    EXPECT_FALSE(light.cone);
    EXPECT_EQ(light.intensity, Color(160, 80, 40));
    EXPECT_EQ(light.toWorld[3][1], 2);
    EXPECT_EQ(light.decay, V3f(0, 0, 1));
}

TEST(ReadLights, HaveTheParametersOfTheirTypes) {
    const auto spot = ReadOne<PointLight>(R"("type": "spot", "coneInner": 20.0, "coneOuter": 50.0,
                                  "decay": [1.0, 2, 3], "radius": 0.5)");
    ASSERT_TRUE(spot.cone);
    EXPECT_EQ(spot.cone->inner, 20);
    EXPECT_EQ(spot.cone->outer, 50);
    EXPECT_EQ(spot.decay, V3f(1, 2, 3));
    EXPECT_EQ(spot.radius, 0.5f);
    const auto sun = ReadOne<DirectionalLight>(R"("type": "directional", "angle": 0.5)");
    EXPECT_EQ(sun.angle, 0.5f);
    const auto area = ReadOne<AreaLight>(R"("type": "area", "size": [2.0, 3.0])");
    EXPECT_EQ(area.size, V2f(2, 3));
}

TEST(ReadLights, CanBeEnvironments) {
    const auto ambient = ReadOne<EnvironmentLight>(R"("type": "ambient", "intensity": 0.5)");
    EXPECT_EQ(ambient.scale, Color(0.5f));
    EXPECT_FALSE(ambient.isSeenByCamera);
    const auto sky =
        ReadOne<EnvironmentLight>(R"("type": "environment", "horizon": [1.0, 0.5, 0.25],
                                 "zenith": [0.0, 0, 1], "ground": [0.25, 0.25, 0.25])");
    EXPECT_TRUE(sky.isSeenByCamera);
    EXPECT_EQ(sky.horizon, Color(1, 0.5f, 0.25f));
    EXPECT_EQ(sky.zenith, Color(0, 0, 1));
    EXPECT_EQ(sky.ground, Color(0.25f));
    const auto unseen = ReadOne<EnvironmentLight>(R"("type": "environment", "seen": 0)");
    EXPECT_FALSE(unseen.isSeenByCamera);
}

TEST(ReadLights, ReadTheTextureOfAnEnvironment) {
    const SceneData scene =
        ReadSilently(LightJson(R"("type": "environment", "texture": "sky.exr")"));
    const Texture& texture = scene.textures.at(OnlyLightOf<EnvironmentLight>(scene).texture);
    EXPECT_EQ(texture.file, "sky.exr");
    EXPECT_FALSE(texture.isSrgb);
}

TEST(ReadLights, ClampTheInnerConeToTheOuterOne) {
    const auto spot =
        ReadOne<PointLight>(R"("type": "spot", "coneInner": 60.0, "coneOuter": 50.0)");
    ASSERT_TRUE(spot.cone);
    EXPECT_EQ(spot.cone->inner, 50);
}

TEST(ReadLights, WarnOfUnknownTypes) {
    Told told;
    EXPECT_THAT(ReadJson(LightJson(R"("type": "laser")"), told).lights, SizeIs(1))
        << "there is light where there would be none";
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/l: \"light.type\" has the unknown value "
                                           "\"laser\"; it does not shine"));
}

TEST(ReadLights, WarnOfInvalidNumbers) {
    Told told;
    const SceneData scene = ReadJson(
        LightJson(
            R"("type": "point", "intensity": -1, "radius": {"$type": "float", "values": ["nan"]})"),
        told);
    EXPECT_EQ(OnlyLightOf<PointLight>(scene).intensity, Color(1));
    EXPECT_EQ(OnlyLightOf<PointLight>(scene).radius, 0);
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/l: \"light.intensity\" is negative",
                                           "/root/world/l: \"light.radius\" is not finite"));
}

TEST(ReadLights, IncludeASkyIfNothingEmitsLight) {
    Told told;
    const SceneData scene = ReadJson(SceneJson(Triangle("t")), told);
    EXPECT_TRUE(OnlyLightOf<EnvironmentLight>(scene).isSeenByCamera);
    EXPECT_THAT(told.infos, ElementsAre("nothing in the scene shines: it is lit by a plain sky"));
}

TEST(ReadLights, IncludeNoSkyIfAShapeEmitsLight) {
    Told told;
    const SceneData scene =
        ReadJson(SceneJson(Triangle("t", R"("material": {"surfaceShader": "emitter"})")), told);
    EXPECT_THAT(scene.lights, IsEmpty());
    EXPECT_THAT(told.infos, IsEmpty());
}

} // namespace
