#include "reading/InstanceMatrices.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

using namespace lantern;

Transform Scaled(double x, double y, double z) {
    Transform transform;
    transform.matrices = {M44d().setScale(Imath::V3d(x, y, z))};
    return transform;
}

/// One matrix at the first of two steps and another at the second.
Transform Moving(const M44d& first, const M44d& second) {
    Transform transform;
    transform.matrices.assign(kFinestSteps, first);
    transform.matrices.back() = second;
    transform.steps = 2;
    return transform;
}

TEST(InstanceMatrices, KeepTransformsThatCanBeInverted) {
    const InstanceMatrices matrices(Scaled(1, -1e-6, 1000));
    EXPECT_EQ(matrices.count, 1);
    EXPECT_EQ(matrices.warning, nullptr);
    EXPECT_EQ(matrices.steps[0], M44f(Scaled(1, -1e-6, 1000).matrices[0]));
}

TEST(InstanceMatrices, ThickenFlatTransforms) {
    const InstanceMatrices matrices(Scaled(2, 2, 0));
    EXPECT_EQ(matrices.count, 1);
    EXPECT_EQ(matrices.warning, nullptr);
    EXPECT_NEAR(matrices.steps[0][0][0], 2, 1e-6);
    EXPECT_NEAR(std::abs(matrices.steps[0][2][2]), 2e-4, 1e-7);
}

TEST(InstanceMatrices, ThickenPlanesThatAreTurned) {
    Transform transform;
    transform.matrices = {
        M44d(0.6, 0.8, 0, 0, 0.64, -0.48, 0.6, 0, 1.24, 0.32, 0.6, 0, 0, 0, 0, 1)};
    const InstanceMatrices matrices(transform);
    ASSERT_EQ(matrices.count, 1);
    const M44f product = matrices.steps[0] * matrices.steps[0].inverse();
    EXPECT_TRUE(product.equalWithAbsError(M44f(), 0.01f)) << product;
    const M44f given(transform.matrices[0]);
    EXPECT_TRUE(matrices.steps[0].equalWithAbsError(given, 2e-4f)) << matrices.steps[0];
}

TEST(InstanceMatrices, LeaveOutWhatIsScaledToAPointWithoutAWarning) {
    const InstanceMatrices matrices(Scaled(0, 0, 0));
    EXPECT_EQ(matrices.count, 0);
    EXPECT_EQ(matrices.warning, nullptr);
}

TEST(InstanceMatrices, LeaveOutScalesThatSinglePrecisionCannotInvert) {
    for (const double scale : {1e-14, 1e14}) {
        SCOPED_TRACE(scale);
        const InstanceMatrices matrices(Scaled(scale, scale, scale));
        EXPECT_EQ(matrices.count, 0);
        EXPECT_STREQ(matrices.warning, "its transform is too large or too small to be drawn");
    }
}

TEST(InstanceMatrices, LeaveOutTransformsThatAreNotFinite) {
    const InstanceMatrices matrices(Scaled(1, std::numeric_limits<double>::infinity(), 1));
    EXPECT_EQ(matrices.count, 0);
    EXPECT_STREQ(matrices.warning, "its transform is not finite");
}

TEST(InstanceMatrices, ShrinkToAlmostNothing) {
    const InstanceMatrices matrices(Moving(M44d(), Scaled(0, 0, 0).matrices[0]));
    EXPECT_EQ(matrices.count, 2);
    EXPECT_GT(std::abs(matrices.steps[1].determinant()), 0);
}

TEST(InstanceMatrices, DoNotMoveThroughTheirMirrorImage) {
    const InstanceMatrices matrices(Moving(M44d(), Scaled(-1, 1, 1).matrices[0]));
    EXPECT_EQ(matrices.count, 1);
    EXPECT_STREQ(matrices.warning,
                 "its transform turns it inside out while the shutter is open; it does not move");
}

} // namespace
