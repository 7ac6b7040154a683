#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "DamagedFiles.h"
#include "GltfBuilder.h"
#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TempDirectory.h"
#include "TestScenes.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string Nodes(const std::string& more) {
    return R"({"asset": {"version": "2.0"}, "nodes": [{"name": "a"}, {"name": "b"}, {"name": "c"}])" +
           more + "}";
}

TEST(GltfScenes, AreChosenByNameOrIndex) {
    const TempDirectory directory;
    const std::string file = directory.write("scenes.gltf", Nodes(R"(, "scene": 1, "scenes": [
        {"name": "first", "nodes": [0]}, {"name": "second", "nodes": [1]},
        {"name": "0", "nodes": [2]}, {"nodes": [0, 1]}])"));
    const auto rootsOf = [&](const char* scene) {
        return ImportedScene(ImportArgs(file).set("scene", scene)).children("/root/world");
    };
    EXPECT_EQ(ImportedScene(file).children("/root/world"), (Names{"b"}));
    EXPECT_EQ(rootsOf("first"), (Names{"a"}));
    EXPECT_EQ(rootsOf("1"), (Names{"b"}));
    EXPECT_EQ(rootsOf("0"), (Names{"c"})); // a name comes before an index
    EXPECT_EQ(rootsOf("3"), (Names{"ROOT"}));
    EXPECT_EQ(ImportedScene(ImportArgs(file).set("scene", "3")).children("/root/world/ROOT"),
              (Names{"a", "b"}));
    EXPECT_THAT(
        ImportedScene(ImportArgs(file).set("scene", "4")).error(),
        HasSubstr("there is no scene \"4\" in it; its scenes are 0 \"first\", 1 \"second\", "
                  "2 \"0\", 3"));
}

TEST(GltfScenes, ShowAllNodesWhenThereAreNone) {
    const TempDirectory directory;
    const ImportedScene scene(directory.write("nodes.gltf", Nodes("")));
    EXPECT_EQ(scene.children("/root/world/ROOT"), (Names{"a", "b", "c"}));
}

/// A file of one triangle.
class GltfBuffers : public testing::Test {
protected:
    GltfBuffers() {
        file.floats({0, 0, 0, 1, 0, 0, 0, 1, 0}, "VEC3");
        file.showPrimitive(R"("attributes": {"POSITION": 0})");
    }

    const TempDirectory directory;
    GltfBuilder file;
};

TEST_F(GltfBuffers, HaveNamesWithEncodedCharacters) {
    directory.write("the data \xC3\xA4.bin", file.data());
    const ImportedScene scene(directory.write(
        "a.gltf", "\xEF\xBB\xBF" + file.json(R"(, "uri": "the%20data%20%C3%a4.bin"}])")));
    EXPECT_EQ(scene.type("/root/world/thing/mesh"), "polymesh");
}

TEST_F(GltfBuffers, AreFoundUnderNamesAsSloppyExportersWriteThem) {
    directory.write("50%25.bin", file.data());
    std::filesystem::create_directory(directory.path("data"));
    directory.write("data/a.bin", file.data());
    EXPECT_EQ(Reason(directory.write("a.gltf", file.json(R"(, "uri": "50%25.bin"}])"))), "");
    EXPECT_EQ(Reason(directory.write("a.gltf", file.json(R"(, "uri": "data\\a.bin"}])"))), "");
}

TEST_F(GltfBuffers, AreFoundUnderNamesOfAnotherComputer) {
    std::filesystem::create_directory(directory.path("Data"));
    directory.write("Data/A.bin", file.data());
    directory.write("b.BIN", file.data());
    EXPECT_EQ(Reason(directory.write("a.gltf", file.json(R"(, "uri": "data/a.BIN"}])"))), "");
    EXPECT_EQ(Reason(directory.write("a.gltf", file.json(R"(, "uri": "C:\\work\\B.bin"}])"))), "");
    EXPECT_EQ(Reason(directory.write("a.gltf", file.json(R"(, "uri": "file:///home/b.bin"}])"))),
              "");
}

TEST(GltfDataUris, MayBeBuffers) {
    const TempDirectory directory;
    GltfBuilder file;
    file.accessor<std::uint8_t>({0, 0, 0, 65, 0, 0, 0, 65, 0}, GltfNumber::UByte, "VEC3");
    file.showPrimitive(R"("attributes": {"POSITION": 0})");
    for (const std::string uri :
         {"data:application/octet-stream;base64,AAAAQQAAAEEA", "data:,%00%00%00A%00%00%00%41%00"}) {
        SCOPED_TRACE(uri);
        const ImportedScene scene(
            directory.write("a.gltf", file.json(R"(, "uri": ")" + uri + "\"}]")));
        EXPECT_EQ(scene.floats("/root/world/thing/mesh", "geometry.point.P"),
                  (Floats{0, 0, 0, 65, 0, 0, 0, 65, 0}));
    }
    EXPECT_EQ(Reason(directory.write("a.gltf", file.json(R"(, "uri": "data:;base64,A-"}])"))),
              "damaged glTF: a buffer has a damaged data URI");
}

TEST_F(GltfBuffers, AreRegularFilesOfTheirLength) {
    const std::string path = directory.write("a.gltf", file.json(R"(, "uri": "a.bin"}])"));
    EXPECT_EQ(Reason(path), "its buffer \"a.bin\": there is no such file");
    directory.write("a.bin", "short");
    EXPECT_EQ(Reason(path), "damaged glTF: a buffer is shorter than its length");
    directory.write("a.bin", file.data() + "more than is needed");
    EXPECT_EQ(Reason(path), "");
}

TEST(GltfVersion, IsTwo) {
    EXPECT_EQ(ReasonOf("a.gltf", R"({"asset": {"version": "1.0"}})"),
              "it is glTF 1.0; only glTF 2 is supported");
    EXPECT_EQ(ReasonOf("a.glb", "glTF" + BytesOf<std::uint32_t>({1, 20, 0, 0})),
              "it is glTF 1; only glTF 2 is supported");
    EXPECT_EQ(ReasonOf("a.gltf", "{}"),
              "damaged glTF: it does not say which version of glTF it is");
    EXPECT_EQ(ReasonOf("a.gltf", Nodes("")), "");
}

TEST(GltfExtensions, AreRefusedByNameWhenTheyAreRequiredAndUnknown) {
    EXPECT_EQ(ReasonOf("a.gltf", Nodes(R"(, "extensionsRequired": ["XYZ_clouds"])")),
              "it requires the extension XYZ_clouds, which is not supported");
    EXPECT_EQ(ReasonOf("a.gltf", Nodes(R"(, "extensionsRequired":
                  ["XYZ_clouds", "KHR_lights_punctual", "XYZ_rain"])")),
              "it requires the extensions XYZ_clouds, XYZ_rain, which are not supported");
}

TEST(GltfExtensions, AreCountedInOneLineWhenTheyAreOptionalAndUnknown) {
    OxLoggingSetLevel("SceneImport", OxLogLevel::info);
    const CapturedLog log;
    const std::string reason = ReasonOf("a.gltf", Nodes(R"(, "extensionsUsed":
        ["XYZ_clouds", "KHR_lights_punctual", "XYZ_rain"])"));
    EXPECT_EQ(reason, "");
    EXPECT_THAT(log.textsOf("SceneImport"),
                ElementsAre(HasSubstr("a.gltf uses 2 optional extensions that are not understood: "
                                      "XYZ_clouds, XYZ_rain")));
}

} // namespace
