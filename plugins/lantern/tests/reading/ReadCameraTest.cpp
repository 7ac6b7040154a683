#include "reading/Settings.h"

#include <gmock/gmock.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::SizeIs;

std::string SettingsJson(const std::string& settings) {
    return SceneJson("", "\"renderSettings\": {" + settings + "}");
}

Framing ReadFramingOf(const std::string& settings) {
    return ReadSilently(SettingsJson(settings)).framing;
}

std::string ErrorOfSettings(const std::string& settings) {
    return ReadErrorOf(SettingsJson(settings));
}

/// The window as "x0 y0 x1 y1".
std::string Text(const Window& window) {
    return std::to_string(window.x0) + " " + std::to_string(window.y0) + " " +
           std::to_string(window.x1) + " " + std::to_string(window.y1);
}

TEST(ReadCamera, HasItsLensAndTransform) {
    const SceneData scene = ReadSilently(SceneJson("", "", R"("xform.translate": [1.0, 2, 3],
        "geometry": {"fov": 45.0, "near": 0.5, "far": 200.0, "left": -1.0, "right": 0.5,
                     "top": 0.75, "bottom": -0.25, "orthographicWidth": 20.0})"));
    const Camera& camera = scene.camera;
    EXPECT_FALSE(camera.isOrthographic);
    EXPECT_EQ(camera.fov, 45);
    EXPECT_EQ(camera.near, 0.5f);
    EXPECT_EQ(camera.far, 200);
    EXPECT_EQ(camera.left, -1);
    EXPECT_EQ(camera.right, 0.5f);
    EXPECT_EQ(camera.top, 0.75f);
    EXPECT_EQ(camera.bottom, -0.25f);
    EXPECT_EQ(camera.orthographicWidth, 20);
    ASSERT_THAT(camera.toWorld, SizeIs(1));
    EXPECT_EQ(camera.toWorld[0][3][2], 3);
}

TEST(ReadCamera, HasTheTransformsOfTheShutterInterval) {
    const SceneData scene = ReadSilently(SceneJson(
        "", R"("renderSettings": {"shutterOpen": 0.0, "shutterClose": 0.5})",
        R"("xform.translate": {"$type": "double", "times": [0, 1], "samples": [[0,0,0], [4,0,0]]}, )" +
            std::string(kLens)));
    ASSERT_THAT(scene.camera.toWorld, SizeIs(2));
    EXPECT_EQ(scene.camera.toWorld[0][3][0], 0);
    EXPECT_EQ(scene.camera.toWorld[1][3][0], 2);
}

TEST(ReadCamera, HasTheLensOfTheFrame) {
    const std::string zoom = R"("geometry": {"near": 0.1, "far": 100.0, "left": -1.0, "right": 1.0,
        "top": 1.0, "bottom": {"$type": "double", "times": [0, 10], "samples": [[-1], [-2]]},
        "fov": {"$type": "double", "times": [0, 10], "samples": [[40], [60]]}})";
    const Camera camera = ReadSilently(SceneJson("", "", zoom), {2.5f, 1}).camera;
    EXPECT_EQ(camera.fov, 45);
    EXPECT_EQ(camera.bottom, -1.25f);
    EXPECT_EQ(camera.top, 1);
    EXPECT_EQ(ReadSilently(SceneJson("", "", zoom)).camera.fov, 40);
}

TEST(ReadCamera, HasTheFocusOfTheFrame) {
    EXPECT_EQ(ReadSilently(SceneJson("")).camera.apertureRadius, 0);
    const std::string pull = R"("geometry": {"fov": 40.0, "near": 0.1, "far": 100.0, "left": -1.0,
        "right": 1.0, "top": 1.0, "bottom": -1.0, "apertureRadius": 0.25,
        "focusDistance": {"$type": "double", "times": [0, 10], "samples": [[4], [8]]}})";
    const Camera camera = ReadSilently(SceneJson("", "", pull), {2.5f, 1}).camera;
    EXPECT_EQ(camera.apertureRadius, 0.25f);
    EXPECT_EQ(camera.focusDistance, 5);
}

TEST(ReadCamera, IsTheOneThatTheSettingsName) {
    EXPECT_EQ(ErrorOfSettings(R"("cameraName": "/root/world/cam/other")"),
              "the camera \"/root/world/cam/other\" is not in the scene");
    EXPECT_EQ(ErrorOfSettings(R"("cameraName": "/root/world")"),
              "the camera \"/root/world\" is not in the scene");
}

TEST(ReadCamera, NamesWhatALensLacks) {
    EXPECT_EQ(ReadErrorOf(SceneJson("", "", R"("geometry": {"fov": 45.0, "near": 0.1, "far": 9.0,
                  "left": -1.0, "right": 1.0})")),
              "the camera \"/root/world/cam/camera\" has no \"geometry.top\", "
              "\"geometry.bottom\"");
}

