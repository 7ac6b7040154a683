#include "motion/Track.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motion/AnimationChoice.h"
#include "motion/NodeMotion.h"
#include "motion/SampleTimes.h"

// Keys and their interpolation. Expected values come from other forms of the formulas.

namespace {

using namespace TellarSceneImport;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::Pointwise;

constexpr double kPi = 3.14159265358979323846;

std::vector<double> ValueAt(const Track& track, double seconds, bool isBefore = false) {
    std::vector<double> value(track.width());
    track.evaluate({seconds, isBefore}, value.data());
    return value;
}

std::vector<double> SecondsOf(const std::vector<Moment>& moments) {
    std::vector<double> seconds;
    for (const Moment& moment : moments)
        seconds.push_back(moment.seconds);
    return seconds;
}

/// The quaternion of a turn about Z.
std::array<float, 4> AboutZ(double degrees) {
    const double half = degrees * kPi / 360;
    return {0, 0, static_cast<float>(std::sin(half)), static_cast<float>(std::cos(half))};
}

Track Turning(std::array<float, 4> from, std::array<float, 4> to) {
    std::vector<float> values(from.begin(), from.end());
    values.insert(values.end(), to.begin(), to.end());
    return Track(TrackKind::Rotation, Interpolation::Linear, 4, {0, 1}, values);
}

/// A cubic as De Casteljau draws it, from the four points of its Bezier form.
double Bezier(double a, double b, double c, double d, double t) {
    const auto mix = [t](double x, double y) { return x + (y - x) * t; };
    const double ab = mix(a, b), bc = mix(b, c), cd = mix(c, d);
    return mix(mix(ab, bc), mix(bc, cd));
}

const Track& Spline() {
    // In-tangent, value and out-tangent of each key.
    static const Track track(TrackKind::Vector, Interpolation::CubicSpline, 1, {1, 3},
                             {7, 10, 3, -4, 20, 9});
    return track;
}

TEST(Track, InterpolatesLinearlyAndHoldsItsEnds) {
    const Track track(TrackKind::Vector, Interpolation::Linear, 2, {1, 3}, {0, 8, 4, 0});
    EXPECT_THAT(ValueAt(track, 0), ElementsAre(0, 8));
    EXPECT_THAT(ValueAt(track, 1.5), ElementsAre(1, 6));
    EXPECT_THAT(ValueAt(track, 9), ElementsAre(4, 0));
}

TEST(Track, HoldsAValueUntilTheNextKeyOfAStep) {
    const Track track(TrackKind::Vector, Interpolation::Step, 1, {0, 1, 2}, {5, 6, 7});
    EXPECT_THAT(ValueAt(track, 0.999), ElementsAre(5));
    EXPECT_THAT(ValueAt(track, 1, true), ElementsAre(5));
    EXPECT_THAT(ValueAt(track, 1), ElementsAre(6));
    EXPECT_THAT(ValueAt(track, 2), ElementsAre(7));
}

TEST(Track, FollowsTheCubicOfItsTangents) {
    // A Bezier curve's inner points are a third of a tangent away from its ends, and the tangents
    // are multiplied by the 2 seconds between the keys.
    for (const double amount : {0.0, 0.125, 0.5, 0.8125, 1.0}) {
        SCOPED_TRACE(amount);
        const double expected = Bezier(10, 10 + 2 * 3 / 3.0, 20 - 2 * -4 / 3.0, 20, amount);
        EXPECT_NEAR(ValueAt(Spline(), 1 + 2 * amount)[0], expected, 1e-12);
    }
}

TEST(Track, NormalisesTheQuaternionsOfASpline) {
    const Track track(TrackKind::Rotation, Interpolation::CubicSpline, 4, {0, 1},
                      {0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0});
    // Without tangents both ends have half of the weight in the middle.
    EXPECT_THAT(ValueAt(track, 0.5), ElementsAre(0, 0, DoubleNear(2 / std::sqrt(5), 1e-12),
                                                 DoubleNear(1 / std::sqrt(5), 1e-12)));
    EXPECT_THAT(ValueAt(track, 1), ElementsAre(0, 0, 1, 0));
}

TEST(Track, TurnsEvenlyAlongTheShorterArc) {
    const std::array<float, 4> quarter = AboutZ(90);
    const std::array<float, 4> negated = {-quarter[0], -quarter[1], -quarter[2], -quarter[3]};
    for (const auto& end : {quarter, negated}) {
        const std::array<float, 4> expected = AboutZ(22.5);
        EXPECT_THAT(ValueAt(Turning(AboutZ(0), end), 0.25), Pointwise(DoubleNear(1e-6), expected));
    }
}

TEST(Track, SortsItsKeys) {
    const Track track(TrackKind::Vector, Interpolation::Linear, 1, {2, 0}, {20, 0});
    EXPECT_THAT(ValueAt(track, 0.5), ElementsAre(5));
}

TEST(Track, JumpsWhereTwoKeysHaveOneTime) {
    const Track track(TrackKind::Vector, Interpolation::Linear, 1, {0, 1, 1, 2}, {0, 1, 5, 6});
    EXPECT_THAT(ValueAt(track, 1, true), ElementsAre(1));
    EXPECT_THAT(ValueAt(track, 1), ElementsAre(5));
}

TEST(Track, RefusesCountsThatDoNotFitAndNumbersThatAreNotFinite) {
    const float infinity = std::numeric_limits<float>::infinity();
    const auto make = [](const std::vector<float>& values, Interpolation interpolation) {
        return Track(TrackKind::Vector, interpolation, 1, {0, 1}, values);
    };
    EXPECT_NO_THROW(make({1, 2}, Interpolation::Linear));
    EXPECT_THROW(make({1}, Interpolation::Linear), std::runtime_error);
    EXPECT_THROW(make({1, 2, 3}, Interpolation::Linear), std::runtime_error);
    EXPECT_THROW(make({1, 2}, Interpolation::CubicSpline), std::runtime_error);
    EXPECT_THROW(make({1, infinity}, Interpolation::Linear), std::runtime_error);
}

TEST(Track, TakesStepsOfFiveDegrees) {
    EXPECT_EQ(Turning(AboutZ(0), AboutZ(90)).stepsBetween(0, 1), 18u);
    EXPECT_EQ(Turning(AboutZ(0), AboutZ(90)).stepsBetween(0, 0.5), 9u);
    EXPECT_EQ(Turning(AboutZ(0), AboutZ(4)).stepsBetween(0, 1), 1u);
}

TEST(Track, TakesEnoughStepsForASpline) {
    const std::size_t steps = Spline().stepsBetween(1, 3);
    double largest = 0;
    for (std::size_t step = 0; step < steps; ++step) {
        const double from = 1 + 2.0 * double(step) / double(steps);
        const double to = from + 2.0 / double(steps);
        const double middle = (ValueAt(Spline(), from)[0] + ValueAt(Spline(), to)[0]) / 2;
        largest = std::max(largest, std::abs(ValueAt(Spline(), (from + to) / 2)[0] - middle));
    }
    // The extent is 10, plus 8 for the larger tangent.
    EXPECT_LE(largest, 0.018);
    EXPECT_GT(largest, 0.004) << "far more steps than needed";
}

TEST(SampleTimes, HoldTheKeysOfAllTracksAndTheMomentsBeforeJumps) {
    const Track linear(TrackKind::Vector, Interpolation::Linear, 1, {0, 2}, {0, 0});
    const Track step(TrackKind::Vector, Interpolation::Step, 1, {1, 2}, {0, 0});
    const Track constant(TrackKind::Vector, Interpolation::Linear, 1, {7}, {0});
    const auto moments = KeyMoments({&linear, &step, &constant});
    EXPECT_THAT(SecondsOf(moments), ElementsAre(0, 1, 2, 2));
    EXPECT_TRUE(moments[2].isBefore);
    EXPECT_FALSE(moments[3].isBefore);
    EXPECT_THAT(SecondsOf(KeyMoments({&constant})), ElementsAre(7));
}

TEST(SampleTimes, AreFramesRelativeToTheFrame) {
    const SampleTimes samples = ToSampleTimes({{0.5}, {1, true}, {1}}, {24, 4});
    EXPECT_THAT(samples.times, ElementsAre(8, std::nextafter(20.0f, 0.0f), 20));
}

TEST(SampleTimes, LeaveOutMomentsThatAreEqualAsFloats) {
    EXPECT_EQ(ToSampleTimes({{0}, {1e-9}, {1}}, {24, 1e6}).times.size(), 2u);
}

TEST(SampleTimes, KeepTheEndsWhenTheyAreThinned) {
    EXPECT_THAT(SecondsOf(Thin({{0}, {1}, {2}, {3}, {4}, {5}}, 3)), ElementsAre(0, 2, 5));
    EXPECT_THAT(SecondsOf(Thin({{0}, {1}}, 3)), ElementsAre(0, 1));
}

TEST(NodeMotion, AppliesScaleThenRotationThenTranslation) {
    Transform rest;
    rest.position = {10, 20, 30};
    rest.rotation = {0, 0, std::sqrt(0.5), std::sqrt(0.5)}; // X to Y
    const Track scale(TrackKind::Vector, Interpolation::Linear, 3, {0}, {2, 3, 4});
    const Matrix expected = {0, 2, 0, 0, -3, 0, 0, 0, 0, 0, 4, 0, 10, 20, 30, 1};
    EXPECT_THAT(NodeMotion(rest, {}, {}, scale).matrixAt({}),
                Pointwise(DoubleNear(1e-12), expected));
}

TEST(NodeMotion, JumpsWithinOneFloatWhereAKeyIsAStep) {
    const Track steps(TrackKind::Vector, Interpolation::Step, 3, {0, 1}, {0, 0, 0, 5, 0, 0});
    const NodeMotion motion({}, steps, {}, {});
    OxAttribute::GroupBuilder attrs;
    motion.apply({24, 0}, attrs);
    const OxAttribute::DoubleAttribute matrices(attrs.build().getChildByName("xform.matrix"));
    ASSERT_EQ(matrices.getNumberOfTimeSamples(), 3);
    EXPECT_EQ(matrices.getSampleTime(1), std::nextafter(24.0f, 0.0f));
    EXPECT_EQ(matrices.getNearestSample(23)[12], 0);
    EXPECT_EQ(matrices.getNearestSample(24)[12], 5);
}

TEST(AnimationChoice, IsByNameThenByNumberThenByWord) {
    const std::vector<std::string> names = {"walk", "run", "1", ""};
    EXPECT_EQ(ChooseAnimation(names, "run"), 1u);
    EXPECT_EQ(ChooseAnimation(names, "1"), 2u);
    EXPECT_EQ(ChooseAnimation(names, "0"), 0u);
    EXPECT_EQ(ChooseAnimation(names, "first"), 0u);
    EXPECT_EQ(ChooseAnimation(names, "none"), std::nullopt);
    EXPECT_EQ(ChooseAnimation(names, ""), std::nullopt);
    EXPECT_EQ(ChooseAnimation({}, "first"), std::nullopt);
}

TEST(AnimationChoice, ListsTheAnimationsWhenThereIsNoneOfThatName) {
    EXPECT_THAT(
        [] {
            ChooseAnimation({"walk", ""}, "wlk");
        },
        testing::ThrowsMessage<std::runtime_error>(
            "there is no animation \"wlk\" in it; its animations are 0 \"walk\", 1"));
    EXPECT_THAT([] { ChooseAnimation({}, "0"); },
                testing::ThrowsMessage<std::runtime_error>(
                    "there is no animation \"0\" in it; it has no animations"));
}

} // namespace
