#include <cmath>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/XFormUtil.h>

#include "ImportedScene.h"
#include "TempDirectory.h"
#include "TestScenes.h"

namespace {

using namespace OxAttribute;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Names = std::vector<std::string>;
using Floats = std::vector<float>;
using Doubles = std::vector<double>;
using Ints = std::vector<int>;

const std::string kData = SCENEIMPORT_TEST_DATA;

/// The matrix that the location's "xform" amounts to.
Doubles LocalMatrix(const ImportedScene& scene, const std::string& path, float time = 0) {
    const auto matrix =
        OxXFormUtil::CalcTransformMatrixAtTime(scene.attr(path, "xform"), time).first;
    const auto sample = matrix.getNearestSample(time);
    return {sample.begin(), sample.end()};
}

/// Where the location's matrix takes a direction.
Doubles Turn(const ImportedScene& scene, const std::string& path, double x, double y, double z) {
    const Doubles m = LocalMatrix(scene, path);
    if (m.size() != 16) return {};
    return {x * m[0] + y * m[4] + z * m[8], x * m[1] + y * m[5] + z * m[9],
            x * m[2] + y * m[6] + z * m[10]};
}

testing::Matcher<Doubles> Near(const Doubles& expected) {
    std::vector<testing::Matcher<double>> each;
    for (const double value : expected)
        each.push_back(testing::DoubleNear(value, 1e-6));
    return testing::ElementsAreArray(each);
}

class Yard : public testing::Test {
protected:
    const TempDirectory directory;
    const std::string file = WriteYard(directory);
    const ImportedScene scene{file};
};

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

TEST_F(Yard, GoesWhereItIsTold) {
    const ImportedScene placed(ImportArgs(file)
                                   .set("location", "/root/world/set/asset")
                                   .set("materialLocation", "/root/world/looks"));
    EXPECT_EQ(placed.children("/root"), (Names{"world"}));
    EXPECT_EQ(placed.children("/root/world"), (Names{"set", "looks"}));
    EXPECT_EQ(placed.children("/root/world/set"), (Names{"asset"}));
    EXPECT_EQ(placed.children("/root/world/set/asset"), (Names{"yard"}));
    EXPECT_EQ(placed.type("/root/world/set"), "group");
    EXPECT_EQ(placed.text("/root/world/set/asset/yard/panel/quad", "materialAssign"),
              "/root/world/looks/paint");
    EXPECT_TRUE(placed.exists("/root/world/looks/paint"));
    EXPECT_FALSE(placed.exists("/root/materials"));
}

TEST_F(Yard, MayHoldItsMaterials) {
    const ImportedScene placed(ImportArgs(file)
                                   .set("location", "/root/asset")
                                   .set("materialLocation", "/root/asset/looks/all"));
    EXPECT_EQ(placed.children("/root"), (Names{"asset"}));
    EXPECT_EQ(placed.children("/root/asset"), (Names{"yard", "looks"}));
    EXPECT_EQ(placed.children("/root/asset/looks"), (Names{"all"}));
    EXPECT_EQ(placed.children("/root/asset/looks/all"), (Names{"paint"}));
    EXPECT_TRUE(placed.exists("/root/asset/yard/panel/quad"));
}

TEST_F(Yard, DoesNotLetMaterialsHideItsRoot) {
    const ImportedScene placed(ImportArgs(file)
                                   .set("location", "/root/asset")
                                   .set("materialLocation", "/root/asset/yard"));
    EXPECT_THAT(placed.error("/root/asset"),
                HasSubstr("Argument \"materialLocation\" hides the scene's root node \"yard\"."));
}

TEST_F(Yard, IsFoundInAFolderThatIsGivenApart) {
    const ImportedScene scene(ImportArgs("yard.gltf").set("directory", directory.path().c_str()));
    EXPECT_TRUE(scene.exists("/root/world/yard/panel/quad"));
}

TEST(SceneImport, TellsAboutItself) {
    const OxOpType::OpType* type = OxOpType::FindOpType("SceneImport");
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->description().name, "SceneImport");
    EXPECT_EQ(type->description().inputs, "none");
    Names names;
    for (const OxOpType::Argument& argument : type->description().arguments)
        names.push_back(argument.name);
    EXPECT_EQ(names, (Names{"file", "directory", "location", "materialLocation", "framesPerSecond",
                            "frame"}));
}