TEST(ReadCamera, RefusesInvalidLenses) {
    const auto errorOf = [](const std::string& lens) {
        return ReadErrorOf(SceneJson("", "", "\"geometry\": {" + lens + "}"));
    };
    const std::string planes = R"("near": 0.1, "far": 100.0, )";
    const std::string window = R"("left": -1.0, "right": 1.0, "top": 1.0, "bottom": -1.0)";
    EXPECT_EQ(errorOf(R"("fov": 180.0, )" + planes + window),
              "the camera \"/root/world/cam/camera\" has a fov of 180 degrees");
    EXPECT_EQ(errorOf(R"("fov": 45.0, )" + planes +
                      R"("left": 1.0, "right": 1.0, "top": 1.0, "bottom": -1.0)"),
              "the camera \"/root/world/cam/camera\" has a screen window without a size");
    EXPECT_EQ(errorOf(R"("projection": "orthographic", "fov": 45.0, )" + planes + window),
              "the camera \"/root/world/cam/camera\" has an orthographicWidth of 0");
    EXPECT_EQ(errorOf(R"("fov": {"$type": "double", "values": ["nan"]}, )" + planes + window),
              "the camera \"/root/world/cam/camera\" has a lens that is not finite");
    const std::string sound = R"("fov": 45.0, )" + planes + window;
    EXPECT_EQ(errorOf(sound + R"(, "apertureRadius": -0.5)"),
              "the camera \"/root/world/cam/camera\" has an apertureRadius of -0.5");
    EXPECT_EQ(errorOf(sound + R"(, "focusDistance": 0.0)"),
              "the camera \"/root/world/cam/camera\" has a focusDistance of 0");
    EXPECT_EQ(
        ReadErrorOf(SceneJson("", "", R"("xform.scale": [0.0, 1, 1], )" + std::string(kLens))),
        "the camera \"/root/world/cam/camera\" has a transform that cannot be inverted");
    EXPECT_EQ(
        ReadErrorOf(SceneJson("", "", R"("xform.translate": [1e19, 0, 0], )" + std::string(kLens))),
        "the camera \"/root/world/cam/camera\" has a transform with the number 1e+19, which is too "
        "large");
}

TEST(ReadFraming, IsTheWholeResolution) {
    const Framing framing = ReadFramingOf(R"("resolution": "hd_720")");
    EXPECT_EQ(framing.width, 1280);
    EXPECT_EQ(framing.height, 720);
    EXPECT_EQ(Text(framing.window), "0 0 1280 720");
    EXPECT_EQ(Text(ReadFramingOf("").window), "0 0 512 512");
}

TEST(ReadFraming, RefusesUnknownResolutions) {
    EXPECT_EQ(ErrorOfSettings(R"("resolution": "cinema")"),
              "the resolution \"cinema\" is not known");
}

TEST(ReadFraming, CropsAdjacentWindowsWithoutSharedPixels) {
    EXPECT_EQ(Text(ReadFramingOf(R"("cropWindow": [0.0, 0.5, 0.25, 1.0])").window),
              "0 128 256 512");
    // A third of 512 is 170.67: the center of pixel 170 lies before it.
    EXPECT_EQ(Text(ReadFramingOf(R"("cropWindow": [0.0, 0.33333334, 0.0, 1.0])").window),
              "0 0 171 512");
    EXPECT_EQ(Text(ReadFramingOf(R"("cropWindow": [0.33333334, 1.0, 0.0, 1.0])").window),
              "171 0 512 512");
    EXPECT_EQ(Text(ReadFramingOf(R"("cropWindow": [-1, 2, -1e30, 1e30])").window), "0 0 512 512");
}

TEST(ReadFraming, RefusesEmptyCropWindows) {
    EXPECT_EQ(ErrorOfSettings(R"("cropWindow": [0.5, 0.25, 0.0, 1.0])"),
              "\"renderSettings.cropWindow\" 0.5 0.25 0 1 leaves nothing of the picture");
    EXPECT_EQ(ErrorOfSettings(R"("cropWindow": [2, 3, 0, 1])"),
              "\"renderSettings.cropWindow\" 2 3 0 1 leaves nothing of the picture");
    const std::string noNumbers = "\"renderSettings.cropWindow\" must be four finite numbers";
    EXPECT_EQ(ErrorOfSettings(R"("cropWindow": [0.5, 0.25])"), noNumbers);
    EXPECT_EQ(ErrorOfSettings(R"("cropWindow": "half")"), noNumbers);
    EXPECT_EQ(ErrorOfSettings(R"("cropWindow": {"$type": "float", "values": [0, "nan", 0, 1]})"),
              noNumbers);
}

