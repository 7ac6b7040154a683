#include <OxTellarSDK/Attribute.h>

#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "ErrorOf.h"

using namespace OxAttribute;
using testing::ElementsAre;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

template <typename T>
std::vector<T> ValuesAt(const NumericAttribute<T>& attribute, float time) {
    const ConstSample<T> sample = attribute.getNearestSample(time);
    return {sample.begin(), sample.end()};
}

template <typename T>
T Interpolated(const NumericAttribute<T>& attribute, float time) {
    T value = 0;
    attribute.fillInterpSample(&value, 1, time);
    return value;
}

FloatAttribute TwoSamples() {
    return FloatAttribute({{1.0f, {10.0f, 100.0f}}, {3.0f, {20.0f, 200.0f}}}, 1);
}

} // namespace

TEST(NumericAttribute, HoldsOneValueInOneSampleAtTimeZero) {
    const IntAttribute attribute(-3);
    EXPECT_EQ(attribute.getValue(), -3);
    EXPECT_EQ(attribute.getTupleSize(), 1);
    EXPECT_EQ(attribute.getNumberOfValues(), 1);
    EXPECT_EQ(attribute.getNumberOfTuples(), 1);
    EXPECT_EQ(attribute.getNumberOfTimeSamples(), 1);
    EXPECT_EQ(attribute.getSampleTime(0), 0.0f);
}

TEST(NumericAttribute, HoldsTheExtremesOfItsType) {
    using Int = std::numeric_limits<std::int32_t>;
    using Double = std::numeric_limits<double>;
    EXPECT_EQ(IntAttribute(Int::min()).getValue(), Int::min());
    EXPECT_EQ(IntAttribute(Int::max()).getValue(), Int::max());
    EXPECT_EQ(DoubleAttribute(Double::lowest()).getValue(), Double::lowest());
    EXPECT_EQ(DoubleAttribute(Double::denorm_min()).getValue(), Double::denorm_min());
    EXPECT_TRUE(std::isnan(FloatAttribute(kNotANumber).getValue()));
    EXPECT_TRUE(std::signbit(FloatAttribute(-0.0f).getValue()));
}

TEST(NumericAttribute, CountsWholeTuplesOnly) {
    const FloatAttribute attribute({1, 2, 3, 4, 5, 6, 7}, 3);
    EXPECT_EQ(attribute.getTupleSize(), 3);
    EXPECT_EQ(attribute.getNumberOfValues(), 7);
    EXPECT_EQ(attribute.getNumberOfTuples(), 2);
}

TEST(NumericAttribute, IsMadeAlikeFromPointersListsAndVectors) {
    const std::int32_t values[] = {1, 2, 3};
    const IntAttribute fromPointer(values, 3, 3);
    const IntAttribute fromList({1, 2, 3}, 3);
    const IntAttribute fromVector(std::vector<std::int32_t>{1, 2, 3}, 3);
    const IntAttribute fromSamples(std::map<float, std::vector<int>>{{0.0f, {1, 2, 3}}}, 3);
    EXPECT_EQ(fromPointer, fromList);
    EXPECT_EQ(fromPointer, fromVector);
    EXPECT_EQ(fromPointer, fromSamples);
    EXPECT_THAT(ValuesAt(fromPointer, 0), ElementsAre(1, 2, 3));
}

TEST(NumericAttribute, MayHaveNoValues) {
    const DoubleAttribute attribute(nullptr, 0, 2);
    EXPECT_TRUE(attribute.isValid());
    EXPECT_EQ(attribute.getNumberOfValues(), 0);
    EXPECT_EQ(attribute.getNumberOfTuples(), 0);
    EXPECT_EQ(attribute.getNumberOfTimeSamples(), 1);
    EXPECT_TRUE(attribute.getNearestSample(0).empty());
    EXPECT_THROW(attribute.getValue(), std::runtime_error);
    EXPECT_EQ(attribute.getValue(4.5, false), 4.5);
}

TEST(NumericAttribute, AnEmptyMapOfSamplesGivesOneEmptySample) {
    const IntAttribute attribute(std::map<float, std::vector<std::int32_t>>(), 4);
    EXPECT_EQ(attribute.getNumberOfTimeSamples(), 1);
    EXPECT_EQ(attribute.getSampleTime(0), 0.0f);
    EXPECT_EQ(attribute.getNumberOfValues(), 0);
    EXPECT_EQ(attribute.getTupleSize(), 4);
}