TEST(SceneImport, TakesNoInputs) {
    const OxOpType::OpType* type = OxOpType::FindOpType("SceneImport");
    ASSERT_NE(type, nullptr);
    EXPECT_THROW(type->prepare(ImportArgs("a.obj").build(), 1), std::runtime_error);
}

struct BadArgument {
    const char* name;
    Attribute value;
    const char* message;
};

class SceneImportArguments : public testing::TestWithParam<BadArgument> {};

TEST_P(SceneImportArguments, AreRefusedByName) {
    const ImportedScene scene(ImportArgs("a.obj").set(GetParam().name, GetParam().value));
    EXPECT_THAT(scene.error("/root"), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Bad, SceneImportArguments,
    testing::Values(
        BadArgument{"smooth", IntAttribute(1),
                    "Argument \"smooth\" is not known to the op type \"SceneImport\"."},
        BadArgument{"file", IntAttribute(1), "Argument \"file\" must be string."},
        BadArgument{"file", StringAttribute(""), "Argument \"file\" must not be empty."},
        BadArgument{"directory", DoubleAttribute(1), "Argument \"directory\" must be string."},
        BadArgument{"location", StringAttribute("world"), "Argument \"location\" must be an "},
        BadArgument{"location", StringAttribute("/a//b"), "Argument \"location\" must be an "},
        BadArgument{"materialLocation", StringAttribute("/"), "Argument \"materialLocation\""},
        BadArgument{"materialLocation", StringAttribute("/root"),
                    "Argument \"materialLocation\" must not hold the scene's location."},
        BadArgument{"materialLocation", StringAttribute("/root/world"),
                    "Argument \"materialLocation\" must not hold the scene's location."},
        BadArgument{"framesPerSecond", StringAttribute("24"),
                    "Argument \"framesPerSecond\" must be double."},
        BadArgument{"framesPerSecond", DoubleAttribute(0.0),
                    "Argument \"framesPerSecond\" must be above 0."},
        BadArgument{"framesPerSecond", DoubleAttribute(-24.0),
                    "Argument \"framesPerSecond\" must be above 0."},
        BadArgument{"frame", DoubleAttribute(std::nan("")), "Argument \"frame\" must be finite."}));

TEST(SceneImport, NeedsAFile) {
    const OxOpType::OpType* type = OxOpType::FindOpType("SceneImport");
    ASSERT_NE(type, nullptr);
    try {
        type->prepare(GroupAttribute(), 0);
        ADD_FAILURE() << "was accepted";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Argument \"file\" is missing; it must be string.");
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

class House : public testing::Test {
protected:
    const TempDirectory directory;
    const ImportedScene scene{WriteHouse(directory)};
};

TEST_F(House, KeepsPolygonsAndLeavesLinesOut) {
    EXPECT_EQ(scene.children("/root/world"), (Names{"house.obj"}));
    EXPECT_EQ(scene.children("/root/world/house.obj"), (Names{"house", "roof", "edge"}));
    EXPECT_THAT(scene.children("/root/world/house.obj/edge"), IsEmpty());
    const std::string wall = "/root/world/house.obj/house/house";
    EXPECT_EQ(scene.type(wall), "polymesh");
    EXPECT_EQ(scene.ints(wall, "geometry.poly.startIndex"), (Ints{0, 4}));
    EXPECT_EQ(scene.ints(wall, "geometry.poly.vertexList"), (Ints{0, 1, 2, 3}));
    EXPECT_EQ(scene.floats(wall, "geometry.point.P"), (Floats{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}));
    EXPECT_EQ(scene.floats(wall, "geometry.arbitrary.st.value"), (Floats{0, 0, 1, 0, 1, 1, 0, 1}));
    const std::string roof = "/root/world/house.obj/roof/roof";
    EXPECT_FALSE(scene.attr(roof, "geometry.point.N").isValid());
    EXPECT_FALSE(scene.attr(roof, "geometry.arbitrary").isValid());
    EXPECT_EQ(scene.doubles(roof, "bound"), (Doubles{0, 1, 0, 1, 0, 1}));
}

TEST_F(House, ConvertsClassicMaterials) {
    const std::string wall = "/root/materials/wall";
    const std::string parameters = "material.nodes.surface.parameters.";
    EXPECT_EQ(scene.floats(wall, parameters + "baseColor"), (Floats{0.8f, 0.1f, 0.1f}));
    EXPECT_EQ(scene.floats(wall, parameters + "specular"), (Floats{0.5f}));
    EXPECT_EQ(scene.floats(wall, parameters + "specularColor"), (Floats{0.5f, 1, 1}));
    EXPECT_EQ(scene.floats(wall, parameters + "emission"), (Floats{0, 0.5f, 0}));
    EXPECT_EQ(scene.floats(wall, parameters + "opacity"), (Floats{0.5f}));
    EXPECT_EQ(scene.floats(wall, parameters + "ior"), (Floats{1.5f}));
    EXPECT_EQ(scene.floats(wall, parameters + "metalness"), (Floats{0}));
    // (2 / (30 + 2)) to the power of 1/4.
    EXPECT_EQ(scene.floats(wall, parameters + "roughness"), (Floats{0.5f}));
    EXPECT_EQ(scene.text(wall, "material.nodes.surface.connections.baseColor"),
              "out@baseColorImage");
    const std::string folder = std::filesystem::canonical(directory.path()).string();
    EXPECT_EQ(scene.text(wall, "material.nodes.baseColorImage.parameters.file"),
              folder + "/maps/wall.png");
}

TEST_F(House, PrefersPhysicalNumbersOfClassicMaterials) {
    const std::string tile = "/root/materials/tile";
    EXPECT_EQ(scene.floats(tile, "material.parameters.roughness"), (Floats{0.3f}));
    EXPECT_EQ(scene.floats(tile, "material.parameters.metalness"), (Floats{0.7f}));
    EXPECT_EQ(scene.text("/root/world/house.obj/roof/roof", "materialAssign"), tile);
    EXPECT_FALSE(scene.attr(tile, "material.nodes.surface.connections").isValid());
}

TEST(SceneImport, MakesAPointCloudOfPointsWithoutFaces) {
    const TempDirectory directory;
    const ImportedScene scene(directory.write("points.ply", kPointsPly));
    const std::string cloud = "/root/world/node/nodeShape";
    EXPECT_EQ(scene.type(cloud), "pointcloud");
    EXPECT_EQ(scene.floats(cloud, "geometry.point.P"), (Floats{0, 0, 0, 1, 2, 3, 4, 5, -6}));
    EXPECT_FALSE(scene.attr(cloud, "geometry.poly").isValid());
    EXPECT_EQ(scene.text(cloud, "geometry.arbitrary.color.inputType"), "color4");
    EXPECT_EQ(scene.floats(cloud, "geometry.arbitrary.color.value"),
              (Floats{1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1}));
    EXPECT_EQ(scene.doubles(cloud, "bound"), (Doubles{0, 4, 0, 5, -6, 3}));
}

TEST(SceneImport, ReadsPlyMeshes) {
    const TempDirectory directory;
    const ImportedScene scene(directory.write("faces.ply", kFacesPly));
    const std::string mesh = "/root/world/node/nodeShape";
    EXPECT_EQ(scene.type(mesh), "polymesh");
    EXPECT_EQ(scene.ints(mesh, "geometry.poly.startIndex"), (Ints{0, 3, 6, 9, 12}));
}

TEST(SceneImport, ReadsBinaryPlyMeshes) {
    const TempDirectory directory;
    const std::string header = "ply\n"
                               "format binary_little_endian 1.0\n"
                               "element vertex 3\n"
                               "property float x\nproperty float y\nproperty float z\n"
                               "element face 1\n"
                               "property list uchar int vertex_indices\n"
                               "end_header\n";
    const ImportedScene scene(
        directory.write("face.ply", header + BytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0}) + "\3" +
                                        BytesOf<std::int32_t>({0, 1, 2})));
    const std::string mesh = "/root/world/node/nodeShape";
    EXPECT_EQ(scene.floats(mesh, "geometry.point.P"), (Floats{0, 0, 0, 1, 0, 0, 0, 1, 0}));
    EXPECT_EQ(scene.ints(mesh, "geometry.poly.vertexList"), (Ints{0, 1, 2}));
}

