#include "reading/HostInstances.h"

#include <string>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// A scene in which an Array repeats /root/world/tree, or Instances do if the arguments list
/// places. `tree` are the members of that location.
std::string Forest(const std::string& tree, const std::string& settings, const std::string& array,
                   const std::string& world = R"("type": "group")") {
    const bool isListed = array.find("translates") != std::string::npos;
    const std::string op = isListed ? R"("type": "Instances", "inputs": ["scene"], "args": {)"
                                    : R"("type": "Array", "inputs": ["scene"], "args": {
            "source": "/root/world/tree", )";
    return R"({"ops": [{"name": "scene", "type": "StaticScene", "args": {
        "a": {"renderSettings": {)" +
           settings + R"("cameraName": "/root/world/cam"}}, "c": {"world": {"a": {)" + world +
           R"(}, "c": {
            "cam": {"a": {"type": "camera", )" +
           kLens + R"(}}, "tree": {)" + tree + R"(}}}}}},
        {"name": "array", )" +
           op + R"("target": "/root/world/forest", )" + array + "}}]}";
}

const char* const kGrid = R"("mode": "grid", "counts": [7, 5, 3], "spacing": [1.5, 2.0, 2.5],
    "groupSize": 4)";
const char* const kScatter = R"("mode": "scatter", "count": 60, "seed": 3, "spin": true,
    "extent": [-9, 9, 0, 1, -9, 9], "groupSize": 5)";

const char* const kListed = R"("sources": ["/root/world/tree", "/root/world/tree/trunk"],
    "indices": [0, 1, 1, 0, 0, 1], "hidden": [3], "groupSize": 4,
    "translates": [[0, 0, 0], [1, 0, 0], [2, 0, 5], [3, 0, 0], [4, 1, 0], [5, 0, -2.5]],
    "rotates": [[0, 0, 0, 1], [1, 0, 0, 1], [0, 1, 0, 2], [0, 0, 0, 1], [1, 2, 3, 4], [0, 0, 1, 0]],
    "scales": [[1, 1, 1], [2, 2, 2], [1, 3, 1], [1, 1, 1], [0.5, 1, 2], [1, 1, -1]])";

/// Two shapes below groups with transforms, and some that are hidden.
std::string Tree() {
    return R"("a": {"xform": {"rotate": [20.0, 0.0, 1.0, 0.0], "translate": [0.5, 0.0, 0.0]},
                    "material": {"surfaceShader": "matte", "surfaceParams": {"Kd": [1.0, 0, 0]}}},
        "c": {"crown": {"a": {"xform": {"scale": [2.0, 1.0, 0.5]}}, "c": {)" +
           Triangle("leaf", R"("xform": {"translate": [0.0, 3.0, 0.0]})") + "," +
           Triangle("hidden", R"("visible": 0)") + R"(}},
        "trunk": {"a": {"type": "sphere", "geometry": {"radius": 0.5}}}})";
}

/// Reads the scene by its instances, and location by location, which the layer "id" needs.
void ExpectSameBothWays(const std::string& tree, const std::string& array,
                        std::size_t instancesOfTree,
                        const std::string& world = R"("type": "group")") {
    const SceneData told = ReadSilently(Forest(tree, "", array, world));
    const SceneData walked = ReadSilently(Forest(tree, R"("aovs": "id", )", array, world));
    EXPECT_THAT(told.instances, SizeIs(instancesOfTree));
    EXPECT_EQ(told.transforms, walked.transforms);
    ASSERT_EQ(told.instances.size(), walked.instances.size());
    for (std::size_t i = 0; i < told.instances.size(); ++i) {
        ASSERT_EQ(told.instances[i].shape, walked.instances[i].shape) << i;
        ASSERT_EQ(told.instances[i].surface, walked.instances[i].surface) << i;
        ASSERT_EQ(told.instances[i].firstTransform, walked.instances[i].firstTransform) << i;
    }
    EXPECT_EQ(told.shapes.size(), walked.shapes.size());
    EXPECT_EQ(told.lights.size(), walked.lights.size());
    EXPECT_EQ(told.materials.size(), walked.materials.size());
    EXPECT_THAT(told.locations, IsEmpty());
    EXPECT_THAT(walked.locations, SizeIs(instancesOfTree));
}

TEST(ReadInstances, GivesTheShapesOfAGridAsAWalkDoes) {
    ExpectSameBothWays(Tree(), kGrid, 2 * 7 * 5 * 3);
}

TEST(ReadInstances, GivesScatteredShapesAsAWalkDoes) {
    ExpectSameBothWays(Tree(), kScatter, 2 * 60);
}

TEST(ReadInstances, GivesTheShapesOfListedInstancesAsAWalkDoes) {
    // Two trees of two shapes, and three trunks.
    ExpectSameBothWays(Tree(), kListed, 2 * 2 + 3);
}

TEST(ReadInstances, GivesASingleShapeAsAWalkDoes) {
    const std::string triangle = Triangle("t");
    ExpectSameBothWays(
        triangle.substr(triangle.find('{') + 1, triangle.rfind('}') - 1 - triangle.find('{')),
        kGrid, 7 * 5 * 3);
}

TEST(ReadInstances, KeepsTheMaterialsFromAbove) {
    ExpectSameBothWays(
        Tree(), kGrid, 2 * 7 * 5 * 3,
        R"("material": {"surfaceShader": "matte", "surfaceParams": {"Kd": [0.0, 0, 1]}})");
}

TEST(ReadInstances, WalksPrototypesWithLights) {
    const std::string lamp =
        R"("a": {"type": "group"}, "c": {"lamp": {"a": {"type": "light", "light": {"type": "point"}}}})";
    const SceneData scene = ReadSilently(Forest(lamp, "", kScatter));
    EXPECT_THAT(scene.lights, SizeIs(60));
}

TEST(ReadInstances, ShowsNothingOfAHiddenPrototype) {
    ExpectSameBothWays(R"("a": {"visible": 0, "type": "sphere", "geometry": {"radius": 1.0}})",
                       kGrid, 0);
}

TEST(ReadInstances, NamesTheInstanceWhoseTransformCannotBeDrawn) {
    Told told;
    const std::string flat =
        R"("a": {"type": "sphere", "geometry": {"radius": 1.0}, "xform": {"scale": [1e30, 1.0, 1.0]}})";
    ReadJson(Forest(flat, "", R"("mode": "grid", "counts": [5, 1, 1], "spacing": [1.0, 1.0, 1.0])"),
             told);
    ASSERT_FALSE(told.warnings.empty());
    EXPECT_THAT(told.warnings[0], HasSubstr("/root/world/forest/"));
}

TEST(HostInstances, KnowsThePrototypesOfListedInstances) {
    const Location root = RootOfJson(Forest(Tree(), "", kListed));
    const HostInstances instances(AllSuites(), root.byPath("/root/world/forest"));
    ASSERT_TRUE(static_cast<bool>(instances));
    EXPECT_EQ(instances.count(), 5);
    EXPECT_EQ(instances.prototypeCount(), 2);
}

TEST(HostInstances, KnowsWhatAnArrayRepeats) {
    const Location root = RootOfJson(Forest(Tree(), "", kScatter));
    const HostInstances instances(AllSuites(), root.byPath("/root/world/forest"));
    ASSERT_TRUE(static_cast<bool>(instances));
    EXPECT_EQ(instances.count(), 60);
    EXPECT_EQ(instances.prototypeCount(), 1);
    EXPECT_EQ(instances.read(10, 12).size(), 2u);
    EXPECT_THAT(instances.prototype(0).path(), HasSubstr("/root/world/forest/"));
}

} // namespace
