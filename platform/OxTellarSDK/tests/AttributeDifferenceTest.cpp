#include <OxTellarSDK/AttributeDifference.h>

#include <fstream>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>

#include "ContainerBytes.h"
#include "ErrorOf.h"
#include "RandomAttribute.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Children = std::vector<GroupAttribute::Child>;

GroupAttribute Numbers(const std::vector<std::pair<std::string, int>>& numbers) {
    Children children;
    for (const auto& [name, number] : numbers)
        children.emplace_back(name, IntAttribute(number));
    return GroupAttribute(children, true);
}

} // namespace

TEST(HaveEqualContent, ComparesTypesAndValues) {
    EXPECT_TRUE(HaveEqualContent(Attribute(), Attribute()));
    EXPECT_TRUE(HaveEqualContent(NullAttribute(), NullAttribute()));
    EXPECT_TRUE(HaveEqualContent(IntAttribute(1), IntAttribute(1)));
    EXPECT_FALSE(HaveEqualContent(IntAttribute(1), Attribute()));
    EXPECT_FALSE(HaveEqualContent(IntAttribute(1), IntAttribute(2)));
    EXPECT_FALSE(HaveEqualContent(FloatAttribute(1), DoubleAttribute(1)));
    EXPECT_FALSE(HaveEqualContent(StringAttribute("a"), StringAttribute("b")));
    EXPECT_FALSE(HaveEqualContent(IntAttribute({1, 2}, 1), IntAttribute({1, 2}, 2)));
    EXPECT_FALSE(HaveEqualContent(IntAttribute({1, 2}, 1), IntAttribute({1, 2, 3}, 1)));
}

TEST(HaveEqualContent, ComparesNumbersBitByBit) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(HaveEqualContent(DoubleAttribute(nan), DoubleAttribute(nan)));
    EXPECT_FALSE(HaveEqualContent(DoubleAttribute(0.0), DoubleAttribute(-0.0)));
}

TEST(HaveEqualContent, ComparesAllTimeSamples) {
    using Samples = std::map<float, std::vector<float>>;
    const FloatAttribute moving(Samples{{0, {1}}, {1, {2}}}, 1);
    EXPECT_TRUE(HaveEqualContent(moving, FloatAttribute(Samples{{0, {1}}, {1, {2}}}, 1)));
    EXPECT_FALSE(HaveEqualContent(moving, FloatAttribute(Samples{{0, {1}}, {1, {3}}}, 1)));
    EXPECT_FALSE(HaveEqualContent(moving, FloatAttribute(Samples{{0, {1}}, {2, {2}}}, 1)));
    EXPECT_FALSE(HaveEqualContent(moving, FloatAttribute(1)));
    using Texts = std::map<float, std::vector<std::string>>;
    const StringAttribute text(Texts{{0, {"a"}}, {1, {"b"}}}, 1);
    EXPECT_FALSE(HaveEqualContent(text, StringAttribute(Texts{{0, {"a"}}, {1, {"c"}}}, 1)));
}

TEST(HaveEqualContent, ComparesNamesOrderAndInheritanceOfGroups) {
    const GroupAttribute group = Numbers({{"a", 1}, {"b", 2}});
    EXPECT_TRUE(HaveEqualContent(group, Numbers({{"a", 1}, {"b", 2}})));
    EXPECT_FALSE(HaveEqualContent(group, Numbers({{"b", 2}, {"a", 1}})));
    EXPECT_FALSE(HaveEqualContent(group, Numbers({{"a", 1}, {"c", 2}})));
    EXPECT_FALSE(HaveEqualContent(group, Numbers({{"a", 1}})));
    EXPECT_FALSE(HaveEqualContent(GroupAttribute(true), GroupAttribute(false)));
}

TEST(HaveEqualContent, NeverHashes) {
    const std::vector<double> values(1000, 1.0);
    const DoubleAttribute a(values, 1);
    const DoubleAttribute b(values, 1);
    EXPECT_TRUE(HaveEqualContent(a, b));
    EXPECT_EQ(a.getKeptHash(), Hash());
    EXPECT_EQ(b.getKeptHash(), Hash());
}

TEST(HaveEqualContent, AgreesWithHashes) {
    std::vector<Attribute> attributes;
    for (unsigned seed = 0; seed < 60; ++seed)
        attributes.push_back(RandomAttribute(seed / 2).make(3)); // each twice
    std::vector<bool> answers;
    for (const Attribute& a : attributes)
        for (const Attribute& b : attributes)
            answers.push_back(HaveEqualContent(a, b));
    std::size_t next = 0;
    for (const Attribute& a : attributes)
        for (const Attribute& b : attributes)
            EXPECT_EQ(answers[next++], a == b) << a.getXML() << b.getXML();
    EXPECT_TRUE(HaveEqualContent(attributes[0], attributes[1])) << "with known hashes";
}

