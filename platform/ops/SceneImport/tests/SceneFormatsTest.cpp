#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TempDirectory.h"
#include "TestScenes.h"

namespace {

using namespace OxAttribute;
using testing::IsEmpty;

const std::string kData = SCENEIMPORT_TEST_DATA;

std::string ContentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class House : public testing::Test {
protected:
    const TempDirectory directory;
    const ImportedScene scene{WriteHouse(directory)};
};

TEST_F(House, KeepsPolygonsAndLeavesLinesOut) {
    EXPECT_EQ(scene.children("/root/world"), (Names{"house.obj"}));
    EXPECT_EQ(scene.children("/root/world/house.obj"), (Names{"house", "roof", "edge"}));
    EXPECT_THAT(scene.children("/root/world/house.obj/edge"), IsEmpty());
    const std::string wall = "/root/world/house.obj/house/house";
    EXPECT_EQ(scene.type(wall), "polymesh");
    EXPECT_EQ(scene.ints(wall, "geometry.poly.startIndex"), (Ints{0, 4}));
    EXPECT_EQ(scene.ints(wall, "geometry.poly.vertexList"), (Ints{0, 1, 2, 3}));
    EXPECT_EQ(scene.floats(wall, "geometry.point.P"), (Floats{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}));
    EXPECT_EQ(scene.floats(wall, "geometry.arbitrary.st.value"), (Floats{0, 0, 1, 0, 1, 1, 0, 1}));
    const std::string roof = "/root/world/house.obj/roof/roof";
    EXPECT_FALSE(scene.attr(roof, "geometry.point.N").isValid());
    EXPECT_FALSE(scene.attr(roof, "geometry.arbitrary").isValid());
    EXPECT_EQ(scene.doubles(roof, "bound"), (Doubles{0, 1, 0, 1, 0, 1}));
}

TEST_F(House, ConvertsClassicMaterials) {
    const std::string wall = "/root/materials/wall";
    const std::string parameters = "material.nodes.surface.parameters.";
    EXPECT_EQ(scene.floats(wall, parameters + "baseColor"), (Floats{0.8f, 0.1f, 0.1f}));
    EXPECT_EQ(scene.floats(wall, parameters + "specular"), (Floats{0.5f}));
    EXPECT_EQ(scene.floats(wall, parameters + "specularColor"), (Floats{0.5f, 1, 1}));
    EXPECT_EQ(scene.floats(wall, parameters + "emission"), (Floats{0, 0.5f, 0}));
    EXPECT_EQ(scene.floats(wall, parameters + "opacity"), (Floats{0.5f}));
    EXPECT_EQ(scene.floats(wall, parameters + "ior"), (Floats{1.5f}));
    EXPECT_EQ(scene.floats(wall, parameters + "metalness"), (Floats{0}));
    // (2 / (30 + 2)) to the power of 1/4.
    EXPECT_EQ(scene.floats(wall, parameters + "roughness"), (Floats{0.5f}));
    EXPECT_EQ(scene.text(wall, "material.nodes.surface.connections.baseColor"),
              "out@baseColorImage");
    const std::string folder = std::filesystem::canonical(directory.path()).string();
    EXPECT_EQ(scene.text(wall, "material.nodes.baseColorImage.parameters.file"),
              folder + "/maps/wall.png");
}

TEST_F(House, PrefersPhysicalNumbersOfClassicMaterials) {
    const std::string tile = "/root/materials/tile";
    EXPECT_EQ(scene.floats(tile, "material.parameters.roughness"), (Floats{0.3f}));
    EXPECT_EQ(scene.floats(tile, "material.parameters.metalness"), (Floats{0.7f}));
    EXPECT_EQ(scene.text("/root/world/house.obj/roof/roof", "materialAssign"), tile);
    EXPECT_FALSE(scene.attr(tile, "material.nodes.surface.connections").isValid());
}

TEST(SceneImport, MakesAPointCloudOfPointsWithoutFaces) {
    const TempDirectory directory;
    const ImportedScene scene(directory.write("points.ply", kPointsPly));
    const std::string cloud = "/root/world/node/nodeShape";
    EXPECT_EQ(scene.type(cloud), "pointcloud");
    EXPECT_EQ(scene.floats(cloud, "geometry.point.P"), (Floats{0, 0, 0, 1, 2, 3, 4, 5, -6}));
    EXPECT_FALSE(scene.attr(cloud, "geometry.poly").isValid());
    EXPECT_EQ(scene.text(cloud, "geometry.arbitrary.color.inputType"), "color4");
    EXPECT_EQ(scene.floats(cloud, "geometry.arbitrary.color.value"),
              (Floats{1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1}));
    EXPECT_EQ(scene.doubles(cloud, "bound"), (Doubles{0, 4, 0, 5, -6, 3}));
}

TEST(SceneImport, ReadsPlyMeshes) {
    const TempDirectory directory;
    const ImportedScene scene(directory.write("faces.ply", kFacesPly));
    const std::string mesh = "/root/world/node/nodeShape";
    EXPECT_EQ(scene.type(mesh), "polymesh");
    EXPECT_EQ(scene.ints(mesh, "geometry.poly.startIndex"), (Ints{0, 3, 6, 9, 12}));
}

TEST(SceneImport, ReadsBinaryPlyMeshes) {
    const TempDirectory directory;
    const std::string header = "ply\n"
                               "format binary_little_endian 1.0\n"
                               "element vertex 3\n"
                               "property float x\nproperty float y\nproperty float z\n"
                               "element face 1\n"
                               "property list uchar int vertex_indices\n"
                               "end_header\n";
    const ImportedScene scene(
        directory.write("face.ply", header + BytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0}) + "\3" +
                                        BytesOf<std::int32_t>({0, 1, 2})));
    const std::string mesh = "/root/world/node/nodeShape";
    EXPECT_EQ(scene.floats(mesh, "geometry.point.P"), (Floats{0, 0, 0, 1, 0, 0, 0, 1, 0}));
    EXPECT_EQ(scene.ints(mesh, "geometry.poly.vertexList"), (Ints{0, 1, 2}));
}

