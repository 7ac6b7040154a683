#include "drawing/Picture.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OpenImageIO/imageio.h>

#include "DrawingScenes.h"
#include "TempDirectory.h"

namespace {

using namespace LanternTest;
using testing::AllOf;
using testing::HasSubstr;

/// A window of a noisy picture of 90 by 50 pixels.
Picture Part(const Window& window) {
    return PartOf(90, 50, window, [](int x, int y) {
        const auto noise = [&](int channel) {
            return float((x * 7 + y * 13 + channel * 5) % 31) / 29;
        };
        return std::array<float, 4>{noise(0), noise(1), noise(2), noise(3)};
    });
}

class StitchPicturesTest : public testing::Test {
protected:
    std::string write(const std::string& name, const Picture& picture) const {
        WritePicture(folder.path(name), picture);
        return folder.path(name);
    }
    /// Three tiles that do not form a grid.
    std::vector<std::string> tiles(const std::string& extension) const {
        return {write("c" + extension, Part({40, 0, 90, 50})),
                write("b" + extension, Part({0, 30, 40, 50})),
                write("a" + extension, Part({0, 0, 40, 30}))};
    }
    std::string errorOf(const std::vector<std::string>& paths, const std::string& name) const {
        try {
            Report report;
            StitchPictures(paths, folder.path(name), report);
        } catch (const RenderError& error) {
            EXPECT_FALSE(std::filesystem::exists(folder.path(name)));
            return error.what();
        }
        return "no error";
    }

