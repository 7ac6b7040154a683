#include <OxTellarProducers/ScreenSpace.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CameraInfo.h>

#include "CameraScenes.h"
#include "ScreenScenes.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::DoubleAttribute;
using TELLAR::GetPixelAreaThroughCamera;

using Ptr = TELLAR::GeometryProducer::Ptr;

constexpr double kPi = 3.14159265358979323846;

using PixelArea = WithoutKnownCameras;

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

TEST_F(PixelArea, OfAnOrthographicCameraWithoutAWidthIsNothing) {
    const Children mirrored =
        With(With(OrthographicLens(0), "left", Double(1)), "right", Double(-1));
    EXPECT_EQ(AreaOf(Bound(1, 2, -1, 1, -5, -4), OrthographicLens(0)), 0);
    EXPECT_EQ(AreaOf(Bound(1, 2, -1, 1, -5, -4), mirrored), 0);
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
        camera.emplace_back("xform",
                            MatrixAttr(Placed(between(-3, 3), between(-1, 1), Point(0, 0, 0))));
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
