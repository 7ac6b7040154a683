#include "drawing/CameraRays.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/ScreenSpace.h>

#include "CameraScenes.h"

// Compares rays with the library's projections.

namespace {

using namespace lantern;
using Imath::V3d;

struct CameraCase {
    std::string name;
    Camera camera;
    std::string resolution;
    int width, height;
};

void PrintTo(const CameraCase& one, std::ostream* out) {
    *out << one.name;
}

Camera Lens(bool isOrthographic, float left, float right, float bottom, float top) {
    Camera camera;
    camera.isOrthographic = isOrthographic;
    camera.fov = 50;
    camera.near = 0.5f;
    camera.far = 200;
    camera.orthographicWidth = 12;
    camera.left = left;
    camera.right = right;
    camera.bottom = bottom;
    camera.top = top;
    camera.toWorld = {M44d().rotate(V3d(0.3, -0.7, 0.2)) * M44d().setTranslation(V3d(3, -2, 5))};
    return camera;
}

TellarTest::Children Geometry(const Camera& camera) {
    using TellarTest::Double;
    return {{"projection", TellarTest::Text(camera.isOrthographic ? "orthographic" : "")},
            {"fov", Double(camera.fov)},
            {"near", Double(camera.near)},
            {"far", Double(camera.far)},
            {"left", Double(camera.left)},
            {"right", Double(camera.right)},
            {"top", Double(camera.top)},
            {"bottom", Double(camera.bottom)},
            {"orthographicWidth", Double(camera.orthographicWidth)}};
}

/// A location in world space, in a scene with this camera.
TELLAR::GeometryProducer::Ptr LibraryScene(const CameraCase& one) {
    using namespace TellarTest;
    TELLAR::ClearCameraInfoCache();
    Children camera = CameraAttrs(Geometry(one.camera));
    const OxAttribute::DoubleAttribute matrix(one.camera.toWorld[0].getValue(), 16, 16);
    camera.emplace_back("xform", Group({{"matrix", matrix}}));
    const auto settings =
        Group({{"cameraName", Text(kCamera)}, {"resolution", Text(one.resolution)}});
    return StaticRoot(CameraScene(camera, {}, {{"renderSettings", settings}}))
        ->getProducerByPath(kGeo);
}

class CameraRaysTest : public testing::TestWithParam<CameraCase> {};

TEST_P(CameraRaysTest, AgreeWithTheLibrarysProjection) {
    const CameraCase& one = GetParam();
    const M44d toScreen = TELLAR::GetLocalToScreenMatrix(LibraryScene(one));
    const CameraRays rays(one.camera, one.width, one.height);
    for (const V3d& place : {V3d(0, 0, 0), V3d(100.25, 30.5, 3), V3d(700, 333, 90)}) {
        const Ray ray = rays.at(place.x, place.y, 0);
        V3d pixel;
        toScreen.multVecMatrix(V3d(ray.origin + ray.direction * float(place.z + 0.01)), pixel);
        EXPECT_NEAR(pixel.x, place.x, 2e-2);
        EXPECT_NEAR(one.height - pixel.y, place.y, 2e-2); // the library counts rows from the bottom
    }
}

TEST_P(CameraRaysTest, BeginAndEndAtTheClippingPlanes) {
    const CameraCase& one = GetParam();
    const M44d toScreen = TELLAR::GetLocalToScreenMatrix(LibraryScene(one));
    const Ray ray = CameraRays(one.camera, one.width, one.height).at(77, 300, 0);
    V3d nearest, farthest;
    toScreen.multVecMatrix(V3d(ray.origin), nearest);
    toScreen.multVecMatrix(V3d(ray.origin + ray.direction * ray.farthest), farthest);
    EXPECT_NEAR(nearest.z, 0, 1e-4);
    EXPECT_NEAR(farthest.z, 1, 1e-4);
}

TEST_P(CameraRaysTest, HaveTheLibrarysProjectionMatrix) {
    const CameraCase& one = GetParam();
    const Camera& c = one.camera;
    const float scale = c.isOrthographic ? c.orthographicWidth / 2 : 1;
    M44d expected = TELLAR::GetProjectionMatrix(c.near, c.far, c.left * scale, c.right * scale,
                                                c.bottom * scale, c.top * scale, c.isOrthographic,
                                                c.fov, float(one.width) / float(one.height));
    const M44d found = ProjectionOf(c, one.width, one.height);
    EXPECT_TRUE(found.equalWithAbsError(expected, 1e-5)) << found << "\n" << expected;
}

TEST_P(CameraRaysTest, AreTheSameWithTwoEqualMotionSteps) {
    const CameraCase& one = GetParam();
    Camera twice = one.camera;
    twice.toWorld.push_back(twice.toWorld.front());
    const Ray still = CameraRays(one.camera, one.width, one.height).at(100.25, 30.5, 0.3f);
    const Ray moving = CameraRays(twice, one.width, one.height).at(100.25, 30.5, 0.3f);
    EXPECT_TRUE(still.origin.equalWithRelError(moving.origin, 1e-6f));
    EXPECT_TRUE(still.direction.equalWithRelError(moving.direction, 1e-6f));
    EXPECT_FLOAT_EQ(still.farthest, moving.farthest);
    EXPECT_EQ(still.time, moving.time);
}

INSTANTIATE_TEST_SUITE_P(
    , CameraRaysTest,
    testing::Values(
        CameraCase{"Perspective", Lens(false, -1, 1, -1, 1), "hd_720", 1280, 720},
        CameraCase{"ShiftedPerspective", Lens(false, -0.5f, 1, -1, 0.25f), "hd_720", 1280, 720},
        CameraCase{"Orthographic", Lens(true, -1, 1, -1, 1), "hd_720", 1280, 720},
        CameraCase{"ShiftedOrthographic", Lens(true, -0.5f, 1, -1, 0.25f), "hd_720", 1280, 720}),
    [](const auto& test) { return test.param.name; });

/// The library's function ignores the picture's aspect, so the window must have the same one.
TEST(CameraRaysOfAWindow, GoThroughNormalisedDeviceCoordinates) {
    const CameraCase one{"", Lens(false, -1, 1, -0.5625f, 0.5625f), "hd_720", 1280, 720};
    const Ray ray = CameraRays(one.camera, one.width, one.height).at(320, 180, 0);
    std::vector<V3d> points{V3d(ray.origin + ray.direction * 20.0f)};
    TELLAR::ConvertPointListToNDC(LibraryScene(one), TellarTest::kCamera, points);
    EXPECT_NEAR(points[0].x, 0.25, 1e-5);
    EXPECT_NEAR(points[0].y, 0.75, 1e-5);
}

TEST(CameraRaysInMotion, BeginAtTheCamerasPositionAtTheirTime) {
    Camera camera;
    camera.near = 0;
    camera.toWorld = {M44d().setTranslation(V3d(0, 0, 0)), M44d().setTranslation(V3d(4, 0, 0)),
                      M44d().setTranslation(V3d(4, 8, 0))};
    const CameraRays rays(camera, 10, 10);
    EXPECT_EQ(rays.at(5, 5, 0.25f).origin, V3f(2, 0, 0));
    EXPECT_EQ(rays.at(5, 5, 0.5f).origin, V3f(4, 0, 0));
    EXPECT_EQ(rays.at(5, 5, 1).origin, V3f(4, 8, 0));
}

class CameraRaysOfALens : public testing::TestWithParam<bool> {};

TEST_P(CameraRaysOfALens, MeetInThePlaneOfFocus) {
    Camera camera = Lens(GetParam(), -1, 1, -1, 1);
    camera.apertureRadius = 0.5f;
    camera.focusDistance = 8;
    const CameraRays rays(camera, 100, 100);
    const auto inFocus = [&](const V2f& onLens) {
        const Ray ray = rays.at(20, 30, 0, onLens);
        const double slope =
            rays.depthOf(ray.origin + ray.direction, 0) - rays.depthOf(ray.origin, 0);
        const double way = (8 - rays.depthOf(ray.origin, 0)) / slope;
        return V3d(ray.origin) + V3d(ray.direction) * way;
    };
    EXPECT_LT((inFocus({1, 0}) - inFocus({0, 0})).length(), 1e-4);
    EXPECT_LT((inFocus({0, -1}) - inFocus({0, 0})).length(), 1e-4);
    const Ray right = rays.at(20, 30, 0, {1, 0});
    EXPECT_NEAR(rays.depthOf(right.origin, 0), 0.5, 1e-4);
    // The near plane is a sixteenth of the way to the plane of focus.
    EXPECT_NEAR((right.origin - rays.at(20, 30, 0).origin).length(), 0.5 * 15 / 16, 1e-4);
}

INSTANTIATE_TEST_SUITE_P(, CameraRaysOfALens, testing::Bool());

TEST(CameraRaysInMotion, AvoidTimesWhereHalfATurnHasNoInverse) {
    const CameraRays rays(Camera(), 10, 10);
    EXPECT_EQ(rays.at(5, 5, 0.5f).time, std::nextafter(0.5f, 0.0f));
    EXPECT_EQ(rays.at(5, 5, 0.3f).time, 0.3f);
    EXPECT_EQ(rays.at(5, 5, 0).time, 0);
}

TEST(CameraRaysOfNoCamera, BeginAtTheOrigin) {
    Camera camera;
    camera.near = 0;
    camera.toWorld = {M44d(0.0)};
    const Ray ray = CameraRays(camera, 10, 10).at(5, 5, 0);
    EXPECT_EQ(ray.direction, V3f(0, 0, -1));
    EXPECT_EQ(WorldToCamera(camera), M44d());
}

} // namespace
