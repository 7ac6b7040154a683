#include <OxTellarSDK/Attribute.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <boost/thread/tss.hpp>
#include <gtest/gtest.h>

#include "ContainerBytes.h"
#include "RunTogether.h"

// Paths below groups in files, which readers look up again and again in groups that are alike, or
// nearly so.

using namespace OxAttribute;

namespace {

GroupAttribute InFile(const GroupAttribute& group) {
    return ContainerBytes::Read(ContainerBytes::Write(group));
}

GroupAttribute Child(const GroupAttribute& group, std::int64_t index) {
    return group.getChildByIndex(index);
}

int At(const GroupAttribute& group, const std::string& path) {
    return IntAttribute(group.getChildByName(path)).getValue(-1, false);
}

GroupAttribute Numbers(const std::vector<std::pair<std::string, int>>& values) {
    std::vector<GroupAttribute::Child> children;
    for (const auto& [name, value] : values)
        children.emplace_back(name, IntAttribute(value));
    return GroupAttribute(children, true);
}

} // namespace

TEST(KnownPaths, AreFoundWhereTheyStandInGroupsThatDifferInOrder) {
    const GroupAttribute file = InFile(GroupAttribute({{"a", Numbers({{"size", 1}, {"kind", 2}})},
                                                       {"b", Numbers({{"kind", 3}, {"size", 4}})},
                                                       {"c", Numbers({{"kind", 5}})},
                                                       {"d", Numbers({})}},
                                                      true));
    for (int pass = 0; pass < 3; ++pass) {
        EXPECT_EQ(At(Child(file, 0), "size"), 1);
        EXPECT_EQ(At(Child(file, 1), "size"), 4);
        EXPECT_EQ(At(Child(file, 2), "size"), -1);
        EXPECT_EQ(At(Child(file, 3), "size"), -1);
        EXPECT_EQ(At(Child(file, 0), "kind"), 2);
        EXPECT_EQ(At(Child(file, 1), "kind"), 3);
        EXPECT_EQ(At(Child(file, 2), "kind"), 5);
    }
}

TEST(KnownPaths, OfOneFileSayNothingOfAnother) {
    for (int pass = 0; pass < 3; ++pass) {
        const GroupAttribute first = InFile(Numbers({{"size", 1}, {"kind", 2}}));
        EXPECT_EQ(At(first, "kind"), 2);
        const GroupAttribute second = InFile(Numbers({{"kind", 3}, {"size", 4}}));
        EXPECT_EQ(At(second, "kind"), 3);
        EXPECT_EQ(At(first, "size"), 1);
        EXPECT_EQ(At(second, "size"), 4);
    }
}

TEST(KnownPaths, OfOneFileSayNothingOfAnotherWhoseShapesHaveTheSameNumbers) {
    const auto fileOf = [](const std::string& first, const std::string& second) {
        std::vector<GroupAttribute::Child> groups;
        for (int i = 0; i < 4; ++i)
            groups.emplace_back(std::to_string(i), Numbers({{first, 2 * i}, {second, 2 * i + 1}}));
        return InFile(GroupAttribute(groups, true));
    };
    const GroupAttribute first = fileOf("abcd", "efgh");
    const GroupAttribute second = fileOf("efgh", "abcd");
    for (int pass = 0; pass < 3; ++pass)
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(At(Child(first, i), "abcd"), 2 * i);
            EXPECT_EQ(At(Child(second, i), "abcd"), 2 * i + 1);
            EXPECT_EQ(At(Child(first, i), "efgh"), 2 * i + 1);
            EXPECT_EQ(At(Child(second, i), "efgh"), 2 * i);
        }
}

TEST(KnownPaths, BelowShapesLeadToTheValuesOfEachGroup) {
    std::vector<GroupAttribute::Child> groups;
    for (int i = 0; i < 50; ++i)
        groups.emplace_back(
            std::to_string(i),
            GroupAttribute(
                {{"type", StringAttribute("mesh")},
                 {"user", GroupAttribute({{"some", Numbers({{"f", i}, {"g", -i}})}}, true)}},
                true));
    const GroupAttribute file = InFile(GroupAttribute(groups, true));
    for (int pass = 0; pass < 2; ++pass)
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(At(Child(file, i), "user.some.f"), i);
            EXPECT_EQ(At(Child(file, i), "user.some.g"), -i);
            EXPECT_EQ(StringAttribute(Child(file, i).getChildByName("type")).getValue(), "mesh");
            EXPECT_EQ(GroupAttribute(Child(file, i)).getTextView("type"), "mesh");
            EXPECT_EQ(GroupAttribute(Child(file, i)).getTextView("user"), "");
            EXPECT_FALSE(Child(file, i).getChildByName("user.some.h").isValid());
        }
}

