#include "reading/ReadMesh.h"

#include <gmock/gmock.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A square of the faces 0 1 2 and 0 2 3, with more attributes in its geometry.
std::string Square(const std::string& more) {
    return std::string(R"("square": {"a": {"type": "polymesh", "geometry": {
        "point.P": {"$type": "float", "values": [[0,0,0], [1,0,0], [1,1,0], [0,1,0]]},
        "poly": {"vertexList": [0, 1, 2, 0, 2, 3], "startIndex": [0, 3, 6]})") +
           (more.empty() ? "" : ", ") + more + "}}}";
}

Mesh ReadSquare(const std::string& more) {
    return ReadSilently(SceneJson(Square(more))).shapes.at(0).mesh;
}

/// The warning about a mesh that is left out.
std::vector<std::string> WarningsOf(const std::string& geometry) {
    Told told;
    const SceneData scene = ReadJson(
        SceneJson(R"("m": {"a": {"type": "polymesh", "geometry": {)" + geometry + "}}}"), told);
    EXPECT_THAT(scene.instances, IsEmpty());
    EXPECT_THAT(scene.shapes, IsEmpty());
    return told.warnings;
}

std::vector<std::string> WarningsOfSquare(const std::string& more) {
    Told told;
    const SceneData scene = ReadJson(SceneJson(Square(more)), told);
    EXPECT_THAT(scene.instances, SizeIs(1));
    EXPECT_THAT(scene.shapes.at(0).mesh.uvSets, IsEmpty());
    EXPECT_THAT(scene.shapes.at(0).mesh.normals.values, IsEmpty());
    return told.warnings;
}

TEST(ReadMeshes, HaveTrianglesWithTheirFaces) {
    const SceneData scene = ReadSilently(SceneJson(R"("m": {"a": {"type": "polymesh", "geometry": {
        "point.P": {"$type": "double", "values": [[0,0,0], [1,0,0], [1,1,0], [0,1,0]]},
        "poly": {"vertexList": [0, 1, 0, 1, 2, 3, 1, 2, 3], "startIndex": [0, 2, 6, 9]}}}})"));
    const Mesh& mesh = scene.shapes.at(0).mesh;
    EXPECT_THAT(mesh.points.at(0), ElementsAre(V3f(0), V3f(1, 0, 0), V3f(1, 1, 0), V3f(0, 1, 0)));
    EXPECT_THAT(mesh.triangles, ElementsAre(0, 1, 2, 0, 2, 3, 1, 2, 3));
    EXPECT_THAT(mesh.faces, ElementsAre(1, 1, 2));
}

TEST(ReadMeshes, AreStoredOnceIfTheyAreEqual) {
    const SceneData scene =
        ReadSilently(SceneJson(Triangle("a") + ", " + Square("") + ", " + Triangle("c")));
    EXPECT_THAT(scene.shapes, SizeIs(2));
    ASSERT_THAT(scene.instances, SizeIs(3));
    EXPECT_EQ(scene.instances[0].shape, 0);
    EXPECT_EQ(scene.instances[1].shape, 1);
    EXPECT_EQ(scene.instances[2].shape, 0);
}

TEST(ReadMeshes, AreLeftOutWithoutPoints) {
    EXPECT_THAT(WarningsOf(R"("poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]})"),
                ElementsAre("/root/world/m: it has no \"geometry.point.P\""));
}

TEST(ReadMeshes, AreLeftOutIfPointsAreNotFinite) {
    EXPECT_THAT(WarningsOf(R"("point.P": {"$type": "float", "values": [[0, 0, "nan"]]})"),
                ElementsAre("/root/world/m: \"geometry.point.P\" has numbers that are not finite"));
}

TEST(ReadMeshes, AreDrawnWithAWarningIfPointsAreTooLarge) {
    Told told;
    const SceneData scene = ReadJson(SceneJson(R"("m": {"a": {"type": "polymesh", "geometry": {
                     "point.P": {"$type": "float", "values": [[0, 0, 0], [2e9, 0, 0], [0, 2e9, 0]]},
                     "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]}}}})"),
                                     told);
    EXPECT_THAT(scene.instances, SizeIs(1));
    EXPECT_THAT(told.warnings,
                ElementsAre("/root/world/m: \"geometry.point.P\" has numbers of more than 1e9, "
                            "with which shapes are drawn wrong or not at all"));
}

