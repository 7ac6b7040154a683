#include "drawing/LocalLights.h"

#include "drawing/InfiniteLights.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "DrawingScenes.h"

// The camera looks at the point (0, 0, -1) of a white diffuse plane that faces +Z. The radiance
// that it sees is the irradiance at that point divided by pi.

namespace {

using namespace LanternTest;

constexpr float kPi = 3.14159265f;

SceneData Plane() {
    SceneData scene = EmptyScene(8, 8);
    AddMesh(scene, Square(-50, -50, 50, 50, -1), AddMaterial(scene, Matt(Color(1, 1, 1))));
    scene.camera.fov = 0.01f;
    scene.quality.maxDepth = 1;
    return scene;
}

float Irradiance(const SceneData& scene, int samples = 256) {
    return Mean(Drawn(scene, samples)).g * kPi;
}

float Irradiance(const Light& light, int samples = 256) {
    SceneData scene = Plane();
    scene.lights = {light};
    return Irradiance(scene, samples);
}

DirectionalLight Directional(const M44d& toWorld, float irradiance) {
    return {toWorld, Color(irradiance)};
}

PointLight Point(const M44d& toWorld, float intensity) {
    PointLight light;
    light.toWorld = toWorld;
    light.intensity = Color(intensity);
    return light;
}

/// Shines along -Z with the identity transform.
PointLight Spot(const M44d& toWorld, float intensity, const SpotCone& cone) {
    PointLight light = Point(toWorld, intensity);
    light.cone = cone;
    return light;
}

AreaLight Area(const M44d& toWorld, float radiance) {
    return {toWorld, Color(radiance)};
}

EnvironmentLight Environment(const M44d& toWorld, float scale) {
    EnvironmentLight light;
    light.toWorld = toWorld;
    light.scale = Color(scale);
    return light;
}

M44d At(double x, double y, double z) {
    return M44d().setTranslation(Imath::V3d(x, y, z));
}

M44d Turned(double degrees) {
    return M44d().rotate(Imath::V3d(0, degrees * M_PI / 180, 0));
}

/// The irradiance, per radiance, of a parallel rectangle, `width` by `height`, whose middle is
/// above the point.
double RectangleIrradiance(double width, double height, double distance) {
    const double a = width / 2 / distance, b = height / 2 / distance;
    const double p = std::sqrt(1 + a * a), q = std::sqrt(1 + b * b);
    return 2 * (a / p * std::atan(b / p) + b / q * std::atan(a / q));
}

TEST(DirectionalLight, GivesItsColorTimesTheCosine) {
    const auto light = Directional(Turned(60), 3);
    EXPECT_NEAR(Irradiance(light, 1), 1.5, 1e-4);
}

TEST(DirectionalLight, GivesTheSameIrradianceAsADisc) {
    auto light = Directional(M44d(), 3);
    light.angle = 0.5f;
    EXPECT_NEAR(Irradiance(light), 3, 0.01);
    light.angle = 90;
    EXPECT_NEAR(Irradiance(light), 3, 0.03);
}

TEST(PointLight, GivesItsIntensityByTheSquaredDistance) {
    EXPECT_NEAR(Irradiance(Point(At(0, 0, 1), 8), 1), 2, 1e-4);
    EXPECT_NEAR(Irradiance(Point(At(3, 0, 3), 8), 1), 8 * 0.8 / 25, 1e-4);
}

TEST(PointLight, FollowsItsDecay) {
    auto light = Point(At(0, 0, 1), 8);
    light.decay = V3f(1, 0.5f, 0.25f); // the divisor is 3 at distance 2
    EXPECT_NEAR(Irradiance(light, 1), 8.0 / 3, 1e-4);
    light.radius = 0.5f;
    EXPECT_NEAR(Irradiance(light), 8.0 / 3, 0.03);
}

TEST(PointLight, GivesTheSameIrradianceAsASphere) {
    auto light = Point(At(0, 0, 1), 8);
    light.radius = 1.5f;
    EXPECT_NEAR(Irradiance(light), 2, 0.02);
}

TEST(SpotLight, IsAPointInsideOfItsConeAndNothingOutside) {
    auto light = Spot(At(0, 0, 1), 8, {40, 60});
    EXPECT_NEAR(Irradiance(light, 1), 2, 1e-4);
    light.toWorld = Turned(19) * At(0, 0, 1);
    EXPECT_NEAR(Irradiance(light, 1), 2, 1e-4);
    light.toWorld = Turned(31) * At(0, 0, 1);
    EXPECT_EQ(Irradiance(light, 1), 0);
}

TEST(SpotLight, FadesBetweenItsCones) {
    auto light = Spot(At(0, 0, 1), 8, {0, 120});
    const double half = std::acos(0.75) * 180 / M_PI; // half way between the cosines
    light.toWorld = Turned(half) * At(0, 0, 1);
    EXPECT_NEAR(Irradiance(light, 1), 1, 1e-3);
}

TEST(AreaLight, GivesTheIrradianceOfARectangle) {
    auto light = Area(At(0, 0, 0.5), 3);
    light.size = V2f(2, 1);
    EXPECT_NEAR(Irradiance(light), 3 * RectangleIrradiance(2, 1, 1.5), 0.02);
    light.toWorld = M44d().scale(Imath::V3d(2, 3, 1)) * At(0, 0, 0.5);
    EXPECT_NEAR(Irradiance(light), 3 * RectangleIrradiance(4, 3, 1.5), 0.04);
}

TEST(AreaLight, ShinesToOneSide) {
    const auto light = Area(Turned(180) * At(0, 0, 0.5), 3);
    EXPECT_EQ(Irradiance(light), 0);
}

TEST(EmissiveMesh, GivesTheIrradianceOfARectangle) {
    SceneData scene = Plane();
    Mesh panel = Square(-1, -0.5f, 1, 0.5f, 0); // faces away, but emits to both sides
    AddMesh(scene, panel, AddMaterial(scene, Glowing(Color(3))), Moved(0, 0, 0.5f));
    EXPECT_NEAR(Irradiance(scene), 3 * RectangleIrradiance(2, 1, 1.5), 0.02);
}

TEST(Environment, GivesPiTimesItsRadiance) {
    EXPECT_NEAR(Irradiance(Environment(M44d(), 2)), 2 * kPi, 0.06);
}

TEST(Environment, InterpolatesBetweenHorizonZenithAndGround) {
    // The plane sees the hemisphere around +Z. The cosine-weighted mean of |y| there is 4 / (3 pi),
    // half of it above and half below the horizon.
    auto light = Environment(M44d(), 1);
    light.horizon = Color(0, 0, 0);
    light.zenith = Color(3, 3, 3);
    light.ground = Color(1, 1, 1);
    EXPECT_NEAR(Irradiance(light), (3 + 1) * 0.5 * kPi * 4 / (3 * kPi), 0.04);
}

TEST(Environment, RotatesWithItsTransform) {
    auto light = Environment(M44d().rotate(Imath::V3d(M_PI / 2, 0, 0)), 1);
    light.horizon = light.ground = Color(0, 0, 0);
    light.zenith = Color(3, 3, 3); // towards +Z: 3 cos^2 over the hemisphere
    EXPECT_NEAR(Irradiance(light), 3 * 2 * kPi / 3, 0.06);
}

TEST(ManyLights, GiveTheirSum) {
    SceneData scene = Plane();
    double expected = 0;
    for (int i = 0; i < 300; ++i) {
        const double x = 0.01 * i, d2 = 4 + x * x;
        scene.lights.emplace_back(Point(At(x, 0, 1), 0.1f));
        expected += 0.1 / d2 * 2 / std::sqrt(d2);
    }
    EXPECT_NEAR(Irradiance(scene, 1024), expected, expected * 0.01);
}

TEST(LightsOfAllKinds, GiveTheirSum) {
    SceneData scene = Plane();
    auto area = Area(At(0, 0, 0.5), 3);
    auto ball = Point(At(0, 0, 1), 8);
    ball.radius = 0.5f;
    auto sun = Directional(Turned(60), 3);
    sun.angle = 1;
    scene.lights = {area, ball, sun, Environment(M44d(), 2)};
    EXPECT_NEAR(Irradiance(scene, 1024), 3 * RectangleIrradiance(1, 1, 1.5) + 2 + 1.5 + 2 * kPi,
                0.1);
}

TEST(AreaLight, IsVisibleInAMirrorWithItsRadiance) {
    for (const float roughness : {0.0f, 0.05f, 0.1f}) {
        SceneData scene = Plane();
        Material metal;
        metal.baseColor = Color(1, 1, 1);
        metal.metalness = 1;
        metal.roughness = roughness;
        scene.surfaces[scene.instances[0].surface].material = AddMaterial(scene, metal);
        auto light = Area(At(0, 0, 0.5), 3);
        light.size = V2f(20, 20);
        scene.lights = {light};
        EXPECT_NEAR(Mean(Drawn(scene, 256)).g, 3, 0.03) << roughness;
    }
}

TEST(Lights, AreBlockedByShapes) {
    SceneData scene = Plane();
    scene.lights = {Point(At(1, 0, 1), 8)};
    AddMesh(scene, Square(0.4f, -0.1f, 0.6f, 0.1f, 0));
    EXPECT_EQ(Irradiance(scene, 4), 0);
}

/// The plane behind a pane of glass, lit straight from the front.
SceneData PlaneBehindGlass(const Material& glass) {
    SceneData scene = Plane();
    AddMesh(scene, Square(-5, -4, 5, 5, 2), AddMaterial(scene, glass));
    scene.lights = {Directional(M44d(), 2)};
    return scene;
}

Material Pane() {
    Material glass;
    glass.baseColor = Color(0.5f);
    glass.transmission = 1;
    glass.roughness = 0;
    glass.thickness = 0;
    return glass;
}

TEST(DeltaLights, ShineStraightThroughThinSheets) {
    EXPECT_NEAR(Irradiance(PlaneBehindGlass(Pane()), 16), 2 * 0.96f * 0.5f, 1e-3f);
}

TEST(DeltaLights, AreBlockedByOtherGlass) {
    Material rough = Pane();
    rough.roughness = 0.5f;
    EXPECT_EQ(Irradiance(PlaneBehindGlass(rough), 16), 0);
    Material solid = Pane();
    solid.thickness = 1;
    EXPECT_EQ(Irradiance(PlaneBehindGlass(solid), 16), 0);
}

} // namespace
