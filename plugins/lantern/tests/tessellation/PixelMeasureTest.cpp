#include "tessellation/PixelMeasure.h"

#include <gmock/gmock.h>

#include "DrawingScenes.h"

namespace {

using namespace LanternTest;

/// A camera at the origin that sees from -1 to 1 at depth 1, in a picture of 100 pixels.
SceneData Scene() {
    return EmptyScene(100, 100);
}

PixelMeasure MeasureOf(const SceneData& scene) {
    return {scene.camera, scene.framing};
}

TEST(PixelMeasure, IsInverseToTheDistance) {
    const PixelMeasure measure = MeasureOf(Scene());
    EXPECT_NEAR(measure.length({-0.5f, 0, -10}, {0.5f, 0, -10}), 5, 1e-3);
    EXPECT_NEAR(measure.length({-0.5f, 0, -1}, {0.5f, 0, -1}), 50, 1e-3);
}

TEST(PixelMeasure, IsTakenWhereALineIsNearest) {
    const PixelMeasure measure = MeasureOf(Scene());
    EXPECT_NEAR(measure.length({0, 0, -2}, {0, 0, -10}), 8 * 25, 1e-2);
    EXPECT_NEAR(measure.length({-10, 0, -1}, {10, 0, -1}), 20 * 50, 1e-1);
}

TEST(PixelMeasure, IsAnEighthOutsideOfThePicture) {
    const PixelMeasure measure = MeasureOf(Scene());
    EXPECT_NEAR(measure.length({-0.5f, 0, 10}, {0.5f, 0, 10}), 5 / 8.0f, 1e-3);
    EXPECT_NEAR(measure.length({0, 29.5f, -10}, {0, 30.5f, -10}),
                50 / std::sqrt(29.5f * 29.5f + 100) / 8, 1e-3);
}

TEST(PixelMeasure, IsTheSameAtAnyDistanceInParallelProjection) {
    SceneData scene = Scene();
    scene.camera.isOrthographic = true;
    scene.camera.orthographicWidth = 4;
    const PixelMeasure measure = MeasureOf(scene);
    EXPECT_NEAR(measure.length({0, 0, -1}, {1, 0, -1}), 25, 1e-3);
    EXPECT_NEAR(measure.length({0, 0, -90}, {1, 0, -90}), 25, 1e-3);
}

TEST(PixelMeasure, IsFiniteAtTheCameraAndZeroForPoints) {
    const PixelMeasure measure = MeasureOf(Scene());
    EXPECT_NEAR(measure.length({0, 0, 1}, {0, 0, -1}), 2 * 50 / 0.1f, 1);
    EXPECT_EQ(measure.length({1, 1, -1}, {1, 1, -1}), 0);
}

} // namespace
