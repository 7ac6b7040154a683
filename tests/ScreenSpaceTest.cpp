#include <OxTellarProducers/ScreenSpace.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CameraInfo.h>

#include "CameraScenes.h"
#include "ErrorOf.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::DoubleAttribute;
using TELLAR::ConvertPointListToNDC;
using TELLAR::GetLocalToScreenMatrix;
using TELLAR::GetPixelAreaThroughCamera;

using Matrix = Imath::Matrix44<double>;
using Point = Imath::Vec3<double>;
using Ptr = TELLAR::GeometryProducer::Ptr;

constexpr double kPi = 3.14159265358979323846;

class ScreenSpace : public testing::Test {
protected:
    void SetUp() override { TELLAR::ClearCameraInfoCache(); }
};
using LocalToScreen = ScreenSpace;
using PointsToNdc = ScreenSpace;
using PixelArea = ScreenSpace;

Ptr GeoOf(const OxAttribute::GroupAttribute& scene) {
    return StaticRoot(scene)->getProducerByPath(kGeo);
}

/// The location of a scene whose camera has the unit lens and stands at the origin.
Ptr GeoBeforeUnitCamera(const Children& geoAttrs = {}, const Children& rootAttrs = {}) {
    return GeoOf(CameraScene(CameraAttrs(UnitLens()), geoAttrs, rootAttrs));
}

Children OrthographicLens(double width) {
    return With(With(UnitLens(), "projection", Text("orthographic")), "orthographicWidth",
                Double(width));
}

/// A location before a camera at (0, 0, 5) whose transform has no inverse.
Ptr GeoBeforeSingularCamera(const Children& geoAttrs = {}) {
    Children camera = CameraAttrs(UnitLens());
    camera.emplace_back("xform", Group({{"translate", DoubleAttribute({0.0, 0.0, 5.0}, 3)},
                                        {"scale", DoubleAttribute({0.0, 1.0, 1.0}, 3)}}));
    return GeoOf(CameraScene(camera, geoAttrs));
}

Point NdcOf(const Ptr& geo, const Point& point) {
    std::vector<Point> points{point};
    ConvertPointListToNDC(geo, kCamera, points);
    return points[0];
}

void ExpectNear(const Point& actual, const Point& expected, double tolerance = 1e-12) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

std::string ErrorOfScreenMatrix(const Ptr& producer) {
    return ErrorOf([&] { GetLocalToScreenMatrix(producer); });
}

Attribute MatrixAttr(const Matrix& matrix) {
    return Group({{"matrix", DoubleAttribute(matrix.getValue(), 16, 16)}});
}

/// A placement: turned about two axes, then moved.
Matrix Placed(double turn, double tilt, const Point& position) {
    return Matrix().rotate(Point(tilt, 0, 0)) * Matrix().rotate(Point(0, turn, 0)) *
           Matrix().setTranslation(position);
}

// Screen matrix -----------------------------------------------------------------------------------

TEST_F(LocalToScreen, TakesTheViewToPixelsWithoutAFlip) {
    const Matrix matrix = GetLocalToScreenMatrix(GeoBeforeUnitCamera());
    ExpectNear(Point(0, 0, -1) * matrix, {256, 256, 0}, 1e-4);
    ExpectNear(Point(-1, -1, -1) * matrix, {0, 0, 0}, 1e-4);
    ExpectNear(Point(1, 1, -1) * matrix, {512, 512, 0}, 1e-4);
    ExpectNear(Point(101, 0, -101) * matrix, {512, 256, 1}, 1e-4);
}

TEST_F(LocalToScreen, UsesTheResolutionAndCameraOfTheRootsSettings) {
    const auto settings =
        Group({{"cameraName", Text("/root/world/geo")}, {"resolution", Text("hd_720")}});
    const Ptr geo = GeoOf(CameraScene({}, CameraAttrs(UnitLens()), {{"renderSettings", settings}}));
    const Matrix matrix = GetLocalToScreenMatrix(geo);
    ExpectNear(Point(1, 0, -1) * matrix, {1280, 360, 0}, 1e-3);
    // The same angle up is farther in pixels than the picture is high: they are square.
    ExpectNear(Point(0, 0.5625, -1) * matrix, {640, 720, 0}, 1e-3);
}

