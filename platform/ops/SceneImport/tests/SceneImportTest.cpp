#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/TellarRuntime.h>
#include <OxTellarSDK/XFormUtil.h>

#include "RunTogether.h"
#include "SceneFile.h"
#include "SceneImport.h"
#include "TempDirectory.h"

namespace {

using namespace OxAttribute;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

constexpr const char* kGarden = TELLAR_EXAMPLES_DIR "/garden.gltf";

// Two quads and a triangle, in two materials.
constexpr const char* kObj = R"(mtllib house.mtl
o wall
v 0 0 0
v 2 0 0
v 2 1 0
v 0 1 0
v 1 2 -3
vt 0 0
vt 1 0
vt 1 1
vt 0 1
vn 0 0 1
usemtl plaster
f 1/1/1 2/2/1 3/3/1 4/4/1
o roof
usemtl tiles
f 4/1/1 3/2/1 5/3/1
)";
constexpr const char* kMtl = R"(newmtl plaster
Kd 0.5 0.25 0.125
newmtl tiles
Kd 1 0 0
map_Kd tiles.png
)";
constexpr const char* kPly = R"(ply
format ascii 1.0
element vertex 3
property float x
property float y
property float z
element face 1
property list uchar int vertex_indices
end_header
0 0 0
4 0 0
0 5 6
3 0 1 2
)";

/// One SceneImport op in a runtime of its own.
class ImportedScene {
public:
    explicit ImportedScene(GroupBuilder args) : runtime(TellarRuntime::create()) {
        const auto transaction = runtime->createTransaction();
        const auto op = transaction->createOp();
        transaction->setOpName(op, "scene");
        transaction->setOpArgs(op, "SceneImport", args.build());
        client = transaction->createClient();
        transaction->setClientOp(client, op);
        runtime->commit(transaction);
    }
    explicit ImportedScene(const std::string& file) : ImportedScene(ArgsFor(file)) {}

    static GroupBuilder ArgsFor(const std::string& file) {
        GroupBuilder args;
        args.set("file", StringAttribute(file));
        return args;
    }

    TellarRuntime::LocationData cook(const std::string& path) const {
        return client->cookLocation(path);
    }
    Attribute attribute(const std::string& path, const char* name) const {
        return cook(path).getAttrs().getChildByName(name);
    }
    std::string text(const std::string& path, const char* name) const {
        return StringAttribute(attribute(path, name)).getValue("", false);
    }
    std::vector<std::string> children(const std::string& path) const {
        std::vector<std::string> names;
        for (const auto name : cook(path).getPotentialChildren().getNearestSample(0.0f))
            names.emplace_back(name);
        return names;
    }
    /// The first location of a type at or below a path, depth first; empty when there is none.
    std::string find(const std::string& path, const std::string& type) const {
        if (text(path, "type") == type) return path;
        for (const std::string& name : children(path)) {
            const std::string found = find(path + "/" + name, type);
            if (!found.empty()) return found;
        }
        return {};
    }
    std::string errorAt(const std::string& path) const {
        try {
            cook(path);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "no error";
    }
    void evict(const std::string& path) const { runtime->evict(path); }

private:
    std::shared_ptr<TellarRuntime> runtime;
    std::shared_ptr<TellarRuntime::Client> client;
};

template <typename T>
std::vector<T> Values(const Attribute& attribute) {
    const auto sample = NumericAttribute<T>(attribute).getNearestSample(0.0f);
    return {sample.begin(), sample.end()};
}

class SceneImport : public ::testing::Test {
protected:
    // The objects linked into this program, whose counters can be read, and not the plug-in's.
    static void SetUpTestSuite() {
        OxOpType::RegisterOpType(TellarSceneImport::SceneImportOpType());
    }

    std::string writeObj() const {
        folder.write("house.mtl", kMtl);
        return folder.write("house.obj", kObj);
    }
    /// The scene of the OBJ file in another of Assimp's formats.
    std::string exportAs(const std::string& format, const std::string& name) const {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(writeObj(), 0);
        Assimp::Exporter exporter;
        if (!scene || exporter.Export(scene, format, folder.path(name)) != aiReturn_SUCCESS)
            throw std::runtime_error(exporter.GetErrorString());
        return folder.path(name);
    }

