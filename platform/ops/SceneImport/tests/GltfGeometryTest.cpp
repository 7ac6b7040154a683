#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <meshoptimizer.h>

#include "GltfBuilder.h"
#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TempDirectory.h"
#include "TestScenes.h"

namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::HasSubstr;

const std::string kMesh = "/root/world/thing/mesh";
const std::vector<float> kSquare = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
const std::vector<float> kRow = {0, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0};

/// The faces of the square drawn in a mode.
Ints FacesOf(int mode) {
    GltfBuilder file;
    file.floats(kSquare, "VEC3");
    file.showPrimitive(R"("attributes": {"POSITION": 0}, "mode": )" + std::to_string(mode));
    return BuiltScene(file)->ints(kMesh, "geometry.poly.vertexList");
}

TEST(GltfModes, AreTrianglesInOrder) {
    EXPECT_EQ(FacesOf(4), (Ints{0, 1, 2}));
    EXPECT_EQ(FacesOf(5), (Ints{0, 1, 2, 2, 1, 3}));
    EXPECT_EQ(FacesOf(6), (Ints{0, 1, 2, 0, 2, 3}));
}

TEST(GltfAttributes, OfApplicationsKeepTheirNames) {
    GltfBuilder file;
    file.floats({0, 0, 0, 1, 0, 0, 0, 1, 0}, "VEC3");
    file.accessor<std::uint8_t>({7, 8, 9}, GltfNumber::UByte, "SCALAR");
    file.floats({1, 2, 3, 4, 5, 6}, "VEC2");
    file.showPrimitive(
        R"("attributes": {"POSITION": 0, "_FEATURE_ID_0": 1, "_a.b": 2, "OTHER": 2})");
    const BuiltScene scene(file);
    const std::string arbitrary = "geometry.arbitrary.";
    EXPECT_EQ(scene->floats(kMesh, arbitrary + "_FEATURE_ID_0.value"), (Floats{7, 8, 9}));
    EXPECT_EQ(scene->text(kMesh, arbitrary + "_FEATURE_ID_0.inputType"), "float");
    EXPECT_EQ(scene->text(kMesh, arbitrary + "_FEATURE_ID_0.scope"), "point");
    EXPECT_EQ(scene->floats(kMesh, arbitrary + "_a_b.value"), (Floats{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(scene->text(kMesh, arbitrary + "_a_b.inputType"), "vector2");
    EXPECT_FALSE(scene->attr(kMesh, arbitrary + "OTHER").isValid());
}

TEST(GltfModes, LeaveOutTheTrianglesThatJoinPartsOfAStrip) {
    GltfBuilder file;
    file.floats(kSquare, "VEC3");
    file.accessor<std::uint8_t>({0, 1, 2, 2, 3}, GltfNumber::UByte, "SCALAR");
    file.showPrimitive(R"("attributes": {"POSITION": 0}, "indices": 1, "mode": 5)");
    EXPECT_EQ(BuiltScene(file)->ints(kMesh, "geometry.poly.vertexList"), (Ints{0, 1, 2}));
}

TEST(GltfModes, HavePointsByIndex) {
    GltfBuilder file;
    file.floats(kRow, "VEC3");
    file.accessor<std::uint16_t>({2, 0}, GltfNumber::UShort, "SCALAR");
    file.showPrimitive(R"("attributes": {"POSITION": 0}, "indices": 1, "mode": 0)");
    const BuiltScene scene(file);
    EXPECT_EQ(scene->type(kMesh), "pointcloud");
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.P"), (Floats{2, 0, 0, 0, 0, 0}));
    EXPECT_EQ(scene->doubles(kMesh, "bound"), (Doubles{0, 2, 0, 0, 0, 0}));
}

TEST(GltfModes, HaveSingleLinesThatJoinWhereTheyMeet) {
    GltfBuilder file;
    file.floats(kRow, "VEC3");
    file.accessor<std::uint32_t>({0, 1, 1, 2, 0, 3}, GltfNumber::UInt, "SCALAR");
    file.showPrimitive(R"("attributes": {"POSITION": 0}, "indices": 1, "mode": 1)");
    const BuiltScene scene(file);
    EXPECT_EQ(scene->type(kMesh), "curves");
    EXPECT_EQ(scene->text(kMesh, "geometry.basis"), "linear");
    EXPECT_EQ(scene->ints(kMesh, "geometry.numVertices"), (Ints{3, 2}));
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.P"),
              (Floats{0, 0, 0, 1, 0, 0, 2, 0, 0, 0, 0, 0, 3, 0, 0}));
    EXPECT_FALSE(scene->attr(kMesh, "geometry.closed").isValid());
}

TEST(GltfModes, HaveStripsAndLoopsOfLines) {
    for (const int mode : {2, 3}) {
        SCOPED_TRACE(mode);
        GltfBuilder file;
        file.floats(kSquare, "VEC3");
        file.showPrimitive(R"("attributes": {"POSITION": 0}, "mode": )" + std::to_string(mode));
        const BuiltScene scene(file);
        EXPECT_EQ(scene->type(kMesh), "curves");
        EXPECT_EQ(scene->ints(kMesh, "geometry.numVertices"), (Ints{4}));
        EXPECT_EQ(scene->attr(kMesh, "geometry.closed").isValid(), mode == 2);
    }
}

TEST(GltfModes, HaveMorphTargetsWhereverTheirPointsGo) {
    GltfBuilder file;
    file.floats(kRow, "VEC3");
    file.floats({0, 1, 0, 0, 2, 0, 0, 3, 0, 0, 4, 0}, "VEC3");
    file.accessor<std::uint8_t>({3, 1}, GltfNumber::UByte, "SCALAR");
    file.rest = R"("nodes": [{"name": "thing", "mesh": 0}], "meshes": [{"name": "mesh",
        "weights": [1], "primitives": [{"mode": 3, "attributes": {"POSITION": 0}, "indices": 2,
            "targets": [{"POSITION": 1}]}]}])";
    EXPECT_EQ(BuiltScene(file)->floats(kMesh, "geometry.point.P"), (Floats{3, 4, 0, 1, 2, 0}));
}