TEST(KnownPaths, LeadThroughGroupsOnly) {
    const GroupAttribute file =
        InFile(GroupAttribute({{"a", GroupAttribute({{"user", Numbers({{"f", 1}})}}, true)},
                               {"b", GroupAttribute({{"user", IntAttribute(2)}}, true)},
                               {"c", GroupAttribute({{"user", Numbers({{"f", 3}})}}, true)}},
                              true));
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(At(Child(file, 0), "user.f"), 1);
        EXPECT_EQ(At(Child(file, 1), "user.f"), -1);
        EXPECT_EQ(At(Child(file, 2), "user.f"), 3);
        EXPECT_EQ(At(Child(file, 1), "user"), 2);
    }
}

TEST(KnownPaths, AreToldApartByAllTheirBytes) {
    const std::vector<std::string> names = {"aaaa",
                                            "aaaaa",
                                            "aaaaaaa",
                                            "aaaaaaaa",
                                            "aaaaaaaaa",
                                            "abcdefgh",
                                            "abcdefghi",
                                            "abcdefgh12345678",
                                            "abcdefg012345678",
                                            "abcdefgh123456789",
                                            "x",
                                            "",
                                            "aaa"};
    std::vector<std::pair<std::string, int>> values;
    for (std::size_t i = 0; i < names.size(); ++i)
        values.emplace_back(names[i], static_cast<int>(i));
    const GroupAttribute file = InFile(Numbers(values));
    for (int pass = 0; pass < 2; ++pass)
        for (const auto& [name, value] : values)
            EXPECT_EQ(At(file, name), value) << name;
    for (const char* none : {"aaaaaa", "abcdefg", "abcdefgh1234567", "aaaa.", ".aaaa", "aaaa.aaaa"})
        EXPECT_FALSE(file.getChildByName(none).isValid()) << none;
}

TEST(KnownPaths, OfAnyNumberOfLevelsAreFoundAgain) {
    const GroupAttribute four({{"b", GroupAttribute({{"c", Numbers({{"d", 4}})}}, true)}}, true);
    const GroupAttribute five({{"c", GroupAttribute({{"d", Numbers({{"e", 5}})}}, true)}}, true);
    const GroupAttribute file =
        InFile(GroupAttribute({{"a", four}, {"aa", GroupAttribute({{"b", five}}, true)}}, true));
    for (int pass = 0; pass < 3; ++pass) {
        EXPECT_EQ(At(file, "a.b.c.d"), 4);
        EXPECT_EQ(At(file, "aa.b.c.d.e"), 5);
        EXPECT_TRUE(file.getChildByName("aa.b.c.d").isValid());
        EXPECT_FALSE(file.getChildByName("a.b.c.e").isValid());
    }
}

// More levels than a place has room for, of names that fall on all places that a thread has.
TEST(KnownPaths, OfFourLevelsAreFoundAgainInAnyPlace) {
    std::vector<std::pair<std::string, int>> values;
    for (int i = 0; i < 300; ++i)
        values.emplace_back(std::to_string(i), i);
    const GroupAttribute c({{"c", Numbers(values)}}, true);
    const GroupAttribute b({{"b", c}}, true);
    const GroupAttribute file = InFile(GroupAttribute({{"a", b}}, true));
    const auto at = [&](const auto& entry) { return At(file, "a.b.c." + entry.first); };
    int wrong = 0;
    for (const auto& first : values)
        for (const auto& second : values)
            wrong += at(first) != first.second || at(second) != second.second;
    EXPECT_EQ(wrong, 0);
}

TEST(KnownPaths, MayBeMoreThanAThreadKeeps) {
    std::vector<std::pair<std::string, int>> values;
    for (int i = 0; i < 2000; ++i)
        values.emplace_back("name" + std::to_string(i), i);
    const GroupAttribute file = InFile(Numbers(values));
    for (int pass = 0; pass < 2; ++pass)
        for (const auto& [name, value] : values)
            ASSERT_EQ(At(file, name), value);
}

TEST(KnownPaths, AreEveryThreadsOwn) {
    const GroupAttribute file = InFile(GroupAttribute(
        {{"a", Numbers({{"size", 1}, {"kind", 2}})}, {"b", Numbers({{"kind", 3}, {"size", 4}})}},
        true));
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        for (int i = 0; i < 2000; ++i) {
            const bool isFirst = (i + number) % 3 != 0;
            const GroupAttribute group = Child(file, isFirst ? 0 : 1);
            wrong += At(group, "size") != (isFirst ? 1 : 4);
            wrong += At(group, "kind") != (isFirst ? 2 : 3);
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(KnownPaths, AreStillFoundWhenAThreadsOwnObjectsAreGone) {
    static const auto* const file = new GroupAttribute(InFile(Numbers({{"size", 7}})));
    static std::atomic<int> found{0};
    struct AtTheEnd {
        static void look(int*) { found = At(*file, "size"); }
    };
    static boost::thread_specific_ptr<int> atTheEnd(&AtTheEnd::look);
    std::thread([] {
        static int something = 0;
        atTheEnd.reset(&something);
        EXPECT_EQ(At(*file, "size"), 7);
    }).join();
    EXPECT_EQ(found, 7);
}
