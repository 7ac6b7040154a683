#include <OxTellarSDK/AttributeDifference.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "RandomAttribute.h"

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