TEST_F(LocalToScreen, PutsTheTransformsOfLocationAndCameraTogether) {
    Children camera = CameraAttrs(UnitLens());
    camera.emplace_back("xform", Translation(10, 0, 0));
    const Ptr geo = GeoOf(
        CameraScene(camera, {{"xform", Translation(8, 0, -3)}}, {{"xform", Translation(0, 5, 0)}}));
    // Local (3, 0, 1) is at (11, 5, -2); the camera at (10, 5, 0) sees it at (1, 0, -2).
    ExpectNear(Point(3, 0, 1) * GetLocalToScreenMatrix(geo), {384, 256, 0.505}, 1e-4);
}

TEST_F(LocalToScreen, TakesACameraThatCannotBeInvertedForOneAtTheOrigin) {
    Children camera = CameraAttrs(UnitLens());
    camera.emplace_back("xform", Group({{"scale", DoubleAttribute({0.0, 1.0, 1.0}, 3)}}));
    const Ptr geo = GeoOf(CameraScene(camera));
    ExpectNear(Point(1, 0, -1) * GetLocalToScreenMatrix(geo), {512, 256, 0}, 1e-4);
}

TEST_F(LocalToScreen, TakesTheDefaultCameraWhenTheNameHasNoValue) {
    const auto settings = Group({{"cameraName", Texts({})}});
    const Ptr geo = GeoBeforeUnitCamera({}, {{"renderSettings", settings}});
    ExpectNear(Point(0, 0, -1) * GetLocalToScreenMatrix(geo), {256, 256, 0}, 1e-4);
}

TEST_F(LocalToScreen, NeedsAProducer) {
    EXPECT_EQ(ErrorOfScreenMatrix(nullptr), "Invalid target producer provided.");
}

TEST_F(LocalToScreen, NeedsACamera) {
    EXPECT_EQ(ErrorOfScreenMatrix(GeoOf(CameraScene({}))), "Could not get camera info.");
}

TEST_F(LocalToScreen, NeedsAResolutionThatTheTableHas) {
    const auto settings = Group({{"resolution", Text("cinema")}});
    EXPECT_EQ(ErrorOfScreenMatrix(GeoBeforeUnitCamera({}, {{"renderSettings", settings}})),
              "FileOut: Error querying resolution table for resolution: 'cinema'.");
}

TEST_F(LocalToScreen, NeedsNoResolutionWhenTheScenesHasNone) {
    ExpectNear(Point(1, 1, -1) * GetLocalToScreenMatrix(GeoBeforeUnitCamera()), {512, 512, 0},
               1e-4);
}

// Points ------------------------------------------------------------------------------------------

TEST_F(PointsToNdc, AreHalvesInTheMiddleAndWholeAtTheEdges) {
    const Ptr geo = GeoBeforeUnitCamera();
    ExpectNear(NdcOf(geo, {0, 0, -1}), {0.5, 0.5, 0});
    ExpectNear(NdcOf(geo, {1, 0, -1}), {1, 0.5, 0});
    ExpectNear(NdcOf(geo, {0, -1, -1}), {0.5, 0, 0});
    EXPECT_DOUBLE_EQ(NdcOf(geo, {0, 0, -101}).z, 1.0);
    ExpectNear(NdcOf(geo, {-4, 2, -2}), {-0.5, 1, 0.01});
}

TEST_F(PointsToNdc, KeepTheirOrder) {
    std::vector<Point> points{{1, 0, -1}, {0, 0, -1}, {-1, 0, -1}};
    ConvertPointListToNDC(GeoBeforeUnitCamera(), kCamera, points);
    EXPECT_NEAR(points[0].x, 1.0, 1e-12);
    EXPECT_NEAR(points[1].x, 0.5, 1e-12);
    EXPECT_NEAR(points[2].x, 0.0, 1e-12);
}

TEST_F(PointsToNdc, AreMirroredBehindTheCamera) {
    ExpectNear(NdcOf(GeoBeforeUnitCamera(), {1, 0.5, 1}), {0, 0.25, -0.02});
}