class FbxPanel : public testing::Test {
protected:
    const ImportedScene scene{kData + "/panel.fbx"};
};

TEST_F(FbxPanel, HasNodesMeshesAndMotion) {
    EXPECT_EQ(scene.children("/root/world/RootNode"), (Names{"Panel", "Shot", "Key"}));
    const std::string quad = "/root/world/RootNode/Panel/Quad";
    EXPECT_EQ(scene.floats(quad, "geometry.point.P"), (Floats{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}));
    EXPECT_EQ(scene.ints(quad, "geometry.poly.vertexList"), (Ints{0, 1, 2, 3}));
    EXPECT_EQ(scene.text(quad, "materialAssign"), "/root/materials/Paint");
    EXPECT_EQ(scene.times("/root/world/RootNode/Panel", "xform.matrix"), (Floats{0, 24}));
    EXPECT_EQ(scene.doubles("/root/world/RootNode/Panel", "xform.matrix", 24)[12], 5);
}

TEST_F(FbxPanel, TurnsACameraThatLooksAlongXToLookDownZ) {
    const std::string shot = "/root/world/RootNode/Shot";
    EXPECT_EQ(scene.type(shot), "camera");
    EXPECT_EQ(scene.doubles(shot, "geometry.fov"), (Doubles{40}));
    EXPECT_EQ(scene.doubles(shot, "geometry.near"), (Doubles{0.25}));
    EXPECT_EQ(scene.doubles(shot, "geometry.far"), (Doubles{400}));
    // In its node it looks along +X; the node turns that by 90 degrees about Y, to -Z.
    EXPECT_THAT(Turn(scene, shot, 0, 0, -1), Near({0, 0, -1}));
    EXPECT_THAT(Turn(scene, shot, 0, 1, 0), Near({0, 1, 0}));
    EXPECT_THAT(LocalMatrix(scene, shot)[14], testing::DoubleNear(10, 1e-6));
}

