#include <OxTellarSDK/GroupBuilder.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "ErrorOf.h"

using namespace OxAttribute;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

IntAttribute Int(int value) {
    return IntAttribute(value);
}

GroupAttribute Group(const std::vector<GroupAttribute::Child>& children, bool inherit = true) {
    return GroupAttribute(children, inherit);
}

std::vector<std::string> NamesOf(const GroupAttribute& group) {
    std::vector<std::string> names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        names.push_back(group.getChildName(i));
    return names;
}

/// `levels` names "g" with dots between them.
std::string DottedPath(int levels) {
    std::string path = "g";
    for (int i = 1; i < levels; ++i)
        path += ".g";
    return path;
}

std::string ErrorOfSet(GroupBuilder& builder, const std::string& path) {
    return ErrorOf([&] { builder.set(path, Int(1)); });
}

} // namespace

TEST(GroupBuilder, BuildsAnEmptyInheritingGroupFromNothing) {
    GroupBuilder builder;
    EXPECT_TRUE(builder.isEmpty());
    EXPECT_EQ(builder.build(), GroupAttribute(true));
}

TEST(GroupBuilder, KeepsTheOrderInWhichChildrenWereSet) {
    GroupBuilder builder;
    builder.set("z", Int(1));
    builder.set("a", Int(2));
    builder.set("m", Int(3));
    EXPECT_EQ(builder.build(), Group({{"z", Int(1)}, {"a", Int(2)}, {"m", Int(3)}}));
}

TEST(GroupBuilder, TheLastSetOfANameWinsAndKeepsTheFirstPlace) {
    GroupBuilder builder;
    builder.set("a", Int(1));
    builder.set("b", Int(2));
    builder.set("a", StringAttribute("later"));
    EXPECT_EQ(builder.build(), Group({{"a", StringAttribute("later")}, {"b", Int(2)}}));
}

TEST(GroupBuilder, DottedPathsMakeGroupsOnTheirWay) {
    GroupBuilder builder;
    builder.set("a.b.c", Int(1));
    builder.set("a.d", Int(2));
    EXPECT_EQ(builder.build(),
              Group({{"a", Group({{"b", Group({{"c", Int(1)}})}, {"d", Int(2)}})}}));
}

TEST(GroupBuilder, EmptyPartsOfAPathAreNames) {
    GroupBuilder builder;
    builder.set("", Int(1));
    builder.set("a..b", Int(2));
    builder.set(".", Int(3));
    EXPECT_EQ(builder.build(),
              Group({{"", Group({{"", Int(3)}})}, {"a", Group({{"", Group({{"b", Int(2)}})}})}}));
}

TEST(GroupBuilder, InStrictModeADotIsPartOfTheName) {
    GroupBuilder builder(BuilderModeStrict);
    builder.set("a.b", Int(1));
    builder.set("a.c", Int(2));
    builder.del("a.b");
    EXPECT_EQ(builder.build(), Group({{"a.c", Int(2)}}));
}

TEST(GroupBuilder, AnInvalidAttributeSetsNothing) {
    GroupBuilder builder;
    builder.set("a", Int(1));
    builder.set("a", Attribute());
    builder.set("b", Attribute());
    builder.set("c.d", Attribute());
    EXPECT_EQ(builder.build(), Group({{"a", Int(1)}}));
}

TEST(GroupBuilder, APathThroughAValueReplacesItByAGroup) {
    GroupBuilder builder;
    builder.set("first", Int(0));
    builder.set("a", Int(1));
    builder.set("last", Int(9));
    builder.set("a.b", Int(2));
    EXPECT_EQ(builder.build(),
              Group({{"first", Int(0)}, {"a", Group({{"b", Int(2)}})}, {"last", Int(9)}}));
}

TEST(GroupBuilder, AValueReplacesAGroupUnderConstruction) {
    GroupBuilder builder;
    builder.set("a.b", Int(1));
    builder.set("a", Int(2));
    EXPECT_EQ(builder.build(), Group({{"a", Int(2)}}));
}

