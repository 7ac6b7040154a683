#include <OxTellarSDK/GlobalAttribute.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace OxAttribute;
using OxTellarCookInterfaceUtils::getGlobalAttrGeneric;

namespace {

/// The attributes of a location and its ancestors, nearest first.
class Levels : public OxTellarServices::BaseGlobalAttributeProviderLegacy {
public:
    explicit Levels(std::vector<GroupAttribute> levels) : levels(std::move(levels)) {}

    int provideAttribute(const std::string& name, int depth, Attribute& result) override {
        if (depth >= static_cast<int>(levels.size())) return 2;
        deepest = std::max(deepest, depth);
        result = levels[static_cast<std::size_t>(depth)].getChildByName(name);
        return 0;
    }

    int deepest = -1;

private:
    std::vector<GroupAttribute> levels;
};

GroupAttribute Open(const std::vector<GroupAttribute::Child>& children) {
    return GroupAttribute(children, true);
}
GroupAttribute Closed(const std::vector<GroupAttribute::Child>& children) {
    return GroupAttribute(children, false);
}
Attribute Int(int value) {
    return IntAttribute(value);
}

Attribute Get(Levels& levels, const std::string& name) {
    return getGlobalAttrGeneric(levels, name, "/root/world/geo", nullptr);
}

} // namespace

TEST(GlobalAttribute, TheNearestLocationWins) {
    Levels levels({Open({}), Open({{"a", Int(2)}}), Open({{"a", Int(3)}})});
    EXPECT_EQ(Get(levels, "a"), Int(2));
}

TEST(GlobalAttribute, NothingIsAskedAboveAPlainValue) {
    Levels levels({Open({{"a", Int(1)}}), Open({{"a", Int(2)}})});
    EXPECT_EQ(Get(levels, "a"), Int(1));
    EXPECT_EQ(levels.deepest, 0);
}

TEST(GlobalAttribute, AnAttributeThatNobodyHasIsInvalid) {
    Levels levels({Open({}), Open({})});
    std::string foundAt = "left from before";
    EXPECT_FALSE(getGlobalAttrGeneric(levels, "a", "/root/world", &foundAt).isValid());
    EXPECT_EQ(foundAt, "");
}

TEST(GlobalAttribute, FoundAtIsTheNearestContributor) {
    Levels levels({Open({}), Open({{"a", Open({{"x", Int(1)}})}}), Open({{"a", Open({})}})});
    std::string foundAt;
    getGlobalAttrGeneric(levels, "a", "/root/world/geo", &foundAt);
    EXPECT_EQ(foundAt, "/root/world");
}

TEST(GlobalAttribute, InheritingGroupsAreMergedNearerChildrenWinning) {
    Levels levels({Open({{"a", Open({{"x", Int(1)}, {"y", Int(1)}})}}),
                   Open({{"a", Open({{"y", Int(2)}, {"z", Int(2)}})}}),
                   Open({{"a", Open({{"z", Int(3)}, {"w", Int(3)}})}})});
    EXPECT_EQ(Get(levels, "a"), Open({{"z", Int(2)}, {"w", Int(3)}, {"y", Int(1)}, {"x", Int(1)}}));
}

TEST(GlobalAttribute, AGroupThatDoesNotInheritHidesWhatLiesAbove) {
    Levels levels({Open({{"a", Open({{"x", Int(1)}})}}), Open({{"a", Closed({{"y", Int(2)}})}}),
                   Open({{"a", Open({{"z", Int(3)}})}})});
    EXPECT_EQ(Get(levels, "a"), Open({{"y", Int(2)}, {"x", Int(1)}}));
    EXPECT_EQ(levels.deepest, 1);
}

TEST(GlobalAttribute, ALocationWithoutTheGroupHidesNothing) {
    Levels levels(
        {Open({{"a", Open({{"x", Int(1)}})}}), Open({}), Open({{"a", Open({{"y", Int(3)}})}})});
    EXPECT_EQ(Get(levels, "a"), Open({{"y", Int(3)}, {"x", Int(1)}}));
}

