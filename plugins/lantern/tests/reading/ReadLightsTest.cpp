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

Light ReadOne(const std::string& light) {
    const SceneData scene = ReadSilently(LightJson(light));
    EXPECT_THAT(scene.lights, SizeIs(1));
    return scene.lights.at(0);
}

TEST(ReadLights, AreAsBrightAsColourIntensityAndExposureSay) {
    const Light light =
        ReadOne(R"("type": "point", "color": [1.0, 0.5, 0.25], "intensity": 40.0, "exposure": 2)");
    EXPECT_EQ(light.kind, Light::Kind::Point);
    EXPECT_EQ(light.color, Color(160, 80, 40));
    EXPECT_EQ(light.toWorld[3][1], 2);
    EXPECT_EQ(light.decay, V3f(0, 0, 1));
}

TEST(ReadLights, HaveWhatTheirKindsNeed) {
    const Light spot = ReadOne(R"("type": "spot", "coneInner": 20.0, "coneOuter": 50.0,
                                  "decay": [1.0, 2, 3], "radius": 0.5)");
    EXPECT_EQ(spot.kind, Light::Kind::Spot);
    EXPECT_EQ(spot.coneInner, 20);
    EXPECT_EQ(spot.coneOuter, 50);
    EXPECT_EQ(spot.decay, V3f(1, 2, 3));
    EXPECT_EQ(spot.radius, 0.5f);
    const Light sun = ReadOne(R"("type": "directional", "angle": 0.5)");
    EXPECT_EQ(sun.kind, Light::Kind::Directional);
    EXPECT_EQ(sun.angle, 0.5f);
    const Light area = ReadOne(R"("type": "area", "size": [2.0, 3.0])");
    EXPECT_EQ(area.kind, Light::Kind::Area);
    EXPECT_EQ(area.size, V2f(2, 3));
}

TEST(ReadLights, ShineFromAllAround) {
    const Light ambient = ReadOne(R"("type": "ambient", "intensity": 0.5)");
    EXPECT_EQ(ambient.kind, Light::Kind::Environment);
    EXPECT_EQ(ambient.color, Color(0.5f));
    EXPECT_FALSE(ambient.isSeen);
    const Light sky = ReadOne(R"("type": "environment", "horizon": [1.0, 0.5, 0.25],
                                 "zenith": [0.0, 0, 1], "ground": [0.25, 0.25, 0.25])");
    EXPECT_TRUE(sky.isSeen);
    EXPECT_EQ(sky.horizon, Color(1, 0.5f, 0.25f));
    EXPECT_EQ(sky.zenith, Color(0, 0, 1));
    EXPECT_EQ(sky.ground, Color(0.25f));
    EXPECT_FALSE(ReadOne(R"("type": "environment", "seen": 0)").isSeen);
}

TEST(ReadLights, HaveTexturesOfEnvironments) {
    const SceneData scene =
        ReadSilently(LightJson(R"("type": "environment", "texture": "sky.exr")"));
    const Texture& texture = scene.textures.at(scene.lights.at(0).texture);
    EXPECT_EQ(texture.file, "sky.exr");
    EXPECT_FALSE(texture.isSrgb);
}

TEST(ReadLights, KeepInnerConesWithinOuterOnes) {
    EXPECT_EQ(ReadOne(R"("type": "spot", "coneInner": 60.0, "coneOuter": 50.0)").coneInner, 50);
}

TEST(ReadLights, TellOfTypesThatAreNotKnown) {
    Told told;
    EXPECT_THAT(ReadJson(LightJson(R"("type": "laser")"), told).lights, SizeIs(1))
        << "there is light where there would be none";
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/l: the light's type \"laser\" is not "
                                           "known; it does not shine"));
}

TEST(ReadLights, TellOfNumbersThatMakeNoSense) {
    Told told;
    const SceneData scene = ReadJson(
        LightJson(
            R"("type": "point", "intensity": -1, "radius": {"$type": "float", "values": ["nan"]})"),
        told);
    EXPECT_EQ(scene.lights.at(0).color, Color(1));
    EXPECT_EQ(scene.lights.at(0).radius, 0);
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/l: \"light.intensity\" is negative",
                                           "/root/world/l: \"light.radius\" is not finite"));
}

TEST(ReadLights, AreMadeUpWhereNothingShines) {
    Told told;
    const SceneData scene = ReadJson(SceneJson(Triangle("t")), told);
    ASSERT_THAT(scene.lights, SizeIs(1));
    EXPECT_EQ(scene.lights[0].kind, Light::Kind::Environment);
    EXPECT_TRUE(scene.lights[0].isSeen);
    EXPECT_THAT(told.infos, ElementsAre("nothing in the scene shines: it is lit by a plain sky"));
}

TEST(ReadLights, AreNotMadeUpWhereAShapeGlows) {
    Told told;
    const SceneData scene =
        ReadJson(SceneJson(Triangle("t", R"("material": {"surfaceShader": "emitter"})")), told);
    EXPECT_THAT(scene.lights, IsEmpty());
    EXPECT_THAT(told.infos, IsEmpty());
}

} // namespace