TEST(GroupBuilder, APathIntoAGroupThatWasSetEditsACopyOfIt) {
    const GroupAttribute original = Group({{"x", Int(1)}, {"y", Int(2)}}, false);
    GroupBuilder builder;
    builder.set("a", original);
    builder.set("a.x", Int(5));
    builder.set("a.z", Int(3));
    EXPECT_EQ(builder.build(),
              Group({{"a", Group({{"x", Int(5)}, {"y", Int(2)}, {"z", Int(3)}}, false)}}));
    EXPECT_EQ(original, Group({{"x", Int(1)}, {"y", Int(2)}}, false));
}

TEST(GroupBuilder, AGroupThatNobodyEditsIsSharedNotCopied) {
    const GroupAttribute original = Group({{"x", Int(1)}});
    GroupBuilder builder;
    builder.set("a", original);
    EXPECT_EQ(builder.build().getChildByName("a").getHandle(), original.getHandle());
}

TEST(GroupBuilder, TheBuiltGroupInheritsUnlessToldOtherwise) {
    GroupBuilder builder;
    builder.setGroupInherit(false);
    EXPECT_FALSE(builder.build(BuildAndRetain).getGroupInherit());
    builder.setGroupInherit(true);
    EXPECT_TRUE(builder.build().getGroupInherit());
}

TEST(GroupBuilder, GroupsMadeOnTheWayInheritAsTheFirstSetSays) {
    GroupBuilder builder;
    builder.set("a.b.c", Int(1), false);
    builder.set("a.x", Int(2), true);
    builder.set("d.e", Int(3));
    const GroupAttribute group = builder.build();
    EXPECT_FALSE(GroupAttribute(group.getChildByName("a")).getGroupInherit());
    EXPECT_FALSE(GroupAttribute(group.getChildByName("a.b")).getGroupInherit());
    EXPECT_TRUE(GroupAttribute(group.getChildByName("d")).getGroupInherit());
    EXPECT_TRUE(group.getGroupInherit());
}

TEST(GroupBuilder, BuildingFlushesTheBuilderUnlessItShallRetain) {
    GroupBuilder builder;
    builder.setGroupInherit(false);
    builder.set("a", Int(1));
    EXPECT_EQ(builder.build(BuildAndRetain), Group({{"a", Int(1)}}, false));
    builder.set("b.c", Int(2));
    const GroupAttribute both = Group({{"a", Int(1)}, {"b", Group({{"c", Int(2)}})}}, false);
    EXPECT_EQ(builder.build(BuildAndRetain), both);
    EXPECT_EQ(builder.build(BuildAndFlush), both);
    EXPECT_TRUE(builder.isEmpty());
    EXPECT_EQ(builder.build(), GroupAttribute(true));
}

TEST(GroupBuilder, StaysStrictAfterAFlush) {
    GroupBuilder builder(BuilderModeStrict);
    builder.set("a.b", Int(1));
    builder.build();
    builder.set("a.b", Int(2));
    EXPECT_THAT(NamesOf(builder.build()), ElementsAre("a.b"));
}

TEST(GroupBuilder, WhatWasBuiltNeverChangesAfterwards) {
    GroupBuilder builder;
    builder.set("a.b", Int(1));
    const GroupAttribute first = builder.build(BuildAndRetain);
    builder.set("a.b", Int(2));
    builder.del("a");
    EXPECT_EQ(first, Group({{"a", Group({{"b", Int(1)}})}}));
}

TEST(GroupBuilder, RemovesChildrenAtAnyDepth) {
    GroupBuilder builder;
    builder.set("a", Int(1));
    builder.set("b.c", Int(2));
    builder.set("b.d", Int(3));
    builder.set("e", Group({{"f", Int(4)}, {"g", Int(5)}}));
    builder.del("a");
    builder.del("b.c");
    builder.del("e.f");
    EXPECT_EQ(builder.build(),
              Group({{"b", Group({{"d", Int(3)}})}, {"e", Group({{"g", Int(5)}})}}));
}

TEST(GroupBuilder, RemovingWhatIsNotThereChangesNothing) {
    GroupBuilder builder;
    builder.del("a");
    builder.del("");
    builder.set("a", Int(1));
    builder.set("g.x", Int(2));
    builder.del("b");
    builder.del("a.b");
    builder.del("c.d.e");
    builder.del("g.y");
    builder.del("g.x.y");
    EXPECT_EQ(builder.build(), Group({{"a", Int(1)}, {"g", Group({{"x", Int(2)}})}}));
}

