// Transforms, cameras and the picture through version 4 of the suite for render outputs.

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>

#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/OxCameraInfoHandle.h>
#include <OxTellarProducers/ScreenSpace.h>

#include "RenderUtils.h"
#include "ScreenScenes.h"
#include "SuiteHandles4.h"

namespace {

using namespace TellarTest;
using OxAttribute::FloatAttribute;
using testing::ElementsAre;

using Ptr = TELLAR::GeometryProducer::Ptr;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// A camera handle that is released automatically.
class Camera {
public:
    Camera(CameraInfoStruct* camera) : camera(camera) {}
    ~Camera() { Utils4().releaseCameraInfo(camera); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;
    CameraInfoStruct* get() const { return camera; }

private:
    CameraInfoStruct* camera;
};

OxAttribute::GroupAttribute MovingX() {
    return Group(
        {{"translate", OxAttribute::DoubleAttribute({{0.0f, {0, 0, 0}}, {1.0f, {2, 0, 0}}}, 3)}});
}

std::vector<double> Row(const double* matrix, int row) {
    return {matrix + 4 * row, matrix + 4 * row + 4};
}

CameraInfoStruct* CameraOf(const Ptr& root, CallError& error) {
    return Utils4().getCameraInfo(At::of(root).get(), kCamera, error.out());
}

Ptr RootBeforeCamera(const Children& lens = UnitLens()) {
    return StaticRoot(CameraScene(CameraAttrs(lens)));
}

// Transforms --------------------------------------------------------------------------------------

TEST(Transforms4, AreMatricesToTheWorldAndToTheParentAtAnyTime) {
    const Ptr root = StaticRoot(
        Location({{"xform", Translation(0, 5, 0)}}, {{"a", Location({{"xform", MovingX()}})}}));
    const At a = At::of(root->getProducerByPath("/root/a"));
    CallError error;
    double matrix[16] = {};
    EXPECT_EQ(Utils4().getWorldMatrix(a.get(), 0.25f, matrix, error.out()), 1);
    EXPECT_TRUE(error.isNull());
    EXPECT_THAT(Row(matrix, 3), ElementsAre(0.5, 5, 0, 1));
    EXPECT_EQ(Utils4().getLocalMatrix(a.get(), 0.25f, matrix, error.out()), 1);
    EXPECT_THAT(Row(matrix, 3), ElementsAre(0.5, 0, 0, 1));
    const float times[] = {0, 1, 7};
    double matrices[48] = {};
    EXPECT_EQ(Utils4().getWorldMatrices(a.get(), times, 3, matrices, error.out()), 1);
    EXPECT_THAT(Row(matrices, 3), ElementsAre(0, 5, 0, 1));
    EXPECT_THAT(Row(matrices + 16, 3), ElementsAre(2, 5, 0, 1));
    EXPECT_THAT(Row(matrices + 32, 3), ElementsAre(2, 5, 0, 1));
}

TEST(Transforms4, AreTheIdentityWhereThereAreNone) {
    const At root = At::of(StaticRoot(Location({})));
    CallError error;
    double matrix[16] = {};
    EXPECT_EQ(Utils4().getWorldMatrix(root.get(), 0, matrix, error.out()), 1);
    EXPECT_THAT(std::vector<double>(matrix, matrix + 16),
                ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
    EXPECT_EQ(Utils4().getTransformTimes(root.get(), nullptr, 0, error.out()), 0);
    EXPECT_TRUE(error.isNull());
}

TEST(Transforms4, TellTheirTimesAsFarAsThereIsRoom) {
    const At a = At::of(StaticRoot(Location({{"xform", MovingX()}})));
    CallError error;
    float times[] = {-1, -1, -1};
    EXPECT_EQ(Utils4().getTransformTimes(a.get(), times, 1, error.out()), 2);
    EXPECT_THAT(times, ElementsAre(0, -1, -1));
    EXPECT_EQ(Utils4().getTransformTimes(a.get(), times, 3, error.out()), 2);
    EXPECT_THAT(times, ElementsAre(0, 1, -1));
}

TEST(Transforms4, RefuseWrongCalls) {
    const At root = At::of(StaticRoot(Location({})));
    CallError error;
    double matrix[16] = {};
    const float times[] = {0};
    EXPECT_EQ(Utils4().getWorldMatrix(nullptr, 0, matrix, error.out()), 0);
    EXPECT_EQ(error.text(), "getWorldMatrix: location is null");
    EXPECT_EQ(error.code(), kOxErrorBadCall);
    EXPECT_EQ(Utils4().getWorldMatrix(root.get(), 0, nullptr, error.out()), 0);
    EXPECT_EQ(error.text(), "getWorldMatrix: matrix is null");
    EXPECT_EQ(Utils4().getWorldMatrix(root.get(), static_cast<float>(kNan), matrix, error.out()),
              0);
    EXPECT_EQ(error.text(), "getWorldMatrix: time is not finite");
    EXPECT_EQ(Utils4().getWorldMatrices(root.get(), nullptr, 1, matrix, error.out()), 0);
    EXPECT_EQ(error.text(), "getWorldMatrices: times is null");
    EXPECT_EQ(Utils4().getWorldMatrices(root.get(), times, -1, matrix, error.out()), 0);
    EXPECT_EQ(error.text(), "getWorldMatrices: count is negative");
    EXPECT_EQ(Utils4().getLocalMatrix(nullptr, 0, matrix, error.out()), 0);
    EXPECT_EQ(error.text(), "getLocalMatrix: location is null");
    EXPECT_EQ(Utils4().getTransformTimes(root.get(), nullptr, 2, error.out()), -1);
    EXPECT_EQ(error.text(), "getTransformTimes: times is null");
    EXPECT_EQ(Utils4().getTransformTimes(nullptr, nullptr, 0, nullptr), -1);
}

// Cameras -----------------------------------------------------------------------------------------

TEST(Cameras4, HaveTheLensOfVersion3) {
    CallError error;
    const Camera camera(CameraOf(RootBeforeCamera(OrthographicLens(8)), error));
    ASSERT_TRUE(error.isNull());
    OxLens lens;
    Utils4().getCameraLens(camera.get(), &lens);
    EXPECT_EQ(lens.fov, 90);
    EXPECT_EQ(lens.nearDistance, 1);
    EXPECT_EQ(lens.farDistance, 101);
    EXPECT_EQ(lens.left, -1);
    EXPECT_EQ(lens.right, 1);
    EXPECT_EQ(lens.bottom, -1);
    EXPECT_EQ(lens.top, 1);
    EXPECT_EQ(lens.isOrthographic, 1);
    EXPECT_EQ(lens.orthographicWidth, 8);
    EXPECT_EQ(Utils4().getCameraFov(camera.get()), 90.0f);
    EXPECT_EQ(Utils4().getCameraNear(camera.get()), 1.0f);
    EXPECT_EQ(Utils4().getCameraFar(camera.get()), 101.0f);
    EXPECT_EQ(Utils4().getCameraLeft(camera.get()), -1.0f);
    EXPECT_EQ(Utils4().getCameraRight(camera.get()), 1.0f);
    EXPECT_EQ(Utils4().getCameraTop(camera.get()), 1.0f);
    EXPECT_EQ(Utils4().getCameraBottom(camera.get()), -1.0f);
    EXPECT_EQ(Utils4().getCameraOrthographic(camera.get()), 1);
    EXPECT_EQ(Utils4().getCameraOrthographicWidth(camera.get()), 8.0f);
    EXPECT_EQ(Utils4().getCameraXform(camera.get())[15], 1.0);
    Utils4().getCameraLens(nullptr, &lens);
    EXPECT_EQ(lens.fov, 0);
}

TEST(Cameras4, AreFoundWhenTheyAreAddedLater) {
    CallError error;
    EXPECT_EQ(CameraOf(StaticRoot(CameraScene({})), error), nullptr);
    EXPECT_TRUE(error.isNull());
    Children noLens = Without(UnitLens(), "fov");
    EXPECT_EQ(CameraOf(RootBeforeCamera(noLens), error), nullptr);
    EXPECT_TRUE(error.isNull());
    // The producers below have one path and, to version 3's cache, one hash.
    const Ptr root = RootBeforeCamera();
    const Camera first(CameraOf(root, error));
    const Camera second(CameraOf(root, error));
    EXPECT_NE(TELLAR::OxHandleToCameraInfo(first.get()),
              TELLAR::OxHandleToCameraInfo(second.get()));
}

TEST(Cameras4, AreCountedAndSharedWithVersion3) {
    CallError error;
    CameraInfoStruct* const camera = CameraOf(RootBeforeCamera(), error);
    Utils4().retainCameraInfo(camera);
    Utils().releaseCameraInfo(camera);
    EXPECT_EQ(Utils().getCameraFov(camera), 90.0f);
    Utils4().releaseCameraInfo(camera);
    Utils4().retainCameraInfo(nullptr);
    Utils4().releaseCameraInfo(nullptr);
}

TEST(Cameras4, ProjectAsTheLibraryDoes) {
    CallError error;
    const Camera camera(CameraOf(RootBeforeCamera(), error));
    double matrix[16] = {};
    EXPECT_EQ(Utils4().getCameraProjection(camera.get(), 640, 480, matrix, error.out()), 1);
    const Matrix expected =
        TELLAR::GetProjectionMatrix(*TELLAR::OxHandleToCameraInfo(camera.get()), 640.0f / 480.0f);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(matrix[i], expected.getValue()[i]) << i;
    EXPECT_EQ(Utils4().getCameraProjection(camera.get(), 0, 480, matrix, error.out()), 0);
    EXPECT_EQ(error.text(), "getCameraProjection: width is less than 1");
    EXPECT_EQ(Utils4().getCameraProjection(camera.get(), 640, 0, matrix, error.out()), 0);
    EXPECT_EQ(error.text(), "getCameraProjection: height is less than 1");
    EXPECT_EQ(Utils4().getCameraProjection(nullptr, 640, 480, matrix, error.out()), 0);
    EXPECT_EQ(error.text(), "getCameraProjection: camera is null");
}

/// Points in front of a camera that stands and looks somewhere, and behind it.
const std::vector<Point> kPoints = {{1, 2, -3}, {0.1, 0.2, 0.3}, {-7, 1e-9, -50}, {4, 5, 6}};

Ptr RootBeforePlacedCamera() {
    Children camera = CameraAttrs(With(UnitLens(), "right", Double(1.5)));
    camera.emplace_back("xform", MatrixAttr(Placed(0.3, -0.2, {1, 2, 3})));
    return StaticRoot(
        CameraScene(camera, {}, {{"renderSettings", Group({{"resolution", Text("hd_720")}})}}));
}

TEST(Cameras4, GiveTheNdcOfVersion3) {
    TELLAR::ClearCameraInfoCache();
    CallError error;
    const Ptr root = RootBeforePlacedCamera();
    const Camera camera(CameraOf(root, error));
    std::vector<Point> points = kPoints;
    EXPECT_EQ(Utils4().convertPointsToNdc(camera.get(), &points[0].x, 4, error.out()), 1);
    std::vector<Point> expected = kPoints;
    TELLAR::ConvertPointListToNDC(root->getProducerByPath(kGeo), kCamera, expected);
    EXPECT_EQ(points, expected) << "to the last bit";
    EXPECT_EQ(Utils4().convertPointsToNdc(camera.get(), nullptr, 0, error.out()), 1);
    EXPECT_EQ(Utils4().convertPointsToNdc(camera.get(), nullptr, 1, error.out()), 0);
    EXPECT_EQ(error.text(), "convertPointsToNdc: points is null");
    EXPECT_EQ(Utils4().convertPointsToNdc(nullptr, &points[0].x, 1, error.out()), 0);
    EXPECT_EQ(error.text(), "convertPointsToNdc: camera is null");
}

TEST(Cameras4, GiveThePixelsOfTheScreenMatrix) {
    TELLAR::ClearCameraInfoCache();
    CallError error;
    const Ptr root = RootBeforePlacedCamera();
    const Camera camera(CameraOf(root, error));
    std::vector<Point> points = kPoints;
    EXPECT_EQ(Utils4().convertPointsToPixels(camera.get(), 1280, 720, &points[0].x, 4, error.out()),
              1);
    const Matrix toScreen = TELLAR::GetLocalToScreenMatrix(root->getProducerByPath(kGeo));
    for (std::size_t i = 0; i < points.size(); ++i)
        EXPECT_EQ(points[i], kPoints[i] * toScreen) << "to the last bit, point " << i;
    EXPECT_EQ(Utils4().convertPointsToPixels(camera.get(), 1280, -1, &points[0].x, 1, error.out()),
              0);
    EXPECT_EQ(error.text(), "convertPointsToPixels: height is less than 1");
    EXPECT_EQ(Utils4().convertPointsToPixels(nullptr, 1, 1, &points[0].x, 1, error.out()), 0);
    EXPECT_EQ(error.text(), "convertPointsToPixels: camera is null");
}

TEST(Cameras4, CountThePixelsOfABound) {
    CallError error;
    const Camera camera(CameraOf(RootBeforeCamera(), error));
    const double bound[] = {-1, 1, -1, 1, -2, -2};
    EXPECT_EQ(Utils4().getPixelAreaOfBound(camera.get(), 512, 512, bound, nullptr, error.out()),
              256 * 256);
    const double atOrigin[] = {-1, 1, -1, 1, 0, 0};
    const Matrix back = Matrix().setTranslation(Point(0, 0, -2));
    EXPECT_EQ(Utils4().getPixelAreaOfBound(camera.get(), 512, 512, atOrigin, back.getValue(),
                                           error.out()),
              256 * 256);
    const double around[] = {-9, 9, -9, 9, -9, 9};
    EXPECT_EQ(
        Utils4().getPixelAreaOfBound(camera.get(), 1 << 30, 1 << 30, around, nullptr, error.out()),
        std::int64_t{1} << 60);
    const double none[] = {kNan, kNan, kNan, kNan, kNan, kNan};
    EXPECT_EQ(Utils4().getPixelAreaOfBound(camera.get(), 512, 512, none, nullptr, error.out()), 0);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(Utils4().getPixelAreaOfBound(camera.get(), 512, 512, nullptr, nullptr, error.out()),
              -1);
    EXPECT_EQ(error.text(), "getPixelAreaOfBound: bound is null");
    EXPECT_EQ(Utils4().getPixelAreaOfBound(nullptr, 512, 512, bound, nullptr, error.out()), -1);
    EXPECT_EQ(error.text(), "getPixelAreaOfBound: camera is null");
}

TEST(Cameras4, CountThePixelsOfALocationAndTellWhatIsMissing) {
    CallError error;
    const auto areaOf = [&](const Children& attrs, const char* camera, const char* resolution) {
        const At geo = At::of(GeoBeforeUnitCamera(attrs));
        return Utils4().getPixelAreaThroughCamera(geo.get(), camera, resolution, error.out());
    };
    const Children bound = {{"bound", Doubles({-1, 1, -1, 1, -2, -2})}};
    EXPECT_EQ(areaOf(bound, kCamera, "square_512"), 256 * 256);
    EXPECT_EQ(areaOf({}, kCamera, "square_512"), -1);
    EXPECT_EQ(error.text(), "\"/root/world/geo\" has no \"bound\" of six doubles");
    EXPECT_EQ(error.code(), kOxErrorValue);
    EXPECT_STREQ(error.facts().location, kGeo);
    EXPECT_STREQ(error.facts().attribute, "bound");
    EXPECT_EQ(areaOf(bound, "/root/c", "square_512"), -1);
    EXPECT_EQ(error.text(), "There is no camera at \"/root/c\"");
    EXPECT_EQ(areaOf(bound, kCamera, "cinema"), -1);
    EXPECT_EQ(error.text(), "FileOut: Error querying resolution table for resolution: 'cinema'.");
    EXPECT_STREQ(error.facts().attribute, "resolution");
    EXPECT_EQ(areaOf(bound, nullptr, "square_512"), -1);
    EXPECT_EQ(error.text(), "getPixelAreaThroughCamera: cameraPath is null");
    EXPECT_EQ(Utils4().getPixelAreaThroughCamera(nullptr, kCamera, "square_512", error.out()), -1);
    EXPECT_EQ(error.text(), "getPixelAreaThroughCamera: location is null");
}

TEST(Cameras4, FindTheSampleTimesOfAShutter) {
    CallError error;
    const float times[] = {3, 1, 0, 2, 1};
    const FloatAttribute relevant =
        Owned(Utils4().getSampleTimesRelevantToShutterRange(times, 5, 1.5f, 2.5f, error.out()));
    const auto sample = relevant.getNearestSample(0.0f);
    EXPECT_THAT(std::vector<float>(sample.begin(), sample.end()), ElementsAre(1, 2, 3));
    EXPECT_EQ(Utils4().getSampleTimesRelevantToShutterRange(times, -1, 0, 1, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getSampleTimesRelevantToShutterRange: count is negative");
}

// The picture -------------------------------------------------------------------------------------

TEST(Picture4, IsToldByAnyLocationOfTheScene) {
    const auto settings = Group({{"cameraName", Text("/root/c")}, {"resolution", Text("hd_720")}});
    const At geo = At::of(GeoBeforeUnitCamera({}, {{"renderSettings", settings}}));
    CallError error;
    std::int32_t width = 0;
    std::int32_t height = 0;
    EXPECT_EQ(TextOwned(Utils4().getRenderResolution(geo.get(), &width, &height, error.out())),
              "hd_720");
    EXPECT_EQ(width, 1280);
    EXPECT_EQ(height, 720);
    EXPECT_EQ(TextOwned(Utils4().getRenderResolution(geo.get(), nullptr, nullptr, error.out())),
              "hd_720");
    EXPECT_EQ(TextOwned(Utils4().getCameraPath(geo.get(), error.out())), "/root/c");
    EXPECT_TRUE(error.isNull());
}

TEST(Picture4, NamesTheSettingAtFault) {
    const At root = At::of(RootWith({{"resolution", Text("cinema")}}));
    CallError error;
    EXPECT_EQ(Utils4().getRenderResolution(root.get(), nullptr, nullptr, error.out()), nullptr);
    EXPECT_EQ(error.code(), kOxErrorValue);
    EXPECT_STREQ(error.facts().attribute, "renderSettings.resolution");
    EXPECT_EQ(Utils4().getRenderResolution(nullptr, nullptr, nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getRenderResolution: location is null");
    EXPECT_EQ(Utils4().getCameraPath(nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getCameraPath: location is null");
    EXPECT_EQ(Utils4().getCameraInfo(root.get(), nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getCameraInfo: cameraPath is null");
}

TEST(Picture4, HasPathsForTilesAndForFilesThatAreRendered) {
    const At root = At::of(RootWith(Output(
        {{"rendererSettings", Group({{"tempRenderLocation", Text("/tmp/beauty.####.exr")}})}},
        {{"tileRender", OxAttribute::IntAttribute({2, 3}, 2)}})));
    const Handle asIn3 = Handle::retaining(root.get());
    CallError error;
    EXPECT_EQ(TextOwned(Utils4().getTilePath(root.get(), "/out/b.exr", error.out())),
              TextOwned(Utils().getTilePath(asIn3.get(), "/out/b.exr")));
    EXPECT_EQ(TextOwned(Utils4().getTempRenderLocation(root.get(), "beauty", 12, error.out())),
              "/tmp/beauty.0012.exr");
    EXPECT_EQ(Utils4().getTilePath(root.get(), nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getTilePath: path is null");
    EXPECT_EQ(Utils4().getTilePath(nullptr, "a", error.out()), nullptr);
    EXPECT_EQ(error.text(), "getTilePath: location is null");
    EXPECT_EQ(Utils4().getTempRenderLocation(root.get(), nullptr, 1, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getTempRenderLocation: outputName is null");
}

} // namespace