TEST_F(FbxPanel, TurnsALightThatShinesDownToShineDownZ) {
    const std::string key = "/root/world/RootNode/Key";
    EXPECT_EQ(scene.type(key), "light");
    EXPECT_EQ(scene.text(key, "light.type"), "spot");
    EXPECT_EQ(scene.floats(key, "light.color"), (Floats{1, 0.5f, 0.25f}));
    EXPECT_EQ(scene.floats(key, "light.intensity"), (Floats{2}));
    EXPECT_EQ(scene.floats(key, "light.coneInner"), (Floats{20}));
    EXPECT_EQ(scene.floats(key, "light.coneOuter"), (Floats{45}));
    EXPECT_THAT(Turn(scene, key, 0, 0, -1), Near({0, -1, 0}));
}

TEST_F(FbxPanel, LetsATextureReplaceTheColour) {
    const std::string paint = "/root/materials/Paint";
    EXPECT_EQ(scene.floats(paint, "material.parameters.baseColor"), (Floats{0.2f, 0.4f, 0.6f}));
    EXPECT_EQ(scene.text(paint, "material.nodes.baseColorImage.parameters.file"),
              std::filesystem::canonical(kData).string() + "/maps/wood.png");
    EXPECT_FALSE(scene.attr(paint, "material.nodes.baseColorImage.parameters.multiply").isValid());
}

class ColladaPanel : public testing::Test {
protected:
    const ImportedScene scene{kData + "/panel.dae"};
};

TEST_F(ColladaPanel, HasNodesMeshesAndMotion) {
    EXPECT_EQ(scene.children("/root/world"), (Names{"stage"}));
    EXPECT_EQ(scene.children("/root/world/stage"),
              (Names{"panel", "view", "air", "bone", "bent", "quad"}));
    EXPECT_EQ(scene.ints("/root/world/stage/panel/quad", "geometry.poly.vertexList"),
              (Ints{0, 1, 2, 3}));
    EXPECT_EQ(scene.times("/root/world/stage/panel", "xform.matrix"), (Floats{0, 24}));
    EXPECT_EQ(scene.doubles("/root/world/stage/panel", "xform.matrix", 24)[12], 5);
    // A mesh with a skin is in the space of the root.
    EXPECT_EQ(scene.type("/root/world/stage/quad"), "polymesh");
}

TEST_F(ColladaPanel, StandsUprightWhateverTheFileCallsUp) {
    EXPECT_THAT(Turn(scene, "/root/world/stage", 0, 0, 1), Near({0, 1, 0}));
}

TEST_F(ColladaPanel, HasCamerasAndLights) {
    const std::string view = "/root/world/stage/view";
    EXPECT_EQ(scene.type(view), "camera");
    const double horizontal =
        2 * std::atan(2 * std::tan(15 * 3.14159265358979323846 / 180)) * 180 / 3.14159265358979;
    EXPECT_NEAR(scene.doubles(view, "geometry.fov").at(0), horizontal, 1e-4);
    EXPECT_THAT(scene.doubles(view, "geometry.top"), Near({0.5}));
    EXPECT_FALSE(scene.attr(view, "xform.matrixAim").isValid());
    EXPECT_EQ(scene.text("/root/world/stage/air", "light.type"), "ambient");
    EXPECT_EQ(scene.floats("/root/world/stage/air", "light.intensity"), (Floats{0.4f}));
    EXPECT_EQ(scene.floats("/root/world/stage/air", "light.color"), (Floats{0.25f, 0.5f, 1}));
}

