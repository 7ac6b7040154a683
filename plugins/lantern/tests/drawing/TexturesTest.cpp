#include "drawing/Textures.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OpenImageIO/imageio.h>

#include "DrawingScenes.h"
#include "TempDirectory.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TexturesTest : public testing::Test {
protected:
    /// Writes an image of bytes, row by row from the top, and returns its path.
    std::string image(const std::string& name, int width, int height, int channels,
                      const std::vector<std::uint8_t>& bytes) const {
        OIIO::ImageSpec spec(width, height, channels, OIIO::TypeDesc::UINT8);
        spec.attribute("oiio:UnassociatedAlpha", 1);
        const std::string path = folder.path(name);
        const auto output = OIIO::ImageOutput::create(path);
        if (!output->open(path, spec) || !output->write_image(spec.format, bytes.data()) ||
            !output->close())
            throw std::runtime_error(output->geterror());
        return path;
    }

    /// Red and green above, blue and white below.
    std::string corners() const {
        return image("corners.png", 2, 2, 3, {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255});
    }

    Color lookUp(const Texture& texture, const V2f& st) {
        SceneData scene;
        scene.textures = {texture};
        Report report(listener());
        Color value(-1, -1, -1);
        Textures(scene, report).color(0, st, value);
        return value;
    }

    OxRenderListener_v1 listener() {
        OxRenderListener_v1 listener{};
        listener.user = &messages;
        listener.onMessage = [](int, const char* message, void* user) {
            static_cast<std::vector<std::string>*>(user)->emplace_back(message);
        };
        return listener;
    }

    static Texture of(const std::string& path) {
        Texture texture;
        texture.file = path;
        return texture;
    }

    TempDirectory folder;
    std::vector<std::string> messages;
};

// Coordinates -------------------------------------------------------------------------------------

