#include <OxTellarSDK/LocationSet.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/LocationPath.h>

#include "ErrorOf.h"

using namespace OxLocationPath;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

TEST(LocationSet, IsEmptyAtFirst) {
    const LocationSet none;
    EXPECT_TRUE(none.isEmpty());
    EXPECT_FALSE(none.isEverything());
    EXPECT_FALSE(none.mayContain("/root"));
    EXPECT_FALSE(none.mayContainBelow("/"));
    EXPECT_THAT(none.childrenTowards("/root"), Optional(IsEmpty()));
    EXPECT_TRUE(LocationSet::exactly({}).isEmpty());
    EXPECT_TRUE(LocationSet::matching({}).isEmpty());
}

TEST(LocationSet, ContainsEverything) {
    const LocationSet all = LocationSet::everything();
    EXPECT_TRUE(all.isEverything());
    EXPECT_TRUE(all.mayContain("/root/a"));
    EXPECT_TRUE(all.mayContainBelow("/root/a"));
    EXPECT_FALSE(all.childrenTowards("/root").has_value());
    EXPECT_TRUE(LocationSet::subtrees({"/"}).isEverything());
    EXPECT_TRUE(LocationSet::matching({"/**"}).isEverything());
    EXPECT_THAT(all.describe(), ElementsAre("/**"));
}

TEST(LocationSet, ContainsPathsExactly) {
    const LocationSet set = LocationSet::exactly({"/root/a/b", "/root/a-b"});
    EXPECT_TRUE(set.mayContain("/root/a/b"));
    EXPECT_FALSE(set.mayContain("/root/a"));
    EXPECT_FALSE(set.mayContain("/root/a/b/c"));
    EXPECT_TRUE(set.mayContainBelow("/root/a"));
    EXPECT_TRUE(set.mayContainBelow("/"));
    EXPECT_FALSE(set.mayContainBelow("/root/a/b"));
    EXPECT_FALSE(set.mayContainBelow("/root/a-"));
    EXPECT_THAT(set.childrenTowards("/root"), Optional(ElementsAre("a", "a-b")));
    EXPECT_THAT(set.childrenTowards("/root/a"), Optional(ElementsAre("b")));
}

TEST(LocationSet, ContainsSubtrees) {
    const LocationSet set = LocationSet::subtrees({"/root/a"});
    EXPECT_TRUE(set.mayContain("/root/a"));
    EXPECT_TRUE(set.mayContain("/root/a/b/c"));
    EXPECT_FALSE(set.mayContain("/root/ab"));
    EXPECT_FALSE(set.mayContain("/root"));
    EXPECT_TRUE(set.mayContainBelow("/root"));
    EXPECT_TRUE(set.mayContainBelow("/root/a/b"));
    EXPECT_FALSE(set.mayContainBelow("/root/ab"));
    EXPECT_THAT(set.childrenTowards("/root"), Optional(ElementsAre("a")));
    EXPECT_FALSE(set.childrenTowards("/root/a").has_value());
}

TEST(LocationSet, ContainsTheMatchesOfPatterns) {
    const LocationSet set = LocationSet::matching({"/root/*/x", "/root/a/**/y"});
    EXPECT_TRUE(set.mayContain("/root/b/x"));
    EXPECT_TRUE(set.mayContain("/root/a/b/c/y"));
    EXPECT_FALSE(set.mayContain("/root/b/y"));
    EXPECT_TRUE(set.mayContainBelow("/root/b"));
    EXPECT_FALSE(set.mayContainBelow("/root/b/x"));
    EXPECT_FALSE(set.childrenTowards("/root").has_value());
    EXPECT_THAT(set.childrenTowards("/root/b"), Optional(ElementsAre("x")));
    EXPECT_THAT(set.childrenTowards("/"), Optional(ElementsAre("root")));
    EXPECT_EQ(ErrorOf([] { LocationSet::matching({"root"}); }),
              "The location pattern \"root\" does not start with \"/\".");
}