TEST(GltfAttributes, AreAllImported) {
    GltfBuilder file;
    file.floats({0, 0, 0, 1, 0, 0, 0, 1, 0}, "VEC3");
    file.floats({0, 0, 0.25f, 0, 0, 0.75f}, "VEC2");
    file.accessor<std::uint8_t>({0, 255, 51, 0, 255, 0, 0, 0, 0, 0, 0, 0}, GltfNumber::UByte,
                                "VEC2", R"(, "normalized": true)");
    file.accessor<std::uint16_t>({65535, 0, 0, 0, 65535, 0, 0, 0, 0}, GltfNumber::UShort, "VEC3",
                                 R"(, "normalized": true)");
    file.floats({1, 0, 0, -1, 1, 0, 0, -1, 1, 0, 0, 1}, "VEC4");
    file.showPrimitive(R"("attributes": {"POSITION": 0, "TEXCOORD_0": 1, "TEXCOORD_3": 1,
        "COLOR_1": 3, "TANGENT": 4})");
    const BuiltScene scene(file);
    const std::string arbitrary = "geometry.arbitrary.";
    EXPECT_EQ(scene->floats(kMesh, arbitrary + "st.value"), (Floats{0, 1, 0.25f, 1, 0, 0.25f}));
    EXPECT_EQ(scene->floats(kMesh, arbitrary + "st3.value"), (Floats{0, 1, 0.25f, 1, 0, 0.25f}));
    EXPECT_EQ(scene->floats(kMesh, arbitrary + "color1.value"),
              (Floats{1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 0, 1}));
    EXPECT_EQ(scene->text(kMesh, arbitrary + "color1.inputType"), "color4");
    EXPECT_EQ(scene->floats(kMesh, arbitrary + "tangent.value"),
              (Floats{1, 0, 0, -1, 1, 0, 0, -1, 1, 0, 0, 1}));
}

TEST(GltfAttributes, HaveAnElementForEachPoint) {
    GltfBuilder file;
    file.floats(kSquare, "VEC3");
    file.floats({0, 0, 1}, "VEC3");
    file.showPrimitive(R"("attributes": {"POSITION": 0, "NORMAL": 1})");
    EXPECT_THAT(BuiltScene(file)->error(),
                HasSubstr("damaged glTF: attribute \"NORMAL\" has more or fewer elements than "
                          "there are points"));
}

