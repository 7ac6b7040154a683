#include "drawing/Draw.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DrawingScenes.h"

namespace {

using namespace LanternTest;

const Color kWhite(1, 1, 1);

/// A scene with all kinds of things.
SceneData Busy(int width, int height) {
    SceneData scene = EmptyScene(width, height);
    Material metal;
    metal.metalness = 1;
    metal.roughness = 0.2f;
    Material glass;
    glass.transmission = 1;
    glass.roughness = 0.1f;
    Material veil;
    veil.opacity = 0.5f;
    AddMesh(scene, Square(-9, -9, 9, 9, -6), AddMaterial(scene, Matt({0.5f, 0.4f, 0.3f})));
    AddSphere(scene, {-1, 0, -3}, 0.8f, AddMaterial(scene, metal));
    AddSphere(scene, {1, 0, -3}, 0.8f, AddMaterial(scene, glass));
    AddMesh(scene, Square(-0.5f, -0.5f, 0.5f, 0.5f, -2), AddMaterial(scene, veil));
    AddMesh(scene, Square(-2, 1, -1, 2, -4), AddMaterial(scene, Glowing({3, 2, 1})));
    AddEnvironment(scene, {0.3f, 0.4f, 0.6f});
    PointLight lamp;
    lamp.radius = 0.1f;
    lamp.intensity = Color(5, 5, 5);
    lamp.toWorld.setTranslation(Imath::V3d(1, 2, 0));
    scene.lights.emplace_back(lamp);
    scene.quality.samples = 4;
    return scene;
}

// Energy ------------------------------------------------------------------------------------------

TEST(WhiteFurnace, MakesAWhiteSphereInvisible) {
    SceneData scene = EmptyScene();
    AddSphere(scene, {0, 0, -3}, 2, AddMaterial(scene, Matt(kWhite)));
    AddEnvironment(scene);
    scene.quality.maxDepth = 64;
    EXPECT_NEAR(Mean(Drawn(scene, 64)).g, 1, 0.005);
}

TEST(WhiteFurnace, ShowsTheAlbedo) {
    SceneData scene = EmptyScene();
    AddSphere(scene, {0, 0, -3}, 2.8f, AddMaterial(scene, Matt({0.25f, 0.5f, 0.75f})));
    AddEnvironment(scene);
    const Rgba mean = Mean(Drawn(scene, 64));
    EXPECT_NEAR(mean.r, 0.25, 0.005);
    EXPECT_NEAR(mean.g, 0.5, 0.01);
    EXPECT_NEAR(mean.b, 0.75, 0.015);
}

TEST(Draw, KeepsTheMeanWhereItDividesPaths) {
    // Far more light than elsewhere leaves the sphere, so that paths from there are divided.
    // Pictures of 8 by 8 pixels are too small to learn that from.
    const auto mean = [](int side, int samples) {
        SceneData scene = EmptyScene(side, side);
        AddMesh(scene, Square(-99, -99, 99, 99, -6), AddMaterial(scene, Matt(Color(0.02f))));
        AddSphere(scene, {0, 0, -4}, 1, AddMaterial(scene, Matt(kWhite)));
        AddEnvironment(scene);
        return Mean(Drawn(scene, samples)).g;
    };
    const float undivided = mean(8, 1024);
    EXPECT_NEAR(mean(64, 16), undivided, 0.03f * undivided);
}

TEST(WhiteFurnace, MakesASphereOfAnyWhiteMaterialInvisible) {
    for (const float roughness : {0.0f, 0.3f, 1.0f})
        for (const float metalness : {0.0f, 1.0f})
            for (const float transmission : {0.0f, 1.0f})
                for (const float coat : {0.0f, 1.0f}) {
                    SceneData scene = EmptyScene();
                    Material material;
                    material.baseColor = kWhite;
                    material.roughness = material.coatRoughness = roughness;
                    material.metalness = metalness;
                    material.transmission = transmission;
                    material.coat = coat;
                    AddSphere(scene, {0, 0, -3}, 2.8f, AddMaterial(scene, material));
                    AddEnvironment(scene);
                    scene.quality.maxDepth = 32;
                    EXPECT_NEAR(Mean(Drawn(scene, 256)).g, 1, 0.02)
                        << roughness << metalness << transmission << coat;
                }
}

TEST(SmoothGlass, TransmitsAllLightOfAUniformSky) {
    SceneData scene = EmptyScene();
    Material glass;
    glass.baseColor = kWhite;
    glass.transmission = 1;
    glass.roughness = 0;
    AddSphere(scene, {0, 0, -3}, 2, AddMaterial(scene, glass));
    AddEnvironment(scene);
    scene.quality.maxDepth = 64;
    EXPECT_NEAR(Mean(Drawn(scene, 64)).g, 1, 0.005);
}

TEST(Draw, LimitsTheNumberOfBounces) {
    SceneData scene = EmptyScene(); // inside of an emissive white sphere: 1 at each bounce
    Material material = Glowing(kWhite);
    material.baseColor = kWhite;
    AddSphere(scene, {0, 0, 0}, 5, AddMaterial(scene, material));
    for (const int depth : {0, 1, 5}) {
        scene.quality.maxDepth = depth;
        EXPECT_NEAR(Mean(Drawn(scene, 256)).g, depth + 1, 0.05 * depth + 1e-5);
    }
}

TEST(Draw, ExposesByStops) {
    SceneData scene = EmptyScene();
    AddEnvironment(scene, Color(0.25f));
    scene.quality.exposure = 3;
    EXPECT_FLOAT_EQ(Mean(Drawn(scene)).g, 2);
}

TEST(Draw, ClampsIndirectLight) {
    SceneData scene = EmptyScene();
    Material bright = Glowing(Color(100));
    bright.baseColor = kWhite;
    AddSphere(scene, {0, 0, 0}, 5, AddMaterial(scene, bright));
    scene.quality.maxDepth = 4;
    scene.quality.clampIndirect = 7; // the first bounce gives 100 as well
    EXPECT_NEAR(Mean(Drawn(scene, 64)).g, 207, 1);
}

// Camera ------------------------------------------------------------------------------------------

TEST(Draw, DrawsTheUpperLeftOfTheSceneInTheUpperLeft) {
    SceneData scene = EmptyScene(8, 8);
    Mesh triangle;
    triangle.points = {{{-1.9f, 0.1f, -2}, {-0.1f, 0.1f, -2}, {-1.9f, 1.9f, -2}}};
    triangle.triangles = {0, 1, 2};
    AddMesh(scene, triangle, AddMaterial(scene, Glowing({1, 0.5f, 0})));
    const Picture picture = Drawn(scene);
    EXPECT_EQ(At(picture, 1, 2).r, 1);
    EXPECT_EQ(At(picture, 1, 2).a, 1);
    EXPECT_EQ(At(picture, 6, 2).a, 0);
    EXPECT_EQ(At(picture, 1, 5).a, 0);
    EXPECT_EQ(At(picture, 3, 0).a, 0); // outside of the slanted edge
    float covered = 0;
    for (int i = 0; i < 64; ++i)
        covered += At(picture, i % 8, i / 8).a;
    EXPECT_NEAR(covered, 0.5 * 7.2 / 2 * 7.2 / 2, 0.3);
}

TEST(Draw, HasTheCoverageOfAPixelAsAlpha) {
    SceneData scene = EmptyScene(4, 4);
    AddMesh(scene, Square(-1, -1, 0.125f, 1, -1), AddMaterial(scene, Glowing(kWhite)));
    const Picture picture = Drawn(scene, 64);
    EXPECT_EQ(At(picture, 1, 2).a, 1);
    EXPECT_NEAR(At(picture, 2, 2).a, 0.25, 0.02);
    EXPECT_EQ(At(picture, 2, 2).r, At(picture, 2, 2).a); // colors are multiplied by alpha
    EXPECT_EQ(At(picture, 3, 2).a, 0);
}

TEST(Draw, ClipsAtTheNearAndFarPlanes) {
    SceneData scene = EmptyScene();
    const Index red = AddMaterial(scene, Glowing({1, 0, 0}));
    const Index green = AddMaterial(scene, Glowing({0, 1, 0}));
    AddMesh(scene, Square(-9, -9, 9, 9, -1.99f), red);
    AddMesh(scene, Square(-9, -9, 9, 9, -4.99f), green);
    scene.camera.near = 2;
    scene.camera.far = 5;
    EXPECT_EQ(Mean(Drawn(scene)).g,
              1); // the corners are covered too: planes clip by depth, not distance
    scene.camera.far = 4.98f;
    EXPECT_EQ(Mean(Drawn(scene)).a, 0);
}

TEST(Draw, ShiftsAnOrthographicWindowInTheOppositeDirection) {
    SceneData scene = EmptyScene(4, 4);
    AddMesh(scene, Square(0, 0, 1, 1, -3), AddMaterial(scene, Glowing(kWhite)));
    scene.camera.isOrthographic = true;
    scene.camera.orthographicWidth = 4;
    scene.camera.left = 0; // sees x from -2 * 2 to 0
    scene.camera.right = 2;
    EXPECT_EQ(Mean(Drawn(scene)).a, 0);
    scene.camera.left = -2; // sees x from 0 to 4
    scene.camera.right = 0;
    EXPECT_EQ(At(Drawn(scene), 0, 1).a, 1);
}

// Motion ------------------------------------------------------------------------------------------

TEST(MotionBlur, CoversAPixelInProportionToTheTime) {
    SceneData scene = EmptyScene(8, 8); // a pixel is 0.25 wide at depth 1
    AddMesh(scene, Square(-1, -1, -0.5f, 1, -1), AddMaterial(scene, Glowing(kWhite)));
    scene.instances.clear();
    AddInstance(scene, 0, {Moved(0, 0, 0), Moved(1, 0, 0)}, 1);
    const Picture picture = Drawn(scene, 1024);
    // The edges move by four pixels. The square leaves the two pixels behind it one after the
    // other.
    const double expected[] = {0.125, 0.375, 0.5, 0.5, 0.375, 0.125, 0, 0};
    for (int x = 0; x < 8; ++x)
        EXPECT_NEAR(At(picture, x, 4).a, expected[x], 0.03) << x;
}

TEST(MotionBlur, MovesPointsOfAMesh) {
    SceneData scene = EmptyScene(8, 8);
    Mesh mesh = Square(-1, -1, -0.5f, 1, -1);
    mesh.points.push_back(Square(0, -1, 0.5f, 1, -1).points[0]);
    AddMesh(scene, mesh, AddMaterial(scene, Glowing(kWhite)));
    const Picture picture = Drawn(scene, 1024);
    EXPECT_NEAR(At(picture, 0, 4).a, 0.125, 0.03);
    EXPECT_NEAR(At(picture, 2, 4).a, 0.5, 0.03);
    EXPECT_NEAR(At(picture, 4, 4).a, 0.375, 0.03);
}

TEST(MotionBlur, MovesSpheresAndTheCameraTogether) {
    SceneData scene = EmptyScene(8, 8);
    AddSphere(scene, {0, 0, -5}, 1, AddMaterial(scene, Glowing(kWhite)));
    const Picture still = Drawn(scene, 64);
    scene.shapes[0].spheres.centers.push_back({{7, 0, -5}});
    scene.camera.toWorld.push_back(M44d().setTranslation(Imath::V3d(7, 0, 0)));
    const Picture moving = Drawn(scene, 64);
    for (std::size_t i = 0; i < still.pixels.size(); ++i)
        EXPECT_NEAR(moving.pixels[i], still.pixels[i], 1e-6);
}

TEST(MotionBlur, HandlesMoreStepsThanEmbreeAllows) {
    SceneData scene = EmptyScene(8, 8);
    AddMesh(scene, Square(-1, -1, -0.5f, 1, -1), AddMaterial(scene, Glowing(kWhite)));
    scene.instances.clear();
    std::vector<M44f> steps;
    for (int i = 0; i < 300; ++i)
        steps.push_back(Moved(float(i) / 299, 0, 0));
    AddInstance(scene, 0, steps, 1);
    EXPECT_NEAR(At(Drawn(scene, 1024), 2, 4).a, 0.5, 0.03);
}

// Reproducibility ---------------------------------------------------------------------------------

TEST(Draw, GivesTheSamePictureForAnyNumberOfThreads) {
    const SceneData scene = Busy(70, 40);
    EXPECT_EQ(Drawn(scene, 0, 1).pixels, Drawn(scene, 0, 4).pixels);
}

TEST(Draw, GivesTheSamePictureForAnyNumberOfThreadsIfShapesCoincide) {
    SceneData scene = EmptyScene(64, 64);
    const Index half = AddMaterial(scene, [] {
        Material material = Glowing({0.1f, 0.5f, 0.9f});
        material.opacity = 0.6f;
        return material;
    }());
    for (int i = 0; i < 3000; ++i) {
        const float x = float(i % 30) / 15 - 1, y = float(i / 30 % 25) / 12.5f - 1;
        const Index of = i % 2 ? half : AddMaterial(scene, Glowing({float(i % 7), 1, 0}));
        AddMesh(scene, Square(x, y, x + 0.2f, y + 0.2f, -1.5f), of);
    }
    AddEnvironment(scene);
    EXPECT_EQ(Drawn(scene, 2, 1).pixels, Drawn(scene, 2, 4).pixels);
}

TEST(Draw, GivesThePixelsOfTheWholePictureInAWindow) {
    SceneData scene = Busy(70, 40);
    const Picture whole = Drawn(scene);
    for (const Window& window : {Window{0, 0, 35, 20}, Window{33, 7, 70, 40}, Window{5, 5, 6, 6}}) {
        scene.framing.window = window;
        const Picture part = Drawn(scene);
        EXPECT_EQ(part.width, 70);
        for (int y = window.y0; y < window.y1; ++y)
            for (int x = window.x0; x < window.x1; ++x) {
                ASSERT_EQ(At(part, x, y).r, At(whole, x, y).r) << x << " " << y;
                ASSERT_EQ(At(part, x, y).b, At(whole, x, y).b) << x << " " << y;
                ASSERT_EQ(At(part, x, y).a, At(whole, x, y).a) << x << " " << y;
            }
    }
}

// Reports -----------------------------------------------------------------------------------------

struct Listened {
    std::vector<double> progress;
    std::atomic<int> questions{0};
    int cancelAfter = std::numeric_limits<int>::max();

