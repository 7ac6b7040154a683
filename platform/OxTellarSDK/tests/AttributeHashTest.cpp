#include <OxTellarSDK/Attribute.h>

#include <cmath>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"

using namespace OxAttribute;

namespace {

IntAttribute OneSample(float time, std::int32_t value) {
    return IntAttribute(&time, 1, &value, 1, 1);
}

} // namespace

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