TEST(GltfMesh, JoinsPointsOfEqualValues) {
    GltfBuilder file;
    file.floats({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0}, "VEC3");
    file.showPrimitive(R"("attributes": {"POSITION": 0})");
    const BuiltScene scene(file);
    EXPECT_EQ(scene->ints(kMesh, "geometry.poly.vertexList"), (Ints{0, 1, 2, 2, 1, 3}));
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.P"),
              (Floats{0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0}));
}

/// The positions of the triangle's corners after reading a file with these points and indices.
Floats CornersOf(const std::vector<float>& points, const std::vector<std::uint8_t>& indices) {
    GltfBuilder file;
    file.floats(points, "VEC3");
    file.accessor<std::uint8_t>(indices, GltfNumber::UByte, "SCALAR");
    file.showPrimitive(R"("attributes": {"POSITION": 0}, "indices": 1)");
    const BuiltScene scene(file);
    const Floats read = scene->floats(kMesh, "geometry.point.P");
    Floats corners;
    for (const int point : scene->ints(kMesh, "geometry.poly.vertexList"))
        corners.insert(corners.end(), read.begin() + 3 * point, read.begin() + 3 * point + 3);
    return corners;
}

TEST(GltfMesh, KeepsTheCornersOfFacesThatUseAllPointsInAnotherOrder) {
    EXPECT_EQ(CornersOf({0, 0, 0, 1, 0, 0, 0, 1, 0}, {2, 0, 1}),
              (Floats{0, 1, 0, 0, 0, 0, 1, 0, 0}));
}

TEST(GltfMesh, KeepsTheCornersOfFacesThatUseSomePointsInAnotherOrder) {
    EXPECT_EQ(CornersOf({0, 0, 0, 5, 5, 5, 1, 0, 0, 0, 1, 0}, {3, 0, 2}),
              (Floats{0, 1, 0, 0, 0, 0, 1, 0, 0}));
}

TEST(GltfMesh, HasALocationAPrimitive) {
    GltfBuilder file;
    file.floats(kSquare, "VEC3");
    file.rest = R"("nodes": [{"name": "thing", "mesh": 0}], "materials": [{}, {"name": "a"}, {}],
        "meshes": [{"name": "mesh", "primitives": [{"attributes": {"POSITION": 0}, "material": 1},
            {"attributes": {"POSITION": 0}, "material": 2}]}])";
    const BuiltScene scene(file);
    EXPECT_EQ(scene->children("/root/world/thing"), (Names{"mesh-0", "mesh-1"}));
    // A material without a name that nothing uses is left out.
    EXPECT_EQ(scene->children("/root/materials"), (Names{"a", "material"}));
    EXPECT_EQ(scene->text(kMesh + "-0", "materialAssign"), "/root/materials/a");
    EXPECT_EQ(scene->text(kMesh + "-1", "materialAssign"), "/root/materials/material");
}

TEST(GltfAccessors, AreQuantisedOrNormalised) {
    GltfBuilder file;
    file.accessor<std::int16_t>({0, 0, 0, 0, 32767, 0, -32768, 0, 0, 16384, 0, 0},
                                GltfNumber::Short, "VEC4", R"(, "normalized": true)");
    const int view = file.view(BytesOf<std::int8_t>({0, 0, 0, 0, 100, 0, 0, 0, 0, -50, 0, 0}),
                               R"(, "byteStride": 4)");
    file.accessorOf(view, 3, GltfNumber::Byte, "VEC3");
    const int strided = file.view(BytesOf<std::int8_t>({0, 0, 127, 9, -128, 0, 0, 9, 0, 127, 0, 9}),
                                  R"(, "byteStride": 4)");
    file.accessorOf(strided, 3, GltfNumber::Byte, "VEC3", R"(, "normalized": true)");
    file.showPrimitive(R"("attributes": {"POSITION": 1, "NORMAL": 2})");
    file.rest += R"(, "extensionsUsed": ["KHR_mesh_quantization"],
        "extensionsRequired": ["KHR_mesh_quantization"])";
    const BuiltScene scene(file);
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.P"), (Floats{0, 0, 0, 100, 0, 0, 0, -50, 0}));
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.N"), (Floats{0, 0, 1, -1, 0, 0, 0, 1, 0}));
}

