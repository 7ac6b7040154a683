#include <OxTellarSDK/Attribute.h>

#include <cstdint>
#include <utility>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "ReferenceCount.h"

using namespace OxAttribute;

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
        EXPECT_EQ(CountReferences(first), 2u);
    }
    EXPECT_EQ(CountReferences(first), 1u);
}

TEST(Attribute, MovingLeavesAnInvalidHandleAndCountsNothing) {
    Attribute first = IntAttribute(7);
    const Attribute second = std::move(first);
    EXPECT_FALSE(first.isValid()); // NOLINT(bugprone-use-after-move): that is the contract
    EXPECT_EQ(CountReferences(second), 1u);
}

TEST(Attribute, AssignsItselfWithoutLosingTheValue) {
    Attribute attribute = IntAttribute(7);
    Attribute& alias = attribute;
    attribute = alias;
    EXPECT_EQ(CountReferences(attribute), 1u);
    EXPECT_EQ(IntAttribute(attribute).getValue(), 7);
}

TEST(Attribute, AssignmentLetsTheOldValueGo) {
    const IntAttribute kept(1);
    Attribute attribute = kept;
    attribute = IntAttribute(2);
    EXPECT_EQ(CountReferences(kept), 1u);
    EXPECT_EQ(IntAttribute(attribute).getValue(), 2);
}

TEST(Attribute, SwapExchangesWithoutCounting) {
    Attribute one = IntAttribute(1), nothing;
    one.swap(nothing);
    EXPECT_FALSE(one.isValid());
    EXPECT_EQ(IntAttribute(nothing).getValue(), 1);
    EXPECT_EQ(CountReferences(nothing), 1u);
}

TEST(Attribute, CHandlesAreSharedStolenRetainedAndDetached) {
    Attribute attribute = IntAttribute(5);
    OxAttributeStruct* const handle = attribute.getRetainedHandle();
    EXPECT_EQ(CountReferences(attribute), 2u);
    const Attribute shared = Attribute::CreateAndRetain(handle);
    EXPECT_EQ(CountReferences(attribute), 3u);
    { const Attribute stolen = Attribute::CreateAndSteal(handle); }
    EXPECT_EQ(CountReferences(attribute), 2u);
    OxAttributeStruct* const detached = attribute.detach();
    EXPECT_FALSE(attribute.isValid());
    EXPECT_EQ(CountReferences(shared), 2u);
    Attribute::release(detached);
    EXPECT_EQ(CountReferences(shared), 1u);
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
    EXPECT_EQ(CountReferences(number), 1u);
}

TEST(Attribute, TypesHaveTheirCodes) {
    EXPECT_EQ(NullAttribute().getType(), 0);
    EXPECT_EQ(IntAttribute(0).getType(), 1);
    EXPECT_EQ(FloatAttribute(0).getType(), 2);
    EXPECT_EQ(DoubleAttribute(0).getType(), 3);
    EXPECT_EQ(StringAttribute("").getType(), 4);
    EXPECT_EQ(GroupAttribute(true).getType(), 5);
}