TEST(GroupBuilder, RemovingTheLastChildLeavesAnEmptyGroup) {
    GroupBuilder builder;
    builder.set("a.b", Int(1));
    builder.del("a.b");
    EXPECT_FALSE(builder.isEmpty());
    EXPECT_EQ(builder.build(), Group({{"a", GroupAttribute(true)}}));
}

TEST(GroupBuilder, AChildSetAgainAfterItsRemovalGoesToTheEnd) {
    GroupBuilder builder;
    builder.set("a", Int(1));
    builder.set("b", Int(2));
    builder.del("a");
    builder.set("a", Int(3));
    EXPECT_EQ(builder.build(), Group({{"b", Int(2)}, {"a", Int(3)}}));
}

TEST(GroupBuilder, IsEmptyAgainWhenAllChildrenAreRemoved) {
    GroupBuilder builder;
    builder.set("a", Int(1));
    EXPECT_FALSE(builder.isEmpty());
    builder.del("a");
    EXPECT_TRUE(builder.isEmpty());
    EXPECT_EQ(builder.build(), GroupAttribute(true));
}

TEST(GroupBuilder, UpdateSetsEveryChildAndReplacesGroups) {
    GroupBuilder builder;
    builder.set("a", Int(1));
    builder.set("g.x", Int(2));
    builder.update(Group({{"g", Group({{"y", Int(3)}})}, {"a", Int(4)}, {"n", Int(5)}}));
    EXPECT_EQ(builder.build(),
              Group({{"a", Int(4)}, {"g", Group({{"y", Int(3)}})}, {"n", Int(5)}}));
}

TEST(GroupBuilder, UpdateTakesNamesAsTheyAre) {
    GroupBuilder builder;
    builder.set("a.b", Int(1));
    builder.update(Group({{"a.b", Int(2)}}));
    EXPECT_EQ(builder.build(), Group({{"a", Group({{"b", Int(1)}})}, {"a.b", Int(2)}}));
}

TEST(GroupBuilder, DeepUpdateMergesGroupsAtEveryLevel) {
    GroupBuilder builder;
    builder.set("g", Group({{"x", Int(1)}, {"h", Group({{"u", Int(2)}})}}));
    builder.set("k", Int(3));
    builder.deepUpdate(Group({{"g", Group({{"h", Group({{"v", Int(4)}})}, {"x", Int(5)}})},
                              {"k", Group({{"w", Int(6)}})},
                              {"n", Int(7)}}));
    EXPECT_EQ(builder.build(),
              Group({{"g", Group({{"x", Int(5)}, {"h", Group({{"u", Int(2)}, {"v", Int(4)}})}})},
                     {"k", Group({{"w", Int(6)}})},
                     {"n", Int(7)}}));
}

TEST(GroupBuilder, DeepUpdateMergesIntoGroupsUnderConstruction) {
    GroupBuilder builder;
    builder.set("g.x", Int(1));
    builder.deepUpdate(Group({{"g", Group({{"y", Int(2)}})}}));
    builder.set("g.z", Int(3));
    EXPECT_EQ(builder.build(),
              Group({{"g", Group({{"x", Int(1)}, {"y", Int(2)}, {"z", Int(3)}})}}));
}

TEST(GroupBuilder, DeepUpdateWithTheSameGroupKeepsWhatWasAddedMeanwhile) {
    const GroupAttribute top = Group({{"g", Group({{"x", Int(1)}})}});
    GroupBuilder builder;
    builder.update(top);
    builder.set("g.x", Int(5));
    builder.set("g.y", Int(2));
    builder.deepUpdate(top);
    EXPECT_EQ(builder.build(), Group({{"g", Group({{"x", Int(1)}, {"y", Int(2)}})}}));
}

TEST(GroupBuilder, AChildWithAnEmptyNameSurvivesAnEditOfItsGroup) {
    GroupBuilder builder;
    builder.set("g", Group({{"", Int(1)}, {"x", Int(2)}}));
    builder.set("g.y", Int(3));
    EXPECT_EQ(builder.build(), Group({{"g", Group({{"", Int(1)}, {"x", Int(2)}, {"y", Int(3)}})}}));
}

TEST(GroupBuilder, DeepUpdateReplacesAGroupByAValue) {
    GroupBuilder builder;
    builder.set("g.x", Int(1));
    builder.deepUpdate(Group({{"g", Int(2)}}));
    EXPECT_EQ(builder.build(), Group({{"g", Int(2)}}));
}