TEST(LocationSet, SimplifiesPatternsWithoutGlobs) {
    const LocationSet set = LocationSet::matching({"/root/a", "/root/b/**", "/root/[*]/c"});
    EXPECT_THAT(set.describe(), ElementsAre("/root/*/c", "/root/a", "/root/b/**"));
    EXPECT_TRUE(set.mayContain("/root/*/c"));
    EXPECT_FALSE(set.mayContain("/root/d/c"));
}

TEST(LocationSet, UnitesSets) {
    LocationSet set = LocationSet::exactly({"/root/a"});
    set.add(LocationSet::exactly({"/root/b", "/root/a"})).add(LocationSet());
    EXPECT_THAT(set.describe(), ElementsAre("/root/a", "/root/b"));
    EXPECT_TRUE(LocationSet::unionOf({set, LocationSet::everything()}).isEverything());
    EXPECT_TRUE(LocationSet::unionOf({}).isEmpty());
}

TEST(LocationSet, KnowsTheAncestorsOfAPath) {
    EXPECT_THAT(LocationSet::ancestorsOf("/root/a/b").describe(), ElementsAre("/root", "/root/a"));
    EXPECT_TRUE(LocationSet::ancestorsOf("/root").isEmpty());
}

TEST(LocationSet, AddsWhatIsBelow) {
    const LocationSet set = LocationSet::exactly({"/root/a"}).withBelow();
    EXPECT_THAT(set.describe(), ElementsAre("/root/a/**"));
    EXPECT_THAT(LocationSet::matching({"/root/*"}).withBelow().describe(),
                ElementsAre("/root/*/**"));
    EXPECT_TRUE(LocationSet::everything().withBelow().isEverything());
}

TEST(LocationSet, AddsParents) {
    EXPECT_THAT(LocationSet::exactly({"/root/a/b", "/root"}).withParents().describe(),
                ElementsAre("/root", "/root/a", "/root/a/b"));
    EXPECT_THAT(LocationSet::subtrees({"/root/a"}).withParents().describe(),
                ElementsAre("/root", "/root/a/**"));
    EXPECT_THAT(LocationSet::matching({"/root/*/b*/**"}).withParents().describe(),
                ElementsAre("/root/*", "/root/*/b*/**"));
    EXPECT_TRUE(LocationSet::matching({"/**/b"}).withParents().isEverything());
}

TEST(LocationSet, MovesMembersToAnotherPlace) {
    const auto moved = [](const LocationSet& set) {
        return set.moved("/root/a", "/root/n/*").describe();
    };
    EXPECT_THAT(moved(LocationSet::exactly({"/root/a", "/root/a/x", "/root/b"})),
                ElementsAre("/root/n/*", "/root/n/*/x"));
    EXPECT_THAT(moved(LocationSet::subtrees({"/root"})), ElementsAre("/root/n/*/**"));
    EXPECT_THAT(moved(LocationSet::subtrees({"/root/a/x"})), ElementsAre("/root/n/*/x/**"));
    EXPECT_THAT(moved(LocationSet::everything()), ElementsAre("/root/n/*/**"));
    EXPECT_THAT(moved(LocationSet::matching({"/root/*/[xy]"})), ElementsAre("/root/n/[*]/[xy]"));
    EXPECT_THAT(moved(LocationSet::matching({"/root/*"})), ElementsAre("/root/n/*"));
    EXPECT_THAT(moved(LocationSet::exactly({"/root", "/root/ab"})), IsEmpty());
}

TEST(LocationSet, MovesMembersToEveryMatchOfAPattern) {
    const LocationSet set = LocationSet::exactly({"/src", "/src/x?"});
    EXPECT_THAT(set.movedToEach("/src", "/root/i_*").describe(),
                ElementsAre("/root/i_*", "/root/i_*/x[?]"));
    EXPECT_TRUE(set.movedToEach("/other", "/root/i_*").isEmpty());
}