TEST(NumericAttribute, SamplesMayAllBeEmpty) {
    const FloatAttribute attribute({{0.0f, {}}, {1.0f, {}}}, 1);
    EXPECT_EQ(attribute.getNumberOfTimeSamples(), 2);
    EXPECT_EQ(attribute.getNumberOfValues(), 0);
    EXPECT_TRUE(attribute.getNearestSample(1).empty());
    EXPECT_EQ(attribute.getValue(9.0f, false), 9.0f);
}

TEST(NumericAttribute, AnInvalidOneAnswersZeroToEverything) {
    const FloatAttribute attribute;
    EXPECT_EQ(attribute.getTupleSize(), 0);
    EXPECT_EQ(attribute.getNumberOfValues(), 0);
    EXPECT_EQ(attribute.getNumberOfTuples(), 0);
    EXPECT_EQ(attribute.getNumberOfTimeSamples(), 0);
    EXPECT_EQ(attribute.getSampleTime(0), 0.0f);
    EXPECT_EQ(attribute.getNearestSampleIndex(0), -1);
    EXPECT_TRUE(attribute.getNearestSample(0).empty());
    EXPECT_TRUE(FloatAttribute().getNearestSample(0).empty());
}

TEST(NumericAttribute, WithoutAValueGetValueThrowsOrGivesTheDefault) {
    EXPECT_EQ(ErrorOf([] { FloatAttribute().getValue(); }), "Attribute has no value.");
    EXPECT_EQ(ErrorOf([] { FloatAttribute({}, 1).getValue(); }), "Attribute has no value.");
    EXPECT_EQ(FloatAttribute().getValue(2.5f, false), 2.5f);
    EXPECT_EQ(IntAttribute(StringAttribute("7")).getValue(3, false), 3);
}

TEST(NumericAttribute, RefusesATupleSizeBelowOne) {
    EXPECT_THROW(IntAttribute({1, 2}, 0), std::invalid_argument);
    EXPECT_THROW(IntAttribute({1, 2}, -1), std::invalid_argument);
    EXPECT_THROW(FloatAttribute(nullptr, 0, 0), std::invalid_argument);
    EXPECT_THROW(StringAttribute({"a"}, 0), std::invalid_argument);
}

TEST(NumericAttribute, TheLargestTupleSizeIsThatOfA32BitInteger) {
    EXPECT_EQ(IntAttribute({1}, 2147483647).getTupleSize(), 2147483647);
    EXPECT_THROW(IntAttribute({1}, 2147483648), std::invalid_argument);
}

TEST(NumericAttribute, RefusesANegativeNumberOfValues) {
    const double value = 1;
    EXPECT_THROW(DoubleAttribute(&value, -1, 1), std::invalid_argument);
}

TEST(NumericAttribute, RefusesMoreValuesThanMemoryCanHold) {
    const std::int32_t value = 1;
    EXPECT_THROW(IntAttribute(&value, std::int64_t(1) << 62, 1), std::bad_alloc);
    EXPECT_THROW(IntAttribute(&value, std::numeric_limits<std::int64_t>::max(), 1), std::bad_alloc);
}

TEST(NumericAttribute, RefusesSamplesOfDifferentSizes) {
    EXPECT_EQ(ErrorOf([] {
                  IntAttribute({{0.0f, {1, 2}}, {1.0f, {3}}}, 1);
              }),
              "Error building attribute time samples are different sizes.");
    EXPECT_EQ(ErrorOf([] {
                  DoubleAttribute({{0.0f, {}}, {1.0f, {3.0}}}, 1);
              }),
              "Error building attribute time samples are different sizes.");
}

TEST(NumericAttribute, RefusesTimesThatDoNotAscend) {
    const std::int32_t values[] = {1, 2};
    const auto errorFor = [&](float a, float b) {
        const float times[] = {a, b};
        return ErrorOf([&] { IntAttribute(times, 2, values, 1, 1); });
    };
    const std::string text = "Error building attribute time samples do not ascend.";
    EXPECT_EQ(errorFor(1, 0), text);
    EXPECT_EQ(errorFor(1, 1), text);
    EXPECT_EQ(errorFor(-0.0f, 0.0f), text);
    EXPECT_EQ(errorFor(0, kNotANumber), text);
    EXPECT_EQ(errorFor(0, kInfinity), text);
    EXPECT_EQ(errorFor(-kInfinity, 0), text);
    EXPECT_EQ(errorFor(0, 1), "no error");
}