TEST(GroupBuilder, DeepUpdateWithTheSameGroupChangesNothing) {
    const GroupAttribute group = Group({{"g", Group({{"x", Int(1)}}, false)}, {"k", Int(2)}});
    GroupBuilder builder;
    builder.update(group);
    builder.deepUpdate(group);
    EXPECT_EQ(builder.build(), group);
}

TEST(GroupBuilder, UpdatesWithNothingChangeNothing) {
    GroupBuilder builder;
    builder.set("a", Int(1));
    builder.update(GroupAttribute());
    builder.update(GroupAttribute(false));
    builder.deepUpdate(GroupAttribute());
    EXPECT_EQ(builder.build(), Group({{"a", Int(1)}}));
}

TEST(GroupBuilder, AMovedBuilderTakesEverythingWithIt) {
    GroupBuilder first(BuilderModeStrict);
    first.set("a.b", Int(1));
    GroupBuilder second = std::move(first);
    second.set("c.d", Int(2));
    GroupBuilder third;
    third.set("lost", Int(3));
    third = std::move(second);
    EXPECT_EQ(third.build(), Group({{"a.b", Int(1)}, {"c.d", Int(2)}}));
}

TEST(GroupBuilder, NamesMayBePartsOfTheGroupsBeingSet) {
    const GroupAttribute source = Group({{"name", Int(1)}});
    GroupBuilder builder;
    builder.set(source.getChildNameView(0), source.getChildByIndex(0));
    builder.set("copy", builder.build(BuildAndRetain));
    EXPECT_EQ(builder.build(), Group({{"name", Int(1)}, {"copy", source}}));
}

TEST(GroupBuilder, APathMayBeExactlyAsDeepAsGroupsMay) {
    GroupBuilder builder;
    builder.set(DottedPath(kMaxGroupDepth), Int(7));
    const GroupAttribute group = builder.build();
    EXPECT_EQ(IntAttribute(group.getChildByName(DottedPath(kMaxGroupDepth))).getValue(), 7);
}

TEST(GroupBuilder, RefusesADeeperPathAndKeepsWhatItHad) {
    GroupBuilder builder;
    builder.set("g", Int(1));
    EXPECT_EQ(ErrorOfSet(builder, DottedPath(kMaxGroupDepth + 1)),
              "Groups cannot be nested deeper than 2048 levels");
    EXPECT_EQ(ErrorOfSet(builder, std::string(1000000, '.')),
              "Groups cannot be nested deeper than 2048 levels");
    EXPECT_EQ(builder.build(), Group({{"g", Int(1)}}));
}

TEST(GroupBuilder, RefusesToBuildGroupsThatBecameTooDeepTogether) {
    GroupBuilder builder;
    builder.set(DottedPath(kMaxGroupDepth), GroupAttribute(true));
    EXPECT_THROW(builder.build(), std::runtime_error);
    GroupBuilder other;
    other.set("a", Int(1));
    other.set(DottedPath(kMaxGroupDepth - 1), GroupAttribute(true));
    EXPECT_EQ(other.build().getNumberOfChildren(), 2);
}

TEST(GroupBuilder, RemovingBelowTheDeepestLevelIsHarmless) {
    GroupBuilder builder;
    builder.set(DottedPath(kMaxGroupDepth), Int(1));
    builder.del(DottedPath(kMaxGroupDepth + 5));
    builder.del(DottedPath(kMaxGroupDepth));
    EXPECT_FALSE(builder.build().getChildByName(DottedPath(kMaxGroupDepth)).isValid());
}

TEST(GroupBuilder, HoldsManyChildren) {
    GroupBuilder builder;
    for (int i = 0; i < 100000; ++i)
        builder.set("c" + std::to_string(i), Int(i));
    for (int i = 0; i < 100000; i += 2)
        builder.del("c" + std::to_string(i));
    const GroupAttribute group = builder.build();
    EXPECT_EQ(group.getNumberOfChildren(), 50000);
    EXPECT_EQ(group.getChildName(0), "c1");
    EXPECT_EQ(IntAttribute(group.getChildByName("c99999")).getValue(), 99999);
    EXPECT_EQ(group.findChild("c99998"), -1);
}
