#include "drawing/Picture.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <OpenImageIO/imageio.h>

#include "DrawingScenes.h"
#include "ErrorOf.h"
#include "TempDirectory.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A window of a picture of 100 by 60 pixels, whose red and green are the pixel's position.
Picture Part(const Window& window) {
    return PartOf(100, 60, window, [](int x, int y) {
        return std::array<float, 4>{float(x) / 128, float(y) / 64, 0.5f, 1};
    });
}

struct FoundImage {
    OIIO::ImageSpec spec;
    std::vector<float> floats;
    std::vector<std::uint8_t> bytes;
};

FoundImage Read(const std::string& path) {
    OIIO::ImageSpec hints;
    hints.attribute("oiio:UnassociatedAlpha", 1);
    const auto input = OIIO::ImageInput::open(path, &hints);
    if (!input) throw std::runtime_error(OIIO::geterror());
    FoundImage found{input->spec(), {}, {}};
    found.floats.resize(found.spec.image_pixels() * 4);
    found.bytes.resize(found.floats.size());
    input->read_image(0, 0, 0, 4, OIIO::TypeDesc::FLOAT, found.floats.data());
    input->read_image(0, 0, 0, 4, OIIO::TypeDesc::UINT8, found.bytes.data());
    return found;
}

std::string WriteErrorOf(const std::string& path, const Picture& picture) {
    return ErrorOf<RenderError>([&] { WritePicture(path, picture); });
}

class PictureTest : public testing::Test {
protected:
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            names.push_back(entry.path().filename().string());
        return names;
    }
    unsigned permissions(const std::string& name) const {
        struct stat status {};
        stat(folder.path(name).c_str(), &status);
        return status.st_mode & 0777;
    }

    TempDirectory folder;
};

// OpenEXR -----------------------------------------------------------------------------------------

TEST_F(PictureTest, KeepsItsWindowsAndHalfFloatsInExr) {
    WritePicture(folder.path("part.exr"), Part({10, 20, 34, 29}));
    const FoundImage found = Read(folder.path("part.exr"));
    EXPECT_EQ(found.spec.format, OIIO::TypeDesc::HALF);
    EXPECT_EQ(found.spec.x, 10);
    EXPECT_EQ(found.spec.y, 20);
    EXPECT_EQ(found.spec.width, 24);
    EXPECT_EQ(found.spec.height, 9);
    EXPECT_EQ(found.spec.full_x, 0);
    EXPECT_EQ(found.spec.full_y, 0);
    EXPECT_EQ(found.spec.full_width, 100);
    EXPECT_EQ(found.spec.full_height, 60);
    EXPECT_EQ(found.floats, Part({10, 20, 34, 29}).pixels); // the values are exact in half floats
    EXPECT_EQ(found.spec.get_string_attribute("compression"), "zip");
}

/// The elements of a matrix, which follow its name and type in the file.
std::array<float, 16> MatrixBytes(const std::string& file, const std::string& name) {
    const std::string start = name + '\0' + "m44f" + '\0' + std::string("\x40\0\0\0", 4);
    const std::size_t at = file.find(start);
    std::array<float, 16> numbers{};
    if (at != std::string::npos) std::memcpy(numbers.data(), &file[at + start.size()], 64);
    return numbers;
}

TEST_F(PictureTest, HasItsMatricesUnderTheirUsualNamesInExr) {
    const Picture picture = Part({0, 0, 100, 60});
    WritePicture(folder.path("a.exr"), picture);
    const std::string file = folder.read("a.exr");
    const auto toCamera = MatrixBytes(file, "worldToCamera");
    const auto toNdc = MatrixBytes(file, "worldToNDC");
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(toCamera[i], picture.worldToCamera->getValue()[i]);
        EXPECT_EQ(toNdc[i], picture.worldToNdc->getValue()[i]);
    }
    EXPECT_THAT(file, HasSubstr("OxTellarProducers lantern"));
}

TEST_F(PictureTest, ClampsToTheLargestHalf) {
    Picture picture = Part({0, 0, 1, 1});
    picture.pixels = {1e9f, 65504, -1e9f, 1};
    WritePicture(folder.path("a.exr"), picture);
    EXPECT_THAT(Read(folder.path("a.exr")).floats, ElementsAre(65504, 65504, -65504, 1));
}

// PNG ---------------------------------------------------------------------------------------------

TEST_F(PictureTest, KeepsItsPlaceAndTheSizeOfTheWholeInPng) {
    WritePicture(folder.path("part.png"), Part({10, 20, 34, 29}));
    const FoundImage found = Read(folder.path("part.png"));
    EXPECT_EQ(found.spec.format, OIIO::TypeDesc::UINT8);
    EXPECT_EQ(found.spec.x, 10);
    EXPECT_EQ(found.spec.y, 20);
    EXPECT_EQ(found.spec.width, 24);
    EXPECT_EQ(found.spec.height, 9);
    EXPECT_EQ(found.spec.get_string_attribute("pictureSize"), "100 60");
    EXPECT_EQ(found.spec.get_string_attribute("worldToCamera"), "1 0 0 0 0 1 0 0 0 0 1 0 1 2 3 1");
    EXPECT_THAT(found.spec.get_string_attribute("Software"), HasSubstr("lantern"));
}