TEST_F(PointsToNdc, BesideTheCameraAreWhatTheAnglesAre) {
    const Ptr geo = GeoBeforeUnitCamera();
    const Point beside = NdcOf(geo, {2, -3, 0});
    const double h = std::tan(90.0 / 180.0 * kPi * 0.5);
    EXPECT_DOUBLE_EQ(beside.x, (std::tan(std::atan2(2.0, 0.0)) / h + 1) / 2);
    EXPECT_DOUBLE_EQ(beside.y, (std::tan(std::atan2(-3.0, 0.0)) / h + 1) / 2);
    EXPECT_DOUBLE_EQ(beside.z, -1.0 / 100.0);
    // At the camera itself there is no angle at all.
    ExpectNear(NdcOf(geo, {0, 0, 0}), {0.5, 0.5, -0.01});
}

TEST_F(PointsToNdc, OfAnOrthographicCameraDoNotDependOnDepth) {
    const Ptr geo = GeoOf(CameraScene(CameraAttrs(OrthographicLens(8))));
    for (const double depth : {1.0, 51.0, 101.0, -3.0}) {
        SCOPED_TRACE(depth);
        ExpectNear(NdcOf(geo, {2, -4, -depth}), {0.75, 0, (depth - 1) / 100});
    }
}

TEST_F(PointsToNdc, TakeTheRangeOfDepthInSinglePrecision) {
    const Ptr geo = GeoOf(CameraScene(CameraAttrs(With(UnitLens(), "near", Double(0.1)))));
    const float range = 101.0f - 0.1f;
    EXPECT_DOUBLE_EQ(NdcOf(geo, {0, 0, -7}).z, (7.0 - double(0.1f)) / range);
    EXPECT_GT(std::abs(double(range) / (101.0 - double(0.1f)) - 1), 1e-9);
}

TEST_F(PointsToNdc, AreDividedByTheirWeightInTheWorld) {
    Matrix half;
    half[3][3] = 2.0;
    const Ptr geo = GeoBeforeUnitCamera({{"xform", MatrixAttr(half)}});
    ExpectNear(NdcOf(geo, {1, 0, -2}), {0.75, 0.5, 0});
}

TEST_F(PointsToNdc, AreSeenAlongTheAxesOfTheWorldByACameraThatCannotBeInverted) {
    const Ptr geo = GeoBeforeSingularCamera();
    ExpectNear(NdcOf(geo, {1, 0, 4}), {1, 0.5, 0});
    ExpectNear(NdcOf(geo, {0, -1, 3}), {0.5, 0.25, 0.01});
}

TEST_F(PointsToNdc, StayAsTheyAreWithoutACameraOrAProducer) {
    std::vector<Point> points{{1, 2, 3}};
    ConvertPointListToNDC(GeoBeforeUnitCamera(), "/root/world/cam/other", points);
    EXPECT_EQ(points[0], Point(1, 2, 3));
    ConvertPointListToNDC(nullptr, kCamera, points);
    EXPECT_EQ(points[0], Point(1, 2, 3));
}

TEST_F(PointsToNdc, ThatAreNumbersNoLongerStaySo) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Point point = NdcOf(GeoBeforeUnitCamera(), {nan, 0, -1});
    EXPECT_TRUE(std::isnan(point.x));
}

TEST_F(PointsToNdc, TakeAnEmptyList) {
    std::vector<Point> points;
    ConvertPointListToNDC(GeoBeforeUnitCamera(), kCamera, points);
    EXPECT_TRUE(points.empty());
}

/// The formula word for word, from the numbers that the scene was made of.
struct StatedFormula {
    Matrix localToWorld;
    Matrix cameraToWorld;
    double fov, near, far, left, right, bottom, top;

    Point operator()(const Point& local) const {
        Point world;
        localToWorld.multVecMatrix(local, world);
        const Matrix m = cameraToWorld.inverse().transposed();
        const Point rightAxis = Point(m[0][0], m[0][1], m[0][2]).normalized();
        const Point upAxis = Point(m[1][0], m[1][1], m[1][2]).normalized();
        const Point forward = Point(-m[2][0], -m[2][1], -m[2][2]).normalized();
        const Point away =
            world - Point(cameraToWorld[3][0], cameraToWorld[3][1], cameraToWorld[3][2]);
        const double depth = away.dot(forward);
        const Point across = away - forward * depth;
        const double h = std::tan(fov / 180.0 * kPi * 0.5);
        const double x = std::tan(std::atan2(across.dot(rightAxis), depth)) / h;
        const double y = std::tan(std::atan2(across.dot(upAxis), depth)) / h;
        return {(x - left) / (right - left), (y - bottom) / (top - bottom),
                (depth - near) / static_cast<double>(float(far) - float(near))};
    }
};

