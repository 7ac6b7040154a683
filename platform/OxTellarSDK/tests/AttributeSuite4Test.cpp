#include "AttributeSuite4Test.h"

#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/ErrorHandle.h>
#include <OxTellarSDK/TellarError.h>

#include "AttributePrinter.h"
#include "RunTogether.h"

namespace {

using namespace OxAttribute;
using testing::ElementsAre;

const OxAttributeSuite_v4& Suite() {
    return *OxGetBuiltInAttributeSuite4();
}

/// The facts of the error that a call assigns; a code of 0 for no error.
class Called {
public:
    ~Called() { Suite().releaseError(error); }
    /// For one call, which forgets the error of the call before.
    OxErrorStruct** operator&() {
        Suite().releaseError(error);
        error = nullptr;
        return &error;
    }
    int code() const { return facts().code; }
    std::string text() const { return facts().text; }
    std::string attribute() const { return facts().attribute; }

private:
    OxErrorFacts facts() const {
        OxErrorFacts told;
        Suite().getErrorFacts(error, &told);
        return told;
    }
    // Not null: every call has to assign it.
    OxErrorStruct* error = OxErrorToHandle(TellarError(kOxErrorUnknown, "untouched").getFacts());
};

/// The attribute of a handle that was returned.
Attribute Own(OxAttributeStruct* handle) {
    return Attribute::CreateAndSteal(handle);
}

const FloatAttribute
    kMoving(std::map<float, std::vector<float>>{{-1.0f, {0, 10, 20}}, {1.0f, {2, 14, 26}}}, 3);
const GroupAttribute kGroup({{"a", IntAttribute(1)},
                             {"b.c", IntAttribute(2)},
                             {"d", GroupAttribute({{"e", IntAttribute(3)}}, false)}},
                            false);

TEST(AttributeSuite4, TellsItsSizeAndVersion) {
    EXPECT_EQ(Suite().size, sizeof(OxAttributeSuite_v4));
    EXPECT_EQ(Suite().version, 4u);
    const auto* const slots = reinterpret_cast<void* const*>(&Suite().retainError);
    for (std::size_t i = 0;
         i < (sizeof Suite() - offsetof(OxAttributeSuite_v4, retainError)) / sizeof(void*); ++i)
        EXPECT_NE(slots[i], nullptr) << i;
}

TEST(AttributeSuite4, ComparesByContent) {
    const IntAttribute a(5), same(5), other(6);
    std::uint64_t words[2];
    Suite().getHash(a.getHandle(), words);
    EXPECT_THAT(words, ElementsAre(a.getHash().words[0], a.getHash().words[1]));
    EXPECT_EQ(Suite().isEqual(a.getHandle(), same.getHandle()), 1);
    EXPECT_EQ(Suite().isEqual(a.getHandle(), other.getHandle()), 0);
    EXPECT_EQ(Suite().isEqual(a.getHandle(), nullptr), 0);
}

TEST(AttributeSuite4, MakesErrorsOfPlugins) {
    OxErrorFacts facts{};
    facts.code = kOxErrorFile;
    facts.text = "no such file";
    facts.file = "a.ply";
    OxErrorStruct* const error = Suite().createError(&facts);
    Suite().retainError(error);
    Suite().releaseError(error);
    OxErrorFacts told;
    Suite().getErrorFacts(error, &told);
    EXPECT_EQ(told.code, kOxErrorFile);
    EXPECT_STREQ(told.text, "no such file");
    EXPECT_STREQ(told.file, "a.ply");
    EXPECT_STREQ(told.op, "");
    Suite().releaseError(error);
    OxErrorStruct* const nothing = Suite().createError(nullptr);
    EXPECT_NE(nothing, nullptr);
    Suite().releaseError(nothing);
}

TEST(AttributeSuite4, GivesSamplesWithoutACopy) {
    Called called;
    std::int64_t count = 0;
    const float* const values = Suite().getFloatSample(kMoving.getHandle(), 0.6f, &count, &called);
    EXPECT_EQ(called.code(), 0);
    ASSERT_EQ(count, 3);
    EXPECT_EQ(values, kMoving.getNearestSample(0.6f).data());
}

TEST(AttributeSuite4, NamesTheTypeThatASampleDoesNotHave) {
    Called called;
    std::int64_t count = 7;
    EXPECT_EQ(Suite().getIntSample(kMoving.getHandle(), 0, &count, &called), nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(called.code(), kOxErrorValue);
    EXPECT_EQ(called.text(), "the attribute is of type float and not int");
    EXPECT_EQ(Suite().getDoubleSample(kGroup.getHandle(), 0, nullptr, &called), nullptr);
    EXPECT_EQ(called.text(), "the attribute is of type group and not double");
}

TEST(AttributeSuite4, DescribesAllSamplesInOneCall) {
    Called called;
    OxSamples samples;
    ASSERT_EQ(Suite().getSamples(kMoving.getHandle(), &samples, &called), 1);
    EXPECT_EQ(called.code(), 0);
    EXPECT_EQ(samples.type, kAttributeTypeFloat);
    EXPECT_EQ(samples.tupleSize, 3);
    ASSERT_EQ(samples.valueCount, 3);
    ASSERT_EQ(samples.sampleCount, 2);
    EXPECT_THAT(std::vector<float>(samples.times, samples.times + 2), ElementsAre(-1, 1));
    const auto* const values = static_cast<const float*>(samples.values);
    EXPECT_THAT(std::vector<float>(values, values + 6), ElementsAre(0, 10, 20, 2, 14, 26));

    ASSERT_EQ(Suite().getSamples(IntAttribute(5).getHandle(), &samples, &called), 1);
    EXPECT_EQ(samples.times[0], 0.0f);
    ASSERT_EQ(Suite().getSamples(StringAttribute("x").getHandle(), &samples, &called), 0);
    EXPECT_EQ(called.code(), kOxErrorValue);
    EXPECT_EQ(samples.values, nullptr);
}

TEST(AttributeSuite4, ReadsNumbersOfAnyTypeAtAnyTime) {
    Called called;
    double doubles[3];
    const OxAttributeStruct* const moving = kMoving.getHandle();
    EXPECT_EQ(Suite().readDoubles(moving, 0.5f, kOxLinear, doubles, 3, &called), 3);
    EXPECT_THAT(doubles, ElementsAre(1.5, 13, 24.5));
    EXPECT_EQ(Suite().readDoubles(moving, 0.5f, kOxNearest, doubles, 3, &called), 3);
    EXPECT_THAT(doubles, ElementsAre(2, 14, 26));
    EXPECT_EQ(Suite().readDoubles(moving, -9, kOxLinear, doubles, 3, &called), 3);
    EXPECT_THAT(doubles, ElementsAre(0, 10, 20));
    std::int32_t ints[3];
    EXPECT_EQ(Suite().readInts(moving, 0.5f, kOxLinear, ints, 3, &called), 3);
    EXPECT_THAT(ints, ElementsAre(2, 13, 25));
    float floats[2] = {7, 7};
    EXPECT_EQ(Suite().readFloats(IntAttribute({4, 5, 6}, 1).getHandle(), 0, kOxNearest, floats, 1,
                                 &called),
              3);
    EXPECT_THAT(floats, ElementsAre(4, 7));
    EXPECT_EQ(Suite().readFloats(moving, 0, kOxLinear, nullptr, 0, &called), 3);
    EXPECT_EQ(called.code(), 0);
}

TEST(AttributeSuite4, ReadsFloatsAsTheInterfaceForCppDoes) {
    for (const float time : {-2.0f, -1.0f, -0.3f, 0.0f, 0.7f, 1.0f, 5.0f}) {
        float expected[3];
        kMoving.fillInterpSample(expected, 3, time);
        float values[3];
        EXPECT_EQ(Suite().readFloats(kMoving.getHandle(), time, kOxLinear, values, 3, nullptr), 3);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(values[i], expected[i]) << time;
    }
}

TEST(AttributeSuite4, RefusesNumbersThatAreNoIntegers) {
    for (const double value : {3e9, -3e9, double(NAN), double(INFINITY)}) {
        Called called;
        std::int32_t read = 0;
        EXPECT_EQ(
            Suite().readInts(DoubleAttribute(value).getHandle(), 0, kOxNearest, &read, 1, &called),
            -1);
        EXPECT_EQ(called.code(), kOxErrorValue) << value;
    }
}

TEST(AttributeSuite4, RefusesWrongArgumentsByName) {
    Called called;
    float value = 0;
    const OxAttributeStruct* const moving = kMoving.getHandle();
    EXPECT_EQ(Suite().readFloats(nullptr, 0, kOxLinear, &value, 1, &called), -1);
    EXPECT_EQ(called.text(), "readFloats: data is null");
    EXPECT_EQ(called.attribute(), "data");
    EXPECT_EQ(Suite().readFloats(moving, 0, kOxLinear, nullptr, 1, &called), -1);
    EXPECT_EQ(called.attribute(), "values");
    EXPECT_EQ(Suite().readFloats(moving, 0, kOxLinear, &value, -1, &called), -1);
    EXPECT_EQ(called.attribute(), "capacity");
    EXPECT_EQ(Suite().readFloats(moving, 0, 2, &value, 1, &called), -1);
    EXPECT_EQ(called.attribute(), "interpolation");
    EXPECT_EQ(called.code(), kOxErrorBadCall);
    EXPECT_EQ(Suite().readFloats(nullptr, 0, kOxLinear, &value, 1, nullptr), -1);
}

TEST(AttributeSuite4, GivesTextsWithTheirLengths) {
    Called called;
    const StringAttribute texts({"plain", std::string_view("a\0b", 3)}, 1);
    std::int64_t length = 0;
    EXPECT_STREQ(Suite().getString(texts.getHandle(), 0, 0, &length, &called), "plain");
    EXPECT_EQ(length, 5);
    const char* const second = Suite().getString(texts.getHandle(), 0, 1, &length, &called);
    EXPECT_EQ(std::string(second, static_cast<std::size_t>(length)), std::string("a\0b", 3));
    EXPECT_EQ(called.code(), 0);
    EXPECT_EQ(Suite().getString(texts.getHandle(), 0, 2, &length, &called), nullptr);
    EXPECT_EQ(called.attribute(), "index");
    EXPECT_EQ(length, 0);
}

TEST(AttributeSuite4, FindsChildren) {
    Called called;
    const OxAttributeStruct* const group = kGroup.getHandle();
    EXPECT_EQ(Own(Suite().getChildByName(group, "d.e", &called)), IntAttribute(3));
    EXPECT_EQ(Own(Suite().getChildByIndex(group, 1, &called)), IntAttribute(2));
    EXPECT_EQ(Suite().getChildByName(group, "x", &called), nullptr);
    EXPECT_EQ(Suite().getChildByIndex(group, 3, &called), nullptr);
    EXPECT_EQ(called.code(), 0);
    EXPECT_EQ(Suite().getChildByName(kMoving.getHandle(), "x", &called), nullptr);
    EXPECT_EQ(called.code(), kOxErrorValue);
    EXPECT_EQ(Suite().getChildByName(group, nullptr, &called), nullptr);
    EXPECT_EQ(called.attribute(), "path");
}

TEST(AttributeSuite4, ReplacesAndRemovesChildren) {
    Called called;
    const OxAttributeStruct* const group = kGroup.getHandle();
    const IntAttribute nine(9);
    const GroupAttribute replaced(Own(Suite().withChild(group, "d.e", nine.getHandle(), &called)));
    EXPECT_EQ(replaced, GroupAttribute({{"a", IntAttribute(1)},
                                        {"b.c", IntAttribute(2)},
                                        {"d", GroupAttribute({{"e", nine}}, false)}},
                                       false));
    const GroupAttribute added(Own(Suite().withChild(group, "x.y.z", nine.getHandle(), &called)));
    EXPECT_EQ(added.getChildByName("x.y.z"), nine);
    EXPECT_EQ(added.getNumberOfChildren(), 4);
    const GroupAttribute removed(Own(Suite().withChild(group, "d", nullptr, &called)));
    EXPECT_EQ(removed, GroupAttribute({{"a", IntAttribute(1)}, {"b.c", IntAttribute(2)}}, false));
    EXPECT_EQ(Own(Suite().withChild(group, "x.y", nullptr, &called)), kGroup);
    EXPECT_EQ(Own(Suite().withChild(nullptr, "a", nine.getHandle(), &called)),
              GroupAttribute({{"a", nine}}, true));
    EXPECT_EQ(called.code(), 0);
    const std::string deep(1000000, '.');
    EXPECT_EQ(Suite().withChild(group, deep.c_str(), nine.getHandle(), &called), nullptr);
    EXPECT_EQ(called.attribute(), "path");
}

TEST(AttributeSuite4, MakesAttributes) {
    Called called;
    const std::int32_t ints[] = {1, 2};
    const float floats[] = {1, 2};
    const double doubles[] = {1, 2};
    const char* const texts[] = {"x", nullptr};
    EXPECT_EQ(Own(Suite().createInt(ints, 2, 2, &called)), IntAttribute({1, 2}, 2));
    EXPECT_EQ(Own(Suite().createFloat(floats, 2, 1, &called)), FloatAttribute({1, 2}, 1));
    EXPECT_EQ(Own(Suite().createDouble(doubles, 2, 1, &called)), DoubleAttribute({1, 2}, 1));
    EXPECT_EQ(Own(Suite().createString(texts, 2, 1, &called)), StringAttribute({"x", ""}, 1));
    EXPECT_EQ(Own(Suite().createNull(&called)), NullAttribute());
    const IntAttribute one(1);
    const char* const names[] = {"a", "b"};
    OxAttributeStruct* const children[] = {one.getHandle(), nullptr};
    EXPECT_EQ(Own(Suite().createGroup(names, children, 2, 1, &called)),
              GroupAttribute({{"a", one}}, true));
    EXPECT_EQ(called.code(), 0);
    EXPECT_EQ(Suite().createInt(ints, 2, 0, &called), nullptr);
    EXPECT_EQ(called.attribute(), "tupleSize");
    EXPECT_EQ(Suite().createFloat(floats, 2, 3, &called), nullptr);
    EXPECT_EQ(called.attribute(), "count");
    EXPECT_EQ(Suite().createString(nullptr, 1, 1, &called), nullptr);
    EXPECT_EQ(called.attribute(), "values");
}

TEST(AttributeSuite4, MakesSampledAttributesOfWhatItDescribes) {
    Called called;
    OxSamples samples;
    ASSERT_EQ(Suite().getSamples(kMoving.getHandle(), &samples, &called), 1);
    EXPECT_EQ(Own(Suite().createSamples(&samples, &called)), kMoving);
    EXPECT_EQ(called.code(), 0);
    const float unordered[] = {1, -1};
    samples.times = unordered;
    EXPECT_EQ(Suite().createSamples(&samples, &called), nullptr);
    EXPECT_EQ(called.code(), kOxErrorValue);
    EXPECT_EQ(called.text(), "Error building attribute time samples do not ascend.");
    samples.type = kAttributeTypeString;
    EXPECT_EQ(Suite().createSamples(&samples, &called), nullptr);
    EXPECT_EQ(called.attribute(), "samples->type");
    samples.sampleCount = 0;
    EXPECT_EQ(Suite().createSamples(&samples, &called), nullptr);
    EXPECT_EQ(Suite().createSamples(nullptr, &called), nullptr);
    EXPECT_EQ(called.attribute(), "samples");
}

TEST(AttributeSuite4, ToleratesNullWhereNothingCanFail) {
    Suite().retain(nullptr);
    Suite().release(nullptr);
    Suite().retainError(nullptr);
    Suite().releaseError(nullptr);
    EXPECT_EQ(Suite().getType(nullptr), kAttributeTypeInvalid);
    EXPECT_EQ(Suite().getNumberOfChildren(nullptr), 0);
    EXPECT_EQ(Suite().getChildName(nullptr, 0), nullptr);
    EXPECT_EQ(Suite().getTupleSize(nullptr), 0);
    EXPECT_EQ(Suite().isEqual(nullptr, nullptr), 1);
    Suite().getErrorFacts(nullptr, nullptr);
}

// From C ------------------------------------------------------------------------------------------

struct NamedCheck {
    const char* name;
    AttributeSuite4Check* check;
};

std::string NameOfCheck(const testing::TestParamInfo<NamedCheck>& info) {
    return info.param.name;
}

class AttributeSuite4FromC : public testing::TestWithParam<NamedCheck> {};

INSTANTIATE_TEST_SUITE_P(
    AttributeSuite4, AttributeSuite4FromC,
    testing::Values(NamedCheck{"TellsOfNullHandles", checkCallsWithNullHandles},
                    NamedCheck{"WorksWithoutAPlaceForErrors", checkCallsThatTakeNoError},
                    NamedCheck{"TellsOfWrongTypes", checkCallsOfTheWrongType},
                    NamedCheck{"TellsOfWrongCalls", checkRefusedCalls},
                    NamedCheck{"AssignsNullWhereItSucceeds", checkSuccessAssignsNull},
                    NamedCheck{"HandsOutReferencesOfTheirOwn", checkReferencesOfResults},
                    NamedCheck{"MakesErrorsForPlugins", checkErrorsOfAPlugin},
                    NamedCheck{"RefusesGroupsThatAreTooDeep", checkTooDeep}),
    NameOfCheck);

TEST_P(AttributeSuite4FromC, AllChecksHold) {
    const int failedLine = GetParam().check(&Suite());
    EXPECT_EQ(failedLine, 0) << "AttributeSuite4Test.c:" << failedLine;
}

TEST(AttributeSuite4, MayBeUsedOnOneAttributeByManyThreads) {
    const FloatAttribute floats(
        std::map<float, std::vector<float>>{{-1.0f, {0, 10}}, {1.0f, {2, 14}}}, 1);
    RunTogether(8, [&](int) { EXPECT_EQ(readFloatsOften(&Suite(), floats.getHandle()), 0); });
}

TEST(AttributeSuite4, MayShareAnErrorAmongManyThreads) {
    OxErrorFacts facts{};
    facts.text = "shared";
    OxErrorStruct* const error = Suite().createError(&facts);
    RunTogether(8, [&](int) {
        for (int round = 0; round < 2000; ++round) {
            Suite().retainError(error);
            OxErrorFacts told;
            Suite().getErrorFacts(error, &told);
            EXPECT_STREQ(told.text, "shared");
            Suite().releaseError(error);
        }
    });
    Suite().releaseError(error);
}

} // namespace
