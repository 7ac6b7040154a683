#include "drawing/Draw.h"

#include <cmath>
#include <cstring>
#include <string>

#include <gmock/gmock.h>

#include "DrawingScenes.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::Pair;

/// A red square at depth 4 that covers the left half of the picture, before a green one at depth 8.
SceneData TwoSquares(int width = 8, int height = 8) {
    SceneData scene = EmptyScene(width, height);
    Material red = Matt({0.8f, 0.1f, 0.2f});
    red.name = "/root/materials/red";
    Material green = Matt({0.1f, 0.6f, 0.3f});
    green.name = "/root/materials/green";
    AddMesh(scene, Square(-9, -9, 0, 9, -4), AddMaterial(scene, red));
    AddMesh(scene, Square(-99, -99, 99, 99, -8), AddMaterial(scene, green));
    scene.locations = {"/root/world/geo/pony/body", "/root/world/geo/wall"};
    AddEnvironment(scene);
    return scene;
}

const Channel& ChannelOf(const Picture& picture, const std::string& name) {
    for (const Channel& channel : picture.channels)
        if (channel.name == name) return channel;
    throw std::runtime_error("there is no channel " + name);
}

std::uint32_t BitsAt(const Picture& picture, const std::string& name, int x, int y) {
    const std::size_t row = static_cast<std::size_t>(y - picture.window.y0);
    return ChannelOf(picture, name).bits.at(row * picture.window.width() + x - picture.window.x0);
}