void ExpectRelative(double actual, double expected) {
    EXPECT_NEAR(actual, expected, 1e-12 * std::max(1.0, std::abs(expected)));
}

TEST_F(PointsToNdc, AgreeWithTheStatedFormulaForRandomCamerasAndPoints) {
    std::mt19937 random(11);
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    const auto single = [&](double low, double high) { return double(float(between(low, high))); };
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        const auto place = [&] {
            const Matrix shape =
                Matrix().setShear(Point(between(-0.3, 0.3), between(-0.3, 0.3), 0)) *
                Matrix().setScale(Point(between(0.5, 2), 1, between(0.5, 2)));
            return shape * Placed(between(-3, 3), between(-1.5, 1.5),
                                  {between(-9, 9), between(-9, 9), between(-9, 9)});
        };
        const StatedFormula stated{place(),         place(),          single(1, 170),
                                   single(0.01, 1), single(2, 1000),  single(-2, -0.1),
                                   single(0.1, 2),  single(-2, -0.1), single(0.1, 2)};
        Children camera = CameraAttrs({{"fov", Double(stated.fov)},
                                       {"near", Double(stated.near)},
                                       {"far", Double(stated.far)},
                                       {"left", Double(stated.left)},
                                       {"right", Double(stated.right)},
                                       {"top", Double(stated.top)},
                                       {"bottom", Double(stated.bottom)}});
        camera.emplace_back("xform", MatrixAttr(stated.cameraToWorld));
        const Ptr geo = GeoOf(CameraScene(camera, {{"xform", MatrixAttr(stated.localToWorld)}},
                                          {{"number", Int(i)}}));
        std::vector<Point> points;
        for (int p = 0; p < 40; ++p)
            points.push_back({between(-30, 30), between(-30, 30), between(-30, 30)});
        std::vector<Point> converted = points;
        ConvertPointListToNDC(geo, kCamera, converted);
        for (std::size_t p = 0; p < points.size(); ++p) {
            const Point expected = stated(points[p]);
            ExpectRelative(converted[p].x, expected.x);
            ExpectRelative(converted[p].y, expected.y);
            ExpectRelative(converted[p].z, expected.z);
        }
    }
}

TEST_F(PointsToNdc, AgreeWithTheStatedFormulaAtExtremeAngles) {
    const Ptr geo = GeoBeforeUnitCamera();
    const StatedFormula stated{Matrix(), Matrix(), 90, 1, 101, -1, 1, -1, 1};
    for (const double offset : {1e-9, 1e-3, 1.0, 1023.0, 1025.0, 1e6, 1e12, 1e300})
        for (const double depth : {1.0, -1.0, 1e-12, -1e-12, 1e6, -1e6})
            for (const double side : {1.0, -1.0}) {
                SCOPED_TRACE(testing::Message() << side * offset << " at " << depth);
                const Point point(side * offset, offset, -depth);
                const Point expected = stated(point);
                const Point actual = NdcOf(geo, point);
                ExpectRelative(actual.x, expected.x);
                ExpectRelative(actual.y, expected.y);
            }
}

TEST_F(PointsToNdc, AgreeWithTheStatedFormulaThroughAVeryNarrowWindow) {
    const double edge = float(1e-9);
    const Children lens = With(With(UnitLens(), "left", Double(-edge)), "right", Double(edge));
    const Ptr geo = GeoOf(CameraScene(CameraAttrs(lens)));
    const StatedFormula stated{Matrix(), Matrix(), 90, 1, 101, -edge, edge, -1, 1};
    for (const double depth : {1.0, -1.0}) {
        const Point point(1e-10, 0, -depth);
        EXPECT_NEAR(NdcOf(geo, point).x, stated(point).x, 1e-12) << depth;
    }
}

