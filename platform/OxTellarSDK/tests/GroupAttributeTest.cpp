#include <OxTellarSDK/Attribute.h>

#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AttributeNode.h"
#include "AttributePrinter.h"
#include "CollidingNames.h"
#include "ErrorOf.h"
#include "ReferenceCount.h"

using namespace OxAttribute;
using testing::ElementsAre;

namespace {

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
    EXPECT_FALSE(group.getChildNames().isValid());
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
    EXPECT_FALSE(group.getChildNames().isValid());
    EXPECT_EQ(group.getChildName(0), "");
    EXPECT_FALSE(group.getChildByIndex(0).isValid());
    EXPECT_FALSE(group.getChildByName("a").isValid());
    EXPECT_EQ(group.findChild("a"), -1);
    EXPECT_EQ(group.findChild("a", 0), -1);
    EXPECT_FALSE(group.getChild("a", 0).isValid());
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
    EXPECT_EQ(group.getChild("a.b"), IntAttribute(1));
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

TEST_P(GroupOfSize, AChildIsFoundByItsNameInOneStep) {
    const GroupAttribute group = NumberedGroup(GetParam());
    const std::int64_t last = GetParam() - 1;
    const std::string lastName = "c" + std::to_string(last);
    for (const std::int64_t hint : {std::int64_t(-1), std::int64_t(0), last, last + 1}) {
        SCOPED_TRACE(hint);
        EXPECT_EQ(group.getChild("c0", hint), IntAttribute(0));
        EXPECT_EQ(group.getChild(lastName, hint), group.getChildByIndex(last));
        EXPECT_FALSE(group.getChild("none", hint).isValid());
    }
}

TEST_P(GroupOfSize, TheNamesOfItsChildrenComeAtOnce) {
    const GroupAttribute group = NumberedGroup(GetParam());
    EXPECT_EQ(group.getChildNames(), StringAttribute(NamesOf(group), 1));
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
    EXPECT_EQ(CountReferences(child), 1u);
}

TEST(GroupAttribute, DottedLookupLeavesTheCountsAsTheyWere) {
    const IntAttribute leaf(1);
    const GroupAttribute inner({{"b", leaf}}, true);
    const GroupAttribute group({{"a", inner}}, true);
    { const Attribute found = group.getChildByName("a.b"); }
    EXPECT_FALSE(group.getChildByName("a.c").isValid());
    EXPECT_EQ(CountReferences(leaf), 2u);
    EXPECT_EQ(CountReferences(inner), 2u);
    EXPECT_EQ(CountReferences(group), 1u);
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

TEST(GroupAttribute, LendsTheFirstTextOfAString) {
    const StringAttribute animated({{-1.0f, {"early", "b"}}, {0.25f, {"near", "d"}}}, 1);
    const GroupAttribute group(
        {{"a", GroupAttribute({{"text", StringAttribute("deep")},
                               {"list", StringAttribute({"first", "second"}, 1)},
                               {"animated", animated},
                               {"empty", StringAttribute(std::vector<std::string>(), 1)},
                               {"number", IntAttribute(5)}},
                              true)},
         {"text", StringAttribute("above")}},
        true);
    EXPECT_EQ(group.getTextView("text"), "above");
    EXPECT_EQ(group.getTextView("a.text"), "deep");
    EXPECT_EQ(group.getTextView("a.list"), "first");
    EXPECT_EQ(group.getTextView("a.animated"), "near");
    for (const char* path : {"a.empty", "a.number", "a", "a.absent", "text.deeper", "", "."})
        EXPECT_TRUE(group.getTextView(path).empty()) << path;
    EXPECT_TRUE(GroupAttribute().getTextView("text").empty());
    EXPECT_EQ(CountReferences(group), 1u);
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
        EXPECT_EQ(CountReferences(leaf), 2001u);
    }
    EXPECT_EQ(CountReferences(leaf), 1u);
}