TEST_F(PictureTest, CompressesHighlightsInPng) {
    Picture picture = Part({0, 0, 3, 1});
    picture.pixels = {0, 0.002f, 0.5f, 1, 0.8f, 1, 2, 1, 100, -1, 0.2f, 1};
    WritePicture(folder.path("a.png"), picture);
    // 1 becomes 0.8 + 0.2 (1 - 1 / e) = 0.926424, and 2 becomes 0.9995042.
    EXPECT_THAT(Read(folder.path("a.png")).bytes,
                ElementsAre(0, 7, 188, 255, 231, 247, 255, 255, 255, 0, 124, 255));
}

TEST_F(PictureTest, IsNotMultipliedByAlphaInPng) {
    Picture picture = Part({0, 0, 3, 1});
    picture.pixels = {0.25f, 0.125f, 0, 0.5f, 0.2f, 0.1f, 0, 0, 0.5f, 0.5f, 0.5f, 1};
    WritePicture(folder.path("a.png"), picture);
    EXPECT_THAT(Read(folder.path("a.png")).bytes,
                ElementsAre(188, 137, 0, 128, 0, 0, 0, 0, 188, 188, 188, 255));
}

// Files -------------------------------------------------------------------------------------------

TEST_F(PictureTest, LeavesNothingBesideTheFile) {
    WritePicture(folder.path("a.exr"), Part({0, 0, 10, 10}));
    WritePicture(folder.path("a.exr"), Part({0, 0, 20, 20}));
    EXPECT_THAT(files(), ElementsAre("a.exr"));
    EXPECT_EQ(Read(folder.path("a.exr")).spec.width, 20);
}

TEST_F(PictureTest, HasThePermissionsOfTheProcessOrOfTheReplacedFile) {
    const mode_t before = umask(026);
    WritePicture(folder.path("a.png"), Part({0, 0, 4, 4}));
    EXPECT_EQ(permissions("a.png"), 0640u);
    chmod(folder.path("a.png").c_str(), 0604);
    WritePicture(folder.path("a.png"), Part({0, 0, 4, 4}));
    EXPECT_EQ(permissions("a.png"), 0604u);
    umask(before);
}

TEST_F(PictureTest, NamesAMissingFolder) {
    const std::string path = folder.path("none/a.exr");
    EXPECT_EQ(WriteErrorOf(path, Part({0, 0, 4, 4})), "cannot write the picture \"" + path +
                                                          "\": there is no folder \"" +
                                                          folder.path("none") + "\"");
}

TEST_F(PictureTest, NamesTheFormats) {
    for (const char* name : {"a.gif", "a", "exr"}) {
        const std::string error = WriteErrorOf(folder.path(name), Part({0, 0, 4, 4}));
        EXPECT_EQ(error, "\"" + folder.path(name) +
                             "\" is no picture: its name must end in \".exr\", \".png\", "
                             "\".tif\" or \".jpg\"");
    }
    for (const char* name : {"A.PNG", "a.tif", "a.TIFF", "a.jpg", "a.jpeg"})
        EXPECT_EQ(WriteErrorOf(folder.path(name), Part({0, 0, 4, 4})), "no error");
}

TEST_F(PictureTest, RefusesLayersInFormatsWithoutThem) {
    for (const char* name : {"a.png", "a.tif", "a.jpg"}) {
        const std::string error =
            ErrorOf<RenderError>([&] { CheckPicturePath(folder.path(name), true); });
        EXPECT_EQ(error, "\"" + folder.path(name) + "\" cannot have layers: only an \".exr\" can");
        CheckPicturePath(folder.path(name), false);
    }
    CheckPicturePath(folder.path("a.exr"), true);
}

TEST_F(PictureTest, LeavesNothingIfItCannotBeRenamed) {
    std::filesystem::create_directory(folder.path("a.exr"));
    EXPECT_THAT(WriteErrorOf(folder.path("a.exr"), Part({0, 0, 4, 4})), HasSubstr("a.exr"));
    EXPECT_THAT(files(), ElementsAre("a.exr"));
}

TEST_F(PictureTest, AcceptsNamesOfTheSystemsLimit) {
    const std::string name = std::string(251, 'n') + ".png";
    EXPECT_EQ(WriteErrorOf(folder.path(name), Part({0, 0, 4, 4})), "no error");
    EXPECT_THAT(files(), ElementsAre(name));
}

// Matrices of drawn pictures ----------------------------------------------------------------------

TEST(DrawnPicture, HasMatricesThatMapTheWorldToItsPixels) {
    SceneData scene = EmptyScene(16, 8);
    AddMesh(scene, Square(3.8f, -0.1f, 4.7f, 0.6f, -2), AddMaterial(scene, Glowing({1, 1, 1})));
    scene.camera.toWorld = {M44d().setTranslation(Imath::V3d(3, 0, 0)),
                            M44d().setTranslation(Imath::V3d(3.1, 0, 0))};
    scene.framing.window = {8, 0, 16, 8};
    const Picture picture = Drawn(scene);
    V3f ndc;
    picture.worldToNdc->multVecMatrix(V3f(4.25f, 0.25f, -2), ndc);
    EXPECT_NEAR(ndc.x, 0.625, 1e-5);
    EXPECT_NEAR(ndc.y, 0.25, 1e-5);
    EXPECT_EQ(At(picture, int((ndc.x + 1) * 8), int((1 - ndc.y) * 4)).a, 1);
    V3f camera;
    picture.worldToCamera->multVecMatrix(V3f(4, 0, -2), camera);
    EXPECT_EQ(camera, V3f(1, 0, -2));
}

} // namespace
