#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/SubtreeFacts.h>

#include "GltfBuilder.h"
#include "GltfWriter.h"
#include "RunTogether.h"
#include "SceneFixtures.h"
#include "SubtreeWalk.h"

// What an import tells of its locations without cooking them.

namespace {

using OxOpType::DescribeInstances;
using OxOpType::DescribeSubtree;
using OxOpType::Instances;
using OxOpType::SubtreeFacts;
using SubtreeWalk::Walk;
using testing::ElementsAre;

SubtreeFacts Facts(const ImportedScene& scene, const std::string& path) {
    return DescribeSubtree(*scene.getClient(), path);
}

std::shared_ptr<const Instances> InstancesBelow(const ImportedScene& scene,
                                                const std::string& path) {
    return DescribeInstances(*scene.getClient(), path);
}

/// Compares all facts and instances with a walk. Returns how many locations told instances.
int ExpectAgreement(const ImportedScene& scene) {
    Walk walk(scene.getClient());
    int told = 0;
    const std::vector<std::string> paths = walk.at("/root").paths;
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        const SubtreeFacts facts = Facts(scene, path);
        EXPECT_TRUE(facts.types && facts.locations && facts.bound);
        SubtreeWalk::ExpectAgreement(facts, walk.at(path));
        const auto instances = InstancesBelow(scene, path);
        if (!instances) continue;
        ++told;
        SubtreeWalk::ExpectAllInstances(*instances, walk, path);
    }
    return told;
}

/// A node "thing" with the instances of a triangle at (0, 0, 0), (5, 0, 0) and (10, 0, 0).
GltfBuilder ThreeInstances(const std::string& meshName) {
    GltfBuilder file;
    file.floats({0, 0, 0, 1, 0, 0, 0, 1, 0}, "VEC3");
    file.floats({0, 0, 0, 5, 0, 0, 10, 0, 0}, "VEC3");
    file.rest = R"("nodes": [{"name": "thing", "mesh": 0, "translation": [0, 0, 7], "extensions":
        {"EXT_mesh_gpu_instancing": {"attributes": {"TRANSLATION": 1}}}}], "meshes": [{"name": ")" +
                meshName + R"(", "primitives": [{"attributes": {"POSITION": 0}}]}])";
    return file;
}

TEST_F(Yard, TellsItsFactsWithoutACook) {
    const auto cooksBefore = TellarRuntime::getNumberOfCooks();
    const SubtreeFacts root = Facts(scene, "/root");
    EXPECT_EQ(*root.types & OxOpType::kTypePolyMesh, OxOpType::kTypePolyMesh);
    EXPECT_EQ(*root.types & OxOpType::kTypeOther, OxOpType::kTypeOther); // materials
    EXPECT_EQ(Facts(scene, "/root/world/yard/panel/quad").types, OxOpType::kTypePolyMesh);
    EXPECT_EQ(Facts(scene, "/root/world/yard/nothing").exists, false);
    EXPECT_EQ(Facts(scene, "/root/materials/nothing").exists, false);
    EXPECT_EQ(TellarRuntime::getNumberOfCooks(), cooksBefore);
    ExpectAgreement(scene);
}

TEST_F(Yard, TellsTheSameWithMaterialsInTheScene) {
    const ImportedScene inside(
        ImportArgs(file).set("materialLocation", "/root/world/looks/materials"));
    EXPECT_EQ(Facts(inside, "/root").locations, *Facts(scene, "/root").locations + 1);
    ExpectAgreement(inside);
}

TEST_F(Yard, KnowsNothingWhenTheFileCannotBeRead) {
    const ImportedScene missing(file + ".missing");
    EXPECT_FALSE(Facts(missing, "/root/world").exists);
    EXPECT_EQ(InstancesBelow(missing, "/root/world/yard"), nullptr);
    EXPECT_EQ(Facts(missing, "/elsewhere").exists, false);
}

TEST_F(Yard, HasOneIdentityInAllImportsOfIt) {
    const ImportedScene elsewhere(ImportArgs(file).set("location", "/root/other/place"));
    EXPECT_EQ(Facts(elsewhere, "/root/other/place/yard/panel").identity,
              Facts(scene, "/root/world/yard/panel").identity);
    const ImportedScene others(ImportArgs(file).set("materialLocation", "/root/looks"));
    EXPECT_NE(Facts(others, "/root/world/yard/panel").identity,
              Facts(scene, "/root/world/yard/panel").identity);
}

TEST(SceneFacts, AgreeWithAWalkOfOtherFormats) {
    const std::string data = SCENEIMPORT_TEST_DATA;
    for (const char* name : {"/panel.dae", "/panel.fbx", "/strip.fbx"}) {
        SCOPED_TRACE(name);
        ExpectAgreement(ImportedScene(data + name));
    }
}

TEST(SceneFacts, AgreeWithAWalkOfTheGarden) {
    EXPECT_GT(ExpectAgreement(ImportedScene(std::string(TELLAR_EXAMPLES_DIR) + "/garden.gltf")), 0);
}

