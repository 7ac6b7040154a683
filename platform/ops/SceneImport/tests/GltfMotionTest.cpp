#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "GltfWriter.h"
#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TempDirectory.h"

// Animations, morph targets and skins of glTF files, as the op type presents them.

namespace {

using OxAttribute::FloatAttribute;
using testing::ElementsAre;
using testing::FloatNear;
using testing::HasSubstr;
using testing::Pointwise;

const float kHalfRoot = std::sqrt(0.5f);

/// The values at a time of 24 frames a second.
Floats At(const ImportedScene& scene, const std::string& path, const char* name, float time) {
    const FloatAttribute values(scene.attr(path, name));
    Floats result(values.getNearestSample(time).size());
    values.fillInterpSample(result.data(), std::int64_t(result.size()), time);
    return result;
}

/// A node "mover" with a triangle, which two animations move: "slide" to x = 4 in a second, and
/// "hop" to y = 2 at once after a second.
std::string WriteMover(const TempDirectory& directory) {
    GltfWriter file;
    const std::string triangle = file.floats("VEC3", 3, {0, 0, 0, 1, 0, 0, 0, 1, 0});
    const std::string times = file.floats("SCALAR", 1, {0, 1});
    const std::string slide = file.floats("VEC3", 3, {0, 0, 0, 4, 0, 0});
    const std::string hop = file.floats("VEC3", 3, {0, 0, 0, 0, 2, 0});
    const std::string channels = R"("channels": [{"sampler": 0,
        "target": {"node": 0, "path": "translation"}}], "samplers": [{"input": )" +
                                 times + ", \"output\": ";
    return file.write(directory, R"("scenes": [{"nodes": [0]}], "nodes": [{"name": "mover",
        "mesh": 0, "translation": [9, 9, 9]}], "meshes": [{"primitives": [{"attributes":
        {"POSITION": )" + triangle + R"(}}]}], "animations": [{"name": "slide", )" +
                                     channels + slide + R"(}]}, {"name": "hop", )" + channels +
                                     hop + R"(, "interpolation": "STEP"}]}])");
}

class Mover : public testing::Test {
protected:
    ImportedScene with(const char* animation) const {
        return ImportedScene(ImportArgs(file).set("animation", animation));
    }
    static Doubles placeAt(const ImportedScene& scene, float time) {
        const Doubles matrix = LocalMatrix(scene, "/root/world/mover", time);
        return {matrix[12], matrix[13], matrix[14]};
    }

    const TempDirectory directory;
    const std::string file = WriteMover(directory);
};

TEST_F(Mover, HasItsFirstAnimationUnlessAnotherIsWanted) {
    EXPECT_THAT(placeAt(ImportedScene(file), 12), ElementsAre(2, 0, 0));
    EXPECT_THAT(placeAt(with("first"), 12), ElementsAre(2, 0, 0));
    EXPECT_THAT(placeAt(with("hop"), 24), ElementsAre(0, 2, 0));
    EXPECT_THAT(placeAt(with("1"), 24), ElementsAre(0, 2, 0));
}

TEST_F(Mover, StaysWhereItIsWithoutAnAnimation) {
    EXPECT_THAT(placeAt(with("none"), 12), ElementsAre(9, 9, 9));
    EXPECT_THAT(placeAt(with(""), 12), ElementsAre(9, 9, 9));
}

TEST_F(Mover, JumpsAtTheKeyOfAStep) {
    EXPECT_THAT(placeAt(with("hop"), 23.5), ElementsAre(0, 0, 0));
    EXPECT_EQ(with("hop").times("/root/world/mover", "xform.matrix"),
              (Floats{0, std::nextafter(24.0f, 0.0f), 24}));
}

TEST_F(Mover, HasNoAnimationOfAnotherName) {
    EXPECT_THAT(with("jump").error(),
                HasSubstr("there is no animation \"jump\" in it; its animations are 0 \"slide\", 1 "
                          "\"hop\""));
}

