#include <OxTellarSDK/Attribute.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/MemoryBudget.h>

#include "ContainerBytes.h"
#include "RunTogether.h"

// Finding strings in short lists, which are searched, and in long ones, which are indexed.

using namespace OxAttribute;

namespace {

constexpr std::int64_t kLong = 100000;

StringAttribute Numbered(std::int64_t count, const std::string& prefix = "child_") {
    std::vector<std::string> names;
    for (std::int64_t i = 0; i < count; ++i)
        names.push_back(prefix + std::to_string(i));
    return StringAttribute(names, 1);
}

/// The same list in a file of its own.
StringAttribute InFile(const StringAttribute& list) {
    return ContainerBytes::Read(ContainerBytes::Write(list));
}

void ExpectAllFound(const StringAttribute& list, const std::string& prefix = "child_") {
    const std::int64_t count = list.getNumberOfValues();
    for (std::int64_t i = 0; i < count; i += 1 + count / 500)
        ASSERT_EQ(list.findValue(prefix + std::to_string(i)), i);
    EXPECT_EQ(list.findValue(prefix + std::to_string(count - 1)), count - 1);
    EXPECT_EQ(list.findValue(prefix + std::to_string(count)), -1);
    EXPECT_EQ(list.findValue(prefix), -1);
    EXPECT_EQ(list.findValue(""), -1);
    EXPECT_EQ(list.findValue("x"), -1);
}

} // namespace

TEST(FindValue, FindsNothingInNoList) {
    EXPECT_EQ(StringAttribute().findValue("a"), -1);
    EXPECT_EQ(StringAttribute({}, 1).findValue("a"), -1);
    EXPECT_EQ(StringAttribute({}, 1).findValue(""), -1);
}

TEST(FindValue, FindsTheFirstOfEqualTexts) {
    const StringAttribute list({"b", "", "child_1", "child_2", "", "child_1", "b"}, 1);
    for (const StringAttribute& each : {list, InFile(list)}) {
        EXPECT_EQ(each.findValue("child_1"), 2);
        EXPECT_EQ(each.findValue("b"), 0);
        EXPECT_EQ(each.findValue(""), 1);
    }
}

TEST(FindValue, TellsTextsWithNulBytesApart) {
    const std::string_view texts[] = {{"a\0b", 3}, {"a", 1}, {"\0", 1}, {"", 0}};
    const StringAttribute list(texts, 4, 1);
    for (std::int64_t i = 0; i < 4; ++i)
        EXPECT_EQ(list.findValue(texts[i]), i);
    EXPECT_EQ(list.findValue({"a\0", 2}), -1);
}

TEST(FindValue, FindsTextsOfAnyLength) {
    const StringAttribute list(
        {"", "a", "ab", "abc", "abcd", "abcde", "abcdefg", "abcdefgh", "abcdefghi"}, 1);
    for (std::int64_t i = 0; i < list.getNumberOfValues(); ++i)
        EXPECT_EQ(list.findValue(list.getValueView(i)), i);
    EXPECT_EQ(list.findValue("bbcd"), -1);
    EXPECT_EQ(list.findValue("xbcdefghi"), -1);
    EXPECT_EQ(list.findValue("xxcdefgh"), -1);
}

TEST(FindValue, FindsTextsWithNulBytes) {
    const StringAttribute list({"a", std::string_view("a\0b", 3), std::string_view("a\0", 2)}, 1);
    EXPECT_EQ(list.findValue(std::string_view("a\0", 2)), 2);
    EXPECT_EQ(list.findValue(std::string_view("a\0b", 3)), 1);
}

TEST(FindValue, FindsInShortAndLongListsInMemoryAndInFiles) {
    for (const std::int64_t count :
         {std::int64_t(2), std::int64_t(256), std::int64_t(257), kLong}) {
        SCOPED_TRACE(count);
        const StringAttribute list = Numbered(count);
        ExpectAllFound(list);
        ExpectAllFound(InFile(list));
    }
}

TEST(FindValue, GivesTheFirstOfEqualTexts) {
    for (const std::int64_t count : {std::int64_t(10), std::int64_t(1000)}) {
        std::vector<std::string> names(static_cast<std::size_t>(count), "twin");
        names.front() = "first";
        names.back() = "last";
        const StringAttribute list(names, 1);
        EXPECT_EQ(list.findValue("twin"), 1);
        EXPECT_EQ(list.findValue("first"), 0);
        EXPECT_EQ(list.findValue("last"), count - 1);
    }
}

TEST(FindValue, CountsThroughTheTimeSamplesInTheirOrder) {
    const std::map<float, std::vector<std::string>> few = {{-1.0f, {"a", "b"}}, {1.0f, {"c", "a"}}};
    EXPECT_EQ(StringAttribute(few, 1).findValue("a"), 0);
    EXPECT_EQ(StringAttribute(few, 1).findValue("c"), 2);
    std::map<float, std::vector<std::string>> many;
    for (int sample = 0; sample < 2; ++sample)
        for (int i = 0; i < 500; ++i)
            many[static_cast<float>(sample)].push_back(std::to_string(i + 250 * sample));
    EXPECT_EQ(StringAttribute(many, 1).findValue("499"), 499);
    EXPECT_EQ(StringAttribute(many, 1).findValue("500"), 750);
}

TEST(FindValue, KeepsListsApartWhoseHandlesLieAtTheSameAddress) {
    for (int round = 0; round < 20; ++round) {
        const std::string prefix = "round_" + std::to_string(round) + "_";
        ExpectAllFound(Numbered(300, prefix), prefix);
        ExpectAllFound(InFile(Numbered(300, prefix)), prefix);
    }
}

TEST(FindValue, IsRightWhenIndexesAreDropped) {
    const std::uint64_t limit = OxTellarMemory::GetMemoryLimit();
    OxTellarMemory::SetMemoryLimit(4 << 20);
    const StringAttribute first = Numbered(200000, "p0_"); // 2 MiB of index
    const StringAttribute second = Numbered(200000, "p1_");
    for (int list = 2; list < 12; ++list) {
        const std::string prefix = "p" + std::to_string(list) + "_";
        EXPECT_EQ(Numbered(200000, prefix).findValue(prefix + "199999"), 199999);
        EXPECT_EQ(first.findValue("p0_123456"), 123456);
        EXPECT_EQ(second.findValue("p1_123456"), 123456);
        EXPECT_EQ(first.findValue("p1_123456"), -1);
    }
    std::uint64_t drops = 0;
    for (const auto& cache : OxTellarMemory::GetMemoryStatistics().caches)
        if (cache.name == "names of children") drops = cache.drops;
    EXPECT_GT(drops, 5u);
    OxTellarMemory::SetMemoryLimit(limit);
}

TEST(FindValue, IsForManyThreads) {
    const StringAttribute list = Numbered(5000);
    const StringAttribute file = InFile(Numbered(4000));
    RunTogether(4, [&](std::size_t) {
        ExpectAllFound(list);
        ExpectAllFound(file);
    });
}