    Report report() {
        OxRenderListener_v1 listener{};
        listener.user = this;
        listener.onProgress = [](double fraction, const char*, void* self) {
            static_cast<Listened*>(self)->progress.push_back(fraction);
        };
        listener.isCancelled = [](void* self) {
            auto& listened = *static_cast<Listened*>(self);
            return ++listened.questions > listened.cancelAfter ? 1 : 0;
        };
        return Report(listener);
    }
};

TEST(Draw, ReportsProgress) {
    Listened listened;
    Report report(listened.report());
    Draw(Busy(70, 40), {1, 2}, report);
    ASSERT_EQ(listened.progress.size(), 1 + 3 * 40u); // rows of buckets of 32 pixels
    EXPECT_EQ(listened.progress.front(), 0);
    EXPECT_EQ(listened.progress.back(), 1);
    EXPECT_TRUE(std::is_sorted(listened.progress.begin(), listened.progress.end()));
}

TEST(Draw, StopsWhenItIsCancelled) {
    for (const int questions : {0, 3, 30}) {
        Listened listened;
        listened.cancelAfter = questions;
        Report report(listened.report());
        EXPECT_THROW(Draw(Busy(70, 40), {1, 2}, report), Cancelled) << questions;
        EXPECT_LT(listened.questions, questions + 20);
    }
}

TEST(Draw, ChecksForCancellationAfterEvery64PathsOfAPixel) {
    Listened listened;
    Report report(listened.report());
    Draw(Busy(1, 1), {1025, 1}, report);
    EXPECT_GE(listened.questions, 1025 / 64);
}

// Hard cases --------------------------------------------------------------------------------------

TEST(Draw, GivesATransparentPictureOfAnEmptyScene) {
    const Picture picture = Drawn(EmptyScene(3, 2));
    EXPECT_EQ(picture.pixels, std::vector<float>(24, 0.0f));
}

TEST(Draw, GivesFiniteValuesForAnyMaterial) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float none = std::numeric_limits<float>::quiet_NaN();
    for (const float value : {0.0f, -1.0f, 1e30f, infinity, none}) {
        SceneData scene = EmptyScene();
        Material material;
        material.baseColor = Color(value);
        material.specularColor = Color(1, value, 1);
        material.roughness = material.coatRoughness = material.metalness = value;
        material.ior = material.transmission = material.coat = value;
        material.emission = Color(value, 0, 0);
        AddSphere(scene, {0, 0, -3}, 2, AddMaterial(scene, material));
        AddSphere(scene, {0, 0, -1}, 0.5f, AddMaterial(scene, [] {
                      Material glass;
                      glass.ior = 1;
                      glass.roughness = 0;
                      glass.transmission = 1;
                      return glass;
                  }()));
        AddEnvironment(scene);
        for (const float number : Drawn(scene).pixels)
            ASSERT_TRUE(std::isfinite(number)) << value;
    }
}