float ValueAt(const Picture& picture, const std::string& name, int x, int y) {
    const std::uint32_t bits = BitsAt(picture, name, x, y);
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::vector<std::string> NamesOf(const Picture& picture) {
    std::vector<std::string> names;
    for (const Channel& channel : picture.channels)
        names.push_back(channel.name);
    return names;
}

TEST(Layers, AreThoseThatAreChosen) {
    SceneData scene = TwoSquares();
    EXPECT_THAT(NamesOf(Drawn(scene)), ElementsAre());
    scene.layers.depth = scene.layers.normal = scene.layers.motion = true;
    EXPECT_THAT(NamesOf(Drawn(scene)),
                ElementsAre("Z", "N.X", "N.Y", "N.Z", "motion.X", "motion.Y"));
}

TEST(Layers, DoNotChangeThePicture) {
    SceneData scene = TwoSquares();
    const Picture plain = Drawn(scene);
    scene.layers.depth = scene.layers.albedo = scene.layers.objectMatte = true;
    EXPECT_EQ(Drawn(scene).pixels, plain.pixels);
}

TEST(Layers, AreTheSameForAnyNumberOfThreads) {
    SceneData scene = TwoSquares(70, 40);
    scene.layers = {true, true, true, true, true, true, true, true, true};
    scene.camera.toWorld.push_back(M44d().setTranslation(Imath::V3d(0.3, 0, 0)));
    const Picture one = Drawn(scene, 9, 1);
    const Picture four = Drawn(scene, 9, 4);
    ASSERT_EQ(NamesOf(one), NamesOf(four));
    for (std::size_t i = 0; i < one.channels.size(); ++i)
        EXPECT_EQ(one.channels[i].bits, four.channels[i].bits) << one.channels[i].name;
}

TEST(DepthLayer, IsTheDistanceAlongTheAxisOfTheCamera) {
    SceneData scene = TwoSquares();
    scene.layers.depth = true;
    scene.camera.toWorld = {M44d().setTranslation(Imath::V3d(0, 0, 2))};
    const Picture picture = Drawn(scene);
    EXPECT_FLOAT_EQ(ValueAt(picture, "Z", 0, 0), 6); // the same depth in the corner
    EXPECT_FLOAT_EQ(ValueAt(picture, "Z", 7, 7), 10);
}

TEST(DepthLayer, IsNotMixedAtEdges) {
    SceneData scene = TwoSquares(5, 5); // the edge is in the middle of the third column
    scene.layers.depth = true;
    const Picture picture = Drawn(scene, 64);
    for (int y = 0; y < 5; ++y) {
        const float depth = ValueAt(picture, "Z", 2, y);
        EXPECT_TRUE(depth == 4 || depth == 8) << depth;
    }
}

TEST(DepthLayer, IsVeryFarWhereThereIsNoSurface) {
    SceneData scene = EmptyScene();
    scene.layers.depth = scene.layers.id = scene.layers.position = true;
    const Picture picture = Drawn(scene);
    EXPECT_EQ(ValueAt(picture, "Z", 3, 3), 1e10f);
    EXPECT_EQ(ValueAt(picture, "P.X", 3, 3), 0);
    EXPECT_EQ(BitsAt(picture, "id", 3, 3), 0u);
}

TEST(NormalAndPositionLayers, AreInTheWorld) {
    SceneData scene = EmptyScene();
    AddMesh(scene, Square(-9, -9, 9, 9, -4), 0, M44f().rotate(V3f(0, 0.5f, 0)));
    scene.camera.toWorld = {M44d().rotate(Imath::V3d(0, 0.5, 0))}; // looks at it straight
    scene.layers.normal = scene.layers.position = true;
    const Picture picture = Drawn(scene, 256);
    EXPECT_NEAR(ValueAt(picture, "N.X", 3, 3), std::sin(0.5), 1e-5);
    EXPECT_NEAR(ValueAt(picture, "N.Z", 3, 3), std::cos(0.5), 1e-5);
    // The center of the pixel is at -0.125, 0.125 at depth 1. The nearest path misses it a bit.
    EXPECT_NEAR(ValueAt(picture, "P.Y", 3, 3), 0.5, 0.1);
    EXPECT_NEAR(ValueAt(picture, "P.X", 3, 3), -0.5 * std::cos(0.5) - 4 * std::sin(0.5), 0.1);
}

TEST(AlbedoLayer, IsTheMeanOfThePixel) {
    SceneData scene = TwoSquares(5, 5);
    scene.layers.albedo = true;
    const Picture picture = Drawn(scene, 64);
    EXPECT_NEAR(ValueAt(picture, "albedo.R", 0, 2), 0.8, 1e-5);
    EXPECT_NEAR(ValueAt(picture, "albedo.R", 2, 2), 0.45, 0.02);
    EXPECT_NEAR(ValueAt(picture, "albedo.G", 4, 2), 0.6, 1e-5);
}

TEST(MotionLayer, IsTheWayInPixelsWhileTheShutterIsOpen) {
    SceneData scene = EmptyScene(16, 8);
    scene.layers.motion = true;
    AddMesh(scene, Square(-90, -90, 90, 90, -2));
    scene.instances.clear();
    AddInstance(scene, 0, {Moved(0, 0, 0), Moved(0.5f, 0.25f, 0)}, 0);
    const Picture picture = Drawn(scene, 16);
    // A pixel is 2 / 16 wide at depth 1.
    EXPECT_NEAR(ValueAt(picture, "motion.X", 5, 5), 2, 1e-3);
    EXPECT_NEAR(ValueAt(picture, "motion.Y", 5, 5), -1, 1e-3); // rows count from the top
}

TEST(MotionLayer, HasTheMotionOfTheCamera) {
    SceneData scene = EmptyScene(16, 8);
    scene.layers.motion = true;
    AddSphere(scene, {0, 0, -12}, 10);
    scene.camera.toWorld.push_back(M44d().setTranslation(Imath::V3d(0.25, 0, 0)));
    EXPECT_NEAR(ValueAt(Drawn(scene, 64), "motion.X", 7, 3), -1, 0.05);
}

// Mattes ------------------------------------------------------------------------------------------

TEST(IdLayer, HasTheHashOfTheLocation) {
    SceneData scene = TwoSquares();
    scene.layers.id = true;
    const Picture picture = Drawn(scene);
    EXPECT_TRUE(ChannelOf(picture, "id").isInteger);
    EXPECT_EQ(BitsAt(picture, "id", 0, 0), MatteId("/root/world/geo/pony/body"));
    EXPECT_EQ(BitsAt(picture, "id", 7, 0), MatteId("/root/world/geo/wall"));
}

TEST(Mattes, RankTheThingsOfAPixelByTheirCoverage) {
    SceneData scene = EmptyScene(1, 1);
    AddMesh(scene, Square(-4, -4, -1, 4, -4)); // covers 3/8 of what is seen
    AddMesh(scene, Square(-99, -99, 99, 99, -8));
    scene.locations = {"/few", "/most"};
    scene.layers.objectMatte = true;
    const Picture picture = Drawn(scene, 1024);
    EXPECT_EQ(BitsAt(picture, "CryptoObject00.R", 0, 0), MatteId("/most"));
    EXPECT_NEAR(ValueAt(picture, "CryptoObject00.G", 0, 0), 0.625, 0.01);
    EXPECT_EQ(BitsAt(picture, "CryptoObject00.B", 0, 0), MatteId("/few"));
    EXPECT_NEAR(ValueAt(picture, "CryptoObject00.A", 0, 0), 0.375, 0.01);
    EXPECT_EQ(BitsAt(picture, "CryptoObject01.R", 0, 0), 0u);
    EXPECT_EQ(ValueAt(picture, "CryptoObject02.A", 0, 0), 0);
}

TEST(Mattes, CoverAllOfAPixelWithManyThings) {
    SceneData scene = EmptyScene(1, 1);
    for (int i = 0; i < 5; ++i) {
        const float left = -1 + 0.4f * float(i);
        AddMesh(scene, Square(left, -1, left + 0.4f, 1, -1));
        scene.locations.push_back("/strip" + std::to_string(i));
    }
    scene.layers.objectMatte = true;
    const Picture picture = Drawn(scene, 256);
    double sum = 0;
    for (const char* name : {"00.G", "00.A", "01.G", "01.A", "02.G", "02.A"})
        sum += ValueAt(picture, std::string("CryptoObject") + name, 0, 0);
    EXPECT_NEAR(sum, 1, 1e-5);
    EXPECT_EQ(picture.manifests.at("CryptoObject").size(), 5u);
}

TEST(Mattes, NameObjectsMaterialsAndAssets) {
    SceneData scene = TwoSquares();
    scene.layers.objectMatte = scene.layers.materialMatte = scene.layers.assetMatte = true;
    const Picture picture = Drawn(scene);
    const auto entry = [](const char* name) { return Pair(name, MatteId(name)); };
    EXPECT_THAT(picture.manifests.at("CryptoObject"),
                ElementsAre(entry("/root/world/geo/pony/body"), entry("/root/world/geo/wall")));
    EXPECT_THAT(picture.manifests.at("CryptoMaterial"),
                ElementsAre(entry("/root/materials/green"), entry("/root/materials/red")));
    EXPECT_THAT(picture.manifests.at("CryptoAsset"),
                ElementsAre(entry("/root/world/geo/pony"), entry("/root/world/geo/wall")));
}

TEST(Mattes, NameOnlyWhatIsInThePicture) {
    SceneData scene = TwoSquares();
    scene.layers.objectMatte = true;
    scene.framing.window = {5, 0, 8, 8};
    EXPECT_EQ(Drawn(scene).manifests.at("CryptoObject").size(), 1u);
}

TEST(Mattes, SeeThroughTransparentSurfaces) {
    SceneData scene = EmptyScene(1, 1);
    Material veil;
    veil.opacity = 0.25f;
    AddMesh(scene, Square(-9, -9, 9, 9, -4), AddMaterial(scene, veil));
    AddMesh(scene, Square(-99, -99, 99, 99, -8));
    scene.locations = {"/veil", "/wall"};
    scene.layers.objectMatte = true;
    const Picture picture = Drawn(scene, 1024);
    EXPECT_EQ(BitsAt(picture, "CryptoObject00.B", 0, 0), MatteId("/veil"));
    EXPECT_NEAR(ValueAt(picture, "CryptoObject00.A", 0, 0), 0.25, 0.03);
}

} // namespace