TEST(ReadMeshes, AreLeftOutIfAPointIsIncomplete) {
    EXPECT_THAT(WarningsOf(R"("point.P": [0.0, 1, 2, 3])"),
                ElementsAre("/root/world/m: \"geometry.point.P\" has 4 numbers, which are no "
                            "points"));
}

TEST(ReadMeshes, AreLeftOutIfACornerHasNoPoint) {
    const std::string points = R"("point.P": [[0.0, 0, 0], [1, 0, 0], [0, 1, 0]], )";
    EXPECT_THAT(WarningsOf(points + R"("poly": {"vertexList": [0, 1, 3], "startIndex": [0, 3]})"),
                ElementsAre("/root/world/m: \"geometry.poly.vertexList\" has the point 3, of 3"));
    EXPECT_THAT(WarningsOf(points + R"("poly": {"vertexList": [0, -1, 2], "startIndex": [0, 3]})"),
                ElementsAre("/root/world/m: \"geometry.poly.vertexList\" has the point -1, of 3"));
}

TEST(ReadMeshes, AreLeftOutIfStartIndicesAreInvalid) {
    const std::string points = R"("point.P": [[0.0, 0, 0], [1, 0, 0], [0, 1, 0]], )";
    const auto expected = ElementsAre("/root/world/m: \"geometry.poly.startIndex\" does not fit "
                                      "\"geometry.poly.vertexList\"");
    for (const char* starts : {"[0, 4]", "[0, 3, 2]", "[-1, 3]", "[3.5]"}) {
        SCOPED_TRACE(starts);
        EXPECT_THAT(WarningsOf(points + R"("poly": {"vertexList": [0, 1, 2], "startIndex": )" +
                               starts + "}"),
                    expected);
    }
    EXPECT_THAT(WarningsOf(points + R"("poly": {"vertexList": [0, 1, 2]})"), expected);
}

TEST(ReadMeshes, HaveNormalsOfPoints) {
    const Mesh mesh = ReadSquare(
        R"("point.N": {"$type": "float", "values": [[0,0,1], [0,0,2], [3,0,4], [0,0,0]]})");
    EXPECT_THAT(mesh.normals.index, IsEmpty());
    ASSERT_THAT(mesh.normals.values, SizeIs(4));
    EXPECT_EQ(mesh.normals.values[1], V3f(0, 0, 1));
    EXPECT_FLOAT_EQ(mesh.normals.values[2].x, 0.6f);
    EXPECT_EQ(mesh.normals.values[3], V3f(0, 0, 1)) << "that of the surface";
}

TEST(ReadMeshes, HaveNormalsOfCorners) {
    const Mesh mesh = ReadSquare(R"("vertex.N": {"$type": "float", "values":
        [[1,0,0], [0,1,0], [0,0,1], [0,1,0], [1,0,0], [0,0,0]]}, "point.N": [1.0, 2])");
    EXPECT_THAT(mesh.normals.index, ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(mesh.normals.values.at(3), V3f(0, 1, 0));
    EXPECT_EQ(mesh.normals.values.at(5), V3f(0, 0, 1)) << "that of the surface";
}

TEST(ReadMeshes, IgnoreNormalsOfAWrongNumber) {
    EXPECT_THAT(WarningsOfSquare(R"("point.N": [0.0, 0, 1])"),
                ElementsAre("/root/world/square: \"geometry.point.N\" is not one normal each; it "
                            "is left out"));
}

TEST(ReadMeshes, HaveTextureCoordinatesOfPoints) {
    const Mesh mesh = ReadSquare(R"("arbitrary": {
        "st": {"scope": "point", "value": [[0.0, 0], [1, 0], [1, 1], [0, 1]]},
        "stretch": {"scope": "point", "value": [1.0]},
        "st1": {"scope": "point", "value": [[0.0, 0, 9], [2, 0, 9], [2, 2, 9], [0, 2, 9]]}})");
    ASSERT_THAT(mesh.uvSets, SizeIs(2));
    EXPECT_EQ(mesh.uvSets[0].name, "st");
    EXPECT_THAT(mesh.uvSets[0].st.index, IsEmpty());
    EXPECT_EQ(mesh.uvSets[0].st.values.at(3), V2f(0, 1));
    EXPECT_EQ(mesh.uvSets[1].name, "st1");
    EXPECT_EQ(mesh.uvSets[1].st.values.at(2), V2f(2, 2)) << "the first two of three";
}