class FbxPanel : public testing::Test {
protected:
    const ImportedScene scene{kData + "/panel.fbx"};
};

TEST_F(FbxPanel, HasNodesMeshesAndMotion) {
    EXPECT_EQ(scene.children("/root/world/RootNode"), (Names{"Panel", "Shot", "Key"}));
    const std::string quad = "/root/world/RootNode/Panel/Quad";
    EXPECT_EQ(scene.floats(quad, "geometry.point.P"), (Floats{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}));
    EXPECT_EQ(scene.ints(quad, "geometry.poly.vertexList"), (Ints{0, 1, 2, 3}));
    EXPECT_EQ(scene.text(quad, "materialAssign"), "/root/materials/Paint");
    EXPECT_EQ(scene.times("/root/world/RootNode/Panel", "xform.matrix"), (Floats{0, 24}));
    EXPECT_EQ(scene.doubles("/root/world/RootNode/Panel", "xform.matrix", 24)[12], 5);
}

TEST_F(FbxPanel, TurnsACameraThatLooksAlongXToLookDownZ) {
    const std::string shot = "/root/world/RootNode/Shot";
    EXPECT_EQ(scene.type(shot), "camera");
    EXPECT_EQ(scene.doubles(shot, "geometry.fov"), (Doubles{40}));
    EXPECT_EQ(scene.doubles(shot, "geometry.near"), (Doubles{0.25}));
    EXPECT_EQ(scene.doubles(shot, "geometry.far"), (Doubles{400}));
    // In its node it looks along +X; the node turns that by 90 degrees about Y, to -Z.
    EXPECT_THAT(Turn(scene, shot, 0, 0, -1), Near({0, 0, -1}));
    EXPECT_THAT(Turn(scene, shot, 0, 1, 0), Near({0, 1, 0}));
    EXPECT_THAT(LocalMatrix(scene, shot)[14], testing::DoubleNear(10, 1e-6));
}