TEST(SceneFacts, EncloseAMovingNodeAtAllTimes) {
    const TempDirectory directory;
    GltfWriter file;
    const std::string triangle = file.floats("VEC3", 3, {0, 0, 0, 1, 0, 0, 0, 1, 0});
    const std::string times = file.floats("SCALAR", 1, {0, 1});
    const std::string slide = file.floats("VEC3", 3, {0, 0, 0, 4, 0, 0});
    const ImportedScene scene(file.write(directory, R"("scenes": [{"nodes": [0]}], "nodes":
        [{"name": "top", "children": [1, 2]}, {"name": "a", "mesh": 0}, {"name": "b", "mesh": 0}],
        "meshes": [{"name": "mesh", "primitives": [{"attributes": {"POSITION": )" +
                                                        triangle +
                                                        R"(}}]}], "animations": [{"channels":
        [{"sampler": 0, "target": {"node": 1, "path": "translation"}}], "samplers": [{"input": )" +
                                                        times + ", \"output\": " + slide + "}]}]"));
    EXPECT_THAT(Facts(scene, "/root/world/top").bound->values, ElementsAre(0, 5, 0, 1, 0, 0));
    EXPECT_EQ(InstancesBelow(scene, "/root/world/top"), nullptr); // one of them moves
    ExpectAgreement(scene);
}

TEST(SceneInstances, AreThoseOfTheExtension) {
    const BuiltScene scene(ThreeInstances("mesh"));
    const auto instances = InstancesBelow(*scene, "/root/world/thing");
    ASSERT_NE(instances, nullptr);
    EXPECT_EQ(instances->count(), 3);
    EXPECT_THAT(instances->prototypes(), ElementsAre("instance"));
    EXPECT_EQ(instances->path(2), "instance_3");
    std::vector<double> matrix(16);
    instances->read(2, 3, nullptr, matrix.data());
    EXPECT_THAT(matrix, ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 0, 0, 1));
    EXPECT_EQ(ExpectAgreement(*scene), 1);
}

TEST(SceneInstances, AreTheMeshesWhenTheirNodesDiffer) {
    // A mesh without a name is named after its node.
    const BuiltScene scene(ThreeInstances(""));
    const auto instances = InstancesBelow(*scene, "/root/world/thing");
    ASSERT_NE(instances, nullptr);
    EXPECT_EQ(instances->count(), 3);
    EXPECT_THAT(instances->prototypes(), ElementsAre("instance/instanceShape"));
    EXPECT_EQ(instances->path(1), "instance_2/instance_2Shape");
    EXPECT_EQ(ExpectAgreement(*scene), 1);
}

/// Two equal carts of two wheels each, a third wheel, and a post that is there once.
ImportedScene WriteCarts(const TempDirectory& directory, const std::string& lastNode) {
    GltfWriter file;
    const std::string round = file.floats("VEC3", 3, {0, 0, 0, 1, 0, 0, 0, 1, 0});
    const std::string tall = file.floats("VEC3", 3, {0, 0, 0, 1, 0, 0, 0, 9, 0});
    return ImportedScene(file.write(
        directory, R"("scenes": [{"nodes": [0]}], "nodes": [
        {"name": "yard", "children": [1, 4, 7, 8]},
        {"name": "cartA", "children": [2, 3], "translation": [100, 0, 0]},
        {"name": "front", "mesh": 0, "translation": [1, 0, 0]}, {"name": "back", "mesh": 0},
        {"name": "cartB", "children": [5, 6], "scale": [2, 2, 2]},
        {"name": "front", "mesh": 0, "translation": [1, 0, 0]}, {"name": "back", "mesh": 0},
        {"name": "spare", "children": [9], "scale": [2, 2, 2]}, )" +
                       lastNode +
                       R"(, {"name": "wheel", "mesh": 0, "translation": [3, 0, 0]}], "meshes": [
        {"name": "round", "primitives": [{"attributes": {"POSITION": )" +
                       round +
                       R"(}}]}, {"name": "tall", "primitives":
        [{"attributes": {"POSITION": )" +
                       tall + "}}]}]"));
}

TEST(SceneInstances, AreTheLargestPartsThatRepeat) {
    const TempDirectory directory;
    const ImportedScene scene = WriteCarts(directory, R"({"name": "post", "mesh": 1})");
    const auto instances = InstancesBelow(scene, "/root/world/yard");
    ASSERT_NE(instances, nullptr);
    std::vector<std::string> paths;
    for (std::int64_t i = 0; i < instances->count(); ++i)
        paths.push_back(instances->path(i));
    EXPECT_THAT(paths, ElementsAre("cartA", "cartB", "spare/wheel", "post/tall"));
    EXPECT_THAT(instances->prototypes(), ElementsAre("cartA", "spare/wheel", "post/tall"));
    std::vector<std::int64_t> prototypes(4);
    instances->read(0, 4, prototypes.data(), nullptr);
    EXPECT_THAT(prototypes, ElementsAre(0, 0, 1, 2));
    EXPECT_EQ(Facts(scene, "/root/world/yard/cartA").identity,
              Facts(scene, "/root/world/yard/cartB").identity);
    EXPECT_EQ(ExpectAgreement(scene), 3); // the yard and both carts
}

TEST(SceneInstances, AnswerManyThreadsAtOnce) {
    const BuiltScene scene(ThreeInstances("mesh"));
    RunTogether(8, [&](int) {
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(Facts(*scene, "/root/world/thing").locations, 7);
            EXPECT_EQ(InstancesBelow(*scene, "/root/world/thing")->count(), 3);
        }
    });
}

} // namespace
