#include <OxTellarSDK/XFormUtil.h>

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include <gtest/gtest.h>

using namespace OxAttribute;
using namespace OxXFormUtil;

namespace {

using Point = std::array<double, 3>;

GroupAttribute XForm(const std::vector<GroupAttribute::Child>& children) {
    return GroupAttribute(children, false);
}

/// The point times the matrix of sample `index`, as a row vector, written out by hand.
Point Apply(const DoubleAttribute& matrix, const Point& p, std::int64_t index = 0) {
    const auto m = matrix.getNearestSample(matrix.getSampleTime(index));
    Point out;
    for (std::size_t column = 0; column < 3; ++column)
        out[column] =
            p[0] * m[column] + p[1] * m[4 + column] + p[2] * m[8 + column] + m[12 + column];
    return out;
}

void ExpectNear(const Point& actual, const Point& expected) {
    EXPECT_NEAR(actual[0], expected[0], 1e-12);
    EXPECT_NEAR(actual[1], expected[1], 1e-12);
    EXPECT_NEAR(actual[2], expected[2], 1e-12);
}

DoubleAttribute AtZero(const std::vector<GroupAttribute::Child>& children) {
    return CalcTransformMatrixAtTime(XForm(children), 0.0f).first;
}

const Attribute kMove = DoubleAttribute({10, 20, 30}, 3);
const Attribute kQuarterTurnAboutZ = DoubleAttribute({90, 0, 0, 1}, 4);
const Attribute kStretchX = DoubleAttribute({2, 1, 1}, 3);

} // namespace

TEST(XFormUtil, AnInvalidOrEmptyGroupGivesNoMatrix) {
    EXPECT_FALSE(CalcTransformMatrixAtTime(GroupAttribute(), 0).first.isValid());
    EXPECT_FALSE(CalcTransformMatrixAtTime(GroupAttribute(), 0).second);
    EXPECT_FALSE(CalcTransformMatrixAtTime(GroupAttribute(false), 0).first.isValid());
    EXPECT_FALSE(CalcTransformMatrixAtExistingTimes(GroupAttribute(false)).first.isValid());
    EXPECT_FALSE(CalcTransformMatrixAtExistingTimes(GroupAttribute(false)).second);
}

TEST(XFormUtil, AMatrixIsSixteenDoublesInOneTuple) {
    const auto [matrix, used] = CalcTransformMatrixAtTime(XForm({{"translate", kMove}}), 0.25f);
    EXPECT_TRUE(used);
    EXPECT_EQ(matrix.getNumberOfValues(), 16);
    EXPECT_EQ(matrix.getTupleSize(), 16);
    EXPECT_EQ(matrix.getNumberOfTimeSamples(), 1);
    EXPECT_EQ(matrix.getSampleTime(0), 0.25f);
}

TEST(XFormUtil, TranslationSitsInTheLastRow) {
    const auto sample = AtZero({{"translate", kMove}}).getNearestSample(0);
    EXPECT_EQ(std::vector<double>(sample.begin(), sample.end()),
              std::vector<double>({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1}));
}

TEST(XFormUtil, RotationIsInDegreesCounterClockwiseAboutItsAxis) {
    ExpectNear(Apply(AtZero({{"rotate", kQuarterTurnAboutZ}}), {1, 0, 0}), {0, 1, 0});
    ExpectNear(Apply(AtZero({{"rotate", DoubleAttribute({90, 0, 2, 0}, 4)}}), {1, 0, 0}),
               {0, 0, -1});
}

TEST(XFormUtil, ARotationAboutNoAxisTurnsNothing) {
    const auto [matrix, used] =
        CalcTransformMatrixAtTime(XForm({{"rotate", DoubleAttribute({90, 0, 0, 0}, 4)}}), 0);
    EXPECT_TRUE(used);
    ExpectNear(Apply(matrix, {1, 2, 3}), {1, 2, 3});
}

TEST(XFormUtil, ScaleAndShearActOnTheirAxes) {
    ExpectNear(Apply(AtZero({{"scale", DoubleAttribute({2, 3, 4}, 3)}}), {1, 1, 1}), {2, 3, 4});
    const DoubleAttribute shear = AtZero({{"shear", DoubleAttribute({5, 7, 11}, 3)}});
    ExpectNear(Apply(shear, {0, 1, 0}), {5, 1, 0});
    ExpectNear(Apply(shear, {0, 0, 1}), {7, 11, 1});
}

