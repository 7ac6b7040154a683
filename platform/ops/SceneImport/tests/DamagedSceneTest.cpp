#include <cstddef>
#include <iterator>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <OxTellarSDK/OxPluginApi.h>

#include "DamagedFiles.h"
#include "ImportedScene.h"
#include "TempDirectory.h"
#include "TestScenes.h"
#include "checks/ColladaCheck.h"

// Read by LeakSanitizer only: Assimp does not free everything when it gives up a file in the
// middle.
extern "C" OX_PLUGIN_EXPORT const char* __lsan_default_suppressions() {
    return "leak:libassimp\n";
}

namespace {

using namespace TellarSceneImport;
using testing::HasSubstr;

struct Sample {
    std::string name;
    std::string content;
    /// Whether every shorter file is damaged, white space at the end apart.
    bool isAllNeeded;

    friend std::ostream& operator<<(std::ostream& out, const Sample& sample) {
        return out << sample.name;
    }
};

std::vector<Sample> Samples() {
    return {{"yard.glb", BinaryGltf(YardJson(""), YardBuffer()), true},
            {"panel.dae", ContentOf(kData + "/panel.dae"), true},
            {"panel.fbx", ContentOf(kData + "/panel.fbx"), false},
            {"house.obj", kHouseObj, false},
            {"faces.ply", kFacesPly, true},
            {"points.ply", kPointsPly, true}};
}

class SampleFile : public testing::TestWithParam<Sample> {
protected:
    const TempDirectory directory;
};

INSTANTIATE_TEST_SUITE_P(Of, SampleFile, testing::ValuesIn(Samples()), [](const auto& test) {
    std::string name = test.param.name;
    name[name.find('.')] = '_';
    return name;
});

TEST_P(SampleFile, CanBeReadWhole) {
    EXPECT_EQ(Reason(directory.write(GetParam().name, GetParam().content)), "");
}

TEST_P(SampleFile, DoesNoHarmWhereverItIsCutOff) {
    const std::string& content = GetParam().content;
    // The last number of a text may lose digits without anybody noticing.
    const std::size_t needed = content.find_last_not_of(" \n") - 1;
    for (std::size_t length = 0; length < needed; length += 1 + content.size() / 150) {
        const std::string reason =
            Reason(directory.write(GetParam().name, content.substr(0, length)));
        EXPECT_TRUE(!reason.empty() || !GetParam().isAllNeeded) << "cut to " << length;
    }
}

TEST_P(SampleFile, DoesNoHarmWithWrongBytes) {
    std::mt19937 random(20); // the same numbers in every run
    for (int round = 0; round < 150; ++round) {
        std::string content = GetParam().content;
        for (int change = 0; change < 3; ++change)
            content[random() % content.size()] = static_cast<char>(random());
        Reason(directory.write(GetParam().name, content));
    }
}

TEST(DamagedScene, NamesTheFileAndTheReason) {
    const TempDirectory directory;
    const std::string file = directory.write("yard.gltf", "{\"asset\": {\"version\": \"2.0\"}, ");
    const ImportedScene scene(file);
    EXPECT_THAT(scene.error("/root/world"),
                HasSubstr("Cannot read scene file \"" + file + "\": damaged glTF: "));
    EXPECT_EQ(scene.error("/root/world"), scene.error("/root/world"));
}

TEST(DamagedScene, SaysWhatCannotBeAScene) {
    const TempDirectory directory;
    EXPECT_EQ(Reason(directory.path("none.obj")), "there is no such file");
    EXPECT_EQ(Reason(directory.path()), "it is not a regular file");
    EXPECT_EQ(Reason(directory.makePipe("pipe.obj")), "it is not a regular file");
    EXPECT_EQ(Reason(directory.write("empty.obj", "")), "it is empty");
    EXPECT_EQ(Reason(directory.write("notes.text", "hello")),
              "files of the kind \".text\" are not supported");
    EXPECT_EQ(Reason(directory.write("scene", "hello")),
              "files of the kind \"\" are not supported");
}

TEST(DamagedScene, IsRefusedInOneLineWhateverItsNamesHold) {
    EXPECT_EQ(ReasonOf("a.dae", "<a><source id='x\ny'><accessor/><accessor/></source></a>"),
              "damaged Collada: the source \"x y\" has two accessors");
}

TEST(DamagedScene, MissesAnExternalBuffer) {
    const TempDirectory directory;
    EXPECT_NE(Reason(directory.write("yard.gltf", YardJson(R"(, "uri": "yard.bin")"))), "");
}

TEST(SoundGltf, MayHaveASkinWithoutMatrices) {
    EXPECT_EQ(ReasonOfYard("\"scene\": 0,", "\"scene\": 0, \"skins\": [{\"joints\": [2]}],"), "");
    EXPECT_EQ(
        ReasonOf(
            "yard.glb",
            BinaryGltf(Replaced(Replaced(YardJson(""), "\"mesh\": 0", "\"mesh\": 0, \"skin\": 0"),
                                "\"scene\": 0,", "\"scene\": 0, \"skins\": [{\"joints\": [2]}],"),
                       YardBuffer())),
        "");
}

std::string ChainGltf(int length) {
    std::string nodes;
    for (int i = 1; i < length; ++i)
        nodes += "{\"children\": [" + std::to_string(i) + "]}, ";
    return "{\"asset\": {\"version\": \"2.0\"}, \"scene\": 0, \"scenes\": [{\"nodes\": [0]}], "
           "\"nodes\": [" +
           nodes + "{}]}";
}

TEST(DeepScene, IsReadDownToAThousandNodes) {
    EXPECT_EQ(ReasonOf("deep.gltf", ChainGltf(1000)), "");
    EXPECT_EQ(ReasonOf("deep.gltf", ChainGltf(1001)), "nodes are nested deeper than 1000");
    EXPECT_EQ(ReasonOf("deep.gltf", ChainGltf(200000)), "nodes are nested deeper than 1000");
}

/// The reason why the house cannot be read with these materials; empty when it can.
std::string ReasonOfMaterials(const std::string& mtl) {
    const TempDirectory directory;
    directory.write("house.mtl", mtl);
    return Reason(directory.write("house.obj", kHouseObj));
}

TEST(DamagedObj, HasNothingBeforeItsFirstMaterial) {
    const std::string refusal = "damaged MTL: something stands before the first material";
    EXPECT_EQ(ReasonOfMaterials("bump b.png\n"), refusal);
    EXPECT_EQ(ReasonOfMaterials("# of the house\n\n \tmap_Kd b.png\nnewmtl wall\n"), refusal);
    EXPECT_EQ(ReasonOfMaterials("aniso 1"), refusal);
    EXPECT_EQ(ReasonOfMaterials("# a comment\rdisp d.png\nnewmtl wall\n"), refusal);
    EXPECT_EQ(ReasonOfMaterials("# of the house\r\n\r\n  newmtl wall\r\nbump b.png\r\n"), "");
    EXPECT_EQ(ReasonOfMaterials(""), "");
}

TEST(DamagedObj, HasAStatement) {
    EXPECT_EQ(ReasonOf("a.obj", "Some notes about the house.\n"), "it holds no statement of OBJ");
}

TEST(DamagedObj, IsNotItsOwnMaterials) {
    EXPECT_EQ(ReasonOf("a.obj", "mtllib a.obj\nbump b.png\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"),
              "damaged OBJ: it names itself as its materials");
}

TEST(DamagedPly, TellsTheTruthInItsHeader) {
    EXPECT_EQ(ReasonOf("a.ply", Replaced(kPointsPly, "vertex 3", "vertex 3000000000")),
              "damaged PLY: the file is shorter than its header says");
    EXPECT_EQ(ReasonOf("a.ply", Replaced(kPointsPly, "vertex 3", "vertex -3")),
              "damaged PLY: an element without a count");
    EXPECT_EQ(ReasonOf("a.ply", Replaced(kPointsPly, "end_header", "end_of_header")),
              "damaged PLY: unknown word \"end_of_header\" in the header");
    EXPECT_EQ(ReasonOf("a.ply", "ply\nformat ascii 1.0\n"), "damaged PLY: the header has no end");
    EXPECT_EQ(ReasonOf("a.ply", Replaced(kPointsPly, "float x", "real x")),
              "damaged PLY: unknown type \"real\"");
    EXPECT_EQ(ReasonOf("a.ply", Replaced(kPointsPly, "4 5 -6 0 0 255", "4 5 -6 0 0")),
              "damaged PLY: the file is shorter than its header says");
    EXPECT_EQ(ReasonOf("a.ply", Replaced(kFacesPly, "3 1 2 3", "4 1 2 3")),
              "damaged PLY: the file is shorter than its header says");
    EXPECT_EQ(ReasonOf("a.ply", Replaced(kPointsPly, "ascii", "roman")),
              "damaged PLY: unknown format \"roman\"");
    EXPECT_EQ(ReasonOf("a.ply", Replaced(kPointsPly, "element vertex 3\n", "")),
              "damaged PLY: a property that belongs to nothing");
}

TEST(DamagedPly, HasNoFacesOfPointsThatDoNotExist) {
    EXPECT_EQ(ReasonOf("a.ply", Replaced(kFacesPly, "3 0 2 1", "3 0 2 9")),
              "damaged PLY: a face refers to a point that does not exist");
}

TEST(DamagedCollada, HasWhatItsAccessorsReferTo) {
    EXPECT_EQ(ReasonOfPanel("id=\"pointNumbers\" count=\"12\"", "id=\"pointNumbers\" count=\"0\""),
              "damaged Collada: an accessor goes beyond its array \"pointNumbers\"");
    EXPECT_EQ(ReasonOfPanel("count=\"4\" stride=\"3\"", "count=\"4\" stride=\"2147483647\""),
              "damaged Collada: an accessor goes beyond its array \"pointNumbers\"");
    EXPECT_EQ(ReasonOfPanel("count=\"4\" stride=\"3\"", "count=\"-4\" stride=\"3\""),
              "damaged Collada: the count of <accessor> is not a number");
    EXPECT_EQ(ReasonOfPanel("vertex_weights count=\"4\"", "vertex_weights count=\"4000000000\""),
              "damaged Collada: the count of <vertex_weights> is too large");
}

TEST(DamagedCollada, HasNumbersWhereItShould) {
    EXPECT_EQ(ReasonOfPanel("0 1 2 3</p>", "0 1 2 :</p>"),
              "damaged Collada: <p> holds something other than numbers");
    EXPECT_EQ(ReasonOfPanel("semantic=\"OUTPUT\" source=\"#places\"",
                            "semantic=\"OUTPUT\" source=\"#kinds\""),
              "damaged Collada: \"kinds\" is of the wrong kind for OUTPUT");
}

TEST(DamagedCollada, HasAsMuchOfEverything) {
    EXPECT_EQ(ReasonOfPanel("source=\"#placeNumbers\" count=\"2\"",
                            "source=\"#placeNumbers\" count=\"1\""),
              "damaged Collada: \"places\" is shorter than its times");
    EXPECT_EQ(ReasonOfPanel("vertex_weights count=\"4\"", "vertex_weights count=\"3\""),
              "damaged Collada: some points of \"quad\" have no weights");
    EXPECT_EQ(ReasonOfPanel("0 0 0 0 0 0 0 0</v>", "0 0 0 0 0 7 0 0</v>"),
              "damaged Collada: a weight refers to nothing");
}

TEST(DamagedCollada, HasNodesThatEnd) {
    EXPECT_EQ(ReasonOfPanel("<node id=\"air\">", "<node id=\"air\"><instance_node url=\"#air\"/>"),
              "damaged: a node holds itself");
    std::string library;
    for (int i = 0; i < 40; ++i) {
        const std::string next = "<instance_node url=\"#n" + std::to_string(i + 1) + "\"/>";
        library += "<node id=\"n" + std::to_string(i) + "\">" + next + next + "</node>";
    }
    EXPECT_EQ(ReasonOfPanel("<library_visual_scenes>", "<library_nodes>" + library +
                                                           "</library_nodes>"
                                                           "<library_visual_scenes>"),
              "it has more than 10000000 nodes");
    std::string deep;
    for (int i = 0; i < 5000; ++i)
        deep += "<node>";
    EXPECT_EQ(ReasonOfPanel("<node id=\"air\">", deep + "<node id=\"air\">"),
              "damaged Collada: elements are nested too deep");
}

TEST(DamagedCollada, HasAsManyFacesAsItCounts) {
    const std::string reason = "> has more or fewer faces than its count";
    const std::string list = "<p>0 1 2 3</p>";
    EXPECT_EQ(ReasonOfPanel(list, ""), "damaged Collada: <polylist" + reason);
    EXPECT_EQ(ReasonOfPanel(list, list + list), "damaged Collada: <polylist" + reason);
    EXPECT_EQ(ReasonOfPanel("<vcount>4</vcount>", ""),
              "damaged Collada: <polylist> does not say how many sides its faces have");
    const std::string faces = "<triangles count=\"1\"/><polylist count=\"1\"";
    EXPECT_EQ(ReasonOfPanel("<polylist count=\"1\"", faces),
              "damaged Collada: <triangles" + reason);
    EXPECT_THAT([] { CheckCollada("<polygons count='2'><p>0 1 2</p></polygons>", 10); },
                testing::ThrowsMessage<std::runtime_error>("damaged Collada: <polygons" + reason));
    EXPECT_NO_THROW(CheckCollada("<polygons count='2'><p>0 1 2</p><p>0 1 2</p></polygons>", 10));
}

TEST(DamagedCollada, MayHaveASourceInAnAccessor) {
    EXPECT_EQ(ReasonOfPanel("<param name=\"X\"", "<source id=\"inner\"/><param name=\"X\""), "");
}

TEST(SoundCollada, MayHaveCommentsAndQuotedBrackets) {
    EXPECT_NO_THROW(CheckCollada("<a b='>' c=\"<\"><!-- <p>x</p> --><![CDATA[<p>x]]><d/></a>", 10));
}
} // namespace
