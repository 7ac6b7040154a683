#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <OxConfiguration/Configuration.h>

#include "CapturedLog.h"
#include "ImportedScene.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kPng = "\x89PNG\r\n\x1a\n and more";

/// Imports into a cache of its own.
class SceneTextures : public testing::Test {
protected:
    SceneTextures() { Config()->reload(); }
    ~SceneTextures() override { folder.reset(), Config()->reload(); }

    /// A glTF file with one triangle whose material has the images of this JSON as textures.
    std::string writeGltf(const std::string& name, const std::string& images,
                          const std::string& more = "") const {
        return directory.write(name, R"({"asset": {"version": "2.0"}, "nodes": [{"mesh": 0}],
            "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "material": 0}]}],
            "accessors": [{"componentType": 5126, "count": 3, "type": "VEC3"}],
            "materials": [{"name": "paint", "normalTexture": {"index": 1},
                "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}}],
            "textures": [{"source": 0}, {"source": 1}], "images": [)" +
                                         images + "]" + more + "}");
    }
    static std::string fileOf(const ImportedScene& scene, const std::string& image,
                              const std::string& material = "/root/materials/paint") {
        return scene.text(material, "material.nodes." + image + ".parameters.file");
    }
    std::string inCache(const std::string& path) const {
        return fs::path(path).parent_path() == cache.path() ? fs::path(path).extension().string()
                                                            : "not in the cache: " + path;
    }
    std::string content(const std::string& path) const {
        return cache.read(fs::path(path).filename().string());
    }

    const TempDirectory directory;
    const TempDirectory cache;
    std::unique_ptr<ScopedEnvironment> folder =
        std::make_unique<ScopedEnvironment>("OX_CONFIG_IMAGE_CACHE", cache.path());
};

TEST_F(SceneTextures, OfDataUrisBecomeFiles) {
    const std::string uri = R"({"uri": "data:image/png;base64,iVBORw0KGgogYW5kIG1vcmU="})";
    const ImportedScene scene(writeGltf("box.gltf", uri + ", " + uri));
    const std::string path = fileOf(scene, "baseColorImage");
    EXPECT_EQ(inCache(path), ".png");
    EXPECT_EQ(content(path), kPng);
    EXPECT_EQ(fileOf(scene, "normalImage"), path); // equal images are one file
}

TEST_F(SceneTextures, OfBufferViewsBecomeFiles) {
    directory.write("box.bin", "...." + kPng);
    const std::string view = R"({"bufferView": 0, "mimeType": "image/png"})";
    const ImportedScene scene(writeGltf("box.gltf",
                                        view + R"(, {"bufferView": 1, "mimeType": "image/jpeg"})",
                                        R"(, "buffers": [{"uri": "box.bin", "byteLength": 21}],
           "bufferViews": [{"buffer": 0, "byteOffset": 4, "byteLength": 17},
                           {"buffer": 0, "byteOffset": 1, "byteLength": 3}])"));
    EXPECT_EQ(content(fileOf(scene, "baseColorImage")), kPng);
    EXPECT_EQ(inCache(fileOf(scene, "normalImage")), ".jpg");
}

TEST_F(SceneTextures, AreInATemporaryFolderWithOneWarningWhenTheCacheCannotBeWritten) {
    const std::string blocked = directory.write("blocked", "");
    const ScopedEnvironment elsewhere("OX_CONFIG_IMAGE_CACHE", blocked + "/images");
    Config()->reload();
    const CapturedLog log;
    const std::string uri = R"({"uri": "data:image/png;base64,iVBORw0KGgogYW5kIG1vcmU="})";
    const std::string file = writeGltf("box.gltf", uri + ", " + uri);
    const std::string path = fileOf(ImportedScene(file), "baseColorImage");
    EXPECT_EQ(fs::path(path).extension(), ".png");
    EXPECT_THAT(path, HasSubstr("/tellar-images-"));
    EXPECT_EQ(directory.read(fs::relative(path, directory.path()).string()), kPng);
    EXPECT_EQ(fileOf(ImportedScene(writeGltf("ball.gltf", uri + ", " + uri)), "normalImage"), path);
    EXPECT_THAT(log.textsOf("SceneImport"),
                ElementsAre("Op \"op0\" (SceneImport): Scene file \"" +
                            fs::canonical(file).string() +
                            "\": the images inside scene files are in a temporary folder until "
                            "the process ends, because the image cache \"" +
                            blocked + "/images\" cannot be used: Cannot create the image cache \"" +
                            blocked + "/images\": Not a directory"));
}

TEST_F(SceneTextures, MayHavePercentEncodedNames) {
    directory.write("my maps%2.png", kPng);
    directory.write("a%20b.png", kPng);
    const CapturedLog log;
    const ImportedScene scene(
        writeGltf("box.gltf", R"({"uri": "my%20maps%252.png"}, {"uri": "a%20b.png"})"));
    const std::string folder = fs::canonical(directory.path()).string();
    EXPECT_EQ(fileOf(scene, "baseColorImage"), folder + "/my maps%2.png");
    EXPECT_EQ(fileOf(scene, "normalImage"), folder + "/a%20b.png"); // its writer did not encode
    EXPECT_THAT(log.textsOf("SceneImport"), IsEmpty());
}

TEST_F(SceneTextures, ThatDoNotExistAreWarnedOfOnce) {
    const CapturedLog log;
    const std::string file =
        writeGltf("box.gltf", R"({"uri": "maps/a.png"}, {"uri": "maps/a.png"})");
    const ImportedScene scene(file);
    const std::string folder = fs::canonical(directory.path()).string();
    EXPECT_EQ(fileOf(scene, "baseColorImage"), folder + "/maps/a.png");
    EXPECT_THAT(log.textsOf("SceneImport"),
                ElementsAre("Op \"op0\" (SceneImport): Scene file \"" + folder +
                            "/box.gltf\": the texture \"" + folder +
                            "/maps/a.png\" of the material \"paint\" does not exist"));
}

TEST_F(SceneTextures, AreFoundBesideTheFileWhateverFolderItNames) {
    directory.write("Bark.PNG", kPng);
    fs::create_directory(directory.path("textures"));
    directory.write("textures/leaf.png", kPng);
    const CapturedLog log;
    const ImportedScene scene(writeGltf(
        "box.gltf", R"({"uri": "C:\\work\\bark.png"}, {"uri": "/home/ada/show/leaf.png"})"));
    const std::string folder = fs::canonical(directory.path()).string();
    EXPECT_EQ(fileOf(scene, "baseColorImage"), folder + "/Bark.PNG");
    EXPECT_EQ(fileOf(scene, "normalImage"), folder + "/textures/leaf.png");
    EXPECT_THAT(log.textsOf("SceneImport"), IsEmpty());
}

TEST_F(SceneTextures, AreFoundInFoldersOfOtherLettersAndBesideTheFolder) {
    fs::create_directories(directory.path("source"));
    fs::create_directories(directory.path("source/Maps"));
    fs::create_directories(directory.path("textures"));
    directory.write("source/Maps/A b.png", kPng);
    directory.write("textures/c.png", kPng);
    const CapturedLog log;
    const ImportedScene scene(writeGltf(
        "source/box.gltf", R"({"uri": "maps\\a%20B.PNG"}, {"uri": "file:///D:/models/C.png"})"));
    const std::string folder = fs::canonical(directory.path()).string();
    EXPECT_EQ(fileOf(scene, "baseColorImage"), folder + "/source/Maps/A b.png");
    EXPECT_EQ(fileOf(scene, "normalImage"), folder + "/textures/c.png");
    EXPECT_THAT(log.textsOf("SceneImport"), IsEmpty());
}

TEST_F(SceneTextures, OfSeveralTilesKeepThePlaceOfTheNumber) {
    directory.write("Skin.1002.png", kPng);
    const CapturedLog log;
    const ImportedScene scene(
        writeGltf("box.gltf", R"({"uri": "skin.<UDIM>.png"}, {"uri": "none.<UDIM>.png"})"));
    const std::string folder = fs::canonical(directory.path()).string();
    EXPECT_EQ(fileOf(scene, "baseColorImage"), folder + "/Skin.<UDIM>.png");
    EXPECT_EQ(fileOf(scene, "normalImage"), folder + "/none.<UDIM>.png");
    EXPECT_THAT(log.textsOf("SceneImport"), ElementsAre(HasSubstr("none.<UDIM>.png")));
}

TEST_F(SceneTextures, InUnknownFormatsGiveWayToThePlainImage) {
    directory.write("a.png", kPng);
    OxLoggingSetLevel("SceneImport", OxLogLevel::info);
    const CapturedLog log;
    const std::string file = directory.write("box.gltf", R"({"asset": {"version": "2.0"},
        "extensionsUsed": ["KHR_texture_basisu"], "nodes": [{}], "materials": [{"name": "paint",
            "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}}],
        "textures": [{"source": 0, "extensions": {"KHR_texture_basisu": {"source": 1}}}],
        "images": [{"uri": "a.png"}, {"uri": "a.ktx2"}]})");
    const ImportedScene scene(file);
    EXPECT_EQ(fileOf(scene, "baseColorImage"), fs::canonical(directory.path("a.png")).string());
    OxLoggingSetLevel("SceneImport", OxLogLevel::warn);
    EXPECT_THAT(log.textsOf("SceneImport"),
                ElementsAre(HasSubstr("uses 1 optional extensions that are not understood: "
                                      "KHR_texture_basisu")));
}

TEST_F(SceneTextures, OutsideTheirBufferAreLeftOut) {
    const CapturedLog log;
    const ImportedScene scene(
        writeGltf("box.gltf", R"({"bufferView": 0}, {"uri": "data:image/png;base64,"})",
                  R"(, "buffers": [{"uri": "data:;base64,AAAA", "byteLength": 3}],
                     "bufferViews": [{"buffer": 0, "byteOffset": 2, "byteLength": 9}])"));
    EXPECT_EQ(fileOf(scene, "baseColorImage"), "(none)");
    EXPECT_THAT(log.textsOf("SceneImport"),
                ElementsAre(HasSubstr("image 0 is left out: damaged glTF: buffer view 0 goes "
                                      "beyond its buffer"),
                            HasSubstr("image 1 is left out: it is empty")));
}

/// The file with the text `where` replaced by `what`.
std::string Replaced(const std::string& file, const std::string& where, const std::string& what) {
    std::ifstream stream(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    const std::size_t place = text.find(where);
    if (place == std::string::npos) throw std::runtime_error("There is no " + where);
    return text.replace(place, where.size(), what);
}

TEST_F(SceneTextures, InsideFbxFilesBecomeFiles) {
    const std::string panel = SCENEIMPORT_TEST_DATA "/panel.fbx";
    const std::string connected =
        directory.write("connected.fbx", Replaced(panel, "Connections:  {", R"(Connections:  {
    C: "OO",501,500)"));
    const std::string file =
        directory.write("panel.fbx", Replaced(connected, "    Texture: 500,",
                                              R"(    Video: 501, "Video::wood", "Clip" {
        Type: "Clip"
        FileName: "C:\somewhere\wood.png"
        RelativeFilename: "maps\wood.png"
        Content: ,
        "iVBORw0KGgogYW5kIG1vcmU="
    }
    Texture: 500,)"));
    const CapturedLog log;
    const ImportedScene scene(file);
    const std::string path = fileOf(scene, "baseColorImage", "/root/materials/Paint");
    ASSERT_EQ(inCache(path), ".png");
    EXPECT_EQ(content(path), kPng);
    EXPECT_THAT(log.textsOf("SceneImport"), IsEmpty());
}

TEST_F(SceneTextures, OfOtherFormatsAreFoundAndWarnedOfInTheSameWay) {
    directory.write("a.mtl", "newmtl wall\nmap_Kd Wall.PNG\nnewmtl roof\nmap_Kd D:\\x\\roof.png\n");
    directory.write("wall.png", kPng);
    const CapturedLog log;
    const ImportedScene scene(directory.write(
        "a.obj",
        "mtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl wall\nf 1 2 3\nusemtl roof\nf 3 2 1\n"));
    const std::string folder = fs::canonical(directory.path()).string();
    EXPECT_EQ(fileOf(scene, "baseColorImage", "/root/materials/wall"), folder + "/wall.png");
    EXPECT_THAT(log.textsOf("SceneImport"),
                ElementsAre(HasSubstr("the texture \"D:/x/roof.png\" of the material \"roof\" does "
                                      "not exist")));
}

TEST_F(SceneTextures, AndMaterialsAreThoseOfTheVariant) {
    const std::string file = directory.write("shoe.gltf", R"({"asset": {"version": "2.0"},
        "extensionsUsed": ["KHR_materials_variants"], "extensionsRequired": ["KHR_materials_variants"],
        "extensions": {"KHR_materials_variants": {"variants": [{"name": "red"}, {"name": "blue"}]}},
        "nodes": [{"name": "shoe", "mesh": 0}],
        "meshes": [{"name": "sole", "primitives": [{"attributes": {"POSITION": 0}, "material": 0,
            "extensions": {"KHR_materials_variants": {"mappings": [
                {"material": 1, "variants": [1]}]}}}]}],
        "accessors": [{"componentType": 5126, "count": 3, "type": "VEC3"}],
        "materials": [{"name": "usual"}, {"name": "other"}]})");
    const std::string sole = "/root/world/shoe/sole";
    EXPECT_EQ(ImportedScene(file).text(sole, "materialAssign"), "/root/materials/usual");
    const ImportedScene blue(ImportArgs(file).set("variant", "blue"));
    EXPECT_EQ(blue.text(sole, "materialAssign"), "/root/materials/other");
    const ImportedScene green(ImportArgs(file).set("variant", "green"));
    EXPECT_THAT(green.error(), HasSubstr("there is no variant \"green\" in it; its variants are "
                                         "\"red\", \"blue\""));
}

} // namespace