TEST_F(FbxPanel, TurnsALightThatShinesDownToShineDownZ) {
    const std::string key = "/root/world/RootNode/Key";
    EXPECT_EQ(scene.type(key), "light");
    EXPECT_EQ(scene.text(key, "light.type"), "spot");
    EXPECT_EQ(scene.floats(key, "light.color"), (Floats{1, 0.5f, 0.25f}));
    EXPECT_EQ(scene.floats(key, "light.intensity"), (Floats{2}));
    EXPECT_EQ(scene.floats(key, "light.coneInner"), (Floats{20}));
    EXPECT_EQ(scene.floats(key, "light.coneOuter"), (Floats{45}));
    EXPECT_THAT(Turn(scene, key, 0, 0, -1), Near({0, -1, 0}));
}

TEST_F(FbxPanel, LetsATextureReplaceTheColour) {
    const std::string paint = "/root/materials/Paint";
    EXPECT_EQ(scene.floats(paint, "material.parameters.baseColor"), (Floats{0.2f, 0.4f, 0.6f}));
    EXPECT_EQ(scene.text(paint, "material.nodes.baseColorImage.parameters.file"),
              std::filesystem::canonical(kData).string() + "/maps/wood.png");
    EXPECT_FALSE(scene.attr(paint, "material.nodes.baseColorImage.parameters.multiply").isValid());
}

class ColladaPanel : public testing::Test {
protected:
    const ImportedScene scene{kData + "/panel.dae"};
};

