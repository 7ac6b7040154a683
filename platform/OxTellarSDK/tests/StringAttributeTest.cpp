#include <OxTellarSDK/Attribute.h>

#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "ErrorOf.h"

using namespace OxAttribute;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> StringsOf(const ConstStringSample& sample) {
    std::vector<std::string> strings;
    for (const std::string_view string : sample)
        strings.emplace_back(string);
    return strings;
}

} // namespace

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