TEST_F(ColladaPanel, HasMaterialsWithTextures) {
    EXPECT_EQ(scene.text("/root/materials/wood", "material.nodes.baseColorImage.parameters.file"),
              std::filesystem::canonical(kData).string() + "/maps/wood grain.png");
    EXPECT_EQ(scene.floats("/root/materials/wood", "material.parameters.roughness"),
              (Floats{0.5f}));
}

/// The house as Assimp itself writes it.
/// The panel in the axes and units of other exporters.
std::string PanelWith(const std::vector<std::pair<std::string, std::string>>& changes) {
    std::string content = ContentOf(kData + "/panel.fbx");
    for (const auto& [what, by] : changes) {
        const std::size_t at = content.find(what);
        if (at == std::string::npos) throw std::runtime_error("no such text: " + what);
        content.replace(at, what.size(), by);
    }
    return content;
}

std::string Setting(const std::string& name, const std::string& value) {
    return '"' + name + "\", \"int\", \"Integer\", \"\"," + value;
}

TEST(FbxSpace, IsTurnedToYUpAndScaledToMetres) {
    const TempDirectory directory;
    const ImportedScene inches(directory.write(
        "inches.fbx", PanelWith({{Setting("UpAxis", "1"), Setting("UpAxis", "2")},
                                 {Setting("FrontAxis", "2"), Setting("FrontAxis", "1")},
                                 {Setting("FrontAxisSign", "1"), Setting("FrontAxisSign", "-1")},
                                 {"\"Number\", \"\",1", "\"Number\", \"\",2.54"}})));
    EXPECT_THAT(LocalMatrix(inches, "/root/world/RootNode"),
                Near({0.0254, 0, 0, 0, 0, 0, -0.0254, 0, 0, 0.0254, 0, 0, 0, 0, 0, 1}));
    EXPECT_THAT(LocalMatrix(ImportedScene(kData + "/panel.fbx"), "/root/world/RootNode"),
                Near({0.01, 0, 0, 0, 0, 0.01, 0, 0, 0, 0, 0.01, 0, 0, 0, 0, 1}));
}

TEST(FbxSpace, StaysAsInTheFileOnRequest) {
    ImportArgs args(kData + "/panel.fbx");
    args.set("convertUnits", IntAttribute(0));
    EXPECT_FALSE(ImportedScene(args).attr("/root/world/RootNode", "xform").isValid());
}

TEST(FbxSpace, IsOnlyScaledIfItsAxesAreNoFrame) {
    const TempDirectory directory;
    for (const char* const axis : {"0", "3", "-1"}) {
        const ImportedScene scene(directory.write(
            "wrong.fbx", PanelWith({{Setting("UpAxis", "1"), Setting("UpAxis", axis)}})));
        EXPECT_THAT(LocalMatrix(scene, "/root/world/RootNode"),
                    Near({0.01, 0, 0, 0, 0, 0.01, 0, 0, 0, 0, 0.01, 0, 0, 0, 0, 1}))
            << axis;
    }
}

/// The opacity of the panel's material when its transparency is that of other exporters.
Floats OpacityOfPanelWith(const std::string& transparency) {
    const TempDirectory directory;
    std::string content = ContentOf(kData + "/panel.dae");
    content.insert(content.find("</phong>"), transparency);
    const ImportedScene scene(directory.write("panel.dae", content));
    return scene.floats("/root/materials/wood", "material.parameters.opacity");
}

std::string Transparency(const std::string& number) {
    return "<transparent><color>0 0 0 1</color></transparent><transparency><float>" + number +
           "</float></transparency>";
}

TEST(ColladaOpacity, IsOneForAFileThatTakesATransparencyOfZeroForOpaque) {
    EXPECT_EQ(OpacityOfPanelWith(Transparency("0")), (Floats{1}));
    EXPECT_EQ(OpacityOfPanelWith("<transparency><float> 0 </float></transparency>"), (Floats{1}));
}

