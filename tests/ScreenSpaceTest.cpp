#include <OxTellarProducers/ScreenSpace.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "CameraScenes.h"
#include "ErrorOf.h"
#include "ScreenScenes.h"

namespace {

using namespace TellarTest;
using OxAttribute::DoubleAttribute;
using TELLAR::ConvertPointListToNDC;
using TELLAR::GetLocalToScreenMatrix;

using Ptr = TELLAR::GeometryProducer::Ptr;

constexpr double kPi = 3.14159265358979323846;

using LocalToScreen = WithoutKnownCameras;
using PointsToNdc = WithoutKnownCameras;

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
        if (ndc.z < 0) continue; // it is in front of the near plane, or behind the camera
        const Point pixels = point * toScreen;
        EXPECT_NEAR(pixels.x, ndc.x * 512, 1e-4 * std::max(1.0, std::abs(pixels.x)));
        EXPECT_NEAR(pixels.y, ndc.y * 512, 1e-4 * std::max(1.0, std::abs(pixels.y)));
        // Depth in the matrix is in proportion to 1 / depth; the ends are the same.
        const double depth = 1 + ndc.z * 100;
        EXPECT_NEAR(pixels.z, 101.0 / 100.0 * (1 - 1 / depth), 1e-4);
    }
}

} // namespace