TEST(ReadFraming, CutsAdjacentTilesWithoutGaps) {
    EXPECT_EQ(Text(ReadFramingOf(R"("tileRender": [0, 0, 3, 2])").window), "0 0 170 256");
    EXPECT_EQ(Text(ReadFramingOf(R"("tileRender": [1, 0, 3, 2])").window), "170 0 341 256");
    EXPECT_EQ(Text(ReadFramingOf(R"("tileRender": [2, 1, 3, 2])").window), "341 256 512 512");
}

TEST(ReadFraming, CropsTiles) {
    EXPECT_EQ(
        Text(ReadFramingOf(R"("tileRender": [1, 1, 2, 2], "cropWindow": [0.0, 0.75, 0.25, 1.0])")
                 .window),
        "256 256 384 512");
    EXPECT_EQ(
        ErrorOfSettings(R"("tileRender": [1, 1, 2, 2], "cropWindow": [0.0, 0.25, 0.25, 1.0])"),
        "\"renderSettings.cropWindow\" leaves nothing of the tile 1 1 2 2");
}

TEST(ReadFraming, RefusesInvalidTiles) {
    EXPECT_EQ(ErrorOfSettings(R"("tileRender": [1, 2])"),
              "\"renderSettings.tileRender\" 1 2 needs the numbers of columns and rows, too");
    for (const char* tile : {"2 0 2 2", "0 -1 2 2", "0 0 0 1", "0 0 1 -1"}) {
        SCOPED_TRACE(tile);
        std::string list = tile;
        std::replace(list.begin(), list.end(), ' ', ',');
        EXPECT_EQ(ErrorOfSettings("\"tileRender\": [" + list + "]"),
                  "\"renderSettings.tileRender\" " + std::string(tile) +
                      " is no tile of the picture");
    }
    const std::string noTile =
        "\"renderSettings.tileRender\" must be four integers: column, row, columns, rows";
    EXPECT_EQ(ErrorOfSettings(R"("tileRender": [1, 2, 3])"), noTile);
    EXPECT_EQ(ErrorOfSettings(R"("tileRender": [0.0, 0, 1, 1])"), noTile);
    EXPECT_EQ(ErrorOfSettings(R"("tileRender": [0, 0, 2147483647, 1])"),
              "\"renderSettings.tileRender\" 0 0 2147483647 1 has no pixel of 512 x 512");
}

TEST(ReadQuality, HasTheValuesOfTheSettings) {
    const Quality quality = ReadSilently(SettingsJson(R"("lantern": {"samples": 16, "maxDepth": 4,
        "exposure": -1.5, "clampIndirect": 0})"))
                                .quality;
    EXPECT_EQ(quality.samples, 16);
    EXPECT_EQ(quality.maxDepth, 4);
    EXPECT_EQ(quality.exposure, -1.5f);
    EXPECT_EQ(quality.clampIndirect, 0);
    EXPECT_EQ(ReadSilently(SceneJson("")).quality.samples, 64);
}

TEST(ReadQuality, RefusesValuesOutOfRange) {
    EXPECT_EQ(ErrorOfSettings(R"("lantern.samples": 0)"),
              "\"renderSettings.lantern.samples\" must be from 1 to 1000000, not 0");
    EXPECT_EQ(ErrorOfSettings(R"("lantern.samples": 2.5)"),
              "\"renderSettings.lantern.samples\" must be a whole number, not 2.5");
    EXPECT_EQ(ErrorOfSettings(R"("lantern.maxDepth": 101)"),
              "\"renderSettings.lantern.maxDepth\" must be from 1 to 100, not 101");
    EXPECT_EQ(ErrorOfSettings(R"("lantern.clampIndirect": -1)"),
              "\"renderSettings.lantern.clampIndirect\" must be from 0 to 1e+09, not -1");
    EXPECT_EQ(ErrorOfSettings(R"("lantern.exposure": "bright")"),
              "\"renderSettings.lantern.exposure\" must be one finite number");
}

TEST(ReadScene, RefusesAFrameThatIsNotFinite) {
    EXPECT_EQ(ReadErrorOf(SceneJson(""), {std::nanf(""), 1}), "the frame is not a finite number");
}

TEST(ReadScene, NamesAMissingSuite) {
    OxPluginHost host = LanternTest::Host();
    host.getSuite = [](const char* name, unsigned int version) {
        return name == std::string("AttributeHost") ? OxGetPluginHost()->getSuite(name, version)
                                                    : nullptr;
    };
    Report report;
    try {
        lantern::ReadScene(host, nullptr, {}, report);
        FAIL();
    } catch (const RenderError& error) {
        EXPECT_STREQ(error.what(), "the host has no suite \"ScenegraphIteratorHost\" of version 4");
    }
}

} // namespace
