#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TempDirectory.h"

namespace {

const std::string kStl = "solid s\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 2 0 0\n"
                         "vertex 0 0 3\nendloop\nendfacet\nendsolid s\n";
const std::string kObj = "v 0 0 0\nv 2 0 0\nv 0 0 3\nf 1 2 3\n";

/// The bound of the whole scene.
Doubles Bound(const ImportedScene& scene) {
    const std::string root = "/root/world/" + scene.children("/root/world").at(0);
    const Doubles b = scene.doubles(root, "bound");
    if (!scene.attr(root, "xform").isValid()) return b;
    const Doubles m = LocalMatrix(scene, root);
    Doubles result;
    for (int axis = 0; axis < 3; ++axis)
        for (int corner = 0; corner < 2; ++corner)
            result.push_back(b[corner] * m[axis] + b[2 + corner] * m[4 + axis] +
                             b[4 + corner] * m[8 + axis] + m[12 + axis]);
    return result;
}

class UpAxis : public testing::Test {
protected:
    Doubles boundOf(const std::string& name, const std::string& content, const char* axis) const {
        return Bound(ImportedScene(ImportArgs(directory.write(name, content)).set("upAxis", axis)));
    }
    const TempDirectory directory;
};

TEST_F(UpAxis, IsZOfStlFilesAndYOfOthersUnlessAnotherIsWanted) {
    EXPECT_THAT(boundOf("a.stl", kStl, ""), Near({0, 2, 0, 3, 0, 0}));
    EXPECT_THAT(boundOf("a.stl", kStl, "y"), Near({0, 2, 0, 0, 0, 3}));
    EXPECT_THAT(boundOf("a.obj", kObj, ""), Near({0, 2, 0, 0, 0, 3}));
    EXPECT_THAT(boundOf("a.obj", kObj, "z"), Near({0, 2, 0, 3, 0, 0}));
    EXPECT_THAT(boundOf("a.obj", kObj, "x"), Near({0, 0, 0, 2, 0, 3}));
}

TEST_F(UpAxis, TurnsARootThatMoves) {
    const std::string file = directory.write("a.gltf", R"({"asset": {"version": "2.0"},
        "nodes": [{"name": "n"}], "scenes": [{"nodes": [0]}],
        "animations": [{"channels": [{"sampler": 0, "target": {"node": 0, "path": "translation"}}],
                        "samplers": [{"input": 0, "output": 1}]}],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 2, "type": "SCALAR"},
                      {"bufferView": 1, "componentType": 5126, "count": 2, "type": "VEC3"}],
        "bufferViews": [{"buffer": 0, "byteLength": 8},
                        {"buffer": 0, "byteOffset": 8, "byteLength": 24}],
        "buffers": [{"byteLength": 32, "uri": "a.bin"}]})");
    directory.write("a.bin", BytesOf<float>({0, 1, 0, 0, 0, 0, 0, 5}));
    const ImportedScene scene(ImportArgs(file).set("upAxis", "z"));
    const Doubles matrix = scene.doubles("/root/world/n", "xform.matrix", 24);
    EXPECT_THAT(Doubles(matrix.begin() + 12, matrix.end()), Near({0, 5, 0, 1}));
}

TEST(SceneFormat, IsThatOfTheContent) {
    const TempDirectory directory;
    const ImportedScene ply(directory.write("a.obj", kPointsPly));
    EXPECT_EQ(ply.type("/root/world/node/nodeShape"), "pointcloud");
    const ImportedScene glb(directory.write("a.bin", BinaryGltf(YardJson(""), YardBuffer())));
    EXPECT_EQ(glb.type("/root/world/yard/panel/quad"), "polymesh");
}

TEST(SceneFormat, IsNoneOfWhatIsDownloadedInPlaceOfModels) {
    const TempDirectory directory;
    EXPECT_THAT(ImportedScene(directory.write("a.glb", "<!DOCTYPE html>\n<html>404")).error(),
                testing::EndsWith(": it is a web page"));
    EXPECT_THAT(ImportedScene(directory.write("a.fbx", "version https://git-lfs.github.com/spec/v1"
                                                       "\noid sha256:1\nsize 9\n"))
                    .error(),
                testing::EndsWith(": it is a pointer of Git LFS; \"git lfs pull\" gets the file"));
}

} // namespace