TEST(ReadMeshes, HaveTextureCoordinatesOfAnyNameWithTheInputTypeOfPoints) {
    const Mesh mesh = ReadSquare(R"("arbitrary": {
        "UVMap": {"inputType": "point2", "value": [[0.0, 0], [1, 0], [1, 1], [0, 1]]},
        "wind": {"inputType": "vector2", "value": [[0.0, 0], [1, 0], [1, 1], [0, 1]]}})");
    ASSERT_THAT(mesh.uvSets, SizeIs(1));
    EXPECT_EQ(mesh.uvSets[0].name, "UVMap");
}

TEST(ReadMeshes, HaveTextureCoordinatesOfCorners) {
    const Mesh mesh = ReadSquare(R"("arbitrary.st": {"scope": "vertex",
        "indexedValue": [[0.0, 0], [1, 1]], "index": [0, 1, 0, 1, 1, 0]})");
    EXPECT_THAT(mesh.uvSets.at(0).st.index, ElementsAre(0, 1, 0, 1, 1, 0));
    EXPECT_EQ(mesh.uvSets.at(0).st.values.at(1), V2f(1, 1));
}

TEST(ReadMeshes, HaveIndexedTextureCoordinatesOfPoints) {
    const Mesh mesh = ReadSquare(R"("arbitrary.st": {"scope": "point",
        "indexedValue": [[0.0, 0], [1, 1]], "index": [0, 1, 1, 0]})");
    EXPECT_THAT(mesh.uvSets.at(0).st.index, ElementsAre(0, 1, 1, 0, 1, 0));
}

TEST(ReadMeshes, HaveTextureCoordinatesOfFacesAndOfTheWholeMesh) {
    const Mesh mesh =
        ReadSquare(R"("arbitrary": {"st": {"scope": "face", "value": [[0.0, 0], [1, 1]]},
                                     "st1": {"scope": "primitive", "value": [[0.5, 0.5]]}})");
    EXPECT_THAT(mesh.uvSets.at(0).st.index, ElementsAre(0, 0, 0, 1, 1, 1));
    EXPECT_THAT(mesh.uvSets.at(1).st.index, ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST(ReadMeshes, IgnoreTextureCoordinatesOfAWrongNumber) {
    const auto expected = ElementsAre("/root/world/square: \"geometry.arbitrary.st\" does not fit "
                                      "the mesh; it is left out");
    for (const char* st :
         {R"("scope": "point", "value": [[0.0, 0]])", R"("scope": "body", "value": [[0.0, 0]])",
          R"("scope": "face", "indexedValue": [[0.0, 0]], "index": [0, 1])",
          R"("scope": "face", "indexedValue": [[0.0, 0]], "index": [0, -1])",
          R"("scope": "primitive", "value": {"$type": "double", "values": ["inf", 0]})"}) {
        SCOPED_TRACE(st);
        EXPECT_THAT(WarningsOfSquare(std::string(R"("arbitrary.st": {)") + st + "}"), expected);
    }
}

TEST(ReadMeshes, LimitRepeatedWarnings) {
    std::string children;
    for (int i = 0; i < 5; ++i)
        children += (i > 0 ? ", " : "") + ("\"m" + std::to_string(i)) +
                    R"(": {"a": {"type": "polymesh", "geometry": {"number": )" + std::to_string(i) +
                    "}}}";
    Told told;
    ReadJson(SceneJson(children), told);
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/m0: it has no \"geometry.point.P\"",
                                           "/root/world/m1: it has no \"geometry.point.P\"",
                                           "/root/world/m2: it has no \"geometry.point.P\"",
                                           "and 2 more: it has no \"geometry.point.P\""));
}

} // namespace
