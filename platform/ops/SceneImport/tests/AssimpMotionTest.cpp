// Skins and morph targets of FBX and Collada files. strip.fbx is two squares on top of each other;
// the bone "High" holds the upper edge and turns by 90 degrees within a second, and the second of
// two morph targets, which lifts the upper edge by 2, reaches the weight 0.5 in the same time.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

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

using Changes = std::vector<std::pair<std::string, std::string>>;

/// The text of a file with parts replaced, in this order and each once.
std::string Changed(const std::string& file, const Changes& changes) {
    std::ifstream stream(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    for (const auto& [where, what] : changes) {
        const std::size_t place = text.find(where);
        if (place == std::string::npos) throw std::runtime_error("There is no " + where);
        text.replace(place, where.size(), what);
    }
    return text;
}

/// The beginning of an array in an FBX file.
std::string FbxArray(const std::string& name, const std::string& numbers) {
    const auto count = 1 + std::count(numbers.begin(), numbers.end(), ',');
    return name + ": *" + std::to_string(count) + " {\n            a: " + numbers;
}

/// The points that a bone moves, with weights of 1.
std::string FbxBone(const std::string& points) {
    std::string weights = "1";
    for (auto i = std::count(points.begin(), points.end(), ','); i > 0; --i)
        weights += ",1";
    return FbxArray("Indexes", points) + "\n        }\n        " + FbxArray("Weights", weights);
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
    const ImportedScene scene(
        directory.write("strip.fbx", Changed(file, {{"C: \"OO\",300,100", ""}})));
    const std::string mesh = kRoot + "/Strip/Strip";
    EXPECT_EQ(samples(scene, mesh), 2);
    EXPECT_THAT(at(scene, mesh, 24), near({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 1, 2, 1, 0, 2, 1}));
}

TEST_F(Strip, HasPointsWithoutWeightsThatMoveWithItsNode) {
    const ImportedScene scene(
        directory.write("strip.fbx", Changed(file, {{"C: \"OO\",301,300", ""}})));
    EXPECT_THAT(at(scene, kRoot + "/Strip_2", 0),
                near({10, 0, 0, 11, 0, 0, 11, 1, 0, 10, 1, 0, 1, 2, 0, 0, 2, 0}));
}

TEST_F(Strip, KeepsPointsApartThatMoveApart) {
    const std::string points = "0,0,0,1,0,0,0,1,0,1,1,0,0,2,0,1,2,0";
    // Points 6 and 7 are copies of 2 and 3, so that the squares have no point in common.
    const auto numbersWithBones = [&](const std::string& low, const std::string& high) {
        const Changes changes = {
            {FbxArray("Vertices", points), FbxArray("Vertices", points + ",0,1,0,1,1,0")},
            {"a: 0,1,3,-3,2,3,5,-5", "a: 0,1,7,-7,2,3,5,-5"},
            {FbxBone("0,1,2,3"), FbxBone(low)},
            {FbxBone("4,5"), FbxBone(high)}};
        const ImportedScene scene(directory.write("strip.fbx", Changed(file, changes)));
        return at(scene, kRoot + "/Strip_2", 0).size();
    };
    EXPECT_EQ(numbersWithBones("0,1,2,3,6,7", "4,5"), 18u);
    EXPECT_EQ(numbersWithBones("0,1,6,7", "2,3,4,5"), 24u);
}

TEST(ColladaSkin, FollowsItsBones) {
    const TempDirectory directory;
    const std::string text =
        Changed(kData + "/panel.dae", {{"<node id=\"bone\" sid=\"bone\" type=\"JOINT\"/>",
                                        "<node id=\"bone\" sid=\"bone\" type=\"JOINT\">"
                                        "<translate sid=\"place\">1 0 0</translate></node>"},
                                       {"target=\"panel/place.X\"", "target=\"bone/place.X\""}});
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
