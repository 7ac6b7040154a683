#include "obj/MtlFile.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ImportedScene.h"
#include "TempDirectory.h"
#include "obj/MtlTexture.h"

namespace {

using namespace OxAttribute;
using namespace TellarSceneImport;
using testing::ElementsAre;
using testing::FloatNear;
using testing::IsEmpty;

using Floats = std::vector<float>;

/// The network of one material with these statements.
class Network {
public:
    explicit Network(const std::string& statements)
        : network(ReadMtl("newmtl a\n" + statements, "").at(0).network) {}

    Floats numbers(const std::string& name) const {
        const auto sample =
            FloatAttribute(network.getChildByName("nodes." + name)).getNearestSample(0);
        return {sample.begin(), sample.end()};
    }
    Floats surface(const std::string& name) const { return numbers("surface.parameters." + name); }
    std::string text(const std::string& name) const {
        return StringAttribute(network.getChildByName("nodes." + name)).getValue("(none)", false);
    }
    std::string input(const std::string& name) const { return text("surface.connections." + name); }
    std::string file(const std::string& image) const { return text(image + ".parameters.file"); }

private:
    const GroupAttribute network;
};

Floats Opacity(const std::string& statements) {
    return Network(statements).surface("opacity");
}

TEST(MtlOpacity, IsTheDissolveOrOneMinusTheTransparency) {
    EXPECT_EQ(Opacity(""), (Floats{1}));
    EXPECT_EQ(Opacity("d 0.25\n"), (Floats{0.25f}));
    EXPECT_EQ(Opacity("Tr 0.25\n"), (Floats{0.75f}));
    EXPECT_EQ(Opacity("d -halo 0.5\n"), (Floats{0.5f}));
}

TEST(MtlOpacity, FollowsTheDissolveWhereBothAreThere) {
    EXPECT_EQ(Opacity("d 0.25\nTr 0.75\n"), (Floats{0.25f}));
    EXPECT_EQ(Opacity("Tr 1.0\nd 1.0\n"), (Floats{1})); // some writers mean opaque by both
    EXPECT_EQ(Opacity("Tr 0.25\nd 0.25\n"), (Floats{0.25f}));
}

TEST(MtlOpacity, IsOneWhereWritersCannotMeanAnInvisibleMaterial) {
    EXPECT_EQ(Opacity("Tr 1\n"), (Floats{1}));
    EXPECT_EQ(Opacity("d 0\nTr 0\n"), (Floats{1}));
    EXPECT_EQ(Opacity("d 0\nTr 1\n"), (Floats{0}));
}

TEST(MtlOpacity, TakesTheAlphaOfATextureOfColor) {
    const Network leaf("map_Kd leaf.png\nmap_d leaf.png\nd 0\n");
    EXPECT_EQ(leaf.input("opacity"), "a@opacityImage");
    EXPECT_EQ(leaf.surface("opacity"), (Floats{1}));
    EXPECT_EQ(Network("map_d mask.png\n").input("opacity"), "out@opacityImage");
    EXPECT_EQ(Network("map_d -imfchan g mask.png\n").input("opacity"), "g@opacityImage");
    EXPECT_EQ(Network("map_d -imfchan m mask.png\n").input("opacity"), "a@opacityImage");
}

TEST(MtlTexture, ReadsAllOptions) {
    const MtlTexture map = ReadMtlTexture(
        " -blendu on -blendv off -boost 2 -cc on -mm 0.1 0.5 -texres 512 -type sphere -clamp on"
        " -bm 0.25 -imfchan r -o 0.5 0.25 0 -s 2 3 1 -t 1 1 1 -colorspace sRGB my maps/a b.png ");
    EXPECT_EQ(map.file, "my maps/a b.png");
    EXPECT_EQ(map.transform, (Floats{0.5f, 0.25f, 2, 3, 0}));
    EXPECT_TRUE(map.isClamped);
    EXPECT_EQ(map.strength, 0.25f);
    EXPECT_EQ(map.channel, 'r');
    EXPECT_EQ(map.gain, 0.5f);
}

TEST(MtlTexture, ReadsOptionsWithFewerNumbers) {
    const MtlTexture map = ReadMtlTexture("-s 2 3 1.png");
    EXPECT_EQ(map.file, "1.png");
    EXPECT_EQ(map.transform, (Floats{0, 0, 2, 3, 0}));
    EXPECT_EQ(ReadMtlTexture("-s 4 a.png").transform, (Floats{0, 0, 4, 4, 0}));
    EXPECT_EQ(ReadMtlTexture("-o 0.5 2").file, "2");
    EXPECT_THAT(ReadMtlTexture("-s 1 1 1 -o 0 0 0 a.png").transform, IsEmpty());
}

TEST(MtlTexture, KeepsNamesThatLookLikeOptions) {
    EXPECT_EQ(ReadMtlTexture("-old-wood.png").file, "-old-wood.png");
    EXPECT_EQ(ReadMtlTexture("\"a b.png\"").file, "a b.png");
    EXPECT_EQ(ReadMtlTexture("").file, "");
    EXPECT_EQ(ReadMtlTexture("-bm").file, "");
    EXPECT_EQ(ReadMtlTexture("-bm 1").file, "");
}

TEST(Mtl, ReadsPhysicalStatements) {
    const Network car(
        "Kd 1 0 0\nPr 0.25\nPm 0.75\nPc 1\nPcr 0.5\nPs 0.5\naniso 0.5\nanisor 0.25\n"
        "Ke 1 2 3\nNi 1.25\nnorm -bm 0.5 n.png\nmap_Pr r.png\nmap_Pm -imfchan b r.png\n");
    EXPECT_EQ(car.surface("baseColor"), (Floats{1, 0, 0}));
    EXPECT_EQ(car.surface("roughness"), (Floats{0.25f}));
    EXPECT_EQ(car.numbers("roughnessImage.parameters.multiply"), (Floats{0.25f}));
    EXPECT_EQ(car.surface("metalness"), (Floats{0.75f}));
    EXPECT_EQ(car.input("metalness"), "b@metalnessImage");
    EXPECT_EQ(car.surface("coat"), (Floats{1}));
    EXPECT_EQ(car.surface("coatRoughness"), (Floats{0.5f}));
    EXPECT_EQ(car.surface("sheenColor"), (Floats{0.5f, 0.5f, 0.5f}));
    EXPECT_EQ(car.surface("anisotropy"), (Floats{0.5f}));
    EXPECT_THAT(car.surface("anisotropyRotation"), ElementsAre(FloatNear(1.5707963f, 1e-6f)));
    EXPECT_EQ(car.surface("emission"), (Floats{1, 2, 3}));
    EXPECT_EQ(car.surface("ior"), (Floats{1.25f}));
    EXPECT_EQ(car.surface("specular"), (Floats{1}));
    EXPECT_EQ(car.input("normal"), "out@normalImage");
    EXPECT_EQ(car.surface("normalScale"), (Floats{0.5f}));
    EXPECT_EQ(car.text("normalImage.parameters.colorSpace"), "linear");
}

TEST(Mtl, TakesFactorsOfZeroBesideTexturesForOne) {
    const Network wall("Kd 0 0 0\nmap_Kd -s 2 2 2 -clamp on wall.png\nKe 0 0 0\nmap_Ke glow.png\n"
                       "Pr 0\nmap_Pr rough.png\n");
    EXPECT_EQ(wall.surface("baseColor"), (Floats{1, 1, 1}));
    EXPECT_EQ(wall.file("baseColorImage"), "wall.png");
    EXPECT_EQ(wall.text("baseColorImage.parameters.wrapU"), "clamp");
    EXPECT_EQ(wall.numbers("baseColorImage.parameters.uvTransform"), (Floats{0, 0, 2, 2, 0}));
    EXPECT_EQ(wall.numbers("emissionImage.parameters.multiply"), (Floats{1, 1, 1}));
    EXPECT_EQ(wall.surface("roughness"), (Floats{1}));
}

TEST(Mtl, TellsNormalMapsFromBumpMapsByTheirNames) {
    const Network stone("map_Bump -bm 2 maps\\stone_Normal.png\n");
    EXPECT_EQ(stone.input("normal"), "out@normalImage");
    EXPECT_EQ(stone.surface("normalScale"), (Floats{2}));
    EXPECT_EQ(stone.input("bump"), "(none)");
    const Network bark("bump -bm 0.5 bark.png\n");
    EXPECT_EQ(bark.input("bump"), "out@bumpImage");
    EXPECT_EQ(bark.surface("bumpScale"), (Floats{0.5f}));
}

TEST(Mtl, SurvivesAllKindsOfLines) {
    const auto materials =
        ReadMtl("Kd 1 1 1\n# newmtl no\r\n\tnewmtl  red paint \r\nKD 1 \\\n 0 0\r\n"
                "Kd\nnewmtl\nKd spectral a.rfl\nKd 0.5\nNs nan\nmap_Kd\n\\",
                "");
    ASSERT_EQ(materials.size(), 2u);
    EXPECT_EQ(materials[0].name, "red paint");
    EXPECT_EQ(materials[1].name, "");
    const FloatAttribute color(
        materials[1].network.getChildByName("nodes.surface.parameters.baseColor"));
    EXPECT_EQ(color.getValue(), 0.5f);
    EXPECT_TRUE(ReadMtl("", "").empty());
}

TEST(ObjScene, TakesTexturesFromTheFolderOfItsMaterials) {
    const TempDirectory directory;
    std::filesystem::create_directories(directory.path("mtl/maps"));
    const std::string map = directory.write("mtl/maps/a.png", "?");
    directory.write("mtl/a.mtl", "newmtl wall\nd 1\nTr 1\nmap_Kd -s 2 2 1 maps\\a.png\n");
    const ImportedScene scene(directory.write(
        "a.obj", "mtllib mtl/a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl wall\nf 1 2 3\n"));
    const std::string nodes = "material.nodes.";
    EXPECT_EQ(scene.text("/root/materials/wall", nodes + "baseColorImage.parameters.file"),
              std::filesystem::canonical(map).string());
    EXPECT_EQ(scene.floats("/root/materials/wall", nodes + "surface.parameters.opacity"),
              (Floats{1}));
}

TEST(ObjScene, MayBeginWithAByteOrderMark) {
    const TempDirectory directory;
    directory.write("a.mtl", "\xef\xbb\xbfnewmtl wall\nKd 0 0 1\n");
    const ImportedScene scene(directory.write(
        "a.obj", "\xef\xbb\xbfmtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl wall\nf 1 2 3\n"));
    EXPECT_EQ(scene.floats("/root/materials/wall", "material.nodes.surface.parameters.baseColor"),
              (Floats{0, 0, 1}));
}

TEST(ObjScene, MayHaveNoMaterialsInItsMaterialFile) {
    const TempDirectory directory;
    directory.write("a.mtl", "# nothing\n");
    const ImportedScene scene(directory.write(
        "a.obj", "mtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl wall\nf 1 2 3\n"));
    EXPECT_EQ(scene.error(), "");
}

} // namespace