TEST(NumericAttribute, RefusesNoTimesAtAll) {
    const float time = 0;
    const std::int32_t value = 1;
    EXPECT_THROW(IntAttribute(&time, 0, &value, 1, 1), std::runtime_error);
    EXPECT_THROW(IntAttribute(&time, -1, &value, 1, 1), std::runtime_error);
}

TEST(NumericAttribute, TellsItsSampleTimesInOrder) {
    const FloatAttribute attribute({{2.0f, {1}}, {-1.5f, {2}}, {0.25f, {3}}}, 1);
    EXPECT_EQ(attribute.getNumberOfTimeSamples(), 3);
    EXPECT_EQ(attribute.getSampleTime(0), -1.5f);
    EXPECT_EQ(attribute.getSampleTime(1), 0.25f);
    EXPECT_EQ(attribute.getSampleTime(2), 2.0f);
    EXPECT_EQ(attribute.getSampleTime(3), 0.0f);
    EXPECT_EQ(attribute.getSampleTime(-1), 0.0f);
}

TEST(NumericAttribute, FindsTheNearestSampleAndTheEarlierOfTwoAsNear) {
    const IntAttribute attribute({{0.0f, {0}}, {1.0f, {1}}, {2.0f, {2}}}, 1);
    EXPECT_EQ(attribute.getNearestSampleIndex(-100), 0);
    EXPECT_EQ(attribute.getNearestSampleIndex(0.49f), 0);
    EXPECT_EQ(attribute.getNearestSampleIndex(0.5f), 0);
    EXPECT_EQ(attribute.getNearestSampleIndex(0.51f), 1);
    EXPECT_EQ(attribute.getNearestSampleIndex(1.5f), 1);
    EXPECT_EQ(attribute.getNearestSampleIndex(2.0f), 2);
    EXPECT_EQ(attribute.getNearestSampleIndex(1e30f), 2);
    EXPECT_THAT(ValuesAt(attribute, 1.6f), ElementsAre(2));
}

TEST(NumericAttribute, FindsASampleForTimesThatAreNoNumber) {
    const IntAttribute attribute({{0.0f, {0}}, {1.0f, {1}}}, 1);
    EXPECT_EQ(attribute.getNearestSampleIndex(kNotANumber), 0);
    EXPECT_EQ(attribute.getNearestSampleIndex(-kInfinity), 0);
    EXPECT_EQ(attribute.getNearestSampleIndex(kInfinity), 1);
}

TEST(NumericAttribute, GetValueLooksAtTheSampleNearestToTimeZero) {
    EXPECT_EQ(IntAttribute({{-2.0f, {1}}, {1.0f, {2}}}, 1).getValue(), 2);
    EXPECT_EQ(IntAttribute({{-1.0f, {1}}, {1.0f, {2}}}, 1).getValue(), 1);
    EXPECT_EQ(IntAttribute({{5.0f, {1, 9}}, {6.0f, {2, 9}}}, 1).getValue(), 1);
}

TEST(NumericAttribute, ASampleKeepsTheValueAlive) {
    ConstSample<double> sample = DoubleAttribute({1.5, 2.5}, 1).getNearestSample(0);
    ASSERT_EQ(sample.size(), 2u);
    EXPECT_EQ(sample[0], 1.5);
    EXPECT_EQ(sample.data()[1], 2.5);
    Attribute attribute = DoubleAttribute({3.5}, 1);
    sample = DoubleAttribute(attribute).getNearestSample(0);
    attribute = Attribute();
    EXPECT_EQ(sample[0], 3.5);
}

TEST(NumericAttribute, ASampleIsReadInPlace) {
    const FloatAttribute attribute({{0.0f, {1, 2}}, {1.0f, {3, 4}}}, 1);
    EXPECT_EQ(attribute.getNearestSample(0).data() + 2, attribute.getNearestSample(1).data());
}

TEST(NumericAttribute, InterpolatesBetweenSamplesAndHoldsBeyondThem) {
    const FloatAttribute attribute = TwoSamples();
    EXPECT_EQ(Interpolated(attribute, -5), 10.0f);
    EXPECT_EQ(Interpolated(attribute, 1), 10.0f);
    EXPECT_EQ(Interpolated(attribute, 1.5f), 12.5f);
    EXPECT_EQ(Interpolated(attribute, 2), 15.0f);
    EXPECT_EQ(Interpolated(attribute, 3), 20.0f);
    EXPECT_EQ(Interpolated(attribute, 7), 20.0f);
    EXPECT_EQ(Interpolated(attribute, kInfinity), 20.0f);
    EXPECT_EQ(Interpolated(attribute, -kInfinity), 10.0f);
}

