#include <cmath>
#include <cstdint>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TempDirectory.h"
#include "TestScenes.h"

// Colours, texture coordinates, strips and radii in PLY files.

namespace {

using testing::ElementsAre;
using testing::FloatEq;
using testing::HasSubstr;

const std::string kShape = "/root/world/node/nodeShape";
const std::string kXyz = "property float x\nproperty float y\nproperty float z\n";

std::string Header(const std::string& format, const std::string& elements) {
    return "ply\nformat " + format + " 1.0\n" + elements + "end_header\n";
}

/// Text with `vertex` properties after x, y and z, and the lines of the body.
std::string Points(std::size_t count, const std::string& properties, const std::string& body) {
    return Header("ascii", "element vertex " + std::to_string(count) + "\n" + kXyz + properties) +
           body;
}

class PlyScene : public testing::Test {
protected:
    ImportedScene read(const std::string& content) const {
        return ImportedScene(directory.write("a.ply", content));
    }
    const TempDirectory directory;
};

TEST_F(PlyScene, MayHaveABinaryBodyThatBeginsWithALineFeed) {
    // The first byte of 1.00000119 is a line feed.
    const float x = 1.00000119f;
    ASSERT_EQ(BytesOf<float>({x})[0], '\n');
    const ImportedScene scene = read(Header("binary_little_endian", "element vertex 1\n" + kXyz) +
                                     BytesOf<float>({x, 2, 3}));
    EXPECT_EQ(scene.floats(kShape, "geometry.point.P"), (Floats{x, 2, 3}));
}

TEST_F(PlyScene, MayHaveAnyEndOfLines) {
    for (const char* end : {"\r\n", "\r"}) {
        std::string content;
        for (const char c : Header("binary_big_endian", "element vertex 1\n"
                                                        "property uchar x\n"
                                                        "property short y\n"
                                                        "property int z\n"))
            content += c == '\n' ? end : std::string(1, c);
        const ImportedScene scene = read(content + std::string("\n\xff\xfe\0\1\0\0", 7));
        EXPECT_EQ(scene.floats(kShape, "geometry.point.P"), (Floats{10, -2, 65536}));
    }
}

TEST_F(PlyScene, HasTrianglesOfStrips) {
    const ImportedScene scene =
        read(Header("ascii", "element vertex 5\n" + kXyz +
                                 "element tristrips 1\nproperty list int int vertex_indices\n") +
             "0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 2 0\n9 0 1 2 3 -1 2 3 4 4\n");
    EXPECT_EQ(scene.type(kShape), "polymesh");
    EXPECT_EQ(scene.ints(kShape, "geometry.poly.vertexList"), (Ints{0, 1, 2, 1, 3, 2, 2, 3, 4}));
    EXPECT_EQ(scene.ints(kShape, "geometry.poly.startIndex"), (Ints{0, 3, 6, 9}));
}

TEST_F(PlyScene, HasLinearColorsOfIntegers) {
    const ImportedScene scene =
        read(Points(1,
                    "property uchar red\nproperty uchar green\nproperty uchar blue\n"
                    "property uchar alpha\n",
                    "0 0 0 255 128 0 51\n"));
    EXPECT_THAT(scene.floats(kShape, "geometry.arbitrary.color.value"),
                ElementsAre(1, testing::FloatNear(0.2158605f, 1e-6f), 0, FloatEq(0.2f)));
    EXPECT_EQ(scene.ints(kShape, "material.nodes.surface.parameters.vertexColor"), (Ints{1}));
    EXPECT_EQ(scene.floats(kShape, "material.nodes.surface.parameters.baseColor"),
              (Floats{1, 1, 1}));
}

TEST_F(PlyScene, HasColorsOfFloatsAsTheyAre) {
    const ImportedScene scene =
        read(Points(1,
                    "property float diffuse_red\nproperty float diffuse_green\n"
                    "property float diffuse_blue\n",
                    "0 0 0 0.5 2 0.25\n"));
    EXPECT_EQ(scene.floats(kShape, "geometry.arbitrary.color.value"), (Floats{0.5f, 2, 0.25f, 1}));
}

TEST_F(PlyScene, HasColorsOfFaces) {
    const ImportedScene scene = read(
        Header("ascii", "element vertex 3\n" + kXyz +
                            "element face 2\nproperty list uchar int vertex_index\n"
                            "property uchar red\nproperty uchar green\nproperty uchar blue\n") +
        "0 0 0\n1 0 0\n0 1 0\n2 0 1 9 9 9\n3 0 1 2 255 0 0\n");
    EXPECT_EQ(scene.text(kShape, "geometry.arbitrary.color.scope"), "face");
    EXPECT_EQ(scene.floats(kShape, "geometry.arbitrary.color.value"), (Floats{1, 0, 0, 1}))
        << "the first face is an edge";
}

TEST_F(PlyScene, HasWidthsOfRadii) {
    const ImportedScene scene = read(Points(2, "property float radius\n", "0 0 0 0.5\n1 0 0 2\n"));
    EXPECT_EQ(scene.type(kShape), "pointcloud");
    EXPECT_EQ(scene.floats(kShape, "geometry.point.width"), (Floats{1, 4}));
}

TEST_F(PlyScene, HasNormalsAndTextureCoordinates) {
    const ImportedScene scene =
        read(Points(1,
                    "property float nx\nproperty float ny\nproperty float nz\n"
                    "property float s\nproperty float t\n",
                    "0 0 0 0 1 0 0.25 0.75\n"));
    EXPECT_EQ(scene.floats(kShape, "geometry.point.N"), (Floats{0, 1, 0}));
    EXPECT_EQ(scene.floats(kShape, "geometry.arbitrary.st.value"), (Floats{0.25f, 0.75f}));
}

TEST_F(PlyScene, HasATextureWithCoordinatesOfCorners) {
    const ImportedScene scene =
        read(Header("ascii", "comment TextureFile my skin.png\nelement vertex 3\n" + kXyz +
                                 "element face 1\nproperty list uchar int vertex_indices\n"
                                 "property list uchar float texcoord\n") +
             "0 0 0\n1 0 0\n0 1 0\n3 0 1 2 6 0 0 1 0 0 1\n");
    EXPECT_EQ(scene.text(kShape, "geometry.arbitrary.st.scope"), "vertex");
    EXPECT_EQ(scene.floats(kShape, "geometry.arbitrary.st.value"), (Floats{0, 0, 1, 0, 0, 1}));
    EXPECT_THAT(scene.text(kShape, "material.nodes.baseColorImage.parameters.file"),
                testing::EndsWith("/my skin.png"));
}

TEST_F(PlyScene, LosesPointsThatAreNotFinite) {
    const ImportedScene scene =
        read(Points(3, "property uchar red\nproperty uchar green\nproperty uchar blue\n",
                    "0 0 0 255 0 0\nnan nan nan 9 9 9\n1 2 3 0 255 0\n"));
    EXPECT_EQ(scene.floats(kShape, "geometry.point.P"), (Floats{0, 0, 0, 1, 2, 3}));
    EXPECT_EQ(scene.floats(kShape, "geometry.arbitrary.color.value"),
              (Floats{1, 0, 0, 1, 0, 1, 0, 1}));
}

TEST_F(PlyScene, PassesOverElementsThatItDoesNotKnow) {
    const ImportedScene scene =
        read(Header("ascii", "element camera 1\nproperty float a\nproperty list uchar int b\n"
                             "element vertex 1\n" +
                                 kXyz) +
             "7 2 8 9\n+1 2e0 3\n");
    EXPECT_EQ(scene.floats(kShape, "geometry.point.P"), (Floats{1, 2, 3}));
}

TEST_F(PlyScene, RefusesWhatIsNoNumberAndPointsWithoutPlaces) {
    EXPECT_THAT(read(Points(1, "", "0 0 zero\n")).error(),
                HasSubstr("damaged PLY: \"zero\" is not a number"));
    EXPECT_THAT(read(Header("ascii", "element vertex 1\nproperty float x\n") + "1\n").error(),
                HasSubstr("damaged PLY: its points have no x, y and z"));
    EXPECT_THAT(read(Header("ascii", "element vertex 0\n" + kXyz +
                                         "element face 1\nproperty list char int vertex_index\n") +
                     "-3\n")
                    .error(),
                HasSubstr("damaged PLY: a list has no length"));
}

} // namespace