TEST_F(TexturesTest, GrowUpwardsAndToTheRight) {
    const Texture texture = of(corners());
    EXPECT_EQ(lookUp(texture, {0.25f, 0.75f}), Color(1, 0, 0));
    EXPECT_EQ(lookUp(texture, {0.75f, 0.75f}), Color(0, 1, 0));
    EXPECT_EQ(lookUp(texture, {0.25f, 0.25f}), Color(0, 0, 1));
    EXPECT_EQ(lookUp(texture, {0.75f, 0.25f}), Color(1, 1, 1));
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(TexturesTest, CoverASquareUnchanged) {
    SceneData scene = EmptyScene(8, 8);
    Material material = Glowing(Color(0, 0, 0));
    Feed(material, MaterialInput::Emission, 0);
    scene.textures = {of(corners())};
    AddMesh(scene, Square(-1, -1, 1, 1, -1), AddMaterial(scene, material));
    const Picture picture = Drawn(scene, 64);
    // 5/16 of the way into the square in both directions: 7/8 of the nearest texel.
    EXPECT_NEAR(At(picture, 2, 2).r, 0.875 * 0.875 + 0.125 * 0.125, 0.01); // red, and some white
    EXPECT_NEAR(At(picture, 2, 2).g, 0.125, 0.01);
    EXPECT_NEAR(At(picture, 5, 2).g, 0.875, 0.01);
    EXPECT_NEAR(At(picture, 5, 2).b, 0.125, 0.01);
    EXPECT_NEAR(At(picture, 2, 5).b, 0.875, 0.01);
    EXPECT_NEAR(At(picture, 5, 5).r, 0.875 * 0.875 + 0.125 * 0.125, 0.01);
}

TEST_F(TexturesTest, AreInterpolatedBetweenTexels) {
    EXPECT_NEAR(lookUp(of(corners()), {0.5f, 0.75f}).x, 0.5f, 1e-3f);
    EXPECT_NEAR(lookUp(of(corners()), {0.5f, 0.75f}).y, 0.5f, 1e-3f);
}

TEST_F(TexturesTest, FollowTheirWrapMode) {
    Texture texture = of(corners());
    EXPECT_EQ(lookUp(texture, {1.25f, 0.75f}), Color(1, 0, 0));
    texture.wrapU = Texture::Wrap::Clamp;
    EXPECT_EQ(lookUp(texture, {1.25f, 0.75f}), Color(0, 1, 0));
    texture.wrapU = Texture::Wrap::Mirror;
    EXPECT_EQ(lookUp(texture, {1.75f, 0.75f}), Color(1, 0, 0));
    texture.wrapU = Texture::Wrap::Black;
    EXPECT_EQ(lookUp(texture, {1.75f, 0.75f}), Color(0, 0, 0));
    texture.wrapV = Texture::Wrap::Clamp;
    EXPECT_EQ(lookUp(texture, {0.25f, -3}), Color(0, 0, 1));
}

TEST_F(TexturesTest, CanBeSetsOfFilesBySquare) {
    image("set.1001.png", 1, 1, 3, {255, 0, 0});
    image("set.1002.png", 1, 1, 3, {0, 255, 0});
    image("set.1011.png", 1, 1, 3, {0, 0, 255});
    image("set.0999.png", 1, 1, 3, {255, 255, 255});
    const Texture texture = of(folder.path("set.<UDIM>.png"));
    EXPECT_EQ(lookUp(texture, {0.25f, 0.75f}), Color(1, 0, 0));
    EXPECT_EQ(lookUp(texture, {1.99f, 0.01f}), Color(0, 1, 0)) << "tiles are not blended";
    EXPECT_EQ(lookUp(texture, {0.5f, 1.5f}), Color(0, 0, 1));
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(TexturesTest, WarnOnceOfMissingFilesOfASet) {
    image("set.1001.png", 1, 1, 3, {255, 0, 0});
    const Texture texture = of(folder.path("set.<UDIM>.png"));
    SceneData scene;
    scene.textures = {texture};
    Report report(listener());
    const Textures textures(scene, report);
    Color value(-1, -1, -1);
    for (const V2f& place : {V2f(1.5f, 0), V2f(2.5f, 0), V2f(-0.5f, 0), V2f(0, 1e9f)})
        EXPECT_FALSE(textures.color(0, place, value));
    EXPECT_EQ(value, Color(-1, -1, -1));
    EXPECT_THAT(messages, ElementsAre("cannot read the texture \"" + texture.file +
                                      "\": its tile 1002 is missing"));
    int width = 0, height = 0;
    EXPECT_FALSE(textures.size(0, width, height)) << "no single image";
}

TEST_F(TexturesTest, WarnOfSetsWithoutFiles) {
    const Texture texture = of(folder.path("no.<UDIM>.png"));
    EXPECT_EQ(lookUp(texture, {0.5f, 0.5f}), Color(-1, -1, -1));
    EXPECT_THAT(messages, ElementsAre("cannot read the texture \"" + texture.file +
                                      "\": there are no files of that name"));
}

TEST_F(TexturesTest, TransformTheirCoordinates) {
    const auto isNear = [](const Color& found, const Color& expected) {
        return found.equalWithAbsError(expected, 1e-5f);
    };
    Texture texture = of(corners());
    texture.uvTransform = {{0, 1}, {-1, 0}, {0, 0}}; // (0.75, -0.25) to (0.25, 0.75)
    EXPECT_PRED2(isNear, lookUp(texture, {0.75f, -0.25f}), Color(1, 0, 0));
    texture.uvTransform.alongS = V2f(0, 2); // (0.375, -0.25) to the same
    EXPECT_PRED2(isNear, lookUp(texture, {0.375f, -0.25f}), Color(1, 0, 0));
    texture.uvTransform.offset = V2f(0.5f, 0);
    EXPECT_PRED2(isNear, lookUp(texture, {0.375f, -0.25f}), Color(0, 1, 0));
}

TEST_F(TexturesTest, UseTheCoordinatesOfTheirSet) {
    SceneData scene = EmptyScene(2, 2);
    Material material = Glowing(Color(0, 0, 0));
    Feed(material, MaterialInput::Emission, 0);
    scene.textures = {of(corners())};
    scene.textures[0].uvSet = "st1";
    Mesh mesh = Square(-9, -9, 9, 9, -1);
    mesh.uvSets.push_back({"st1", {{{0.75f, 0.75f}}, std::vector<Index>(6, 0)}});
    AddMesh(scene, mesh, AddMaterial(scene, material));
    EXPECT_NEAR(Mean(Drawn(scene)).g, 1, 1e-6);
    EXPECT_NEAR(Mean(Drawn(scene)).r, 0, 1e-6);
}

// Values ------------------------------------------------------------------------------------------

TEST_F(TexturesTest, AreConvertedFromSrgb) {
    Texture texture = of(image("grey.png", 1, 1, 3, {188, 128, 5}));
    EXPECT_NEAR(lookUp(texture, {0, 0}).x, 188 / 255.0, 1e-5);
    texture.isSrgb = true;
    EXPECT_NEAR(lookUp(texture, {0, 0}).x, 0.502886, 1e-4);
    EXPECT_NEAR(lookUp(texture, {0, 0}).y, 0.215861, 1e-4);
    EXPECT_NEAR(lookUp(texture, {0, 0}).z, 5 / 255.0 / 12.92, 1e-6);
}

TEST_F(TexturesTest, CanBeASingleMultipliedChannel) {
    Texture texture = of(image("rgba.png", 1, 1, 4, {51, 102, 153, 204}));
    texture.multiply = Color(0.5f, 1, 2);
    EXPECT_NEAR(lookUp(texture, {0, 0}).z, 1.2, 1e-5); // not multiplied by alpha
    texture.channel = 2;
    EXPECT_NEAR(lookUp(texture, {0, 0}).x, 0.3, 1e-5);
    texture.channel = 3;
    texture.isSrgb = true; // ignored for alpha
    EXPECT_NEAR(lookUp(texture, {0, 0}).x, 0.4, 1e-5);
}

TEST_F(TexturesTest, AreGreyWithOneChannelAndOpaqueWithoutAlpha) {
    Texture texture = of(image("grey.png", 1, 1, 1, {51}));
    EXPECT_NEAR(lookUp(texture, {0, 0}).z, 0.2, 1e-6);
    texture.channel = 1;
    EXPECT_NEAR(lookUp(texture, {0, 0}).x, 0.2, 1e-6);
    texture.channel = 3;
    EXPECT_EQ(lookUp(texture, {0, 0}).x, 1);
}

TEST_F(TexturesTest, CanHaveValuesOfAnyWidth) {
    const std::vector<float> pixel{0.25f, 0.5f, 0.75f};
    for (const auto type : {OIIO::TypeDesc::UINT16, OIIO::TypeDesc::UINT32, OIIO::TypeDesc::HALF,
                            OIIO::TypeDesc::FLOAT}) {
        const std::string path = folder.path(std::to_string(type) + ".tif");
        const std::string file = type == OIIO::TypeDesc::HALF ? folder.path("half.exr") : path;
        const auto output = OIIO::ImageOutput::create(file);
        ASSERT_TRUE(output->open(file, OIIO::ImageSpec(1, 1, 3, type)));
        output->write_image(OIIO::TypeDesc::FLOAT, pixel.data());
        output->close();
        EXPECT_TRUE(lookUp(of(file), {0, 0}).equalWithAbsError({0.25f, 0.5f, 0.75f}, 1e-4f))
            << file;
    }
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(TexturesTest, CanBeNormalMaps) {
    SceneData scene = EmptyScene(1, 1);
    scene.camera.fov = 0.01f;
    // The normal is bent towards growing t: (0, 0.6, 0.8).
    scene.textures = {of(image("normals.png", 1, 1, 3, {128, 204, 230}))};
    Material material = Matt(Color(1, 1, 1));
    Feed(material, MaterialInput::Normal, 0);
    AddMesh(scene, Square(-9, -9, 9, 9, -3), AddMaterial(scene, material));
    DirectionalLight sun;
    sun.toWorld.rotate(Imath::V3d(-std::atan2(0.6, 0.8), 0, 0)); // shines from (0, 0.6, 0.8)
    scene.lights = {sun};
    scene.quality.maxDepth = 1;
    EXPECT_NEAR(Mean(Drawn(scene, 4)).g * M_PI, 1, 0.01);
    sun.toWorld = M44d().rotate(Imath::V3d(std::atan2(0.6, 0.8), 0, 0));
    scene.lights = {sun};
    EXPECT_NEAR(Mean(Drawn(scene, 4)).g * M_PI, 0.28, 0.01);
}

TEST_F(TexturesTest, CutHolesIntoMeshesAndSpheres) {
    SceneData scene = EmptyScene(1, 4);
    scene.textures = {of(image("halves.png", 1, 2, 1, {255, 0}))};
    Material material = Glowing(Color(1, 1, 1));
    Feed(material, MaterialInput::Opacity, 0);
    material.alphaCutoff = 0.5f; // reached half way up
    const Index of = AddMaterial(scene, material);
    AddMesh(scene, Square(-1, -4, 1, 4, -1), of);
    scene.textures[0].wrapV = Texture::Wrap::Clamp;
    EXPECT_EQ(At(Drawn(scene), 0, 1).a, 1);
    EXPECT_EQ(At(Drawn(scene), 0, 2).a, 0);
    scene.instances.clear();
    AddSphere(scene, {0, 0, -3}, 1, of);
    scene.camera.fov = 10; // behind the hole, the sphere's back is above the cutoff as well
    EXPECT_EQ(At(Drawn(scene), 0, 1).a, 1);
    EXPECT_EQ(At(Drawn(scene), 0, 2).a, 0);
}

// Environment -------------------------------------------------------------------------------------

TEST_F(TexturesTest, SurroundTheSceneWithTheMiddleAtMinusZ) {
    SceneData scene = EmptyScene(1, 1);
    scene.camera.fov = 1;
    // Texels from left to right: behind to left, left to ahead, ahead to right, right to behind.
    scene.textures = {
        of(image("around.png", 4, 1, 3, {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}))};
    EnvironmentLight light;
    light.texture = 0;
    scene.lights = {light};
    const auto ahead = [&](double turn) { // degrees to the left
        scene.camera.toWorld = {M44d().rotate(Imath::V3d(0, turn * M_PI / 180, 0))};
        return Mean(Drawn(scene, 4));
    };
    EXPECT_NEAR(ahead(45).g, 1, 0.05);
    EXPECT_NEAR(ahead(135).r, 1, 0.05);
    EXPECT_NEAR(ahead(-45).b, 1, 0.05);
    EXPECT_NEAR(ahead(-45).r, 0, 0.05);
    EXPECT_NEAR(ahead(-135).r, 1, 0.05);
    EXPECT_NEAR(ahead(-135).g, 1, 0.05);
}

TEST_F(TexturesTest, LightTheSceneFromTheirBrightParts) {
    SceneData scene = EmptyScene(1, 1);
    scene.camera.fov = 0.01f;
    // One texel of 64 by 32 at the height of 45 degrees, towards +Z: seen by a plane that faces +Z.
    std::vector<std::uint8_t> bytes(64 * 32 * 3, 0);
    for (int channel = 0; channel < 3; ++channel)
        bytes[(8 * 64 + 0) * 3 + channel] = 255;
    scene.textures = {of(image("sun.png", 64, 32, 3, bytes))};
    AddMesh(scene, Square(-9, -9, 9, 9, -1), AddMaterial(scene, Matt(Color(1, 1, 1))));
    EnvironmentLight light;
    light.texture = 0;
    light.scale = Color(100);
    scene.lights = {light};
    scene.quality.maxDepth = 1;
    const double elevation = 45 - 180.0 / 64, solid = M_PI / 32 * M_PI / 32;
    const double c = std::cos(elevation * M_PI / 180);
    EXPECT_NEAR(Mean(Drawn(scene, 4096)).g * M_PI, 100 * solid * c * c * std::cos(M_PI / 64), 0.02);
}

// Faults ------------------------------------------------------------------------------------------

TEST_F(TexturesTest, KeepTheMaterialsOwnValueIfTheyCannotBeRead) {
    SceneData scene = EmptyScene(2, 2);
    Material material = Glowing({0, 0.5f, 0});
    Feed(material, MaterialInput::Emission, 0);
    Feed(material, MaterialInput::Opacity, 1);
    scene.textures = {of(folder.path("missing.png")), of(folder.write("text.png", "no image"))};
    AddMesh(scene, Square(-9, -9, 9, 9, -1), AddMaterial(scene, material));
    Report report(listener());
    EXPECT_EQ(Mean(Draw(scene, {4, 1}, report)).g, 0.5f);
    EXPECT_THAT(messages, ElementsAre(HasSubstr(folder.path("missing.png")),
                                      HasSubstr(folder.path("text.png"))));
}

TEST_F(TexturesTest, DoNotBlockOnPipes) {
    SceneData scene = EmptyScene(2, 2);
    Material material = Glowing({0, 0.5f, 0});
    Feed(material, MaterialInput::Emission, 0);
    scene.textures = {of(folder.makePipe("pipe.png"))};
    AddMesh(scene, Square(-9, -9, 9, 9, -1), AddMaterial(scene, material));
    Report report(listener());
    EXPECT_EQ(Mean(Draw(scene, {4, 1}, report)).g, 0.5f);
    EXPECT_THAT(messages, ElementsAre(HasSubstr("pipe.png\": it is not a regular file")));
}

TEST_F(TexturesTest, WarnOnceIfTheyAreTruncated) {
    std::vector<std::uint8_t> bytes(256 * 256 * 3);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i * i >> 7);
    image("whole.exr", 256, 256, 3, bytes);
    const std::string whole = folder.read("whole.exr");
    SceneData scene = EmptyScene(8, 8);
    Material material = Glowing({0, 0.5f, 0});
    Feed(material, MaterialInput::Emission, 0);
    scene.textures = {of(folder.write("short.exr", whole.substr(0, whole.size() / 4)))};
    AddMesh(scene, Square(-9, -9, 9, 9, -1), AddMaterial(scene, material));
    Report report(listener());
    EXPECT_GE(Mean(Draw(scene, {4, 2}, report)).g, 0);
    EXPECT_THAT(messages,
                ElementsAre(HasSubstr("cannot read the texture \"" + folder.path("short.exr"))));
}

TEST_F(TexturesTest, MayBeFarLargerThanTheLimitOfMemory) {
    SceneData scene;
    scene.quality.textureMemory = 1;
    for (const char* name : {"one.png", "two.png"})
        scene.textures.push_back(
            of(image(name, 2048, 2048, 4, std::vector<std::uint8_t>(2048 * 2048 * 4, 255))));
    Report report(listener());
    const Textures textures(scene, report);
    Color value;
    EXPECT_TRUE(textures.color(1, V2f(0.5f), 0.1f, value));
    EXPECT_EQ(value, Color(1, 1, 1));
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(TexturesTest, KeepTheLimitOfMemoryAboveWhatIsInUse) {
    SceneData scene;
    scene.quality.textureMemory = 64;
    scene.textures = {
        of(image("large.png", 2048, 2048, 4, std::vector<std::uint8_t>(2048 * 2048 * 4, 255)))};
    Report report(listener());
    const Textures before(scene, report);
    scene.quality.textureMemory = 1;
    scene.textures.push_back(of(corners()));
    const Textures textures(scene, report);
    Color value;
    EXPECT_TRUE(textures.color(1, V2f(0.75f, 0.25f), value));
}

TEST_F(TexturesTest, AreRefusedIfTheFileIsTooSmallForItsSize) {
    // A TGA file of 24 bits a pixel that ends after its header.
    const std::string header{0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x30, 0x40, 0x30, 0x40, 24, 0};
    EXPECT_EQ(lookUp(of(folder.write("lie.tga", header + "pixels")), {0, 0}), Color(-1, -1, -1));
    EXPECT_THAT(messages,
                ElementsAre(HasSubstr("lie.tga\": it is too small for 16432 x 16432 pixels")));
}

} // namespace
