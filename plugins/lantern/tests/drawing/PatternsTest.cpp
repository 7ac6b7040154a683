#include "drawing/Patterns.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

namespace {

using namespace lantern;

class NoiseTest : public testing::TestWithParam<float> {
}; // the parameter is the slope of z along x

TEST_P(NoiseTest, IsContinuousAroundOneHalf) {
    const float depth = GetParam();
    const V3f from(0, 0.3f, 0);
    float least = 1, most = 0, largestStep = 0, before = Noise(from, 3);
    double sum = 0;
    constexpr int kPlaces = 20000;
    for (int i = 1; i <= kPlaces; ++i) {
        const float value = Noise(from + V3f(1, 0, depth) * (float(i) * 0.01f), 3);
        largestStep = std::max(largestStep, std::abs(value - before));
        least = std::min(least, value);
        most = std::max(most, value);
        sum += value;
        before = value;
    }
    EXPECT_NEAR(sum / kPlaces, 0.5, 0.05);
    EXPECT_LT(least, 0.25f);
    EXPECT_GT(most, 0.75f);
    EXPECT_LT(largestStep, 0.06f);
}

INSTANTIATE_TEST_SUITE_P(, NoiseTest, testing::Values(0.0f, 0.7f));

TEST(Noise, IsOneHalfOnTheLattice) {
    EXPECT_EQ(Noise({3, 7, 0}, 1), 0.5f);
    EXPECT_EQ(Noise({3, 7, -5}, 1), 0.5f);
}

TEST(Noise, DependsOnAllCoordinates) {
    const float value = Noise({0.3f, 0.4f, 0.6f}, 1);
    EXPECT_NE(Noise({1.3f, 0.4f, 0.6f}, 1), value);
    EXPECT_NE(Noise({0.3f, 1.4f, 0.6f}, 1), value);
    EXPECT_NE(Noise({0.3f, 0.4f, 1.6f}, 1), value);
}

TEST(IsOddCell, AlternatesAlongAllCoordinates) {
    EXPECT_FALSE(IsOddCell({0.5f, 0.5f, 0.5f}));
    EXPECT_TRUE(IsOddCell({-0.5f, 0.5f, 0.5f}));
    EXPECT_TRUE(IsOddCell({0.5f, 1.5f, 0.5f}));
    EXPECT_TRUE(IsOddCell({0.5f, 0.5f, 2.5f - 3}));
    EXPECT_FALSE(IsOddCell({1.5f, 0.5f, 1.5f}));
    EXPECT_FALSE(IsOddCell({1e30f, 0, 0})) << "without a fraction";
}

} // namespace