TEST_F(PointsToNdc, AgreeWithTheScreenMatrixOfACentredCamera) {
    std::mt19937 random(13);
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        Children lens = With(UnitLens(), "fov", Double(between(10, 120)));
        Children camera = CameraAttrs(lens);
        camera.emplace_back("xform", MatrixAttr(Placed(between(-3, 3), between(-1, 1), {1, 2, 3})));
        const Ptr geo =
            GeoOf(CameraScene(camera, {{"xform", Translation(0.5, 0, 0)}}, {{"number", Int(i)}}));
        const Matrix toScreen = GetLocalToScreenMatrix(geo);
        const Point point(between(-20, 20), between(-20, 20), between(-20, 20));
        const Point ndc = NdcOf(geo, point);
        if (ndc.z < 0) continue; // in front of the near plane, or behind the camera
        const Point pixels = point * toScreen;
        EXPECT_NEAR(pixels.x, ndc.x * 512, 1e-4 * std::max(1.0, std::abs(pixels.x)));
        EXPECT_NEAR(pixels.y, ndc.y * 512, 1e-4 * std::max(1.0, std::abs(pixels.y)));
        // Depth in the matrix is in proportion to 1 / depth; the ends are the same.
        const double depth = 1 + ndc.z * 100;
        EXPECT_NEAR(pixels.z, 101.0 / 100.0 * (1 - 1 / depth), 1e-4);
    }
}

// Pixel area --------------------------------------------------------------------------------------

Attribute Bound(double xMin, double xMax, double yMin, double yMax, double zMin, double zMax) {
    return DoubleAttribute({xMin, xMax, yMin, yMax, zMin, zMax}, 2);
}

int AreaOf(const Attribute& bound, const Children& lens = UnitLens(),
           const char* resolution = "square_512") {
    TELLAR::ClearCameraInfoCache();
    const Ptr geo = GeoOf(CameraScene(CameraAttrs(lens), {{"bound", bound}}));
    return GetPixelAreaThroughCamera(geo, kCamera, resolution);
}

TEST_F(PixelArea, IsTheShareOfTheWindowInPixels) {
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, -2, -2)), 256 * 256);
    EXPECT_EQ(AreaOf(Bound(0, 0.5, 0, 0.25, -1, -1)), 128 * 64);
    EXPECT_EQ(AreaOf(Bound(0, 0.5, 0, 0.25, -1, -1), UnitLens(), "hd_720"), 320 * 90);
}

TEST_F(PixelArea, IsThatOfTheBoundNearestToTheFrame) {
    const auto square = [](double half) {
        return std::vector<double>{-half, half, -half, half, -1, -1};
    };
    const std::map<float, std::vector<double>> bounds{
        {-1.0f, square(1)}, {0.25f, square(0.5)}, {1.0f, square(0.25)}};
    EXPECT_EQ(AreaOf(DoubleAttribute(bounds, 2)), 256 * 256);
}

TEST_F(PixelArea, IsThatOfTheNearestSideOfABox) {
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, -40, -4)), 128 * 128);
}

TEST_F(PixelArea, OfABoxThatFillsOrEnclosesTheViewIsThePicture) {
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, -1, -1)), 512 * 512);
    EXPECT_EQ(AreaOf(Bound(-90, 90, -90, 90, -1, -1)), 512 * 512);
    EXPECT_EQ(AreaOf(Bound(-9, 9, -9, 9, -9, 9)), 512 * 512);
    EXPECT_EQ(AreaOf(Bound(-1e-3, 1e-3, -1e-3, 1e-3, -1e-3, 1e-3)), 512 * 512);
    EXPECT_EQ(AreaOf(Bound(-1e30, 1e30, -1e30, 1e30, -1e30, 1e30)), 512 * 512);
}

TEST_F(PixelArea, OfABoxOutsideTheWindowIsNothing) {
    EXPECT_EQ(AreaOf(Bound(2, 3, -1, 1, -1, -1)), 0);
    EXPECT_EQ(AreaOf(Bound(-1, 1, -30, -20, -2, -1)), 0);
    EXPECT_EQ(AreaOf(Bound(1, 2, -1, 1, -1, -1)), 0) << "it touches the edge only";
}

TEST_F(PixelArea, OfABoxBehindTheCameraIsNothing) {
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, 1, 2)), 0);
    EXPECT_EQ(AreaOf(Bound(-9, 9, -9, 9, 0, 2)), 0) << "it ends at the camera plane";
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, 1, 2), OrthographicLens(2)), 0);
}