TEST(NumericAttribute, InterpolatesInTheRightInterval) {
    const DoubleAttribute attribute({{0.0f, {0}}, {1.0f, {8}}, {3.0f, {16}}, {4.0f, {0}}}, 1);
    EXPECT_EQ(Interpolated(attribute, 0.25f), 2.0);
    EXPECT_EQ(Interpolated(attribute, 1), 8.0);
    EXPECT_EQ(Interpolated(attribute, 2), 12.0);
    EXPECT_EQ(Interpolated(attribute, 3.5f), 8.0);
}

TEST(NumericAttribute, InterpolatesEachValueOfATuple) {
    float values[2] = {0, 0};
    TwoSamples().fillInterpSample(values, 2, 2.0f);
    EXPECT_THAT(values, ElementsAre(15.0f, 150.0f));
}

TEST(NumericAttribute, ASampleItselfIsTakenExactlyEvenBesideInfinity) {
    const FloatAttribute attribute({{0.0f, {0.1f}}, {1.0f, {kInfinity}}}, 1);
    EXPECT_EQ(Interpolated(attribute, 0), 0.1f);
    EXPECT_EQ(Interpolated(attribute, 1), kInfinity);
}

TEST(NumericAttribute, InterpolatesOverTheWholeRangeOfTimes) {
    const float far = std::numeric_limits<float>::max();
    const FloatAttribute attribute({{-far, {0}}, {far, {8}}}, 1);
    EXPECT_EQ(Interpolated(attribute, 0), 4.0f);
    EXPECT_EQ(Interpolated(attribute, far / 2), 6.0f);
}

TEST(NumericAttribute, InterpolatesIntegersWithoutOverflow) {
    using Int = std::numeric_limits<std::int32_t>;
    const IntAttribute attribute({{0.0f, {Int::min()}}, {1.0f, {Int::max()}}}, 1);
    EXPECT_EQ(Interpolated(attribute, 0), Int::min());
    EXPECT_EQ(Interpolated(attribute, 0.5f), 0);
    EXPECT_EQ(Interpolated(attribute, 1), Int::max());
}

TEST(NumericAttribute, OneSampleHoldsForAllTimes) {
    const DoubleAttribute attribute(4.0);
    EXPECT_EQ(Interpolated(attribute, -1), 4.0);
    EXPECT_EQ(Interpolated(attribute, 0), 4.0);
    EXPECT_EQ(Interpolated(attribute, 1), 4.0);
}

TEST(NumericAttribute, TooFewValuesToInterpolateAreAnErrorOrTheDefault) {
    float values[3] = {-1, -1, -1};
    EXPECT_EQ(ErrorOf([&] { TwoSamples().fillInterpSample(values, 3, 1.0f); }),
              "Attribute has too few values.");
    TwoSamples().fillInterpSample(values, 3, 1.0f, 7.0f, false);
    EXPECT_THAT(values, ElementsAre(10.0f, 100.0f, 7.0f));
    FloatAttribute().fillInterpSample(values, 2, 1.0f, 5.0f, false);
    EXPECT_THAT(values, ElementsAre(5.0f, 5.0f, 7.0f));
    EXPECT_EQ(ErrorOf([&] { FloatAttribute().fillInterpSample(values, 1, 0.0f); }),
              "Attribute has too few values.");
}

TEST(NumericAttribute, FillingNothingWritesNothing) {
    float value = -1;
    TwoSamples().fillInterpSample(&value, 0, 2.0f);
    FloatAttribute().fillInterpSample(&value, 0, 2.0f);
    EXPECT_EQ(value, -1.0f);
}

TEST(NumericAttribute, ManySamplesAreAllFound) {
    std::map<float, std::vector<std::int32_t>> samples;
    for (int i = 0; i < 1000; ++i)
        samples[static_cast<float>(i)] = {i, -i};
    const IntAttribute attribute(samples, 2);
    EXPECT_EQ(attribute.getNumberOfTimeSamples(), 1000);
    EXPECT_THAT(ValuesAt(attribute, 0), ElementsAre(0, 0));
    EXPECT_THAT(ValuesAt(attribute, 777.4f), ElementsAre(777, -777));
    EXPECT_THAT(ValuesAt(attribute, 999), ElementsAre(999, -999));
}