TEST(GlobalAttribute, NestedGroupsFollowTheSameRule) {
    Levels levels(
        {Open(
             {{"a", Open({{"open", Open({{"x", Int(1)}})}, {"closed", Closed({{"x", Int(1)}})}})}}),
         Open(
             {{"a", Open({{"open", Open({{"y", Int(2)}})}, {"closed", Open({{"y", Int(2)}})}})}})});
    EXPECT_EQ(Get(levels, "a"), Open({{"open", Open({{"y", Int(2)}, {"x", Int(1)}})},
                                      {"closed", Closed({{"x", Int(1)}})}}));
}

TEST(GlobalAttribute, ANestedGroupHidesThoseAboveItAlsoFromLocationsBelow) {
    Levels levels({Open({{"a", Open({{"n", Open({{"x", Int(1)}})}})}}),
                   Open({{"a", Open({{"n", Closed({{"y", Int(2)}})}})}}),
                   Open({{"a", Open({{"n", Open({{"z", Int(3)}})}})}})});
    EXPECT_EQ(Get(levels, "a.n"), Open({{"y", Int(2)}, {"x", Int(1)}}));
    EXPECT_EQ(Get(levels, "a"), Open({{"n", Open({{"y", Int(2)}, {"x", Int(1)}})}}));
}

TEST(GlobalAttribute, AValueAndAGroupAreNeverMerged) {
    Levels groupNear({Open({{"a", Open({{"x", Int(1)}})}}), Open({{"a", Int(2)}}),
                      Open({{"a", Open({{"z", Int(3)}})}})});
    EXPECT_EQ(Get(groupNear, "a"), Open({{"x", Int(1)}}));
    Levels valueNear({Open({{"a", Int(1)}}), Open({{"a", Open({{"x", Int(2)}})}})});
    EXPECT_EQ(Get(valueNear, "a"), Int(1));
}

TEST(GlobalAttribute, ADottedNameIsFoundAboveALocationWhoseGroupLacksIt) {
    Levels levels({Open({{"a", Open({{"x", Int(1)}})}}), Open({{"a", Open({{"b", Int(2)}})}})});
    EXPECT_EQ(Get(levels, "a.b"), Int(2));
}

TEST(GlobalAttribute, OnADottedNameAGroupThatDoesNotInheritHidesTheAncestors) {
    Levels missing({Open({{"a", Closed({{"x", Int(1)}})}}), Open({{"a", Open({{"b", Int(2)}})}})});
    EXPECT_FALSE(Get(missing, "a.b").isValid());
    Levels merged({Open({{"a", Closed({{"b", Open({{"x", Int(1)}})}})}}),
                   Open({{"a", Open({{"b", Open({{"y", Int(2)}})}})}})});
    EXPECT_EQ(Get(merged, "a.b"), Open({{"x", Int(1)}}));
    Levels deeper({Open({{"a", Open({{"b", Closed({})}})}}),
                   Open({{"a", Open({{"b", Open({{"c", Int(2)}})}})}})});
    EXPECT_FALSE(Get(deeper, "a.b.c").isValid());
}

TEST(GlobalAttribute, OnADottedNameAValueInPlaceOfAGroupHidesTheAncestors) {
    Levels levels({Open({{"a", Int(1)}}), Open({{"a", Open({{"b", Int(2)}})}})});
    EXPECT_FALSE(Get(levels, "a.b").isValid());
}

TEST(GlobalAttribute, ADottedNameGivesWhatTheWholeGroupGives) {
    Levels levels({Open({{"a", Open({{"b", Open({{"c", Int(1)}})}})}}),
                   Open({{"a", Open({{"b", Open({{"d", Int(2)}})}, {"e", Int(2)}})}})});
    EXPECT_EQ(Get(levels, "a.b"), GroupAttribute(Get(levels, "a")).getChildByName("b"));
    EXPECT_EQ(Get(levels, "a.b.d"), Int(2));
}

TEST(GlobalAttribute, AnyStatusButZeroEndsTheLookup) {
    class Broken : public OxTellarServices::BaseGlobalAttributeProviderLegacy {
        int provideAttribute(const std::string&, int, Attribute& result) override {
            result = IntAttribute(7);
            return 1;
        }
    } broken;
    EXPECT_FALSE(getGlobalAttrGeneric(broken, "a", "/root", nullptr).isValid());
}
