#include "reading/Walk.h"

#include <cstring>

#include <gmock/gmock.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::IsEmpty;
using testing::SizeIs;

SceneData ReadWith(const Location& root, int threads) {
    Told told;
    SceneData scene = Read(root, told, {0, threads});
    EXPECT_THAT(told.warnings, IsEmpty());
    return scene;
}

M44d ToWorld(const Light& light) {
    return std::visit([](const auto& one) { return one.toWorld; }, light);
}

void ExpectEqual(const SceneData& a, const SceneData& b) {
    EXPECT_TRUE(a.transforms == b.transforms);
    ASSERT_EQ(a.instances.size(), b.instances.size());
    EXPECT_EQ(
        std::memcmp(a.instances.data(), b.instances.data(), a.instances.size() * sizeof(Instance)),
        0);
    ASSERT_EQ(a.shapes.size(), b.shapes.size());
    for (std::size_t i = 0; i < a.shapes.size(); ++i) {
        EXPECT_TRUE(a.shapes[i].mesh.points == b.shapes[i].mesh.points);
        EXPECT_TRUE(a.shapes[i].spheres.radii == b.shapes[i].spheres.radii);
    }
    ASSERT_EQ(a.surfaces.size(), b.surfaces.size());
    for (std::size_t i = 0; i < a.surfaces.size(); ++i)
        EXPECT_EQ(a.surfaces[i].material, b.surfaces[i].material);
    ASSERT_EQ(a.materials.size(), b.materials.size());
    for (std::size_t i = 0; i < a.materials.size(); ++i)
        EXPECT_EQ(a.materials[i].roughness, b.materials[i].roughness);
    ASSERT_EQ(a.lights.size(), b.lights.size());
    for (std::size_t i = 0; i < a.lights.size(); ++i)
        EXPECT_EQ(ToWorld(a.lights[i]), ToWorld(b.lights[i]));
}

/// 5000 groups of a triangle, a sphere and a light, with materials of their own: 20,000 locations.
std::string ArrayJson(int groupSize) {
    const std::string matte = R"("material": {"surfaceShader": "matte",
                                  "surfaceParams": {"roughness": 0.25}})";
    const std::string metal = R"("material": {"surfaceShader": "metal",
                                  "surfaceParams": {"roughness": 0.75}})";
    const std::string light = R"("light": {"a": {"type": "light", "light.type": "point"}})";
    std::string json =
        SceneJson(R"("set": {"a": {"type": "group"}, "c": {)" + Triangle("t", matte) +
                  R"(, "s": {"a": {"type": "sphere", )" + metal + "}}, " + light + "}}");
    json.erase(json.size() - 2); // "]}"
    return json + R"(, {"name": "array", "type": "Array", "inputs": ["scene"], "args": {
        "source": "/root/world/set", "target": "/root/world/sets", "counts": [50, 10, 10],
        "groupSize": )" +
           std::to_string(groupSize) + "}}]}";
}

// The comparison includes the lights, which must be in scene order too.
TEST(Walk, FindsTheSameInTheSameOrderForAnyNumberOfThreads) {
    const Location root = RootOfJson(ArrayJson(10));
    const SceneData one = ReadWith(root, 1);
    EXPECT_THAT(one.instances, SizeIs(10000));
    EXPECT_THAT(one.lights, SizeIs(5000));
    EXPECT_THAT(one.shapes, SizeIs(2));
    EXPECT_THAT(one.materials, SizeIs(3));
    ExpectEqual(one, ReadWith(root, 2));
    ExpectEqual(one, ReadWith(root, 8));
}

TEST(Walk, SharesManySiblingsAmongThreads) {
    const Location root = RootOfJson(ArrayJson(100000));
    ExpectEqual(ReadWith(root, 1), ReadWith(root, 8));
}

TEST(Walk, FollowsTheOrderOfTheScene) {
    const SceneData scene = ReadWith(RootOfJson(ArrayJson(10)), 8);
    ASSERT_THAT(scene.instances, SizeIs(10000));
    for (std::size_t i = 0; i < 10000; ++i) {
        const M44f& toWorld = scene.transforms[scene.instances[i].firstTransform];
        const int set = static_cast<int>(i / 2);
        const Imath::V3i place(set % 50, set / 50 % 10, set / 500);
        ASSERT_EQ(V3f(toWorld[3][0], toWorld[3][1], toWorld[3][2]), V3f(place));
    }
}

TEST(Walk, SkipsHiddenLocationsAndTheirDescendants) {
    const SceneData scene = ReadSilently(SceneJson(
        Triangle("a", "\"visible\": 0") + R"(, "g": {"a": {"visible": 0}, "c": {)" + Triangle("b") +
        R"(}}, "h": {"a": {"visible": 1}, "c": {)" + Triangle("c") + "}}"));
    EXPECT_THAT(scene.instances, SizeIs(1));
}

TEST(Walk, GoesOnBelowShapes) {
    const SceneData scene =
        ReadSilently(SceneJson(R"("s": {"a": {"type": "sphere"}, "c": {)" + Triangle("t") + "}}"));
    EXPECT_THAT(scene.instances, SizeIs(2));
}

/// A scene with a triangle this many levels below /root/world.
std::string DeepJson(int levels) {
    std::string path = "/root/world";
    for (int i = 0; i < levels; ++i)
        path += "/d";
    std::string json = SceneJson("");
    json.erase(json.size() - 2); // "]}"
    return json + R"(, {"name": "deep", "type": "StaticScene", "args": {"location": ")" + path +
           R"(", "a": {"type": "polymesh", )" + kTriangle +
           R"(}}}, {"name": "both", "type": "Merge", "inputs": ["scene", "deep"]}]})";
}

TEST(Walk, ReachesLocationsThatAreNestedDeeply) {
    const Location root = RootOfJson(DeepJson(10000));
    EXPECT_THAT(ReadWith(root, 1).instances, SizeIs(1));
    EXPECT_THAT(ReadWith(root, 4).instances, SizeIs(1));
}

TEST(Walk, EndsWhenItIsCancelled) {
    const Location root = RootOfJson(ArrayJson(10));
    for (const int threads : {1, 8}) {
        SCOPED_TRACE(threads);
        Told told;
        told.cancelAtQuestion = 20;
        EXPECT_THROW(Read(root, told, {0, threads}), Cancelled);
        EXPECT_LT(told.asked, 60) << "others stop as well";
    }
}

// The garden --------------------------------------------------------------------------------------

int CountOfType(const Location& location, const std::string& type) {
    int count = location.attribute("type").isTextEqual(type) ? 1 : 0;
    for (Location child = location.firstChild(); child; child = child.nextSibling())
        count += CountOfType(child, type);
    return count;
}

TEST(Walk, FindsEverythingInTheGarden) {
    const Location root = RootOfFile(TELLAR_EXAMPLES "/garden.json");
    const SceneData scene = ReadWith(root, 2);
    EXPECT_EQ(static_cast<int>(scene.instances.size()), CountOfType(root, "polymesh"));
    EXPECT_EQ(static_cast<int>(scene.lights.size()), CountOfType(root, "light"));
    EXPECT_GT(scene.instances.size(), 100);
    EXPECT_LT(scene.shapes.size(), scene.instances.size());
    EXPECT_EQ(scene.camera.fov, 45);
    EXPECT_THAT(scene.textures, IsEmpty());
}

} // namespace
