#include "assimp/ObjText.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TempDirectory.h"

// The texts of OBJ files and their materials, in other encodings and with colours.

namespace {

using namespace TellarSceneImport;
using testing::ElementsAre;
using testing::FloatNear;

const std::string kPoints = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
const std::string kFace = "f 1 2 3\n";
const std::string kColor = "geometry.arbitrary.color.value";

/// In UTF-16 with a byte order mark. The text is ASCII.
std::string Utf16(const std::string& text, bool isBigEndian) {
    std::string bytes = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : text)
        bytes += isBigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    return bytes;
}

class ObjText : public testing::Test {
protected:
    /// The path of the only mesh.
    std::string meshOf(const ImportedScene& scene) const {
        std::string path = "/root/world";
        while (scene.type(path) == "group")
            path += "/" + scene.children(path).at(0);
        return path;
    }
    ImportedScene read(const std::string& content) const {
        return ImportedScene(directory.write("a.obj", content));
    }
    const TempDirectory directory;
};

TEST_F(ObjText, MayBeginWithAByteOrderMark) {
    const ImportedScene scene = read("\xEF\xBB\xBF" + kPoints + kFace);
    EXPECT_EQ(scene.floats(meshOf(scene), "geometry.point.P"), (Floats{0, 0, 0, 1, 0, 0, 0, 1, 0}));
}

TEST_F(ObjText, MayBeUtf16WithItsMaterials) {
    for (const bool isBigEndian : {false, true}) {
        SCOPED_TRACE(isBigEndian);
        directory.write("paint.mtl", Utf16("newmtl red\r\nKd 1 0 0\r\n", isBigEndian));
        const ImportedScene scene =
            read(Utf16("mtllib paint.mtl\r\n" + kPoints + "usemtl red\r\n" + kFace, isBigEndian));
        EXPECT_EQ(scene.floats("/root/materials/red", "material.parameters.baseColor"),
                  (Floats{1, 0, 0}));
        EXPECT_EQ(scene.text(meshOf(scene), "materialAssign"), "/root/materials/red");
    }
}

TEST_F(ObjText, MayHaveMaterialsThatBeginWithAByteOrderMark) {
    directory.write("paint.mtl", "\xEF\xBB\xBFnewmtl red\nKd 1 0 0\n");
    const ImportedScene scene = read("mtllib paint.mtl\n" + kPoints + "usemtl red\n" + kFace);
    EXPECT_EQ(scene.floats("/root/materials/red", "material.parameters.baseColor"),
              (Floats{1, 0, 0}));
}

TEST_F(ObjText, HasLinearColorsOfPoints) {
    const ImportedScene scene = read("v 0 0 0 1 0.5 0\nv 1 0 0 0 1 0\nv 0 1 0 0 0 1\n" + kFace);
    const std::string mesh = meshOf(scene);
    EXPECT_THAT(scene.floats(mesh, kColor),
                ElementsAre(1, FloatNear(0.21404114f, 1e-6f), 0, 1, 0, 1, 0, 1, 0, 0, 1, 1));
    EXPECT_EQ(scene.ints(mesh, "material.nodes.surface.parameters.vertexColor"), (Ints{1}));
    EXPECT_EQ(scene.floats(mesh, "material.nodes.surface.parameters.baseColor"), (Floats{1, 1, 1}));
}

TEST_F(ObjText, KeepsTheColorsOfAMaterialApart) {
    directory.write("paint.mtl", "newmtl red\nKd 1 0 0\n");
    const ImportedScene scene =
        read("mtllib paint.mtl\nv 0 0 0 0 0 1\nv 1 0 0 0 0 1\nv 0 1 0 0 0 1\nusemtl red\n" + kFace);
    EXPECT_EQ(scene.floats("/root/materials/red", "material.nodes.surface.parameters.baseColor"),
              (Floats{1, 0, 0}));
    EXPECT_FALSE(scene.attr("/root/materials/red", "material.nodes.surface.parameters.vertexColor")
                     .isValid());
}

TEST_F(ObjText, HasNoMaterialUnlessItNamesOne) {
    const ImportedScene scene = read(kPoints + kFace);
    EXPECT_FALSE(scene.attr(meshOf(scene), "materialAssign").isValid());
    EXPECT_FALSE(scene.attr(meshOf(scene), "material").isValid());
}

TEST_F(ObjText, KeepsAMaterialWithTheNameThatAssimpMakesUp) {
    directory.write("paint.mtl", "newmtl DefaultMaterial\nKd 1 0 0\n");
    const ImportedScene scene =
        read("mtllib paint.mtl\n" + kPoints + "usemtl DefaultMaterial\n" + kFace);
    EXPECT_EQ(scene.floats(meshOf(scene), "material.parameters.baseColor"), (Floats{1, 0, 0}));
}

