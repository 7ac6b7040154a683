#include "AttributeSuiteTest.h"

#include <limits>

#include <gmock/gmock.h>

#include <OxTellarSDK/Attribute.h>

#include "CapturedLog.h"
#include "ReferenceCount.h"

using namespace OxAttribute;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const OxAttributeSuite_v1* Suite() {
    return OxGetBuiltInAttributeSuite();
}

struct NamedCheck {
    const char* name;
    AttributeSuiteCheck* check;
};

std::string PrintName(const testing::TestParamInfo<NamedCheck>& info) {
    return info.param.name;
}

} // namespace

class AttributeSuiteFromC : public testing::TestWithParam<NamedCheck> {};

INSTANTIATE_TEST_SUITE_P(
    AttributeSuite, AttributeSuiteFromC,
    testing::Values(NamedCheck{"AcceptsNullHandlesEverywhere", checkNullHandles},
                    NamedCheck{"MakesAndReadsNumbers", checkNumbers},
                    NamedCheck{"MakesAndReadsStrings", checkStrings},
                    NamedCheck{"MakesNullValues", checkNullValue},
                    NamedCheck{"MakesAndReadsGroups", checkGroups},
                    NamedCheck{"LeavesOutNullChildrenAndTakesTheLastOfAName",
                               checkLeftOutAndRepeatedChildren},
                    NamedCheck{"FindsChildrenByDottedPath", checkDottedPaths},
                    NamedCheck{"ComparesByContent", checkEqualityAndHashes},
                    NamedCheck{"HandsOutReferencesOfTheirOwn", checkReferences},
                    NamedCheck{"GivesNothingForAnotherType", checkWrongTypes},
                    NamedCheck{"RefusesImpossibleValues", checkRefusedValues},
                    NamedCheck{"RefusesGroupsThatAreTooDeep", checkTooDeepGroups},
                    NamedCheck{"WritesXml", checkXml}),
    PrintName);

TEST_P(AttributeSuiteFromC, AllChecksHold) {
    const int failedLine = GetParam().check(Suite());
    EXPECT_EQ(failedLine, 0) << "AttributeSuiteTest.c:" << failedLine;
}

TEST(AttributeSuite, ReadsTimeSamplesThatAHostMade) {
    const FloatAttribute floats({{1.0f, {10, 11}}, {3.0f, {20, 21}}}, 1);
    EXPECT_EQ(checkTimeSamples(Suite(), floats.getHandle()), 0);
    EXPECT_EQ(CountReferences(floats), 1u);
}

TEST(AttributeSuite, ReadsTheStringsOfTheNearestSample) {
    const StringAttribute strings({{0.0f, {"a", "b"}}, {1.0f, {"c", "d"}}}, 1);
    EXPECT_STREQ(Suite()->getString(strings.getHandle(), 0.4f, 1), "b");
    EXPECT_STREQ(Suite()->getString(strings.getHandle(), 0.6f, 1), "d");
    EXPECT_EQ(Suite()->getString(strings.getHandle(), 0.6f, 2), nullptr);
}

TEST(AttributeSuite, IsSetUpByTheHostOnly) {
    EXPECT_EQ(OxGetAttributeSuite(), nullptr);
    OxSetAttributeSuite(Suite());
    EXPECT_EQ(OxGetAttributeSuite(), Suite());
    OxSetAttributeSuite(nullptr);
    EXPECT_EQ(OxGetAttributeSuite(), nullptr);
}

TEST(AttributeSuite, FillsEverySlot) {
    const auto* const slots = reinterpret_cast<void* const*>(Suite());
    for (std::size_t i = 0; i < sizeof(OxAttributeSuite_v1) / sizeof(void*); ++i)
        EXPECT_NE(slots[i], nullptr) << i;
}

TEST(AttributeSuite, ReadingBorrowsAndLeavesTheCount) {
    const GroupAttribute group({{"a", IntAttribute(1)}}, true);
    OxAttributeStruct* const handle = group.getHandle();
    std::uint64_t words[2];
    Suite()->getType(handle);
    Suite()->getHash(handle, words);
    Suite()->isEqual(handle, handle);
    Suite()->getChildName(handle, 0);
    Suite()->getNumberOfChildren(handle);
    Suite()->getGroupInherit(handle);
    Suite()->release(Suite()->getXml(handle));
    Suite()->getChildByName(handle, "b");
    EXPECT_EQ(CountReferences(group), 1u);
}

TEST(AttributeSuite, WhatIsReturnedCarriesExactlyOneReference) {
    const IntAttribute child(1);
    const GroupAttribute group({{"a", child}}, true);
    EXPECT_EQ(CountReferences(child), 2u);
    OxAttributeStruct* const byIndex = Suite()->getChildByIndex(group.getHandle(), 0);
    EXPECT_EQ(CountReferences(child), 3u);
    OxAttributeStruct* const byName = Suite()->getChildByName(group.getHandle(), "a");
    EXPECT_EQ(CountReferences(child), 4u);
    Suite()->release(byIndex);
    Suite()->release(byName);
    Suite()->retain(child.getHandle());
    EXPECT_EQ(CountReferences(child), 3u);
    Suite()->release(child.getHandle());
    EXPECT_EQ(CountReferences(child), 2u);
}

TEST(AttributeSuite, AGroupTakesReferencesOfItsOwn) {
    const IntAttribute child(1);
    const char* const names[] = {"a", "b"};
    OxAttributeStruct* const children[] = {child.getHandle(), child.getHandle()};
    OxAttributeStruct* const group = Suite()->createGroup(names, children, 2, 1);
    EXPECT_EQ(CountReferences(child), 3u);
    Suite()->release(group);
    EXPECT_EQ(CountReferences(child), 1u);
}

TEST(AttributeSuite, ValuesMadeThroughItEqualThoseMadeInCpp) {
    const double values[] = {1, 2, 3};
    const char* const texts[] = {"a", "bc"};
    const auto owned = [](OxAttributeStruct* handle) { return Attribute::CreateAndSteal(handle); };
    EXPECT_EQ(owned(Suite()->createDouble(values, 3, 3)), DoubleAttribute({1, 2, 3}, 3));
    EXPECT_EQ(owned(Suite()->createString(texts, 2, 1)), StringAttribute({"a", "bc"}, 1));
    EXPECT_EQ(owned(Suite()->createNull()), NullAttribute());
    EXPECT_EQ(owned(Suite()->createGroup(nullptr, nullptr, 0, 0)), GroupAttribute(false));
    const Attribute xml = owned(Suite()->getXml(IntAttribute(5).getHandle()));
    EXPECT_EQ(StringAttribute(xml).getValue(), IntAttribute(5).getXML());
}

TEST(AttributeSuite, LogsWhyAValueCannotBeMade) {
    const CapturedLog log;
    const std::int32_t value = 1;
    EXPECT_EQ(Suite()->createInt(&value, 1, std::int64_t(1) << 40), nullptr);
    EXPECT_EQ(Suite()->createInt(&value, std::numeric_limits<std::int64_t>::max(), 1), nullptr);
    EXPECT_THAT(log.textsOf("AttributeHost"),
                ElementsAre(HasSubstr("tuple size"), HasSubstr("createInt")));
}

TEST(AttributeSuite, LogsNothingForNullHandles) {
    const CapturedLog log;
    checkNullHandles(Suite());
    checkRefusedValues(Suite());
    EXPECT_THAT(log.messages(), IsEmpty());
}
