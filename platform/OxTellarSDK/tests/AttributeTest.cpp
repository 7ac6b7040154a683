#include <OxTellarSDK/Attribute.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <xxhash.h>

#include "AttributeNode.h"
#include "AttributePrinter.h"
#include "CollidingNames.h"

using namespace OxAttribute;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

std::uint32_t CountOf(const Attribute& attribute) {
    return attribute.getHandle()->refCount.load();
}

template <typename Body>
std::string ErrorOf(Body body) {
    try {
        body();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

template <typename T>
std::vector<T> ValuesAt(const NumericAttribute<T>& attribute, float time) {
    const ConstSample<T> sample = attribute.getNearestSample(time);
    return {sample.begin(), sample.end()};
}

std::vector<std::string> StringsOf(const ConstStringSample& sample) {
    std::vector<std::string> strings;
    for (const std::string_view string : sample)
        strings.emplace_back(string);
    return strings;
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

IntAttribute OneSample(float time, std::int32_t value) {
    return IntAttribute(&time, 1, &value, 1, 1);
}

std::vector<std::string> NamesOf(const GroupAttribute& group) {
    std::vector<std::string> names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        names.push_back(group.getChildName(i));
    return names;
}

/// `count` children "c0", "c1", ... with the values 0, 1, ...
GroupAttribute NumberedGroup(int count) {
    std::vector<GroupAttribute::Child> children;
    for (int i = 0; i < count; ++i)
        children.emplace_back("c" + std::to_string(i), IntAttribute(i));
    return GroupAttribute(children, true);
}

GroupAttribute ChainOfGroups(int levels) {
    GroupAttribute group(true);
    for (int i = 1; i < levels; ++i)
        group = GroupAttribute({{"g", group}}, true);
    return group;
}

int IntAt(const GroupAttribute& group, std::string_view path) {
    return IntAttribute(group.getChildByName(path)).getValue(-1, false);
}

} // namespace

// Handles

TEST(Attribute, ADefaultOneIsInvalidAndAnswersNothing) {
    const Attribute attribute;
    EXPECT_FALSE(attribute.isValid());
    EXPECT_EQ(attribute.getType(), kAttributeTypeInvalid);
    EXPECT_EQ(attribute.getHash(), Hash());
    EXPECT_EQ(attribute.getXML(), "");
    EXPECT_EQ(attribute.getHandle(), nullptr);
    EXPECT_EQ(attribute.getRetainedHandle(), nullptr);
}

TEST(Attribute, IsOnePointerWide) {
    EXPECT_EQ(sizeof(Attribute), sizeof(void*));
    EXPECT_EQ(sizeof(GroupAttribute), sizeof(void*));
    EXPECT_EQ(sizeof(StringAttribute), sizeof(void*));
}

TEST(Attribute, TwoInvalidOnesAreEqualAndDifferFromEveryValidOne) {
    EXPECT_EQ(Attribute(), Attribute());
    EXPECT_EQ(Attribute(), IntAttribute(Attribute()));
    EXPECT_NE(Attribute(), NullAttribute());
    EXPECT_NE(IntAttribute(0), Attribute());
}

TEST(Attribute, CopiesShareTheValueAndCountIt) {
    const IntAttribute first(7);
    {
        const Attribute second = first;
        EXPECT_EQ(second.getHandle(), first.getHandle());
        EXPECT_EQ(CountOf(first), 2u);
    }
    EXPECT_EQ(CountOf(first), 1u);
}

TEST(Attribute, MovingLeavesAnInvalidHandleAndCountsNothing) {
    Attribute first = IntAttribute(7);
    const Attribute second = std::move(first);
    EXPECT_FALSE(first.isValid()); // NOLINT(bugprone-use-after-move): that is the contract
    EXPECT_EQ(CountOf(second), 1u);
}

TEST(Attribute, AssignsItselfWithoutLosingTheValue) {
    Attribute attribute = IntAttribute(7);
    Attribute& alias = attribute;
    attribute = alias;
    EXPECT_EQ(CountOf(attribute), 1u);
    EXPECT_EQ(IntAttribute(attribute).getValue(), 7);
}

TEST(Attribute, AssignmentLetsTheOldValueGo) {
    const IntAttribute kept(1);
    Attribute attribute = kept;
    attribute = IntAttribute(2);
    EXPECT_EQ(CountOf(kept), 1u);
    EXPECT_EQ(IntAttribute(attribute).getValue(), 2);
}

TEST(Attribute, SwapExchangesWithoutCounting) {
    Attribute one = IntAttribute(1), nothing;
    one.swap(nothing);
    EXPECT_FALSE(one.isValid());
    EXPECT_EQ(IntAttribute(nothing).getValue(), 1);
    EXPECT_EQ(CountOf(nothing), 1u);
}

TEST(Attribute, CHandlesAreSharedStolenRetainedAndDetached) {
    Attribute attribute = IntAttribute(5);
    OxAttributeStruct* const handle = attribute.getRetainedHandle();
    EXPECT_EQ(CountOf(attribute), 2u);
    const Attribute shared = Attribute::CreateAndRetain(handle);
    EXPECT_EQ(CountOf(attribute), 3u);
    { const Attribute stolen = Attribute::CreateAndSteal(handle); }
    EXPECT_EQ(CountOf(attribute), 2u);
    OxAttributeStruct* const detached = attribute.detach();
    EXPECT_FALSE(attribute.isValid());
    EXPECT_EQ(CountOf(shared), 2u);
    Attribute::release(detached);
    EXPECT_EQ(CountOf(shared), 1u);
}

TEST(Attribute, NullCHandlesMakeInvalidAttributes) {
    EXPECT_FALSE(Attribute::CreateAndRetain(nullptr).isValid());
    EXPECT_FALSE(Attribute::CreateAndSteal(nullptr).isValid());
    EXPECT_EQ(Attribute().detach(), nullptr);
}

TEST(Attribute, AViewOfAnotherTypeIsInvalid) {
    const Attribute values[] = {IntAttribute(1),      FloatAttribute(1.0f), DoubleAttribute(1.0),
                                StringAttribute("1"), GroupAttribute(true), NullAttribute()};
    for (const Attribute& value : values) {
        SCOPED_TRACE(value.getXML());
        EXPECT_EQ(IntAttribute(value).isValid(), value.getType() == kAttributeTypeInt);
        EXPECT_EQ(FloatAttribute(value).isValid(), value.getType() == kAttributeTypeFloat);
        EXPECT_EQ(DoubleAttribute(value).isValid(), value.getType() == kAttributeTypeDouble);
        EXPECT_EQ(StringAttribute(value).isValid(), value.getType() == kAttributeTypeString);
        EXPECT_EQ(GroupAttribute(value).isValid(), value.getType() == kAttributeTypeGroup);
        EXPECT_EQ(NullAttribute(value).isValid(), value.getType() == kAttributeTypeNull);
    }
}

TEST(Attribute, MovingIntoAViewOfAnotherTypeLeaksNothing) {
    const IntAttribute number(1);
    Attribute copy = number;
    EXPECT_FALSE(StringAttribute(std::move(copy)).isValid());
    copy = Attribute();
    EXPECT_EQ(CountOf(number), 1u);
}

TEST(Attribute, TypesHaveTheirCodes) {
    EXPECT_EQ(NullAttribute().getType(), 0);
    EXPECT_EQ(IntAttribute(0).getType(), 1);
    EXPECT_EQ(FloatAttribute(0).getType(), 2);
    EXPECT_EQ(DoubleAttribute(0).getType(), 3);
    EXPECT_EQ(StringAttribute("").getType(), 4);
    EXPECT_EQ(GroupAttribute(true).getType(), 5);
}

// Numbers

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

// Strings

TEST(StringAttribute, HoldsAnyBytesNulIncluded) {
    const StringAttribute attribute({std::string_view("a\0b", 3), "", "\xff\xfe"}, 1);
    EXPECT_THAT(StringsOf(attribute.getNearestSample(0)),
                ElementsAre(std::string("a\0b", 3), "", "\xff\xfe"));
    EXPECT_EQ(attribute.getValue(), std::string("a\0b", 3));
}

TEST(StringAttribute, EveryStringIsFollowedByANul) {
    const StringAttribute attribute({"", "ab", ""}, 1);
    const ConstStringSample sample = attribute.getNearestSample(0);
    EXPECT_STREQ(sample[0].data(), "");
    EXPECT_STREQ(sample[1].data(), "ab");
    EXPECT_STREQ(sample[2].data(), "");
    EXPECT_EQ(attribute.getValueView().data()[attribute.getValueView().size()], '\0');
}

TEST(StringAttribute, IsMadeAlikeInEveryWay) {
    const std::string_view views[] = {"x", "yz"};
    const StringAttribute fromPointer(views, 2, 2);
    EXPECT_EQ(fromPointer, StringAttribute({"x", "yz"}, 2));
    EXPECT_EQ(fromPointer, StringAttribute(std::vector<std::string>{"x", "yz"}, 2));
    EXPECT_EQ(fromPointer, StringAttribute({{0.0f, {"x", "yz"}}}, 2));
    EXPECT_EQ(StringAttribute("x"), StringAttribute(std::string_view("x")));
    EXPECT_EQ(StringAttribute("x"), StringAttribute({"x"}, 1));
}

TEST(StringAttribute, AnEmptyStringIsAValueAndNoStringIsNone) {
    EXPECT_EQ(StringAttribute("").getValue("default"), "");
    EXPECT_EQ(StringAttribute(nullptr, 0, 1).getValue("default", false), "default");
    EXPECT_EQ(ErrorOf([] { StringAttribute(nullptr, 0, 1).getValue(); }),
              "Attribute has no value.");
    EXPECT_EQ(ErrorOf([] { StringAttribute().getValue(); }), "Attribute has no value.");
    EXPECT_EQ(StringAttribute().getValueView(), "");
    EXPECT_NE(StringAttribute(""), StringAttribute(nullptr, 0, 1));
}

TEST(StringAttribute, TimeSamplesAreFoundByTimeAndByIndex) {
    const StringAttribute attribute({{-1.0f, {"a", "b"}}, {1.0f, {"c", "d"}}}, 1);
    EXPECT_THAT(StringsOf(attribute.getNearestSample(0)), ElementsAre("a", "b"));
    EXPECT_THAT(StringsOf(attribute.getNearestSample(0.5f)), ElementsAre("c", "d"));
    EXPECT_THAT(StringsOf(attribute.getSample(1)), ElementsAre("c", "d"));
    EXPECT_THAT(StringsOf(attribute.getSample(2)), IsEmpty());
    EXPECT_THAT(StringsOf(attribute.getSample(-1)), IsEmpty());
    EXPECT_EQ(attribute.getValue(), "a");
}

TEST(StringAttribute, RefusesSamplesOfDifferentSizes) {
    EXPECT_EQ(ErrorOf([] {
                  StringAttribute({{0.0f, {"a"}}, {1.0f, {"b", "c"}}}, 1);
              }),
              "Error building attribute time samples are different sizes.");
}

TEST(StringAttribute, RefusesANegativeNumberOfValues) {
    const std::string_view value = "x";
    EXPECT_THROW(StringAttribute(&value, -1, 1), std::invalid_argument);
}

TEST(StringAttribute, ASampleKeepsTheValueAlive) {
    const ConstStringSample sample =
        StringAttribute({"some longer text that is nowhere else", "b"}, 1).getNearestSample(0);
    EXPECT_EQ(sample[0], "some longer text that is nowhere else");
    EXPECT_EQ(sample[1], "b");
    const ConstStringSample second = StringAttribute("second").getSample(0);
    EXPECT_EQ(second[0], "second");
}

TEST(StringAttribute, AnInvalidOneHasEmptySamples) {
    EXPECT_TRUE(StringAttribute().getNearestSample(0).empty());
    EXPECT_TRUE(StringAttribute().getSample(0).empty());
    const StringAttribute attribute;
    EXPECT_TRUE(attribute.getNearestSample(0).empty());
    EXPECT_EQ(attribute.getNearestSampleIndex(0), -1);
}

// Equality and hashes

TEST(AttributeHash, EqualContentHasEqualHashesWhereverItWasMade) {
    EXPECT_EQ(FloatAttribute({1, 2}, 2).getHash(), FloatAttribute({1, 2}, 2).getHash());
    EXPECT_EQ(StringAttribute({"a", "b"}, 1), StringAttribute({{0.0f, {"a", "b"}}}, 1));
    EXPECT_EQ(NullAttribute(), NullAttribute());
    EXPECT_EQ(GroupAttribute({{"a", IntAttribute(1)}}, true),
              GroupAttribute({{"a", IntAttribute(1)}}, true));
}

TEST(AttributeHash, IsTheSameWhenAskedAgain) {
    const GroupAttribute group({{"a", StringAttribute("x")}}, false);
    const Hash hash = group.getHash();
    EXPECT_EQ(group.getHash(), hash);
    EXPECT_NE(hash, Hash());
}

TEST(AttributeHash, EveryDifferenceOfContentShows) {
    const IntAttribute one(1);
    const std::vector<Attribute> values = {
        NullAttribute(),
        one,
        IntAttribute(2),
        IntAttribute(0),
        FloatAttribute(0),
        FloatAttribute(-0.0f),
        DoubleAttribute(0),
        DoubleAttribute(-0.0),
        FloatAttribute(std::nanf("1")),
        FloatAttribute(std::nanf("2")),
        IntAttribute({1, 1}, 1),
        IntAttribute({1, 1}, 2),
        IntAttribute({{0.0f, {1}}, {1.0f, {1}}}, 1),
        IntAttribute({{0.0f, {1}}, {2.0f, {1}}}, 1),
        OneSample(1.0f, 1),
        OneSample(-0.0f, 1),
        IntAttribute({}, 1),
        IntAttribute({}, 2),
        FloatAttribute({}, 1),
        DoubleAttribute({}, 1),
        StringAttribute(nullptr, 0, 1),
        StringAttribute(""),
        StringAttribute({"", ""}, 1),
        StringAttribute("ab"),
        StringAttribute({"a", "b"}, 1),
        StringAttribute({"ab", ""}, 1),
        StringAttribute({"", "ab"}, 1),
        StringAttribute(std::string_view("a\0b", 3)),
        StringAttribute({{0.0f, {"a"}}, {1.0f, {"b"}}}, 1),
        GroupAttribute(true),
        GroupAttribute(false),
        GroupAttribute({{"a", one}}, true),
        GroupAttribute({{"a", one}}, false),
        GroupAttribute({{"b", one}}, true),
        GroupAttribute({{"", one}}, true),
        GroupAttribute({{"a", NullAttribute()}}, true),
        GroupAttribute({{"a", GroupAttribute(true)}}, true),
        GroupAttribute({{"a", GroupAttribute(false)}}, true),
        GroupAttribute({{"a", one}, {"b", one}}, true),
        GroupAttribute({{"b", one}, {"a", one}}, true),
        GroupAttribute({{"a.b", one}}, true),
        GroupAttribute({{"a", GroupAttribute({{"b", one}}, true)}}, true),
    };
    for (std::size_t i = 0; i < values.size(); ++i)
        for (std::size_t j = 0; j < values.size(); ++j)
            EXPECT_EQ(values[i] == values[j], i == j)
                << values[i].getXML() << values[j].getXML() << i << ' ' << j;
}

TEST(AttributeHash, TheTextIs32LowerCaseDigitsFirstWordFirst) {
    const Hash hash{{0x0123456789abcdef, 0xf}};
    EXPECT_EQ(hash.str(), "0123456789abcdef000000000000000f");
    EXPECT_EQ(hash.uint64(), 0x0123456789abcdefu);
    EXPECT_EQ(Hash().str(), std::string(32, '0'));
}

TEST(AttributeHash, IsOrderedByTheFirstWordThenTheSecond) {
    EXPECT_LT((Hash{{1, 9}}), (Hash{{2, 0}}));
    EXPECT_LT((Hash{{1, 0}}), (Hash{{1, 1}}));
    EXPECT_FALSE((Hash{{1, 1}}) < (Hash{{1, 1}}));
    EXPECT_FALSE((Hash{{2, 0}}) < (Hash{{1, 9}}));
}

// Hashes must agree between machines and processes, so they are pinned here. Who changes them on
// purpose changes these lines.
TEST(AttributeHash, TheValuesAreTheSameOnEveryMachine) {
    EXPECT_EQ(IntAttribute(1).getHash().str(), "1eb303cbf1dd1c349aaeb1bd4bafd1b8");
    EXPECT_EQ(StringAttribute({"a", "bc"}, 1).getHash().str(), "81766edf0fdffbf0af914a9107ea1e40");
    EXPECT_EQ(GroupAttribute({{"a", FloatAttribute({1, 2, 3}, 3)}}, false).getHash().str(),
              "f5751a15c8ab1d68cbf03b27733076a1");
}

TEST(AttributeHash, ManyDifferentValuesHaveDifferentHashes) {
    std::set<Hash> hashes;
    for (int i = 0; i < 100000; ++i)
        hashes.insert(IntAttribute(i).getHash());
    EXPECT_EQ(hashes.size(), 100000u);
}

// Groups

TEST(GroupAttribute, KeepsTheOrderOfItsChildren) {
    const GroupAttribute group(
        {{"z", IntAttribute(1)}, {"a", IntAttribute(2)}, {"m", IntAttribute(3)}}, true);
    EXPECT_THAT(NamesOf(group), ElementsAre("z", "a", "m"));
    EXPECT_EQ(IntAttribute(group.getChildByIndex(1)).getValue(), 2);
    EXPECT_EQ(group.findChild("m"), 2);
    EXPECT_EQ(group.findChild("b"), -1);
}

TEST(GroupAttribute, OfEqualNamesTheLastWinsAndTakesTheFirstPlace) {
    const GroupAttribute group(
        {{"a", IntAttribute(1)}, {"b", IntAttribute(2)}, {"a", IntAttribute(3)}}, true);
    EXPECT_THAT(NamesOf(group), ElementsAre("a", "b"));
    EXPECT_EQ(IntAt(group, "a"), 3);
}

TEST(GroupAttribute, InvalidChildrenAreLeftOutAndReplaceNothing) {
    const GroupAttribute group({{"a", Attribute()}, {"b", IntAttribute(2)}, {"b", Attribute()}},
                               true);
    EXPECT_THAT(NamesOf(group), ElementsAre("b"));
    EXPECT_EQ(IntAt(group, "b"), 2);
}

TEST(GroupAttribute, MayBeEmpty) {
    const GroupAttribute group(true);
    EXPECT_TRUE(group.isValid());
    EXPECT_EQ(group.getNumberOfChildren(), 0);
    EXPECT_EQ(group.findChild(""), -1);
    EXPECT_FALSE(group.getChildByName("").isValid());
    EXPECT_EQ(group, GroupAttribute(std::vector<GroupAttribute::Child>(), true));
}

TEST(GroupAttribute, TellsWhetherItInherits) {
    EXPECT_TRUE(GroupAttribute(true).getGroupInherit());
    EXPECT_FALSE(GroupAttribute(false).getGroupInherit());
    EXPECT_FALSE(GroupAttribute({{"a", IntAttribute(1)}}, false).getGroupInherit());
    EXPECT_TRUE(GroupAttribute().getGroupInherit());
}

TEST(GroupAttribute, AnInvalidOneHasNoChildren) {
    const GroupAttribute group;
    EXPECT_EQ(group.getNumberOfChildren(), 0);
    EXPECT_EQ(group.getChildName(0), "");
    EXPECT_FALSE(group.getChildByIndex(0).isValid());
    EXPECT_FALSE(group.getChildByName("a").isValid());
    EXPECT_EQ(group.findChild("a"), -1);
    EXPECT_EQ(group.findChild("a", 0), -1);
}

TEST(GroupAttribute, IndicesOutOfRangeGiveNothing) {
    const GroupAttribute group = NumberedGroup(3);
    EXPECT_EQ(group.getChildName(3), "");
    EXPECT_EQ(group.getChildName(-1), "");
    EXPECT_FALSE(group.getChildByIndex(3).isValid());
    EXPECT_FALSE(group.getChildByIndex(-1).isValid());
    EXPECT_FALSE(group.getChildByIndex(std::numeric_limits<std::int64_t>::max()).isValid());
}

TEST(GroupAttribute, FindsChildrenByDottedPath) {
    const GroupAttribute inner({{"P", IntAttribute(7)}}, true);
    const GroupAttribute group(
        {{"geometry", GroupAttribute({{"point", inner}}, true)}, {"n", IntAttribute(1)}}, true);
    EXPECT_EQ(IntAt(group, "geometry.point.P"), 7);
    EXPECT_EQ(group.getChildByName("geometry.point"), inner);
    EXPECT_EQ(IntAt(group, "n"), 1);
    EXPECT_FALSE(group.getChildByName("geometry.point.P.x").isValid());
    EXPECT_FALSE(group.getChildByName("n.x").isValid());
    EXPECT_FALSE(group.getChildByName("geometry..P").isValid());
    EXPECT_FALSE(group.getChildByName("geometry.").isValid());
    EXPECT_FALSE(group.getChildByName(".geometry").isValid());
    EXPECT_FALSE(group.getChildByName("").isValid());
    EXPECT_FALSE(group.getChildByName(".").isValid());
}

TEST(GroupAttribute, EmptyNamesAreNamesToo) {
    const GroupAttribute group({{"", GroupAttribute({{"", IntAttribute(4)}}, true)}}, true);
    EXPECT_EQ(IntAt(group, "."), 4);
    EXPECT_TRUE(group.getChildByName("").isValid());
    EXPECT_FALSE(group.getChildByName("..").isValid());
}

TEST(GroupAttribute, ANameWithADotIsFoundByItsWholeNameOnly) {
    const GroupAttribute group(
        {{"a.b", IntAttribute(1)}, {"a", GroupAttribute({{"b", IntAttribute(2)}}, true)}}, true);
    EXPECT_EQ(group.findChild("a.b"), 0);
    EXPECT_EQ(IntAt(group, "a.b"), 2);
    EXPECT_EQ(group.getChildName(0), "a.b");
    const GroupAttribute alone({{"a.b", IntAttribute(1)}}, true);
    EXPECT_FALSE(alone.getChildByName("a.b").isValid());
}

TEST(GroupAttribute, NamesMayHoldAnyBytesAndEndInANul) {
    const std::string name("x\0y", 3);
    const GroupAttribute group({{name, IntAttribute(1)}, {"x", IntAttribute(2)}}, true);
    EXPECT_EQ(group.getChildName(0), name);
    EXPECT_EQ(group.findChild(name), 0);
    EXPECT_EQ(group.findChild("x"), 1);
    EXPECT_EQ(group.getChildNameView(0).data()[3], '\0');
    EXPECT_STREQ(group.getChildNameView(1).data(), "x");
}

TEST(GroupAttribute, NamesMayBeVeryLong) {
    const std::string name(1 << 20, 'n');
    const GroupAttribute group({{name, IntAttribute(1)}, {name + "2", IntAttribute(2)}}, true);
    EXPECT_EQ(group.findChild(name), 0);
    EXPECT_EQ(group.findChild(name + "2"), 1);
    EXPECT_EQ(group.findChild(name + "3"), -1);
}

class GroupOfSize : public testing::TestWithParam<int> {};

// Around the size from which children are found through an index.
INSTANTIATE_TEST_SUITE_P(GroupAttribute, GroupOfSize,
                         testing::Values(1, 2, 7, 8, 9, 10, 16, 17, 255, 1000, 65537));

TEST_P(GroupOfSize, FindsEachChildAndNoOther) {
    const GroupAttribute group = NumberedGroup(GetParam());
    ASSERT_EQ(group.getNumberOfChildren(), GetParam());
    for (int i = 0; i < GetParam(); ++i) {
        const std::string name = "c" + std::to_string(i);
        ASSERT_EQ(group.findChild(name), i);
        ASSERT_EQ(IntAt(group, name), i);
        ASSERT_EQ(group.findChild("d" + std::to_string(i)), -1);
    }
}

TEST_P(GroupOfSize, AHintChangesNoAnswer) {
    const GroupAttribute group = NumberedGroup(GetParam());
    const std::int64_t last = GetParam() - 1;
    for (const std::int64_t hint : {std::int64_t(-1), std::int64_t(0), last, last + 1}) {
        SCOPED_TRACE(hint);
        EXPECT_EQ(group.findChild("c0", hint), 0);
        EXPECT_EQ(group.findChild("c" + std::to_string(last), hint), last);
        EXPECT_EQ(group.findChild("none", hint), -1);
    }
}

class GroupOfCollidingNames : public testing::TestWithParam<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(GroupAttribute, GroupOfCollidingNames, testing::Values(2, 8, 9, 40));

TEST_P(GroupOfCollidingNames, TellsNamesWithOneHashApart) {
    const std::vector<std::string> names = CollidingNames::make(GetParam() + 1);
    std::vector<GroupAttribute::Child> children = {{"other", IntAttribute(-1)}};
    for (std::size_t i = 0; i < GetParam(); ++i) {
        ASSERT_EQ(HashName(names[i]), HashName(names[0]));
        children.emplace_back(names[i], IntAttribute(static_cast<int>(i)));
    }
    const GroupAttribute group(children, true);
    for (std::size_t i = 0; i < GetParam(); ++i) {
        const std::int64_t index = group.findChild(names[i]);
        EXPECT_EQ(index, static_cast<std::int64_t>(i) + 1);
        EXPECT_EQ(IntAttribute(group.getChildByIndex(index)).getValue(), static_cast<int>(i));
    }
    EXPECT_EQ(group.findChild(names.back()), -1);
}

TEST(GroupAttribute, AChildOutlivesItsGroup) {
    Attribute child;
    {
        const GroupAttribute group({{"a", GroupAttribute({{"b", StringAttribute("kept")}}, true)}},
                                   true);
        child = group.getChildByName("a.b");
    }
    EXPECT_EQ(StringAttribute(child).getValue(), "kept");
    EXPECT_EQ(CountOf(child), 1u);
}

TEST(GroupAttribute, DottedLookupLeavesTheCountsAsTheyWere) {
    const IntAttribute leaf(1);
    const GroupAttribute inner({{"b", leaf}}, true);
    const GroupAttribute group({{"a", inner}}, true);
    { const Attribute found = group.getChildByName("a.b"); }
    EXPECT_FALSE(group.getChildByName("a.c").isValid());
    EXPECT_EQ(CountOf(leaf), 2u);
    EXPECT_EQ(CountOf(inner), 2u);
    EXPECT_EQ(CountOf(group), 1u);
}

TEST(GroupAttribute, ATemporaryGroupGivesItsChildrenSafely) {
    const auto make = [] {
        return GroupAttribute({{"a", GroupAttribute({{"b", StringAttribute("deep")}}, true)}},
                              true);
    };
    EXPECT_EQ(StringAttribute(make().getChildByName("a.b")).getValue(), "deep");
    EXPECT_EQ(StringAttribute(GroupAttribute(make().getChildByIndex(0)).getChildByIndex(0))
                  .getNearestSample(0)[0],
              "deep");
}

TEST(GroupAttribute, NestsExactlyAsDeepAsAllowed) {
    const GroupAttribute deepest = ChainOfGroups(kMaxGroupDepth);
    EXPECT_EQ(kMaxGroupDepth, 2048);
    EXPECT_EQ(ErrorOf([&] {
                  GroupAttribute({{"g", deepest}}, true);
              }),
              "Groups cannot be nested deeper than 2048 levels");
    EXPECT_EQ(ErrorOf([&] {
                  GroupAttribute({{"i", IntAttribute(1)}, {"g", deepest}}, true);
              }),
              "Groups cannot be nested deeper than 2048 levels");
}

TEST(GroupAttribute, TheDeepestGroupIsHashedSearchedAndLetGo) {
    GroupAttribute deepest = ChainOfGroups(kMaxGroupDepth);
    EXPECT_EQ(deepest, ChainOfGroups(kMaxGroupDepth));
    EXPECT_NE(deepest, ChainOfGroups(kMaxGroupDepth - 1));
    std::string path = "g";
    for (int i = 2; i < kMaxGroupDepth; ++i)
        path += ".g";
    EXPECT_EQ(deepest.getChildByName(path), GroupAttribute(true));
    EXPECT_FALSE(deepest.getChildByName(path + ".g").isValid());
    deepest = GroupAttribute();
}

TEST(GroupAttribute, AHugeFlatGroupIsHashedSearchedAndLetGo) {
    const int count = 300000;
    GroupAttribute group = NumberedGroup(count);
    EXPECT_EQ(group, NumberedGroup(count));
    EXPECT_EQ(IntAt(group, "c299999"), 299999);
    EXPECT_EQ(group.findChild("c300000"), -1);
    group = GroupAttribute();
}

TEST(GroupAttribute, OneValueMayBeSharedByManyGroups) {
    const IntAttribute leaf(1);
    {
        std::vector<GroupAttribute> groups;
        for (int i = 0; i < 1000; ++i)
            groups.push_back(GroupAttribute({{"a", leaf}, {"b", leaf}}, true));
        EXPECT_EQ(CountOf(leaf), 2001u);
    }
    EXPECT_EQ(CountOf(leaf), 1u);
}