TEST_F(ObjText, HasUsualMaterialsWhereTheirFileIsMissing) {
    const ImportedScene scene = read("mtllib gone.mtl\n" + kPoints + "usemtl red\n" + kFace);
    EXPECT_EQ(scene.text(meshOf(scene), "materialAssign"), "/root/materials/red");
    EXPECT_EQ(scene.floats(meshOf(scene), "material.parameters.baseColor"),
              (Floats{0.8f, 0.8f, 0.8f}));
    EXPECT_EQ(scene.floats(meshOf(scene), "material.parameters.roughness"), (Floats{0.5f}));
    EXPECT_EQ(scene.floats(meshOf(scene), "material.parameters.specular"), (Floats{1}));
}

TEST_F(ObjText, HasWhitePointsWhereOthersHaveColors) {
    const ImportedScene scene = read("v 0 0 0 1 0 0\nv 1 0 0\nv 0 1 0 0 0 1\n" + kFace);
    EXPECT_EQ(scene.floats(meshOf(scene), kColor), (Floats{1, 0, 0, 1, 1, 1, 1, 1, 0, 0, 1, 1}));
}

TEST_F(ObjText, MayBeIndented) {
    const ImportedScene scene = read("  v 0 0 0\n\tv 1 0 0\n v 0 1 0\n  f 1 2 3\r\n");
    EXPECT_EQ(scene.floats(meshOf(scene), "geometry.point.P"), (Floats{0, 0, 0, 1, 0, 0, 0, 1, 0}));
}

TEST_F(ObjText, HasObjectsWithBlanksInTheirNames) {
    const ImportedScene scene =
        read(kPoints + "o left arm\n" + kFace + "o left \xF0\x9F\x98\x80 leg\n" + kFace + "o .\n" +
             kFace + "o ..\n" + kFace);
    EXPECT_EQ(scene.children("/root/world/a.obj"),
              (Names{"left arm", "left \xF0\x9F\x98\x80 leg", "_", "__"}));
    EXPECT_EQ(scene.type("/root/world/a.obj/left arm/left arm"), "polymesh");
}

TEST_F(ObjText, NamesItsMaterialsInAnyLettersAndPaths) {
    directory.write("house Paint.mtl", "newmtl red\nKd 1 0 0\n");
    for (const std::string name : {"House paint.MTL", "C:\\work\\house paint.mtl"}) {
        SCOPED_TRACE(name);
        const CapturedLog log;
        const ImportedScene scene =
            read("mtllib " + name + "\n" + kPoints + "usemtl red\n" + kFace);
        EXPECT_EQ(scene.floats("/root/materials/red", "material.parameters.baseColor"),
                  (Floats{1, 0, 0}));
        EXPECT_THAT(log.textsOf("SceneImport"), testing::IsEmpty());
    }
}

TEST_F(ObjText, WarnsOfMaterialsThatAreNotThere) {
    directory.write("paint.mtl", "newmtl red\n");
    const CapturedLog log;
    read("mtllib gone.mtl\n" + kPoints + "usemtl red\n" + kFace).type("/root/world");
    read("mtllib paint.mtl\n" + kPoints + "usemtl blue\n" + kFace + "usemtl red\n" + kFace)
        .type("/root/world");
    EXPECT_THAT(
        log.textsOf("SceneImport"),
        ElementsAre(testing::EndsWith("a.obj\": its file of materials \"gone.mtl\" does not exist"),
                    testing::EndsWith("a.obj\": its files of materials do not have \"blue\"")));
}

TEST(WithPlainColors, ChangesNoOtherTexts) {
    const std::string text = "# v 1 2 3 4 5 6\nv 0 0 0 1\nvn 1 2 3 4 5 6\nf 1 2 3";
    EXPECT_EQ(WithPlainColors(text), text);
    EXPECT_EQ(WithPlainColors(""), "");
}

TEST(WithPlainColors, LeavesAlphaOutAndTakesNumbersTo255) {
    EXPECT_EQ(WithPlainColors("o a\n v  1 2 3 255 0 0 128\r\nv 4 5 6\t0 0 255\nf 1 2"),
              "o a\nv  1 2 3 1 0 0\nv 4 5 6 0 0 1\nf 1 2\n");
}

TEST(WithPlainColors, TakesNoOtherWordsForColors) {
    EXPECT_EQ(WithPlainColors("v 1 2 3 nan 0 0\nv 1 2 3 -1 0 0\n"),
              "v 1 2 3 nan 0 0\nv 1 2 3 -1 0 0\n");
    EXPECT_EQ(WithPlainColors("v 1 2 3 0 0 0\nv 1 2 3 x 0 0\n"), "v 1 2 3 0 0 0\nv 1 2 3 1 1 1\n");
}

} // namespace
