#include <cmath>
#include <filesystem>
#include <map>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TempDirectory.h"
#include "TestScenes.h"

namespace {

using namespace OxAttribute;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(Yard, IsALocationForEachNodeAndMesh) {
    EXPECT_EQ(scene.children("/root"), (Names{"world", "materials"}));
    EXPECT_EQ(scene.children("/root/world"), (Names{"yard"}));
    EXPECT_EQ(scene.children("/root/world/yard"), (Names{"panel", "view", "lamp", "lamp_2"}));
    EXPECT_EQ(scene.children("/root/world/yard/panel"), (Names{"quad"}));
    EXPECT_THAT(scene.children("/root/world/yard/panel/quad"), IsEmpty());
    EXPECT_EQ(scene.type("/root"), "group");
    EXPECT_EQ(scene.type("/root/world"), "group");
    EXPECT_EQ(scene.type("/root/world/yard/panel"), "group");
    EXPECT_EQ(scene.type("/root/world/yard/panel/quad"), "polymesh");
}

TEST_F(Yard, HasNoLocationsBesideThese) {
    EXPECT_FALSE(scene.exists("/root/elsewhere"));
    EXPECT_FALSE(scene.exists("/root/worldwide"));
    EXPECT_FALSE(scene.exists("/root/world/panel"));
    EXPECT_FALSE(scene.exists("/root/world/yard/panel/quad/more"));
    EXPECT_FALSE(scene.exists("/root/materials/paint/more"));
}

TEST_F(Yard, MakesNamesSafeForPaths) {
    EXPECT_EQ(scene.children("/root/world/yard/lamp_2"), (Names{"a_b"}));
    EXPECT_TRUE(scene.exists("/root/world/yard/lamp_2/a_b/quad"));
}

TEST_F(Yard, HasMatricesForRowVectors) {
    EXPECT_EQ(scene.doubles("/root/world/yard/panel", "xform.matrix"),
              (Doubles{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1}));
    EXPECT_EQ(DoubleAttribute(scene.attr("/root/world/yard/panel", "xform.matrix")).getTupleSize(),
              16);
}

TEST_F(Yard, HasNoMatrixWhereItWouldBeTheIdentity) {
    EXPECT_FALSE(scene.attr("/root/world/yard", "xform").isValid());
    EXPECT_FALSE(scene.attr("/root/world/yard/panel/quad", "xform").isValid());
}

TEST_F(Yard, GivesAMeshPointsNormalsAndTextureCoordinates) {
    const std::string quad = "/root/world/yard/panel/quad";
    EXPECT_EQ(scene.floats(quad, "geometry.point.P"), (Floats{0, 0, 0, 2, 0, 0, 2, 1, 0, 0, 1, 0}));
    EXPECT_EQ(FloatAttribute(scene.attr(quad, "geometry.point.P")).getTupleSize(), 3);
    EXPECT_EQ(scene.floats(quad, "geometry.point.N"), (Floats{0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(scene.ints(quad, "geometry.poly.vertexList"), (Ints{0, 1, 2, 0, 2, 3}));
    EXPECT_EQ(scene.ints(quad, "geometry.poly.startIndex"), (Ints{0, 3, 6}));
    EXPECT_EQ(scene.text(quad, "geometry.arbitrary.st.scope"), "point");
    EXPECT_EQ(scene.text(quad, "geometry.arbitrary.st.inputType"), "point2");
    // The second coordinate grows upwards, against glTF.
    EXPECT_EQ(scene.floats(quad, "geometry.arbitrary.st.value"), (Floats{0, 0, 1, 0, 1, 1, 0, 1}));
}

TEST_F(Yard, BoundsMeshesAndWhatHoldsThemInTheirOwnSpace) {
    EXPECT_EQ(scene.doubles("/root/world/yard/panel/quad", "bound"), (Doubles{0, 2, 0, 1, 0, 0}));
    EXPECT_EQ(scene.doubles("/root/world/yard/panel", "bound"), (Doubles{0, 2, 0, 1, 0, 0}));
    EXPECT_EQ(scene.doubles("/root/world/yard/lamp_2", "bound"), (Doubles{0, 20, 0, 10, 0, 0}));
    EXPECT_EQ(scene.doubles("/root/world/yard", "bound"), (Doubles{0, 20, 0, 10, 0, 3}));
    EXPECT_FALSE(scene.attr("/root/world/yard/view", "bound").isValid());
}

TEST_F(Yard, SharesTheGeometryOfAMeshThatIsShownTwice) {
    EXPECT_EQ(scene.attr("/root/world/yard/panel/quad", "geometry").getHandle(),
              scene.attr("/root/world/yard/lamp_2/a_b/quad", "geometry").getHandle());
}

TEST_F(Yard, MakesTheNodeOfACameraTheCamera) {
    const std::string view = "/root/world/yard/view";
    EXPECT_EQ(scene.type(view), "camera");
    EXPECT_EQ(scene.text(view, "geometry.projection"), "perspective");
    // The file holds the vertical angle, 0.5, and the aspect 2.
    const double horizontal = 2 * std::atan(2 * std::tan(0.25)) * 180 / 3.14159265358979323846;
    EXPECT_THAT(scene.doubles(view, "geometry.fov"), Near({horizontal}));
    EXPECT_EQ(scene.doubles(view, "geometry.near"), (Doubles{0.25}));
    EXPECT_EQ(scene.doubles(view, "geometry.far"), (Doubles{80}));
    EXPECT_EQ(scene.doubles(view, "geometry.left"), (Doubles{-1}));
    EXPECT_EQ(scene.doubles(view, "geometry.right"), (Doubles{1}));
    EXPECT_EQ(scene.doubles(view, "geometry.bottom"), (Doubles{-0.5}));
    EXPECT_EQ(scene.doubles(view, "geometry.top"), (Doubles{0.5}));
    EXPECT_FALSE(scene.attr(view, "geometry.orthographicWidth").isValid());
    EXPECT_FALSE(scene.attr(view, "xform.matrixAim").isValid());
}

TEST_F(Yard, GivesALightToEveryNodeThatHasIt) {
    for (const std::string lamp : {"/root/world/yard/lamp", "/root/world/yard/lamp_2"}) {
        SCOPED_TRACE(lamp);
        EXPECT_EQ(scene.type(lamp), "light");
        EXPECT_EQ(scene.text(lamp, "light.type"), "spot");
        EXPECT_EQ(scene.floats(lamp, "light.color"), (Floats{1, 0.5f, 0.25f}));
        EXPECT_EQ(scene.floats(lamp, "light.intensity"), (Floats{8}));
        EXPECT_EQ(scene.floats(lamp, "light.decay"), (Floats{0, 0, 1}));
        EXPECT_EQ(scene.floats(lamp, "light.range"), (Floats{30}));
        // Whole angles; the file holds halves in radians.
        EXPECT_THAT(scene.floats(lamp, "light.coneInner"),
                    ElementsAre(testing::FloatNear(28.647889f, 1e-5f)));
        EXPECT_THAT(scene.floats(lamp, "light.coneOuter"),
                    ElementsAre(testing::FloatNear(57.295780f, 1e-5f)));
    }
}

TEST_F(Yard, GivesALightAMaterialToo) {
    const std::string lamp = "/root/world/yard/lamp";
    EXPECT_EQ(scene.text(lamp, "material.style"), "network");
    EXPECT_EQ(scene.text(lamp, "material.terminals.light"), "light");
    EXPECT_EQ(scene.text(lamp, "material.terminals.lightPort"), "out");
    EXPECT_EQ(scene.text(lamp, "material.nodes.light.type"), "spot_light");
    EXPECT_EQ(scene.floats(lamp, "material.nodes.light.parameters.intensity"), (Floats{8}));
    EXPECT_EQ(scene.text(lamp, "material.interface.intensity.src"), "light.intensity");
    EXPECT_EQ(scene.floats(lamp, "material.parameters.intensity"), (Floats{8}));
}

TEST_F(Yard, SamplesMotionAtItsKeysRelativeToTheFrame) {
    const ImportedScene atFrame36(ImportArgs(file).set("frame", 36.0));
    const std::string view = "/root/world/yard/view";
    EXPECT_EQ(atFrame36.times(view, "xform.matrix"), (Floats{-12, 12}));
    EXPECT_EQ(atFrame36.doubles(view, "xform.matrix", -12),
              (Doubles{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 4, 1}));
    EXPECT_EQ(atFrame36.doubles(view, "xform.matrix", 12)[14], 6);
    EXPECT_EQ(scene.times(view, "xform.matrix"), (Floats{24, 48}));
}

TEST_F(Yard, CountsFramesAsItIsTold) {
    const ImportedScene slow(ImportArgs(file).set("framesPerSecond", 10.0).set("frame", 1.5));
    EXPECT_EQ(slow.times("/root/world/yard/view", "xform.matrix"), (Floats{8.5, 18.5}));
}

TEST_F(Yard, MovesOnlyTheOneOfTwoNodesOfANameThatIsAnimated) {
    EXPECT_FALSE(scene.attr("/root/world/yard/lamp", "xform").isValid());
    EXPECT_TRUE(scene.attr("/root/world/yard/lamp_2", "xform").isValid());
}

TEST_F(Yard, TurnsInStepsThatMayBeInterpolatedLinearly) {
    const std::string lamp = "/root/world/yard/lamp_2";
    // A quarter turn in steps of five degrees.
    const Floats times = scene.times(lamp, "xform.matrix");
    ASSERT_EQ(times.size(), 19u);
    EXPECT_EQ(times.front(), 24);
    EXPECT_EQ(times.back(), 48);
    const double half = std::sqrt(0.5);
    EXPECT_THAT(scene.doubles(lamp, "xform.matrix", 36),
                Near({half, 0, -half, 0, 0, 1, 0, 0, half, 0, half, 0, 0, 0, 0, 1}));
    // Between two samples: as long as it should be, nearly.
    const Doubles between = LocalMatrix(scene, lamp, 24.0f + 24.0f / 36.0f);
    EXPECT_NEAR(std::hypot(between[0], between[2]), 1, 1e-3);
    EXPECT_LT(std::hypot(between[0], between[2]), 1);
}

TEST_F(Yard, PutsMaterialsInOnePlace) {
    EXPECT_EQ(scene.type("/root/materials"), "group");
    EXPECT_EQ(scene.children("/root/materials"), (Names{"paint"}));
    EXPECT_EQ(scene.type("/root/materials/paint"), "material");
    EXPECT_THAT(scene.children("/root/materials/paint"), IsEmpty());
}

TEST_F(Yard, AssignsMaterialsToMeshes) {
    const std::string quad = "/root/world/yard/panel/quad";
    EXPECT_EQ(scene.text(quad, "materialAssign"), "/root/materials/paint");
    EXPECT_EQ(scene.attr(quad, "material").getHandle(),
              scene.attr("/root/materials/paint", "material").getHandle());
}

TEST_F(Yard, MakesANetworkOfAPhysicalMaterial) {
    const std::string paint = "/root/materials/paint";
    EXPECT_EQ(scene.text(paint, "material.style"), "network");
    EXPECT_EQ(scene.text(paint, "material.terminals.surface"), "surface");
    EXPECT_EQ(scene.text(paint, "material.terminals.surfacePort"), "out");
    EXPECT_EQ(scene.text(paint, "material.nodes.surface.name"), "surface");
    EXPECT_EQ(scene.text(paint, "material.nodes.surface.type"), "standard_surface");
    const std::string parameters = "material.nodes.surface.parameters.";
    EXPECT_EQ(scene.floats(paint, parameters + "baseColor"), (Floats{0.8f, 0.4f, 0.2f}));
    EXPECT_EQ(scene.floats(paint, parameters + "metalness"), (Floats{0.5f}));
    EXPECT_EQ(scene.floats(paint, parameters + "roughness"), (Floats{0.25f}));
    EXPECT_EQ(scene.floats(paint, parameters + "emission"), (Floats{0, 0.5f, 0}));
    EXPECT_EQ(scene.floats(paint, parameters + "opacity"), (Floats{1}));
    EXPECT_EQ(scene.floats(paint, parameters + "specular"), (Floats{1}));
    EXPECT_EQ(scene.ints(paint, parameters + "doubleSided"), (Ints{1}));
}

TEST_F(Yard, OffersTheMaterialsMainParameters) {
    const std::string paint = "/root/materials/paint";
    EXPECT_EQ(scene.floats(paint, "material.parameters.roughness"), (Floats{0.25f}));
    EXPECT_EQ(scene.text(paint, "material.interface.roughness.src"), "surface.roughness");
    const GroupAttribute interface(scene.attr(paint, "material.interface"));
    Names names;
    for (std::int64_t i = 0; i < interface.getNumberOfChildren(); ++i)
        names.push_back(interface.getChildName(i));
    EXPECT_EQ(names,
              (Names{"baseColor", "metalness", "roughness", "specular", "emission", "opacity"}));
}

TEST_F(Yard, ConnectsTexturesToTheMaterial) {
    const std::string paint = "/root/materials/paint";
    const std::string connections = "material.nodes.surface.connections.";
    EXPECT_EQ(scene.text(paint, connections + "baseColor"), "out@baseColorImage");
    EXPECT_EQ(scene.text(paint, connections + "metalness"), "b@metalnessRoughnessImage");
    EXPECT_EQ(scene.text(paint, connections + "roughness"), "g@metalnessRoughnessImage");
    const std::string image = "material.nodes.baseColorImage.";
    EXPECT_EQ(scene.text(paint, image + "name"), "baseColorImage");
    EXPECT_EQ(scene.text(paint, image + "type"), "image");
    const std::string folder = std::filesystem::canonical(directory.path()).string();
    EXPECT_EQ(scene.text(paint, image + "parameters.file"), folder + "/maps/base.png");
    EXPECT_EQ(scene.text(paint, image + "parameters.uvSet"), "st");
    EXPECT_EQ(scene.text(paint, image + "parameters.wrapU"), "clamp");
    EXPECT_EQ(scene.text(paint, image + "parameters.wrapV"), "mirror");
    EXPECT_EQ(scene.text(paint, image + "parameters.colorSpace"), "srgb");
    EXPECT_EQ(scene.floats(paint, image + "parameters.multiply"), (Floats{0.8f, 0.4f, 0.2f}));
    EXPECT_EQ(scene.floats(paint, "material.nodes.metalnessRoughnessImage.parameters.multiply"),
              (Floats{1, 0.25f, 0.5f}));
}

TEST_F(Yard, IsTheSameAsBinaryFile) {
    const ImportedScene binary(directory.write("yard.glb", BinaryGltf(YardJson(""), YardBuffer())));
    for (const std::string path : {"/root/world/yard/panel/quad", "/root/world/yard/view",
                                   "/root/world/yard/lamp_2", "/root/materials/paint"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(binary.cook(path).getHash(), scene.cook(path).getHash());
    }
}

TEST(SceneImport, ReadsOrthographicCamerasOfGltf) {
    const TempDirectory directory;
    const ImportedScene scene(directory.write("plan.gltf", R"({"asset": {"version": "2.0"},
        "scene": 0, "scenes": [{"nodes": [0]}],
        "nodes": [{"name": "plan", "camera": 0}],
        "cameras": [{"type": "orthographic",
            "orthographic": {"xmag": 3, "ymag": 2, "znear": 0.5, "zfar": 20}}]})"));
    EXPECT_EQ(scene.type("/root/world/plan"), "camera");
    EXPECT_EQ(scene.text("/root/world/plan", "geometry.projection"), "orthographic");
    EXPECT_EQ(scene.doubles("/root/world/plan", "geometry.orthographicWidth"), (Doubles{6}));
    EXPECT_THAT(scene.doubles("/root/world/plan", "geometry.top"), Near({2.0 / 3.0}));
    EXPECT_TRUE(scene.attr("/root/world/plan", "geometry.fov").isValid());
}

TEST(SceneImport, SeesFarWithACameraThatHasNoEnd) {
    const TempDirectory directory;
    const ImportedScene scene(directory.write("eye.gltf", R"({"asset": {"version": "2.0"},
        "scene": 0, "scenes": [{"nodes": [0]}],
        "nodes": [{"name": "eye", "camera": 0}],
        "cameras": [{"type": "perspective", "perspective": {"yfov": 1, "znear": 1}}]})"));
    EXPECT_EQ(scene.doubles("/root/world/eye", "geometry.far"), (Doubles{1e6}));
    // Without an aspect the picture is square.
    EXPECT_THAT(scene.doubles("/root/world/eye", "geometry.fov"), Near({57.29577951308232}));
    EXPECT_EQ(scene.doubles("/root/world/eye", "geometry.top"), (Doubles{1}));
}

TEST(SceneImport, MakesALocationBelowTheNodeForALightBesideACamera) {
    const TempDirectory directory;
    const ImportedScene scene(directory.write("both.gltf", R"({"asset": {"version": "2.0"},
        "extensionsUsed": ["KHR_lights_punctual"],
        "extensions": {"KHR_lights_punctual": {"lights": [{"type": "point"}]}},
        "scene": 0, "scenes": [{"nodes": [0]}],
        "nodes": [{"name": "eye", "camera": 0,
            "extensions": {"KHR_lights_punctual": {"light": 0}}}],
        "cameras": [{"type": "perspective", "perspective": {"yfov": 1, "znear": 1}}]})"));
    EXPECT_EQ(scene.type("/root/world/eye"), "camera");
    EXPECT_EQ(scene.children("/root/world/eye"), (Names{"eyeLight"}));
    EXPECT_EQ(scene.type("/root/world/eye/eyeLight"), "light");
    EXPECT_EQ(scene.text("/root/world/eye/eyeLight", "light.type"), "point");
}

TEST(SceneImport, NamesNodesWithoutNamesAndTellsEqualNamesApart) {
    const TempDirectory directory;
    const ImportedScene scene(directory.write("names.gltf", R"({"asset": {"version": "2.0"},
        "scene": 0, "scenes": [{"nodes": [0]}],
        "nodes": [{"name": "top", "children": [1, 2, 3, 4, 5]},
            {}, {"name": "leaf"}, {}, {"name": "leaf"}, {"name": "leaf_2"}]})"));
    EXPECT_EQ(scene.children("/root/world/top"),
              (Names{"node", "leaf", "node_2", "leaf_2", "leaf_2_2"}));
}

class Garden : public testing::Test {
protected:
    /// All locations, by type.
    void count(const std::string& path, std::map<std::string, int>& types) const {
        ++types[scene.type(path)];
        for (const std::string& child : scene.children(path))
            count(path + "/" + child, types);
    }

    const ImportedScene scene{std::string(TELLAR_EXAMPLES_DIR) + "/garden.gltf"};
};

TEST_F(Garden, HasEverythingThatItsFileSays) {
    std::map<std::string, int> types;
    count("/root/world", types);
    EXPECT_EQ(types["camera"], 1);
    EXPECT_EQ(types["light"], 2);
    EXPECT_GT(types["polymesh"], 100);
    EXPECT_EQ(types["pointcloud"], 0);
    EXPECT_EQ(types["(none)"], 0);
}

TEST_F(Garden, KeepsApartWhatHasOneName) {
    EXPECT_TRUE(scene.exists("/root/world/garden/fountain/water/fountain_water"));
    EXPECT_TRUE(scene.exists("/root/world/garden/pond/oval/water/pond_water"));
}

TEST_F(Garden, SeesAsWideAsItsFileSays) {
    const double horizontal = 2 * std::atan(std::tan(0.31) * 16 / 9) * 180 / 3.14159265358979323846;
    EXPECT_THAT(scene.doubles("/root/world/garden/cameras/main_camera", "geometry.fov"),
                Near({horizontal}));
}

TEST_F(Garden, TurnsItsWindmillWithoutShrinkingIt) {
    const std::string sails = "/root/world/garden/windmill/sails";
    for (const float time : {0.0f, 7.3f, 12.0f, 40.1f, 96.0f}) {
        SCOPED_TRACE(time);
        const Doubles matrix = LocalMatrix(scene, sails, time);
        ASSERT_EQ(matrix.size(), 16u);
        EXPECT_NEAR(std::hypot(matrix[0], matrix[1]), 1, 1e-3);
    }
}

} // namespace