    TempDirectory folder;
};

// Exactness ---------------------------------------------------------------------------------------

TEST_F(StitchPicturesTest, GivesTheFileOfTheWholePictureInExr) {
    EXPECT_EQ(errorOf(tiles(".exr"), "stitched.exr"), "no error");
    write("whole.exr", Part({0, 0, 90, 50}));
    EXPECT_EQ(folder.read("stitched.exr"), folder.read("whole.exr"));
}

TEST_F(StitchPicturesTest, GivesTheFileOfTheWholePictureInPng) {
    EXPECT_EQ(errorOf(tiles(".png"), "stitched.png"), "no error");
    write("whole.png", Part({0, 0, 90, 50}));
    EXPECT_EQ(folder.read("stitched.png"), folder.read("whole.png"));
}

TEST_F(StitchPicturesTest, GivesTheFileOfTheWholePictureInTiff) {
    EXPECT_EQ(errorOf(tiles(".tif"), "stitched.tif"), "no error");
    write("whole.tif", Part({0, 0, 90, 50}));
    EXPECT_EQ(folder.read("stitched.tif"), folder.read("whole.tif"));
}

/// With two layers, the names of what is in the window, and facts.
Picture LayeredPart(const Window& window) {
    Picture picture = Part(window);
    Channel depth{"Z", false, {}}, id{"id", true, {}};
    for (int y = window.y0; y < window.y1; ++y) {
        for (int x = window.x0; x < window.x1; ++x) {
            depth.bits.push_back(0x3f800000u + std::uint32_t(x * 100 + y));
            id.bits.push_back(0xffffff00u + std::uint32_t(x));
        }
    }
    picture.channels = {depth, id};
    picture.manifests["CryptoObject"] = {{"/all", 1}, {"/row" + std::to_string(window.y1), 2}};
    picture.facts = {"shot.json", "/root/world/cam/camera", 12, 64, 1.5, "2024:02:29 18:30:00"};
    return picture;
}

TEST_F(StitchPicturesTest, KeepsLayersNamesAndFacts) {
    const std::vector<std::string> parts = {write("a.exr", LayeredPart({0, 0, 90, 20})),
                                            write("b.exr", LayeredPart({0, 20, 90, 50}))};
    EXPECT_EQ(errorOf(parts, "stitched.exr"), "no error");
    Picture whole = LayeredPart({0, 0, 90, 50});
    whole.manifests["CryptoObject"].emplace("/row20", 2);
    whole.facts.seconds = 3;
    write("whole.exr", whole);
    EXPECT_EQ(folder.read("stitched.exr"), folder.read("whole.exr"));
}

TEST_F(StitchPicturesTest, RefusesTilesOfOtherLayers) {
    Picture one = LayeredPart({0, 20, 90, 50});
    one.channels[1].name = "other";
    const std::vector<std::string> parts = {write("a.exr", LayeredPart({0, 0, 90, 20})),
                                            write("b.exr", one)};
    EXPECT_THAT(errorOf(parts, "stitched.exr"),
                AllOf(HasSubstr("b.exr\" has other layers than"), HasSubstr("a.exr")));
}

TEST_F(StitchPicturesTest, ConvertsLayeredExrToTheOtherFormats) {
    const std::string part = write("a.exr", LayeredPart({0, 0, 90, 50}));
    for (const char* name : {"s.png", "s.tif", "s.jpg"})
        EXPECT_EQ(errorOf({part}, name), "no error");
    Picture plain = LayeredPart({0, 0, 90, 50});
    plain.channels.clear();
    plain.manifests.clear();
    // Half floats are rounded, so that 16-bit values may differ from those of the drawn picture.
    EXPECT_EQ(errorOf({write("plain.exr", plain)}, "whole.tif"), "no error");
    EXPECT_EQ(folder.read("s.tif"), folder.read("whole.tif"));
}

TEST_F(StitchPicturesTest, DoesNotStitchJpegs) {
    EXPECT_THAT(errorOf({write("a.jpg", Part({0, 0, 90, 50}))}, "s.jpg"),
                AllOf(HasSubstr("a.jpg"), HasSubstr("exact pixels")));
}

TEST_F(StitchPicturesTest, DoesNotConvertPngToTiff) {
    EXPECT_THAT(errorOf(tiles(".png"), "s.tif"),
                AllOf(HasSubstr("c.png"), HasSubstr("only pictures of its own format")));
}

TEST_F(StitchPicturesTest, ConvertsExrToPng) {
    EXPECT_EQ(errorOf(tiles(".exr"), "stitched.png"), "no error");
    EXPECT_EQ(errorOf({write("whole.exr", Part({0, 0, 90, 50}))}, "whole.png"), "no error");
    EXPECT_EQ(folder.read("stitched.png"), folder.read("whole.png"));
}

TEST_F(StitchPicturesTest, StitchesTilesOfACroppedPicture) {
    const std::vector<std::string> some = {write("a.exr", Part({10, 20, 30, 40})),
                                           write("b.exr", Part({30, 20, 40, 40}))};
    EXPECT_EQ(errorOf(some, "stitched.exr"), "no error");
    write("cropped.exr", Part({10, 20, 40, 40}));
    EXPECT_EQ(folder.read("stitched.exr"), folder.read("cropped.exr"));
}

TEST_F(StitchPicturesTest, CanReplaceOneOfItsTiles) {
    const auto paths = tiles(".png");
    Report report;
    StitchPictures(paths, paths[0], report);
    write("whole.png", Part({0, 0, 90, 50}));
    EXPECT_EQ(folder.read("c.png"), folder.read("whole.png"));
}

// Errors ------------------------------------------------------------------------------------------

TEST_F(StitchPicturesTest, NamesMissingPixels) {
    auto paths = tiles(".exr");
    paths.erase(paths.begin() + 1);
    EXPECT_EQ(errorOf(paths, "stitched.exr"),
              "a tile is missing: nothing covers the pixels [0, 40) by [30, 50)");
}

TEST_F(StitchPicturesTest, NamesOverlappingTiles) {
    auto paths = tiles(".exr");
    paths.push_back(write("d.exr", Part({39, 29, 41, 31})));
    EXPECT_THAT(errorOf(paths, "stitched.exr"),
                AllOf(HasSubstr("d.exr\" lies over"), HasSubstr("c.exr\"")));
}

TEST_F(StitchPicturesTest, RefusesTilesOfAnotherPicture) {
    for (const char* extension : {".exr", ".png"}) {
        auto paths = tiles(extension);
        Picture larger = Part({0, 0, 40, 30});
        larger.width = 91;
        paths[2] = write(std::string("larger") + extension, larger);
        EXPECT_THAT(errorOf(paths, std::string("s") + extension),
                    AllOf(HasSubstr("larger"), HasSubstr("another size")));
        Picture moved = Part({0, 0, 40, 30});
        moved.worldToCamera = Moved(1, 2, 4);
        paths[2] = write(std::string("moved") + extension, moved);
        EXPECT_THAT(errorOf(paths, std::string("s") + extension),
                    AllOf(HasSubstr("moved"), HasSubstr("another camera")));
    }
}

TEST_F(StitchPicturesTest, DoesNotConvertPngToExr) {
    EXPECT_THAT(errorOf(tiles(".png"), "stitched.exr"), HasSubstr("c.png"));
}

TEST_F(StitchPicturesTest, DoesNotMixFormats) {
    auto paths = tiles(".exr");
    paths[1] = tiles(".png")[1];
    EXPECT_THAT(errorOf(paths, "stitched.png"), AllOf(HasSubstr("b.png"), HasSubstr("format")));
}

TEST_F(StitchPicturesTest, NamesAMissingTile) {
    auto paths = tiles(".exr");
    paths[1] = folder.path("none.exr");
    EXPECT_THAT(errorOf(paths, "stitched.exr"), HasSubstr(folder.path("none.exr")));
    EXPECT_THAT(errorOf({}, "stitched.exr"), HasSubstr("there are no tiles"));
}

TEST_F(StitchPicturesTest, DoesNotBlockOnPipes) {
    for (const char* extension : {".exr", ".png"}) {
        auto paths = tiles(extension);
        paths[1] = folder.makePipe(std::string("pipe") + extension);
        EXPECT_THAT(errorOf(paths, std::string("stitched") + extension),
                    HasSubstr(paths[1] + "\": it is not a regular file"));
    }
}

TEST_F(StitchPicturesTest, NamesADamagedTile) {
    for (const char* extension : {".exr", ".png", ".tif"}) {
        const auto paths = tiles(extension);
        const std::string file = folder.read(std::string("b") + extension);
        for (std::size_t length = 0; length < file.size(); length += file.size() / 50 + 1) {
            folder.write(std::string("b") + extension, file.substr(0, length));
            EXPECT_THAT(errorOf(paths, std::string("s") + extension), HasSubstr(paths[1]))
                << length;
        }
    }
}

TEST_F(StitchPicturesTest, ChecksTheContentOfFilesNotTheirNames) {
    auto paths = tiles(".png");
    std::filesystem::copy_file(paths[1], folder.path("false.exr"));
    EXPECT_THAT(errorOf({folder.path("false.exr")}, "stitched.exr"), HasSubstr("false.exr"));
    const std::string stranger = folder.path("stranger.png");
    const auto output = OIIO::ImageOutput::create(stranger);
    output->open(stranger, OIIO::ImageSpec(2, 2, 4, OIIO::TypeDesc::UINT8));
    const std::vector<std::uint8_t> bytes(16);
    output->write_image(OIIO::TypeDesc::UINT8, bytes.data());
    output->close();
    EXPECT_THAT(errorOf({stranger}, "stitched.png"),
                AllOf(HasSubstr(stranger), HasSubstr("size of the whole picture")));
}

/// An EXR file of only a header with these windows.
std::string HeaderOfExr(std::int32_t right, std::int32_t bottom) {
    TempDirectory folder;
    WritePicture(folder.path("a.exr"), Part({0, 0, 8, 8}));
    std::string file = folder.read("a.exr");
    for (const char* name : {"dataWindow", "displayWindow"}) {
        const std::size_t at = file.find(name) + std::string(name).size() + 1 + 6 + 4 + 8;
        file.replace(at, 4, reinterpret_cast<const char*>(&right), 4);
        file.replace(at + 4, 4, reinterpret_cast<const char*>(&bottom), 4);
    }
    return file;
}

TEST_F(StitchPicturesTest, RefusesInvalidSizes) {
    const std::string vast = folder.write("vast.exr", HeaderOfExr(99999, 10));
    EXPECT_THAT(errorOf({vast}, "s.exr"), AllOf(HasSubstr(vast), HasSubstr("cannot have 100000")));
    const std::string rows(40000, '\0'); // longer than the table of row offsets
    const std::string bomb = folder.write("bomb.exr", HeaderOfExr(59999, 59999) + rows);
    EXPECT_THAT(errorOf({bomb}, "s.exr"), AllOf(HasSubstr(bomb), HasSubstr("too short")));
}

TEST_F(StitchPicturesTest, StopsWhenItIsCancelled) {
    OxRenderListener_v1 listener{};
    listener.isCancelled = [](void*) { return 1; };
    Report report(listener);
    const auto paths = tiles(".exr");
    EXPECT_THROW(StitchPictures(paths, folder.path("s.exr"), report), Cancelled);
    EXPECT_FALSE(std::filesystem::exists(folder.path("s.exr")));
}

} // namespace