TEST(Draw, IgnoresGeometryThatIsNotFinite) {
    SceneData scene = EmptyScene();
    Mesh broken = Square(-1, -1, 1, 1, -2);
    broken.points[0][2].y = std::numeric_limits<float>::quiet_NaN();
    AddMesh(scene, broken, AddMaterial(scene, Glowing(kWhite)));
    AddMesh(scene, Square(-1, -1, 1, 1, -2), 1,
            Moved(std::numeric_limits<float>::infinity(), 0, 0));
    AddMesh(scene, Square(-9, -9, 9, 9, -3), AddMaterial(scene, Glowing({0, 1, 0})), M44f());
    for (const float number : Drawn(scene).pixels)
        ASSERT_TRUE(std::isfinite(number));
    EXPECT_EQ(Mean(Drawn(scene)).g, 1);
}

TEST(Draw, HasNoSelfShadowingFarFromTheOrigin) {
    SceneData scene = EmptyScene(32, 32);
    const M44f far = M44f().rotate(V3f(0.4f, 0.3f, 0.2f)) * Moved(5000, -3000, 8000);
    AddMesh(scene, Square(-90, -90, 90, 90, -20), AddMaterial(scene, Matt(kWhite)), far);
    scene.camera.toWorld = {M44d(far)};
    DirectionalLight sun;
    sun.toWorld = M44d(M44f().rotate(V3f(0, 1.2f, 0)) * far);
    scene.lights = {sun};
    for (const float number : Drawn(scene, 4).pixels)
        ASSERT_GT(number, 0.1f); // cos(1.2) / pi is 0.115
}

} // namespace