TEST(XFormUtil, AMatrixIsReadRowByRow) {
    const Attribute swapXY = DoubleAttribute({0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1}, 16);
    ExpectNear(Apply(AtZero({{"matrix", swapXY}}), {1, 2, 3}), {6, 6, 9});
}

TEST(XFormUtil, ChildrenAreAppliedFromLastToFirst) {
    // Scaled to (2,0,0), turned to (0,2,0), moved.
    ExpectNear(
        Apply(AtZero({{"translate", kMove}, {"rotate", kQuarterTurnAboutZ}, {"scale", kStretchX}}),
              {1, 0, 0}),
        {10, 22, 30});
    // Moved to (11,20,30), turned to (-20,11,30), scaled.
    ExpectNear(
        Apply(AtZero({{"scale", kStretchX}, {"rotate", kQuarterTurnAboutZ}, {"translate", kMove}}),
              {1, 0, 0}),
        {-40, 11, 30});
}

TEST(XFormUtil, AMatrixIsComposedLikeTheStepsThatItStandsFor) {
    const Attribute turnAsMatrix =
        DoubleAttribute({0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, 16);
    ExpectNear(Apply(AtZero({{"translate", kMove}, {"matrix", turnAsMatrix}, {"scale", kStretchX}}),
                     {1, 0, 0}),
               {10, 22, 30});
}

TEST(XFormUtil, AChainOfGroupsIsAppliedFromTheLeafUpwards) {
    const GroupAttribute root = XForm({{"translate", kMove}});
    const GroupAttribute leaf = XForm({{"rotate", kQuarterTurnAboutZ}, {"scale", kStretchX}});
    ExpectNear(Apply(AtZero({{"i0", root}, {"i1", leaf}}), {1, 0, 0}), {10, 22, 30});
    ExpectNear(Apply(AtZero({{"i0", leaf}, {"i1", root}}), {1, 0, 0}), {-20, 22, 30});
}

TEST(XFormUtil, AKindIsToldByTheBeginningOfTheName) {
    ExpectNear(Apply(AtZero({{"translateWorld", kMove}, {"translate_2", kMove}}), {0, 0, 0}),
               {20, 40, 60});
}

TEST(XFormUtil, OriginForgetsEverythingAboveIt) {
    const Attribute one = DoubleAttribute(1.0);
    ExpectNear(
        Apply(AtZero({{"translate", kMove}, {"origin", one}, {"scale", kStretchX}}), {1, 0, 0}),
        {2, 0, 0});
    const GroupAttribute leaf = XForm({{"originHere", NullAttribute()}, {"scale", kStretchX}});
    ExpectNear(Apply(AtZero({{"i0", XForm({{"translate", kMove}})}, {"i1", leaf}}), {1, 0, 0}),
               {2, 0, 0});
}

TEST(XFormUtil, AnOriginAloneIsTheIdentity) {
    const auto [matrix, used] =
        CalcTransformMatrixAtExistingTimes(XForm({{"origin", NullAttribute()}}));
    EXPECT_TRUE(used);
    EXPECT_EQ(matrix.getSampleTime(0), 0.0f);
    ExpectNear(Apply(matrix, {1, 2, 3}), {1, 2, 3});
}

TEST(XFormUtil, OtherNamesTypesAndShortValuesAreSkipped) {
    const auto [matrix, used] =
        CalcTransformMatrixAtTime(XForm({{"pivot", kMove},
                                         {"translate", StringAttribute({"1", "2", "3"}, 3)},
                                         {"scale", DoubleAttribute({2, 2}, 2)},
                                         {"rotate", DoubleAttribute({90, 0, 1}, 3)},
                                         {"matrix", StringAttribute("identity")}}),
                                  0);
    EXPECT_FALSE(used);
    EXPECT_FALSE(matrix.isValid());
}

TEST(XFormUtil, IntegersAreReadAsDoublesAre) {
    ExpectNear(Apply(AtZero({{"translate", IntAttribute({1, -2, 3}, 3)}}), {0, 0, 0}), {1, -2, 3});
}

TEST(XFormUtil, FloatsAreReadAsDoublesAre) {
    ExpectNear(Apply(AtZero({{"translate", FloatAttribute({0.5f, 0.25f, 8.0f}, 3)}}), {0, 0, 0}),
               {0.5, 0.25, 8.0});
}

TEST(XFormUtil, ValuesAreInterpolatedBetweenSamples) {
    const std::map<float, std::vector<double>> samples = {{0.0f, {0, 0, 0}}, {1.0f, {10, 0, 0}}};
    const GroupAttribute xform = XForm({{"translate", DoubleAttribute(samples, 3)}});
    ExpectNear(Apply(CalcTransformMatrixAtTime(xform, 0.25f).first, {0, 0, 0}), {2.5, 0, 0});
    ExpectNear(Apply(CalcTransformMatrixAtTime(xform, 7.0f).first, {0, 0, 0}), {10, 0, 0});
}

TEST(XFormUtil, ExistingTimesAreThoseOfAllStepsTogether) {
    const std::map<float, std::vector<double>> moves = {{0.0f, {0, 0, 0}}, {1.0f, {10, 0, 0}}};
    const std::map<float, std::vector<float>> scales = {{-0.5f, {1, 1, 1}}, {0.5f, {3, 1, 1}}};
    const std::map<float, std::vector<double>> ignored = {{0.0f, {0}}, {9.0f, {0}}};
    const GroupAttribute inner = XForm({{"scale", FloatAttribute(scales, 3)}});
    const auto [matrix, used] =
        CalcTransformMatrixAtExistingTimes(XForm({{"translate", DoubleAttribute(moves, 3)},
                                                  {"inner", inner},
                                                  {"other", DoubleAttribute(ignored, 1)}}));
    EXPECT_TRUE(used);
    ASSERT_EQ(matrix.getNumberOfTimeSamples(), 4);
    EXPECT_EQ(matrix.getSampleTime(0), -0.5f);
    EXPECT_EQ(matrix.getSampleTime(1), 0.0f);
    EXPECT_EQ(matrix.getSampleTime(2), 0.5f);
    EXPECT_EQ(matrix.getSampleTime(3), 1.0f);
    ExpectNear(Apply(matrix, {1, 0, 0}, 0), {1, 0, 0});
    ExpectNear(Apply(matrix, {1, 0, 0}, 1), {2, 0, 0});
    ExpectNear(Apply(matrix, {1, 0, 0}, 2), {8, 0, 0});
    ExpectNear(Apply(matrix, {1, 0, 0}, 3), {13, 0, 0});
}

TEST(XFormUtil, IntegersMoveAsDoublesDo) {
    const std::map<float, std::vector<std::int32_t>> moves = {{-1.0f, {0, 0, 0}},
                                                              {1.0f, {5, -5, 0}}};
    const GroupAttribute xform = XForm({{"translate", IntAttribute(moves, 3)}});
    ExpectNear(Apply(CalcTransformMatrixAtTime(xform, 0.0f).first, {0, 0, 0}), {2.5, -2.5, 0});
    ExpectNear(Apply(CalcTransformMatrixAtTime(xform, 0.5f).first, {0, 0, 0}), {3.75, -3.75, 0});
    const auto [matrix, used] = CalcTransformMatrixAtExistingTimes(xform);
    EXPECT_TRUE(used);
    ASSERT_EQ(matrix.getNumberOfTimeSamples(), 2);
    EXPECT_EQ(matrix.getSampleTime(0), -1.0f);
    EXPECT_EQ(matrix.getSampleTime(1), 1.0f);
    ExpectNear(Apply(matrix, {0, 0, 0}, 0), {0, 0, 0});
    ExpectNear(Apply(matrix, {0, 0, 0}, 1), {5, -5, 0});
}

TEST(XFormUtil, AnIntegerMatrixKeepsItsSamples) {
    const std::map<float, std::vector<std::int32_t>> samples = {
        {0.0f, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}},
        {1.0f, {3, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 7, 0, 1}}};
    const GroupAttribute xform = XForm({{"matrix", IntAttribute(samples, 16)}});
    ExpectNear(Apply(CalcTransformMatrixAtTime(xform, 0.5f).first, {1, 0, 0}), {2, 3.5, 0});
    EXPECT_EQ(CalcTransformMatrixAtExistingTimes(xform).first.getNumberOfTimeSamples(), 2);
}

TEST(XFormUtil, NamesTellHowManyValuesAStepNeeds) {
    EXPECT_EQ(ValuesOfStep("translate"), 3);
    EXPECT_EQ(ValuesOfStep("rotateX"), 4);
    EXPECT_EQ(ValuesOfStep("scale2"), 3);
    EXPECT_EQ(ValuesOfStep("shear"), 3);
    EXPECT_EQ(ValuesOfStep("matrix"), 16);
    EXPECT_EQ(ValuesOfStep("origin"), 0);
    EXPECT_FALSE(ValuesOfStep("tranlate").has_value());
    EXPECT_FALSE(ValuesOfStep("").has_value());
}