TEST(LocationSet, BecomesASubtreeWhenItHasTooManyPaths) {
    std::vector<std::string> paths;
    for (int i = 0; i < 100000; ++i)
        paths.push_back("/root/a/n" + std::to_string(i));
    EXPECT_THAT(LocationSet::exactly(paths).describe(), ElementsAre("/root/a/**"));
    std::vector<std::string> patterns;
    for (int i = 0; i < 5000; ++i)
        patterns.push_back("/root/b/n" + std::to_string(i) + "/*");
    LocationSet set = LocationSet::matching(patterns);
    EXPECT_THAT(set.describe(), ElementsAre("/root/b/**"));
    paths.emplace_back("/other");
    EXPECT_TRUE(LocationSet::exactly(paths).isEverything());
}

namespace {

/// Paths of up to four levels named "a", "b" or "c".
std::vector<std::string> SmallPaths() {
    std::vector<std::string> paths{""};
    for (std::size_t first = 0, level = 0; level < 4; ++level) {
        const std::size_t end = paths.size();
        for (; first < end; ++first)
            for (const char* const name : {"/a", "/b", "/c"})
                paths.push_back(paths[first] + name);
    }
    paths.erase(paths.begin());
    return paths;
}

std::string RandomPattern(std::mt19937& random) {
    const char* const levels[] = {"/a", "/b", "/*", "/**", "/[ab]"};
    std::string pattern;
    for (std::size_t count = 1 + random() % 4; count-- > 0;)
        pattern += levels[random() % 5];
    return pattern;
}

} // namespace

TEST(LocationSet, AgreesWithPatternsOnAllSmallPaths) {
    const std::vector<std::string> paths = SmallPaths();
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        const std::vector<std::string> globs{RandomPattern(random), RandomPattern(random)};
        const Patterns patterns(globs);
        const LocationSet set = LocationSet::matching(globs);
        SCOPED_TRACE(globs[0] + " " + globs[1]);
        for (const std::string& path : paths) {
            ASSERT_EQ(set.mayContain(path), patterns.matches(path)) << path;
            ASSERT_EQ(set.mayContainBelow(path), patterns.mayMatchBelow(path)) << path;
        }
    }
}

TEST(LocationSet, ChangedSetsAreRightForAllSmallPaths) {
    const std::vector<std::string> paths = SmallPaths();
    std::mt19937 random(2);
    for (int round = 0; round < 200; ++round) {
        const std::vector<std::string> globs{RandomPattern(random), RandomPattern(random)};
        const LocationSet set = LocationSet::matching(globs);
        SCOPED_TRACE(globs[0] + " " + globs[1]);
        const LocationSet withParents = set.withParents();
        const LocationSet withBelow = set.withBelow();
        const LocationSet moved = set.moved("/a", "/b/c");
        const LocationSet repeated = set.movedToEach("/a/b", "/[ab]/*");
        for (const std::string& path : paths) {
            const bool isIn = set.mayContain(path);
            ASSERT_TRUE(!isIn || withBelow.mayContain(path + "/b")) << path;
            ASSERT_TRUE(!isIn || Parent(path).empty() || withParents.mayContain(Parent(path)))
                << path;
            if (IsSelfOrBelow(path, "/a")) {
                ASSERT_EQ(moved.mayContain("/b/c" + path.substr(2)), isIn) << path;
            }
            if (IsSelfOrBelow(path, "/a/b")) {
                ASSERT_EQ(repeated.mayContain("/b/c" + path.substr(4)), isIn) << path;
            }
            const auto towards = set.childrenTowards(Parent(path));
            const bool isTowards = !towards || std::find(towards->begin(), towards->end(),
                                                         Name(path)) != towards->end();
            ASSERT_TRUE(isTowards || !(isIn || set.mayContainBelow(path))) << path;
        }
    }
}