TEST(GltfAccessors, MayBeSparse) {
    GltfBuilder file;
    const int indices = file.view(BytesOf<std::uint16_t>({1, 2}));
    const int values = file.view(BytesOf<float>({5, 0, 0, 0, 6, 0}));
    const std::string sparse =
        R"(, "sparse": {"count": 2, "indices": {"componentType": 5123, "bufferView": )" +
        std::to_string(indices) + R"(}, "values": {"bufferView": )" + std::to_string(values) + "}}";
    file.accessor<float>({0, 0, 0, 1, 1, 1, 2, 2, 2}, GltfNumber::Float, "VEC3", sparse);
    file.accessorOf(-1, 3, GltfNumber::Float, "VEC3", sparse);
    file.showPrimitive(R"("attributes": {"POSITION": 0, "NORMAL": 1})");
    const BuiltScene scene(file);
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.P"), (Floats{0, 0, 0, 5, 0, 0, 0, 6, 0}));
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.N"), (Floats{0, 0, 0, 5, 0, 0, 0, 6, 0}));
}

TEST(GltfAccessors, DoNotGoBeyondTheirData) {
    GltfBuilder file;
    const int view = file.view(BytesOf(kSquare));
    file.accessorOf(view, 5, GltfNumber::Float, "VEC3");
    file.showPrimitive(R"("attributes": {"POSITION": 0})");
    EXPECT_THAT(BuiltScene(file)->error(),
                HasSubstr("damaged glTF: accessor 0 goes beyond its buffer view"));
}

TEST(GltfIndices, ReferToPoints) {
    GltfBuilder file;
    file.floats(kSquare, "VEC3");
    file.accessor<std::uint8_t>({0, 1, 4}, GltfNumber::UByte, "SCALAR");
    file.showPrimitive(R"("attributes": {"POSITION": 0}, "indices": 1)");
    EXPECT_THAT(BuiltScene(file)->error(),
                HasSubstr("damaged glTF: a face refers to a point that does not exist"));
}

TEST(GltfInstances, AreLocationsOfTheirOwn) {
    GltfBuilder file;
    file.floats(kSquare, "VEC3");
    file.floats({0, 0, 0, 5, 6, 7}, "VEC3");
    file.floats({1, 1, 1, 2, 3, 4}, "VEC3");
    const float half = 0.70710678f;
    file.floats({0, 0, 0, 1, 0, 0, half, half}, "VEC4");
    file.rest = R"("extensionsRequired": ["EXT_mesh_gpu_instancing"],
        "nodes": [{"name": "thing", "mesh": 0, "extensions": {"EXT_mesh_gpu_instancing":
            {"attributes": {"TRANSLATION": 1, "SCALE": 2, "ROTATION": 3}}}}],
        "meshes": [{"name": "mesh", "primitives": [{"attributes": {"POSITION": 0}}]}])";
    const BuiltScene scene(file);
    const std::string thing = "/root/world/thing";
    EXPECT_EQ(scene->children(thing), (Names{"instance", "instance_2"}));
    EXPECT_EQ(scene->type(thing + "/instance/mesh"), "polymesh");
    EXPECT_EQ(scene->attr(thing + "/instance/mesh", "geometry").getHandle(),
              scene->attr(thing + "/instance_2/mesh", "geometry").getHandle());
    EXPECT_FALSE(scene->attr(thing + "/instance", "xform").isValid());
    EXPECT_THAT(scene->doubles(thing + "/instance_2", "xform.matrix"),
                Near({0, 2, 0, 0, -3, 0, 0, 0, 0, 0, 4, 0, 5, 6, 7, 1}));
    EXPECT_THAT(scene->doubles(thing, "bound"), Near({0, 5, 0, 8, 0, 7}));
}

TEST(GltfInstances, HaveAsMuchOfEverything) {
    GltfBuilder file;
    file.floats(kSquare, "VEC3");
    file.floats({0, 0, 0}, "VEC3");
    file.rest = R"("nodes": [{"mesh": 0, "extensions": {"EXT_mesh_gpu_instancing":
            {"attributes": {"TRANSLATION": 1, "SCALE": 0}}}}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}])";
    EXPECT_THAT(BuiltScene(file)->error(),
                HasSubstr("the attributes of instances have different lengths"));
}

} // namespace