TEST(DifferingChildren, AreThoseOfTheSecondGroupFirst) {
    EXPECT_THAT(DifferingChildren(Numbers({{"a", 1}, {"b", 2}, {"c", 3}}),
                                  Numbers({{"d", 4}, {"c", 3}, {"b", 1}})),
                ElementsAre("d", "b", "a"));
    EXPECT_THAT(DifferingChildren(GroupAttribute(), Numbers({{"a", 1}})), ElementsAre("a"));
    EXPECT_THAT(DifferingChildren(Numbers({{"a", 1}}), GroupAttribute()), ElementsAre("a"));
}

TEST(DifferingChildren, AreNoneForAnotherOrderOrInheritance) {
    EXPECT_THAT(DifferingChildren(Numbers({{"a", 1}, {"b", 2}}), Numbers({{"b", 2}, {"a", 1}})),
                IsEmpty());
    EXPECT_THAT(DifferingChildren(GroupAttribute(true), GroupAttribute(false)), IsEmpty());
    EXPECT_THAT(DifferingChildren(GroupAttribute(), GroupAttribute(true)), IsEmpty());
}

namespace {

using Places = std::vector<std::string>;

/// The same group as a file has it.
GroupAttribute InFile(const GroupAttribute& group) {
    return ContainerBytes::Read(ContainerBytes::Write(group));
}

/// "a.b" for each place.
Places DifferingPlaces(const GroupAttribute& before, const GroupAttribute& after) {
    Places places;
    ForEachDifference(before, after, [&places](const std::vector<std::string_view>& names) {
        std::string place;
        for (const std::string_view name : names)
            place += (place.empty() ? "" : ".") + std::string(name);
        places.push_back(place);
    });
    return places;
}

/// The places, which must be the same whether the groups are in memory or in files.
Places Differences(const GroupAttribute& before, const GroupAttribute& after) {
    Places places = DifferingPlaces(before, after);
    EXPECT_EQ(DifferingPlaces(InFile(before), InFile(after)), places) << "in files";
    EXPECT_EQ(DifferingPlaces(InFile(before), after), places) << "the first in a file";
    EXPECT_EQ(DifferingPlaces(before, InFile(after)), places) << "the second in a file";
    return places;
}

GroupAttribute Group(const Children& children) {
    return GroupAttribute(children, true);
}

/// The places as a reader without access to the layout of values finds them.
void AddPlaces(const std::string& place, const Attribute& before, const Attribute& after,
               Places& places) {
    const GroupAttribute a(before);
    const GroupAttribute b(after);
    bool haveEqualNames = a.isValid() && b.isValid() &&
                          a.getGroupInherit() == b.getGroupInherit() &&
                          a.getNumberOfChildren() == b.getNumberOfChildren();
    for (std::int64_t i = 0; haveEqualNames && i < a.getNumberOfChildren(); ++i)
        haveEqualNames = a.getChildName(i) == b.getChildName(i);
    if (!haveEqualNames) {
        if (before != after) places.push_back(place);
        return;
    }
    for (std::int64_t i = 0; i < a.getNumberOfChildren(); ++i)
        AddPlaces((place.empty() ? "" : place + ".") + a.getChildName(i), a.getChildByIndex(i),
                  b.getChildByIndex(i), places);
}

} // namespace

TEST(ForEachDifference, FindsTheValuesThatDiffer) {
    const auto group = [](int n, const char* text) {
        return Group({{"same", IntAttribute(7)},
                      {"deep", Group({{"n", IntAttribute(n)}, {"same", StringAttribute("x")}})},
                      {"text", StringAttribute(text)}});
    };
    EXPECT_THAT(Differences(group(1, "a"), group(1, "a")), IsEmpty());
    EXPECT_THAT(Differences(group(1, "a"), group(2, "a")), ElementsAre("deep.n"));
    EXPECT_THAT(Differences(group(1, "a"), group(2, "a longer text")),
                ElementsAre("deep.n", "text"));
}

TEST(ForEachDifference, ComparesTypesSizesAndTimes) {
    const auto differ = [](const Attribute& before, const Attribute& after) {
        return Differences(Group({{"v", before}}), Group({{"v", after}})).size() == 1;
    };
    EXPECT_TRUE(differ(IntAttribute(0), FloatAttribute(0)));
    EXPECT_TRUE(differ(IntAttribute(0), Group({})));
    EXPECT_TRUE(differ(NullAttribute(), IntAttribute(0)));
    EXPECT_TRUE(differ(IntAttribute({1, 2}, 1), IntAttribute({1, 2}, 2)));
    EXPECT_TRUE(differ(IntAttribute({1, 2}, 1), IntAttribute({1, 2, 3}, 1)));
    EXPECT_TRUE(differ(StringAttribute({"ab", "c"}, 1), StringAttribute({"a", "bc"}, 1)));
    using Samples = std::map<float, std::vector<float>>;
    EXPECT_TRUE(differ(FloatAttribute(Samples{{0, {1}}, {1, {2}}}, 1),
                       FloatAttribute(Samples{{0, {1}}, {2, {2}}}, 1)));
    EXPECT_TRUE(differ(FloatAttribute(Samples{{1, {1}}}, 1), FloatAttribute(1)));
    EXPECT_FALSE(differ(NullAttribute(), NullAttribute()));
}

