// Skins and morph targets of FBX and Collada files. strip.fbx is two squares on top of each other;
// the bone "High" holds the upper edge and turns by 90 degrees within a second, and the second of
// two morph targets, which lifts the upper edge by 2, reaches the weight 0.5 in the same time.

#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TempDirectory.h"

namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::IsEmpty;
using testing::Pointwise;

const std::string kData = SCENEIMPORT_TEST_DATA;
const std::string kRoot = "/root/world/RootNode";
const std::string kPoints = "geometry.point.P";

std::string Changed(const std::string& file, const std::string& where, const std::string& what) {
    std::ifstream stream(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    const std::size_t place = text.find(where);
    if (place == std::string::npos) throw std::runtime_error("There is no " + where);
    return text.replace(place, where.size(), what);
}

class Strip : public testing::Test {
protected:
    /// The points at a time in frames.
    static Floats at(const ImportedScene& scene, const std::string& path, float time) {
        const OxAttribute::FloatAttribute points(scene.attr(path, kPoints));
        const auto sample = points.getNearestSample(time);
        return {sample.begin(), sample.end()};
    }
    static std::int64_t samples(const ImportedScene& scene, const std::string& path) {
        return OxAttribute::FloatAttribute(scene.attr(path, kPoints)).getNumberOfTimeSamples();
    }
    static testing::Matcher<Floats> near(const Floats& expected) {
        return Pointwise(FloatNear(1e-5f), expected);
    }

    const TempDirectory directory;
    const std::string file = kData + "/strip.fbx";
};

TEST_F(Strip, FollowsBonesAndMorphTargetsInTheSpaceOfTheRoot) {
    const ImportedScene scene(file);
    EXPECT_EQ(scene.children(kRoot), (Names{"Strip", "Low", "Strip_2"}));
    EXPECT_THAT(scene.children(kRoot + "/Strip"), IsEmpty());
    const std::string mesh = kRoot + "/Strip_2";
    EXPECT_THAT(at(scene, mesh, 0), near({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 1, 2, 0, 0, 2, 0}));
    EXPECT_THAT(at(scene, mesh, 24),
                near({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, -1, 2, 1, -1, 1, 1}));
    EXPECT_GE(samples(scene, mesh), 8); // a straight line would shrink the upper square
    EXPECT_EQ(scene.doubles(mesh, "bound")[5], 1);
}

TEST_F(Strip, KeepsItsRestPoseWithoutAnAnimation) {
    const ImportedScene scene(ImportArgs(file).set("animation", "none"));
    const std::string mesh = kRoot + "/Strip_2";
    EXPECT_EQ(samples(scene, mesh), 1);
    EXPECT_THAT(at(scene, mesh, 24), near({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 1, 2, 0, 0, 2, 0}));
}

TEST_F(Strip, StaysBelowItsNodeIfMorphTargetsAloneMoveIt) {
    const ImportedScene scene(directory.write("strip.fbx", Changed(file, "C: \"OO\",300,100", "")));
    const std::string mesh = kRoot + "/Strip/Strip";
    EXPECT_EQ(samples(scene, mesh), 2);
    EXPECT_THAT(at(scene, mesh, 24), near({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 1, 2, 1, 0, 2, 1}));
}

TEST_F(Strip, HasPointsWithoutWeightsThatMoveWithItsNode) {
    const ImportedScene scene(directory.write("strip.fbx", Changed(file, "C: \"OO\",301,300", "")));
    EXPECT_THAT(at(scene, kRoot + "/Strip_2", 0),
                near({10, 0, 0, 11, 0, 0, 11, 1, 0, 10, 1, 0, 1, 2, 0, 0, 2, 0}));
}

TEST_F(Strip, KeepsPointsApartThatMoveApart) {
    const std::string bound =
        directory.write("a.fbx", Changed(file, "Indexes: *4 {\n            a: 0,1,2,3",
                                         "Indexes: *6 {\n            a: 0,1,2,3,6,7"));
    const std::string weighted =
        directory.write("b.fbx", Changed(bound, "Weights: *4 {\n            a: 1,1,1,1",
                                         "Weights: *6 {\n            a: 1,1,1,1,1,1"));
    const std::string longer = directory.write(
        "c.fbx", Changed(weighted, "Vertices: *18 {\n            a: 0,0,0,1,0,0,0,1,0,1,1,0,",
                         "Vertices: *24 {\n            a: 0,0,0,1,0,0,0,1,0,1,1,0,"));
    const std::string split =
        directory.write("d.fbx", Changed(longer, "0,2,0,1,2,0", "0,2,0,1,2,0,0,1,0,1,1,0"));
    const std::string faces =
        directory.write("e.fbx", Changed(split, "a: 0,1,3,-3,2,3,5,-5", "a: 0,1,7,-7,2,3,5,-5"));
    // The lower edge of the upper square follows the turning bone; the lower edge of the lower
    // square does not.
    const std::string moved =
        directory.write("f.fbx", Changed(faces, "Indexes: *6 {\n            a: 0,1,2,3,6,7",
                                         "Indexes: *4 {\n            a: 0,1,6,7"));
    const std::string fewer =
        directory.write("g.fbx", Changed(moved, "Weights: *6 {\n            a: 1,1,1,1,1,1",
                                         "Weights: *4 {\n            a: 1,1,1,1"));
    const std::string upper = directory.write(
        "h.fbx", Changed(fewer,
                         "Indexes: *2 {\n            a: 4,5\n        }\n        Weights: *2 "
                         "{\n            a: 1,1",
                         "Indexes: *4 {\n            a: 2,3,4,5\n        }\n        Weights: *4 "
                         "{\n            a: 1,1,1,1"));
    EXPECT_EQ(at(ImportedScene(upper), kRoot + "/Strip_2", 0).size(), 24u);
    EXPECT_EQ(at(ImportedScene(faces), kRoot + "/Strip_2", 0).size(), 18u);
}

TEST(ColladaSkin, FollowsItsBones) {
    const TempDirectory directory;
    std::string text =
        Changed(kData + "/panel.dae", "<node id=\"bone\" sid=\"bone\" type=\"JOINT\"/>",
                "<node id=\"bone\" sid=\"bone\" type=\"JOINT\">"
                "<translate sid=\"place\">1 0 0</translate></node>");
    const std::string target = "target=\"panel/place.X\"";
    text.replace(text.find(target), target.size(), "target=\"bone/place.X\"");
    const ImportedScene scene(directory.write("panel.dae", text));
    const std::string mesh = "/root/world/stage/quad";
    const OxAttribute::FloatAttribute points(scene.attr(mesh, kPoints));
    ASSERT_EQ(points.getNumberOfTimeSamples(), 2);
    EXPECT_EQ(points.getNearestSample(0)[0], 1);
    EXPECT_EQ(points.getNearestSample(24)[0], 5);
}

std::string MorphDae(const std::string& method) {
    const auto geometry = [](const std::string& id, const std::string& numbers) {
        return "<geometry id='" + id + "'><mesh><source id='" + id + "P'><float_array id='" + id +
               "N' count='9'>" + numbers + "</float_array><technique_common><accessor source='#" +
               id +
               "N' count='3' stride='3'><param name='X' type='float'/>"
               "<param name='Y' type='float'/><param name='Z' type='float'/></accessor>"
               "</technique_common></source><vertices id='" +
               id + "V'><input semantic='POSITION' source='#" + id +
               "P'/></vertices><triangles count='1'><input semantic='VERTEX' source='#" + id +
               "V' offset='0'/><p>0 1 2</p></triangles></mesh></geometry>";
    };
    return "<?xml version='1.0'?><COLLADA xmlns='http://www.collada.org/2005/11/COLLADASchema' "
           "version='1.4.1'><asset><up_axis>Y_UP</up_axis></asset><library_geometries>" +
           geometry("base", "0 0 0 1 0 0 0 1 0") + geometry("raised", "0 0 4 1 0 4 0 1 4") +
           "</library_geometries><library_controllers><controller id='morph'><morph source='#base' "
           "method='" +
           method +
           "'><source id='targets'><IDREF_array id='targetsA' count='1'>raised"
           "</IDREF_array><technique_common><accessor source='#targetsA' count='1' stride='1'>"
           "<param name='MORPH_TARGET' type='IDREF'/></accessor></technique_common></source>"
           "<source id='weights'><float_array id='weightsA' count='1'>0.25</float_array>"
           "<technique_common><accessor source='#weightsA' count='1' stride='1'>"
           "<param name='MORPH_WEIGHT' type='float'/></accessor></technique_common></source>"
           "<targets><input semantic='MORPH_TARGET' source='#targets'/>"
           "<input semantic='MORPH_WEIGHT' source='#weights'/></targets></morph></controller>"
           "</library_controllers><library_visual_scenes><visual_scene id='stage'><node id='face'>"
           "<instance_controller url='#morph'/></node></visual_scene></library_visual_scenes>"
           "<scene><instance_visual_scene url='#stage'/></scene></COLLADA>";
}

TEST(ColladaMorph, IsLeftOutButItsMeshIsThere) {
    const TempDirectory directory;
    const CapturedLog log;
    const ImportedScene scene(directory.write("a.dae", MorphDae("NORMALIZED")));
    EXPECT_EQ(scene.floats("/root/world/stage/face/base", kPoints),
              (Floats{0, 0, 0, 1, 0, 0, 0, 1, 0}));
    EXPECT_THAT(log.textsOf("SceneImport"),
                ElementsAre(testing::EndsWith("a.dae\": its morph targets are left out")));
}

} // namespace