TEST_F(ColladaPanel, HasNodesMeshesAndMotion) {
    EXPECT_EQ(scene.children("/root/world"), (Names{"stage"}));
    EXPECT_EQ(scene.children("/root/world/stage"), (Names{"panel", "view", "air", "bone", "bent"}));
    EXPECT_EQ(scene.ints("/root/world/stage/panel/quad", "geometry.poly.vertexList"),
              (Ints{0, 1, 2, 3}));
    EXPECT_EQ(scene.times("/root/world/stage/panel", "xform.matrix"), (Floats{0, 24}));
    EXPECT_EQ(scene.doubles("/root/world/stage/panel", "xform.matrix", 24)[12], 5);
    // A skin's mesh is there, unbent.
    EXPECT_EQ(scene.type("/root/world/stage/bent/quad"), "polymesh");
}

TEST_F(ColladaPanel, StandsUprightWhateverTheFileCallsUp) {
    EXPECT_THAT(Turn(scene, "/root/world/stage", 0, 0, 1), Near({0, 1, 0}));
}

TEST_F(ColladaPanel, HasCamerasAndLights) {
    const std::string view = "/root/world/stage/view";
    EXPECT_EQ(scene.type(view), "camera");
    const double horizontal =
        2 * std::atan(2 * std::tan(15 * 3.14159265358979323846 / 180)) * 180 / 3.14159265358979;
    EXPECT_NEAR(scene.doubles(view, "geometry.fov").at(0), horizontal, 1e-4);
    EXPECT_THAT(scene.doubles(view, "geometry.top"), Near({0.5}));
    EXPECT_FALSE(scene.attr(view, "xform.matrixAim").isValid());
    EXPECT_EQ(scene.text("/root/world/stage/air", "light.type"), "ambient");
    EXPECT_EQ(scene.floats("/root/world/stage/air", "light.intensity"), (Floats{0.4f}));
    EXPECT_EQ(scene.floats("/root/world/stage/air", "light.color"), (Floats{0.25f, 0.5f, 1}));
}

TEST_F(ColladaPanel, HasMaterialsWithTextures) {
    EXPECT_EQ(scene.text("/root/materials/wood", "material.nodes.baseColorImage.parameters.file"),
              std::filesystem::canonical(kData).string() + "/maps/wood grain.png");
    EXPECT_EQ(scene.floats("/root/materials/wood", "material.parameters.roughness"),
              (Floats{0.5f}));
}

/// The house as Assimp itself writes it.
class ExportedHouse : public testing::Test {
protected:
    std::string exportAs(const char* format, const std::string& name) const {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(WriteHouse(directory), 0);
        Assimp::Exporter exporter;
        if (!scene || exporter.Export(scene, format, directory.path(name)) != aiReturn_SUCCESS)
            throw std::runtime_error(exporter.GetErrorString());
        return directory.path(name);
    }

    /// The points of the first mesh below the path.
    static Floats pointsOfFirstMesh(const ImportedScene& scene, const std::string& path) {
        if (scene.type(path) == "polymesh") return scene.floats(path, "geometry.point.P");
        for (const std::string& child : scene.children(path)) {
            const Floats points = pointsOfFirstMesh(scene, path + "/" + child);
            if (!points.empty()) return points;
        }
        return {};
    }

    const TempDirectory directory;
};

TEST_F(ExportedHouse, IsTheSameInAllFormats) {
    const Floats wall = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    EXPECT_EQ(pointsOfFirstMesh(ImportedScene(exportAs("collada", "a.dae")), "/root/world"), wall);
    EXPECT_EQ(pointsOfFirstMesh(ImportedScene(exportAs("fbxa", "a.fbx")), "/root/world"), wall);
    EXPECT_EQ(pointsOfFirstMesh(ImportedScene(exportAs("glb2", "a.glb")), "/root/world"), wall);
    EXPECT_EQ(pointsOfFirstMesh(ImportedScene(exportAs("obj", "a.obj")), "/root/world"), wall);
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