    TempDirectory folder;
};

TEST_F(SceneImport, ReadsMeshesOfAnObjFileWithTheirMaterials) {
    const ImportedScene scene(writeObj());
    const std::string wall = scene.find("/root/world", "polymesh");
    ASSERT_FALSE(wall.empty());
    EXPECT_THAT(Values<float>(scene.attribute(wall, "geometry.point.P")),
                ElementsAre(0, 0, 0, 2, 0, 0, 2, 1, 0, 0, 1, 0));
    EXPECT_THAT(Values<std::int32_t>(scene.attribute(wall, "geometry.poly.vertexList")),
                ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(Values<std::int32_t>(scene.attribute(wall, "geometry.poly.startIndex")),
                ElementsAre(0, 4));
    EXPECT_THAT(Values<float>(scene.attribute(wall, "geometry.point.N")),
                ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1));
    EXPECT_THAT(Values<float>(scene.attribute(wall, "geometry.arbitrary.st.value")),
                ElementsAre(0, 0, 1, 0, 1, 1, 0, 1));
    EXPECT_THAT(Values<double>(scene.attribute(wall, "bound")), ElementsAre(0, 2, 0, 1, 0, 0));
    EXPECT_EQ(scene.text(wall, "materialAssign"), "/root/materials/plaster");
}

TEST_F(SceneImport, GivesMaterialsAsNetworksInLocationsOfTheirOwn) {
    const ImportedScene scene(writeObj());
    EXPECT_THAT(scene.children("/root/materials"), ::testing::IsSupersetOf({"plaster", "tiles"}));
    const GroupAttribute material(scene.attribute("/root/materials/plaster", "material"));
    EXPECT_EQ(scene.text("/root/materials/plaster", "type"), "material");
    EXPECT_EQ(StringAttribute(material.getChildByName("style")).getValue(), "network");
    const std::string node =
        StringAttribute(material.getChildByName("terminals.surface")).getValue();
    const GroupAttribute shader(material.getChildByName("nodes." + node));
    ASSERT_TRUE(shader.isValid()) << node;
    EXPECT_EQ(StringAttribute(shader.getChildByName("name")).getValue(), node);
    EXPECT_THAT(Values<float>(shader.getChildByName("parameters.baseColor")),
                ElementsAre(0.5f, 0.25f, 0.125f));
    EXPECT_EQ(StringAttribute(material.getChildByName("interface.baseColor.src")).getValue(),
              node + ".baseColor");
    EXPECT_TRUE(material.getChildByName("parameters.baseColor").isValid());

    const GroupAttribute tiles(scene.attribute("/root/materials/tiles", "material"));
    EXPECT_THAT(tiles.getXML(), HasSubstr(folder.path("tiles.png")));
}

TEST_F(SceneImport, ReadsPly) {
    const ImportedScene scene(folder.write("triangle.ply", kPly));
    const std::string mesh = scene.find("/root/world", "polymesh");
    ASSERT_FALSE(mesh.empty());
    EXPECT_THAT(Values<float>(scene.attribute(mesh, "geometry.point.P")),
                ElementsAre(0, 0, 0, 4, 0, 0, 0, 5, 6));
    EXPECT_THAT(Values<double>(scene.attribute(mesh, "bound")), ElementsAre(0, 4, 0, 5, 0, 6));
}

TEST_F(SceneImport, ReadsCollada) {
    const ImportedScene scene(exportAs("collada", "house.dae"));
    const std::string mesh = scene.find("/root/world", "polymesh");
    ASSERT_FALSE(mesh.empty());
    EXPECT_THAT(Values<float>(scene.attribute(mesh, "geometry.point.P")),
                ElementsAre(0, 0, 0, 2, 0, 0, 2, 1, 0, 0, 1, 0));
}

TEST_F(SceneImport, ReadsFbx) {
    const ImportedScene scene(exportAs("fbxa", "house.fbx"));
    const std::string mesh = scene.find("/root/world", "polymesh");
    ASSERT_FALSE(mesh.empty());
    EXPECT_EQ(Values<float>(scene.attribute(mesh, "geometry.point.P")).size() % 3, 0u);
    EXPECT_THAT(Values<std::int32_t>(scene.attribute(mesh, "geometry.poly.startIndex")),
                ElementsAre(0, 4));
}

TEST_F(SceneImport, KeepsTheHierarchyOfAGltfFile) {
    const ImportedScene scene(kGarden);
    EXPECT_THAT(scene.children("/root"), ElementsAre("world", "materials"));
    EXPECT_THAT(scene.children("/root/world/garden/windmill"),
                ElementsAre("tower", "cap", "axle", "door", "sails"));
    EXPECT_EQ(scene.text("/root/world/garden/windmill", "type"), "group");
    EXPECT_FALSE(scene.cook("/root/world/garden/no_such_node").doesLocationExist());
    EXPECT_FALSE(scene.cook("/root/elsewhere").doesLocationExist());
}

TEST_F(SceneImport, PutsTranslationsIntoTheLastRowOfMatrices) {
    const ImportedScene scene(kGarden);
    const std::vector<double> matrix =
        Values<double>(scene.attribute("/root/world/garden/windmill/sails", "xform.matrix"));
    ASSERT_EQ(matrix.size(), 16u);
    EXPECT_FLOAT_EQ(static_cast<float>(matrix[13]), 3.85f);
    EXPECT_FLOAT_EQ(static_cast<float>(matrix[14]), 1.08f);
    EXPECT_EQ(matrix[3], 0.0);
    EXPECT_EQ(matrix[7], 0.0);
    EXPECT_EQ(matrix[15], 1.0);
}

TEST_F(SceneImport, GivesAnimationAsSamplesRelativeToTheFrame) {
    const std::string sails = "/root/world/garden/windmill/sails";
    const DoubleAttribute atZero(ImportedScene(kGarden).attribute(sails, "xform.matrix"));
    ASSERT_GT(atZero.getNumberOfTimeSamples(), 2);
    const std::int64_t last = atZero.getNumberOfTimeSamples() - 1;
    EXPECT_EQ(atZero.getSampleTime(0), 0.0f);
    EXPECT_FLOAT_EQ(atZero.getSampleTime(last), 96.0f); // four seconds

    GroupBuilder args = ImportedScene::ArgsFor(kGarden);
    args.set("frame", DoubleAttribute(10));
    args.set("framesPerSecond", DoubleAttribute(30));
    const DoubleAttribute later(ImportedScene(std::move(args)).attribute(sails, "xform.matrix"));
    EXPECT_FLOAT_EQ(later.getSampleTime(0), -10.0f);
    EXPECT_FLOAT_EQ(later.getSampleTime(last), 110.0f);
}

TEST_F(SceneImport, GivesEverySampleOfARotationWithoutShear) {
    const ImportedScene scene(kGarden);
    const DoubleAttribute matrices(
        scene.attribute("/root/world/garden/windmill/sails", "xform.matrix"));
    for (std::int64_t i = 0; i < matrices.getNumberOfTimeSamples(); ++i) {
        SCOPED_TRACE(i);
        const auto m = matrices.getNearestSample(matrices.getSampleTime(i));
        EXPECT_NEAR(m[0] * m[4] + m[1] * m[5] + m[2] * m[6], 0.0, 1e-6);
        EXPECT_NEAR(m[0] * m[0] + m[1] * m[1] + m[2] * m[2], 1.0, 1e-6);
    }
}

TEST_F(SceneImport, GivesCamerasALensInDoubles) {
    const ImportedScene scene(kGarden);
    const std::string camera = scene.find("/root/world", "camera");
    ASSERT_FALSE(camera.empty());
    const auto lens = [&](const char* name) {
        return DoubleAttribute(scene.attribute(camera, name)).getValue();
    };
    EXPECT_GT(lens("geometry.fov"), 10.0);
    EXPECT_LT(lens("geometry.fov"), 120.0);
    EXPECT_EQ(lens("geometry.left"), -1.0);
    EXPECT_EQ(lens("geometry.right"), 1.0);
    EXPECT_EQ(lens("geometry.bottom"), -lens("geometry.top"));
    EXPECT_GT(lens("geometry.far"), lens("geometry.near"));
    EXPECT_EQ(scene.text(camera, "geometry.projection"), "perspective");
}

TEST_F(SceneImport, GivesLightsAKindAndAMaterial) {
    const ImportedScene scene(kGarden);
    const std::string light = scene.find("/root/world", "light");
    ASSERT_FALSE(light.empty());
    EXPECT_THAT(scene.text(light, "light.type"), ::testing::AnyOf("directional", "point", "spot"));
    const GroupAttribute material(scene.attribute(light, "material"));
    const std::string node = StringAttribute(material.getChildByName("terminals.light")).getValue();
    EXPECT_TRUE(material.getChildByName("nodes." + node).isValid());
}

TEST_F(SceneImport, PutsTheSceneAndItsMaterialsWhereItIsTold) {
    GroupBuilder args = ImportedScene::ArgsFor(kGarden);
    args.set("location", StringAttribute("/root/assets/garden"));
    args.set("materialLocation", StringAttribute("/root/looks"));
    const ImportedScene scene(std::move(args));
    EXPECT_THAT(scene.children("/root"), ElementsAre("assets", "looks"));
    EXPECT_TRUE(scene.cook("/root/assets/garden/garden/pond").doesLocationExist());
    EXPECT_TRUE(scene.cook("/root/looks/water").doesLocationExist());
}

TEST_F(SceneImport, ReadsAFileOnceHoweverManyOpsAndLocationsWantIt) {
    const std::string file = writeObj();
    const std::uint64_t before = TellarSceneImport::GetNumberOfSceneReads();
    const ImportedScene first(file);
    EXPECT_FALSE(first.find("/root/world", "polymesh").empty());
    std::filesystem::remove(file);
    GroupBuilder args = ImportedScene::ArgsFor(file);
    args.set("location", StringAttribute("/root/other"));
    EXPECT_TRUE(first.cook("/root/materials/tiles").doesLocationExist());
    EXPECT_EQ(TellarSceneImport::GetNumberOfSceneReads(), before + 1);
}

TEST_F(SceneImport, NoticesAChangedFileWhenALocationIsEvicted) {
    const std::string file = folder.write("changing.ply", kPly);
    const ImportedScene scene(file);
    const std::string mesh = scene.find("/root/world", "polymesh");
    ASSERT_FALSE(mesh.empty());
    std::string moved = kPly;
    moved.replace(moved.find("4 0 0"), 5, "40 0 0");
    folder.write("changing.ply", moved);
    EXPECT_THAT(Values<double>(scene.attribute(mesh, "bound")), ElementsAre(0, 4, 0, 5, 0, 6));
    scene.evict(mesh);
    EXPECT_THAT(Values<double>(scene.attribute(mesh, "bound")), ElementsAre(0, 40, 0, 5, 0, 6));
}

TEST_F(SceneImport, NamesTheOpTheLocationAndTheFileWhenThereIsNoFile) {
    const ImportedScene scene(folder.path("missing.obj"));
    const std::string error = scene.errorAt("/root/world");
    EXPECT_EQ(error, "Op \"scene\" (SceneImport) at \"/root/world\": Cannot read scene file \"" +
                         folder.path("missing.obj") + "\": there is no such file");
    EXPECT_EQ(scene.errorAt("/root/world"), error);
}

TEST_F(SceneImport, RefusesWhatIsNoSceneFile) {
    EXPECT_THAT(ImportedScene(folder.write("a.xyz", "nothing")).errorAt("/root/world"),
                HasSubstr("Cannot read scene file"));
    EXPECT_THAT(ImportedScene(folder.write("empty.obj", "")).errorAt("/root/world"),
                HasSubstr("it is empty"));
    EXPECT_THAT(ImportedScene(folder.path()).errorAt("/root/world"),
                HasSubstr("it is no regular file"));
}

TEST_F(SceneImport, RefusesArgumentsThatItDoesNotKnowOrCannotUse) {
    GroupBuilder unknown = ImportedScene::ArgsFor(kGarden);
    unknown.set("fps", DoubleAttribute(24));
    EXPECT_THAT(ImportedScene(std::move(unknown)).errorAt("/root/world"), HasSubstr("\"fps\""));
    GroupBuilder zero = ImportedScene::ArgsFor(kGarden);
    zero.set("framesPerSecond", DoubleAttribute(0));
    EXPECT_THAT(ImportedScene(std::move(zero)).errorAt("/root/world"),
                HasSubstr("\"framesPerSecond\""));
    EXPECT_THAT(ImportedScene(GroupBuilder()).errorAt("/root/world"), HasSubstr("\"file\""));
}

/// Cut short, a file gives a scene or an error that names it; nothing else.
void ExpectSceneOrErrorAtEveryCut(const TempDirectory& folder, const std::string& name,
                                  const std::string& content) {
    const std::size_t step = std::max<std::size_t>(1, content.size() / 60);
    for (std::size_t length = 0; length < content.size(); length += step) {
        SCOPED_TRACE(length);
        const std::string file =
            folder.write(std::to_string(length) + name, content.substr(0, length));
        const ImportedScene scene(file);
        const std::string error = scene.errorAt("/root/world");
        if (error != "no error") {
            EXPECT_THAT(error, HasSubstr("Cannot read scene file \"" + file));
        }
    }
}

TEST_F(SceneImport, SurvivesCutFilesOfEveryFormat) {
    ExpectSceneOrErrorAtEveryCut(folder, ".obj", kObj);
    ExpectSceneOrErrorAtEveryCut(folder, ".ply", kPly);
    exportAs("collada", "whole.dae");
    ExpectSceneOrErrorAtEveryCut(folder, ".dae", folder.read("whole.dae"));
    exportAs("fbxa", "whole.fbx");
    ExpectSceneOrErrorAtEveryCut(folder, ".fbx", folder.read("whole.fbx"));
    exportAs("glb2", "whole.glb");
    ExpectSceneOrErrorAtEveryCut(folder, ".glb", folder.read("whole.glb"));
}

TEST_F(SceneImport, IsReadOnceByThreadsThatWantItTogether) {
    const std::string file = writeObj();
    const std::uint64_t before = TellarSceneImport::GetNumberOfSceneReads();
    std::vector<std::string> found(8);
    RunTogether(8, [&](int thread) {
        // A runtime each, as renderers have.
        const ImportedScene scene(file);
        found[static_cast<std::size_t>(thread)] = scene.find("/root/world", "polymesh");
    });
    EXPECT_THAT(found, ::testing::Each(found[0]));
    EXPECT_FALSE(found[0].empty());
    EXPECT_EQ(TellarSceneImport::GetNumberOfSceneReads(), before + 1);
}

} // namespace