/// A quad of two triangles, in whose first target point 2 moves by (0, 0, 1), and in whose second
/// one it moves by (0, 3, 0). The keys of the weights are a cubic spline.
std::string WriteMorph(const TempDirectory& directory) {
    GltfWriter file;
    const std::string points = file.floats("VEC3", 3, {0, 0, 0, 1, 0, 0, 1, 1, 0});
    const std::string up = file.floats("VEC3", 3, {0, 0, 0, 0, 0, 0, 0, 0, 1});
    const std::string on = file.floats("VEC3", 3, {0, 0, 0, 0, 0, 0, 0, 3, 0});
    const std::string times = file.floats("SCALAR", 1, {0, 2});
    // For each key the in-tangents, the values and the out-tangents of both weights.
    const std::string weights =
        file.floats("SCALAR", 1, {0, 0, 0, 1, 2, 0, /**/ -1, 0, 1, 0, 0, 0});
    return file.write(directory, R"("scenes": [{"nodes": [0, 1]}], "nodes": [
        {"name": "moving", "mesh": 0}, {"name": "still", "mesh": 0, "weights": [0.5, 1]}],
        "meshes": [{"name": "sheet", "weights": [1, 0], "primitives": [{"attributes":
        {"POSITION": )" + points + R"(}, "targets": [{"POSITION": )" +
                                     up + R"(}, {"POSITION": )" + on +
                                     R"(}]}]}], "animations": [{"channels": [{"sampler": 0,
        "target": {"node": 0, "path": "weights"}}], "samplers": [{"input": )" +
                                     times + ", \"output\": " + weights +
                                     R"(, "interpolation": "CUBICSPLINE"}]}])");
}

TEST(GltfMorph, FollowsTheSplinesOfItsWeights) {
    const TempDirectory directory;
    const ImportedScene scene(WriteMorph(directory));
    const std::string sheet = "/root/world/ROOT/moving/sheet";
    for (const float seconds : {0.0f, 0.5f, 1.0f, 1.5f, 2.0f}) {
        SCOPED_TRACE(seconds);
        // The cubics with these values and slopes, in powers of the part of the 2 seconds.
        const float t = seconds / 2;
        const float first = 4 * t - 3 * t * t + 0 * t * t * t;
        const float second = 1 - 3 * t * t + 2 * t * t * t;
        EXPECT_THAT(
            At(scene, sheet, "geometry.point.P", seconds * 24),
            Pointwise(FloatNear(0.005f), Floats{0, 0, 0, 1, 0, 0, 1, 1 + 3 * second, first}));
    }
    const Doubles bound = scene.doubles(sheet, "bound");
    EXPECT_NEAR(bound[3], 4, 1e-6);
    EXPECT_NEAR(bound[5], 4.0 / 3, 0.01); // the first cubic is largest at two thirds
}

TEST(GltfMorph, HasTheWeightsOfTheNodeOrTheMesh) {
    const TempDirectory directory;
    const std::string file = WriteMorph(directory);
    const ImportedScene scene(ImportArgs(file).set("animation", "none"));
    EXPECT_EQ(scene.floats("/root/world/ROOT/moving/sheet", "geometry.point.P"),
              (Floats{0, 0, 0, 1, 0, 0, 1, 1, 1}));
    EXPECT_EQ(scene.floats("/root/world/ROOT/still/sheet", "geometry.point.P"),
              (Floats{0, 0, 0, 1, 0, 0, 1, 4, 0.5f}));
    EXPECT_EQ(scene.doubles("/root/world/ROOT/still/sheet", "bound"),
              (Doubles{0, 1, 0, 4, 0, 0.5}));
}

/// A strip along X from 0 to 4, with two joints: one at the origin and one at x = 2, which turns by
/// a quarter about Z in a second. The mesh's node is moved by (100, 0, 0), which a skin ignores.
/// The joints are below a node that is moved by (0, 0, 5).
std::string WriteArm(const TempDirectory& directory, const std::string& root = "") {
    GltfWriter file;
    const std::string points =
        file.floats("VEC3", 3, {0, 0, 0, 2, 0, 0, 4, 0, 0, 0, 1, 0, 2, 1, 0, 4, 1, 0});
    const std::string normals =
        file.floats("VEC3", 3, {0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0});
    const std::string indices = file.bytes("SCALAR", 1, {0, 1, 4, 0, 4, 3, 1, 2, 5, 1, 5, 4});
    const std::string joints = file.bytes(
        "VEC4", 4, {0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0});
    const std::string weights = file.floats(
        "VEC4", 4, {1, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0});
    const std::string binds =
        file.floats("MAT4", 16, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0,  0, 0, 1,
                                 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -2, 0, 0, 1});
    const std::string times = file.floats("SCALAR", 1, {0, 1});
    const std::string turn = file.floats("VEC4", 4, {0, 0, 0, 1, 0, 0, kHalfRoot, kHalfRoot});
    return file.write(directory, R"("scenes": [{"nodes": [0]}], "nodes": [
        {"name": "body", "children": [1, 2])" +
                                     root + R"(},
        {"name": "arm", "mesh": 0, "skin": 0, "translation": [100, 0, 0]},
        {"name": "bones", "children": [3], "translation": [0, 0, 5]},
        {"name": "shoulder", "children": [4]}, {"name": "elbow", "translation": [2, 0, 0]}],
        "skins": [{"joints": [3, 4], "inverseBindMatrices": )" +
                                     binds + R"(}], "meshes": [{"primitives": [{"indices": )" +
                                     indices + R"(, "attributes": {"POSITION": )" + points +
                                     ", \"NORMAL\": " + normals + ", \"JOINTS_0\": " + joints +
                                     ", \"WEIGHTS_0\": " + weights +
                                     R"(}}]}], "animations": [{"channels": [{"sampler": 0,
        "target": {"node": 4, "path": "rotation"}}], "samplers": [{"input": )" +
                                     times + ", \"output\": " + turn + "}]}]");
}

const std::string kArm = "/root/world/body/armShape";

TEST(GltfSkin, BendsAtItsJointsAndIgnoresItsNode) {
    const TempDirectory directory;
    const ImportedScene scene(WriteArm(directory));
    EXPECT_THAT(
        At(scene, kArm, "geometry.point.P", 0),
        Pointwise(FloatNear(1e-5f), Floats{0, 0, 5, 2, 0, 5, 4, 0, 5, 0, 1, 5, 2, 1, 5, 4, 1, 5}));
    EXPECT_THAT(
        At(scene, kArm, "geometry.point.P", 24),
        Pointwise(FloatNear(1e-5f), Floats{0, 0, 5, 2, 0, 5, 2, 2, 5, 0, 1, 5, 1, 0, 5, 1, 2, 5}));
    EXPECT_THAT(At(scene, kArm, "geometry.point.N", 24),
                Pointwise(FloatNear(1e-5f),
                          Floats{0, 1, 0, -1, 0, 0, -1, 0, 0, 0, 1, 0, -1, 0, 0, -1, 0, 0}));
    EXPECT_FALSE(scene.exists("/root/world/body/arm/armShape"));
}

TEST(GltfSkin, StaysNearItsArcBetweenSamples) {
    const TempDirectory directory;
    const ImportedScene scene(WriteArm(directory));
    for (float time = 0; time < 24; time += 0.5f) {
        SCOPED_TRACE(time);
        const Floats points = At(scene, kArm, "geometry.point.P", time);
        EXPECT_NEAR(std::hypot(points[6] - 2, points[7]), 2, 0.005);
    }
    const Doubles bound = scene.doubles(kArm, "bound");
    EXPECT_NEAR(bound[1], 4, 1e-5);
    EXPECT_NEAR(bound[3], std::sqrt(5), 0.01); // the far corner is above the elbow then
}

TEST(GltfSkin, MovesWithTheRootOfTheScene) {
    const TempDirectory directory;
    const ImportedScene scene(WriteArm(directory, R"(, "scale": [2, 2, 2])"));
    EXPECT_THAT(LocalMatrix(scene, "/root/world/body")[0], 2);
    EXPECT_THAT(At(scene, kArm, "geometry.point.P", 0)[6], 4) << "in the space of the root";
}

TEST(GltfSkin, HasThePoseOfItsNodesWithoutAnAnimation) {
    const TempDirectory directory;
    const ImportedScene scene(ImportArgs(WriteArm(directory)).set("animation", "none"));
    const FloatAttribute points(scene.attr(kArm, "geometry.point.P"));
    EXPECT_EQ(points.getNumberOfTimeSamples(), 1);
    EXPECT_EQ(scene.floats(kArm, "geometry.point.P")[8], 5);
}

} // namespace