TEST_F(PixelArea, OfABoxThroughTheCameraPlaneIsThatOfThePartInFront) {
    // To the right of the camera: from the angle of its far left edge, 45 degrees, on outwards.
    EXPECT_EQ(AreaOf(Bound(1, 2, -1, 1, -1, 5)), 0);
    // Its far left edge is at half the window's right side; it is as high as the view.
    EXPECT_EQ(AreaOf(Bound(1, 2, -8, 8, -2, 5)), 128 * 512);
    // Below the camera, like a floor: from the far edge at half the window's lower side down.
    EXPECT_EQ(AreaOf(Bound(-50, 50, -1, -1, -2, 5)), 512 * 128);
    EXPECT_EQ(AreaOf(Bound(0, 0.5, 0, 0.5, -1, 5), OrthographicLens(2)), 128 * 128);
}

TEST_F(PixelArea, OfABoxWithTheCameraAtItsCornerBeginsAtTheAngleOfItsSide) {
    // Its sides leave the camera 10 degrees to the right of its axis, and 100 degrees.
    const auto turn = Group({{"rotate", DoubleAttribute({-10.0, 0.0, 1.0, 0.0}, 4)}});
    const Ptr geo =
        GeoBeforeUnitCamera({{"bound", Bound(0, 10, -99, 99, -10, 0)}, {"xform", turn}});
    const double share = (1 - std::tan(10 * kPi / 180)) / 2;
    EXPECT_EQ(GetPixelAreaThroughCamera(geo, kCamera, "square_512"),
              std::lround(512 * 512 * share));
}

TEST_F(PixelArea, IsRoundedToTheNearest) {
    const double pixel = 1.0 / 256;
    EXPECT_EQ(AreaOf(Bound(0, 1.6 * pixel, 0, pixel, -1, -1)), 2);
    EXPECT_EQ(AreaOf(Bound(0, 1.4 * pixel, 0, pixel, -1, -1)), 1);
}

TEST_F(PixelArea, OfABoxAroundTheCameraFillsTheWidestWindow) {
    Children lens = UnitLens();
    for (const auto& [name, edge] : {std::pair("left", -1e7), std::pair("right", 1e7),
                                     std::pair("bottom", -1e7), std::pair("top", 1e7)})
        lens = With(lens, name, Double(edge));
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, -1, 1), lens), 512 * 512);
}

TEST_F(PixelArea, IsTheSameThroughAMirroredWindow) {
    const Children mirrored = With(With(UnitLens(), "left", Double(1)), "right", Double(-1));
    EXPECT_EQ(AreaOf(Bound(0, 0.5, 0, 0.25, -1, -1), mirrored), 128 * 64);
}

TEST_F(PixelArea, OfAnOrthographicCameraDoesNotDependOnDepth) {
    EXPECT_EQ(AreaOf(Bound(0, 1, 0, 2, -5, -4), OrthographicLens(8)), 64 * 128);
    EXPECT_EQ(AreaOf(Bound(0, 1, 0, 2, -50, -4), OrthographicLens(8)), 64 * 128);
}

TEST_F(PixelArea, OfAnInfiniteBoxIsThePicture) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const auto everything =
        Bound(-kInfinity, kInfinity, -kInfinity, kInfinity, -kInfinity, kInfinity);
    EXPECT_EQ(AreaOf(everything), 512 * 512);
    EXPECT_EQ(AreaOf(everything, OrthographicLens(2)), 512 * 512);
    EXPECT_EQ(AreaOf(everything, UnitLens(), "hd_720"), 1280 * 720);
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, -kInfinity, -2)), 512 * 512);
    EXPECT_EQ(AreaOf(Bound(-kInfinity, kInfinity, -1, -1, -kInfinity, kInfinity)), 512 * 512);
}

TEST_F(PixelArea, OfABoxTooLargeToBeComputedIsThePicture) {
    for (const double edge : {1e150, 1e307, 1.7e308, std::numeric_limits<double>::max()}) {
        SCOPED_TRACE(edge);
        const auto huge = Bound(-edge, edge, -edge, edge, -edge, edge);
        EXPECT_EQ(AreaOf(huge), 512 * 512);
        EXPECT_EQ(AreaOf(huge, OrthographicLens(2)), 512 * 512);
    }
    const Ptr geo = GeoBeforeUnitCamera(
        {{"bound", Bound(-1, 1, -1, 1, -2, -1)},
         {"xform", Group({{"scale", DoubleAttribute({1e200, 1e200, 1e200}, 3)},
                          {"scaleAgain", DoubleAttribute({1e200, 1e200, 1e200}, 3)}})}});
    EXPECT_EQ(GetPixelAreaThroughCamera(geo, kCamera, "square_512"), 512 * 512);
}