TEST(ForEachDifference, TellsOfAGroupWhoseChildrenHaveOtherNames) {
    const auto group = [](const GroupAttribute& inner) {
        return Group({{"inner", inner}, {"last", IntAttribute(1)}});
    };
    EXPECT_THAT(Differences(group(Numbers({{"a", 1}, {"b", 2}})), group(Numbers({{"a", 2}}))),
                ElementsAre("inner"));
    EXPECT_THAT(
        Differences(group(Numbers({{"a", 1}, {"b", 2}})), group(Numbers({{"b", 2}, {"a", 1}}))),
        ElementsAre("inner"));
    EXPECT_THAT(Differences(group(Numbers({{"a", 1}})), group(Numbers({{"b", 1}}))),
                ElementsAre("inner"));
    EXPECT_THAT(Differences(group(GroupAttribute(true)), group(GroupAttribute(false))),
                ElementsAre("inner"));
    EXPECT_THAT(Differences(Numbers({{"a", 1}}), Numbers({{"b", 1}})), ElementsAre(""));
}

TEST(ForEachDifference, TakesInvalidGroups) {
    EXPECT_THAT(DifferingPlaces(GroupAttribute(), GroupAttribute()), IsEmpty());
    EXPECT_THAT(DifferingPlaces(GroupAttribute(), Numbers({})), ElementsAre(""));
    EXPECT_THAT(DifferingPlaces(Numbers({}), GroupAttribute()), ElementsAre(""));
}

TEST(ForEachDifference, ComparesGroupsOfOneFile) {
    const GroupAttribute file = InFile(Group(
        {{"a", Numbers({{"n", 1}})}, {"b", Numbers({{"n", 1}})}, {"c", Numbers({{"n", 2}})}}));
    EXPECT_THAT(DifferingPlaces(file.getChildByIndex(0), file.getChildByIndex(1)), IsEmpty());
    EXPECT_THAT(DifferingPlaces(file.getChildByIndex(0), file.getChildByIndex(2)),
                ElementsAre("n"));
}

TEST(ForEachDifference, SkipsGroupsWithKnownEqualHashes) {
    const GroupAttribute a = Group({{"a", Numbers({{"n", 1}})}, {"b", IntAttribute(1)}});
    const GroupAttribute b = Group({{"a", Numbers({{"n", 1}})}, {"b", IntAttribute(2)}});
    EXPECT_NE(a.getHash(), b.getHash());
    EXPECT_THAT(DifferingPlaces(a, b), ElementsAre("b"));
}

TEST(ForEachDifference, FindsWhatAPlainWalkFinds) {
    std::vector<Attribute> pool;
    for (unsigned seed = 0; seed < 12; ++seed)
        pool.push_back(RandomAttribute(seed / 2).make(2)); // each twice
    RandomAttribute random(1);
    const auto drawn = [&] { return pool[random.below(pool.size())]; };
    for (int round = 0; round < 200; ++round) {
        const auto draw = [&] {
            return Group({{"a", drawn()}, {"b", drawn()}, {"c", Group({{"d", drawn()}})}});
        };
        const GroupAttribute before = draw();
        const GroupAttribute after = draw();
        Places expected;
        AddPlaces("", before, after, expected);
        ASSERT_EQ(Differences(before, after), expected) << round;
    }
}

TEST(ForEachDifference, ThrowsForADamagedFile) {
    const GroupAttribute before =
        Group({{"v", DoubleAttribute(std::vector<double>(1000000, 1.0), 1)}});
    const TempDirectory folder;
    for (const char* const name : {"a", "b"})
        WriteAttributeFile(folder.path(name), before);
    {
        std::fstream file(folder.path("b"), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(4000000);
        file << "damage";
    }
    const auto read = [&folder](const char* name) {
        FileStream stream(folder.path(name), false);
        return GroupAttribute(Attribute::readAttributeStream(&stream, &FileStream::read, 0));
    };
    const GroupAttribute a = read("a");
    const GroupAttribute b = read("b");
    EXPECT_THAT(ErrorOf([&] { DifferingPlaces(a, b); }), testing::HasSubstr("is damaged"));
    EXPECT_THAT(ErrorOf([&] { DifferingPlaces(b, a); }), testing::HasSubstr("is damaged"));
}

TEST(ForEachDifference, IgnoresBytesThatFillUpTheTimesInAFile) {
    const GroupAttribute moving =
        Group({{"v", FloatAttribute({{1.0f, {2}}, {3.0f, {4}}, {5.0f, {6}}}, 1)}});
    const std::string file = ContainerBytes::Write(moving);
    // Behind the header of the file and that of the value, which is its first, are three times.
    std::string filledUp = file;
    filledUp[64 + 24 + 3 * 4] = 'x';
    filledUp = ContainerBytes::Repaired(filledUp);
    const GroupAttribute other = ContainerBytes::Read(filledUp);
    EXPECT_EQ(other, moving);
    EXPECT_THAT(DifferingPlaces(ContainerBytes::Read(file), other), IsEmpty());
    EXPECT_THAT(DifferingPlaces(other, ContainerBytes::Read(file)), IsEmpty());
}