TEST(ColladaOpacity, IsThatOfTheFileOtherwise) {
    EXPECT_EQ(OpacityOfPanelWith(""), (Floats{1}));
    EXPECT_EQ(OpacityOfPanelWith(Transparency("1")), (Floats{1}));
    EXPECT_EQ(OpacityOfPanelWith(Transparency(" 0.25 ")), (Floats{0.25f}));
    EXPECT_EQ(OpacityOfPanelWith("<transparent opaque=\"RGB_ZERO\"><color>1 1 1 1</color>"
                                 "</transparent><transparency><float>1</float></transparency>"),
              (Floats{0}));
}

TEST(ColladaText, MayHaveBlanksAroundNumbers) {
    const TempDirectory directory;
    std::string content = ContentOf(kData + "/panel.dae");
    for (const auto& [what, by] : std::vector<std::pair<std::string, std::string>>{
             {"<color>0.1 0.2 0.4</color>", "<color>\n 0.1  0.2\t0.4 </color>"},
             {"<yfov>30</yfov>", "<yfov> 30 </yfov>"},
             {"count=\"12\">0 0 0 2 0 0", "count=\" 12 \">\n 0 0 0\n 2 0 0"},
             {"<p>0 1 2 3</p>", "<p> 0 1 2 3 </p>"}})
        content.replace(content.find(what), what.size(), by);
    const ImportedScene scene(directory.write("panel.dae", content));
    EXPECT_EQ(scene.error(), "");
    EXPECT_EQ(scene.children("/root/world/stage"),
              ImportedScene(kData + "/panel.dae").children("/root/world/stage"));
}

TEST(ColladaText, MayBeUtf16) {
    const TempDirectory directory;
    std::string wide = "\xFF\xFE";
    for (const char c : ContentOf(kData + "/panel.dae"))
        wide += std::string{c, '\0'};
    const ImportedScene scene(directory.write("panel.dae", wide));
    EXPECT_EQ(scene.children("/root/world"), (Names{"stage"}));
}

class ExportedHouse : public testing::Test {
protected:
    std::string exportAs(const char* format, const std::string& name) const {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(WriteHouse(directory), 0);
        Assimp::Exporter exporter;
        if (!scene || exporter.Export(scene, format, directory.path(name)) != aiReturn_SUCCESS)
            throw std::runtime_error(exporter.GetErrorString());
        return directory.path(name);
    }

    /// The points of the first mesh below the path.
    static Floats pointsOfFirstMesh(const ImportedScene& scene, const std::string& path) {
        if (scene.type(path) == "polymesh") return scene.floats(path, "geometry.point.P");
        for (const std::string& child : scene.children(path)) {
            const Floats points = pointsOfFirstMesh(scene, path + "/" + child);
            if (!points.empty()) return points;
        }
        return {};
    }

    const TempDirectory directory;
};

TEST_F(ExportedHouse, IsTheSameInAllFormats) {
    const Floats wall = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    EXPECT_EQ(pointsOfFirstMesh(ImportedScene(exportAs("collada", "a.dae")), "/root/world"), wall);
    EXPECT_EQ(pointsOfFirstMesh(ImportedScene(exportAs("fbxa", "a.fbx")), "/root/world"), wall);
    EXPECT_EQ(pointsOfFirstMesh(ImportedScene(exportAs("glb2", "a.glb")), "/root/world"), wall);
    EXPECT_EQ(pointsOfFirstMesh(ImportedScene(exportAs("obj", "a.obj")), "/root/world"), wall);
}

TEST(FormatsWithoutMaterials, HaveNone) {
    const TempDirectory directory;
    const ImportedScene stl(directory.write("a.stl", "solid\nfacet normal 0 0 1\nouter loop\n"
                                                     "vertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n"
                                                     "endloop\nendfacet\nendsolid\n"));
    const ImportedScene off(directory.write("a.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n"));
    EXPECT_THAT(stl.children("/root/materials"), IsEmpty());
    EXPECT_THAT(off.children("/root/materials"), IsEmpty());
}

} // namespace