TEST_F(PixelArea, OfAnEmptyBoxIsNothing) {
    EXPECT_EQ(AreaOf(Bound(1, -1, 1, -1, -2, -2)), 0);
    EXPECT_EQ(AreaOf(Bound(1, -1, -1, 1, -2, -2)), 0);
    EXPECT_EQ(AreaOf(Bound(-1, 1, 1, -1, -2, -2)), 0);
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, -2, -3)), 0);
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(AreaOf(Bound(kInfinity, -kInfinity, kInfinity, -kInfinity, kInfinity, -kInfinity)),
              0);
}

TEST_F(PixelArea, IsSeenThroughTheTransforms) {
    Children camera = CameraAttrs(UnitLens());
    camera.emplace_back("xform", Translation(0, 0, 10));
    const Ptr geo = GeoOf(CameraScene(
        camera, {{"bound", Bound(-1, 1, -1, 1, 0, 0)}, {"xform", Translation(0, 0, 8)}}));
    EXPECT_EQ(GetPixelAreaThroughCamera(geo, kCamera, "square_512"), 256 * 256);
}

TEST_F(PixelArea, IsSeenAlongTheAxesOfTheWorldByACameraThatCannotBeInverted) {
    const Ptr geo = GeoBeforeSingularCamera({{"bound", Bound(-1, 1, -1, 1, 3, 3)}});
    EXPECT_EQ(GetPixelAreaThroughCamera(geo, kCamera, "square_512"), 256 * 256);
}

TEST_F(PixelArea, IsNothingWithoutABoundCameraOrProducer) {
    const Attribute noDoubles = OxAttribute::FloatAttribute({-1, 1, -1, 1, -2, -2}, 2);
    EXPECT_EQ(AreaOf({}), 0);
    EXPECT_EQ(AreaOf(noDoubles), 0);
    EXPECT_EQ(AreaOf(Doubles({-1, 1, -1, 1, -2})), 0);
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, -2, -2), {}), 0);
    EXPECT_EQ(GetPixelAreaThroughCamera(nullptr, kCamera, "square_512"), 0);
}

TEST_F(PixelArea, IsNothingForBoundsAndWindowsThatAreNone) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(AreaOf(Bound(nan, nan, nan, nan, nan, nan)), 0);
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, -2, -2), With(UnitLens(), "right", Double(-1))), 0);
    EXPECT_EQ(AreaOf(Bound(-1, 1, -1, 1, -2, -2), OrthographicLens(0)), 0);
}

TEST_F(PixelArea, NeedsAResolutionThatTheTableHas) {
    try {
        AreaOf(Bound(-1, 1, -1, 1, -2, -2), UnitLens(), "cinema");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "FileOut: Error querying resolution table for resolution: 'cinema'.");
    }
}

TEST_F(PixelArea, NeverShrinksAsABoxGrows) {
    std::mt19937 random(17);
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (int i = 0; i < 400; ++i) {
        SCOPED_TRACE(i);
        const Children lens = i % 2 ? OrthographicLens(between(0.5, 8))
                                    : With(UnitLens(), "fov", Double(between(10, 140)));
        Children camera = CameraAttrs(lens);
        camera.emplace_back("xform", MatrixAttr(Placed(between(-3, 3), between(-1, 1), {})));
        double box[6];
        for (int axis = 0; axis < 3; ++axis) {
            box[2 * axis] = between(-4, 3.5);
            box[2 * axis + 1] = between(box[2 * axis], 4);
        }
        int last = 0;
        for (int step = 0; step < 12; ++step) {
            const Ptr geo = GeoOf(
                CameraScene(camera, {{"bound", DoubleAttribute(box, 6, 2)}}, {{"number", Int(i)}}));
            const int area = GetPixelAreaThroughCamera(geo, kCamera, "square_512");
            EXPECT_GE(area, last);
            EXPECT_LE(area, 512 * 512);
            last = area;
            const int side = std::uniform_int_distribution<int>(0, 5)(random);
            box[side] += side % 2 ? between(0, 1) : -between(0, 1);
        }
    }
}

} // namespace
