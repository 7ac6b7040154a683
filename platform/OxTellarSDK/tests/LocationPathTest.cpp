#include <OxTellarSDK/LocationPath.h>

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ErrorOf.h"

using namespace OxLocationPath;

namespace {

bool Matches(const std::string& pattern, const std::string& path) {
    return Patterns({pattern}).matches(path);
}

bool MayMatchBelow(const std::string& pattern, const std::string& path) {
    return Patterns({pattern}).mayMatchBelow(path);
}

std::string PatternErrorOf(const std::string& pattern) {
    return ErrorOf([&] { Patterns({pattern}); });
}

} // namespace

TEST(LocationPath, ParentIsThePartBeforeTheLastSlash) {
    EXPECT_EQ(Parent("/root/world/geo"), "/root/world");
    EXPECT_EQ(Parent("/root"), "");
    EXPECT_EQ(Parent(""), "");
    EXPECT_EQ(Parent("geo"), "");
}

TEST(LocationPath, NameIsThePartAfterTheLastSlash) {
    EXPECT_EQ(Name("/root/world/geo"), "geo");
    EXPECT_EQ(Name("/root"), "root");
    EXPECT_EQ(Name(""), "");
    EXPECT_EQ(Name("geo"), "");
}

TEST(LocationPath, APathIsAtOrBelowItselfAndItsAncestorsOnly) {
    EXPECT_TRUE(IsSelfOrBelow("/root/world", "/root/world"));
    EXPECT_TRUE(IsSelfOrBelow("/root/world/geo", "/root"));
    EXPECT_TRUE(IsSelfOrBelow("/root", ""));
    EXPECT_FALSE(IsSelfOrBelow("/root/world2", "/root/world"));
    EXPECT_FALSE(IsSelfOrBelow("/root", "/root/world"));
}

TEST(LocationPatterns, APlainPathMatchesItselfOnly) {
    EXPECT_TRUE(Matches("/root/world", "/root/world"));
    EXPECT_FALSE(Matches("/root/world", "/root"));
    EXPECT_FALSE(Matches("/root/world", "/root/world/geo"));
    EXPECT_FALSE(Matches("/root/world", "/root/worlds"));
}

TEST(LocationPatterns, ThePatternOfAPathMatchesItAlone) {
    EXPECT_EQ(PatternOf("/root/world"), "/root/world");
    EXPECT_EQ(PatternOf("/root/*?[a]"), "/root/[*][?][[]a]");
    EXPECT_TRUE(Matches(PatternOf("/root/*?[a]"), "/root/*?[a]"));
    EXPECT_FALSE(Matches(PatternOf("/root/*"), "/root/a"));
}

TEST(LocationPatterns, AStarStaysWithinItsLevel) {
    EXPECT_TRUE(Matches("/root/*", "/root/world"));
    EXPECT_FALSE(Matches("/root/*", "/root/world/geo"));
    EXPECT_FALSE(Matches("/root/*", "/root"));
    EXPECT_TRUE(Matches("/root/w*d", "/root/wd"));
    EXPECT_TRUE(Matches("/root/*o*l*", "/root/world"));
    EXPECT_FALSE(Matches("/root/*o*l", "/root/world"));
    EXPECT_TRUE(Matches("/root/a**b", "/root/axxb"));
    EXPECT_FALSE(Matches("/root/a**b", "/root/a/b"));
}

TEST(LocationPatterns, AStarIsTakenBackUntilTheRestFits) {
    EXPECT_TRUE(Matches("/*ab", "/aabab"));
    EXPECT_TRUE(Matches("/**/b/c", "/a/b/b/c"));
    EXPECT_TRUE(Matches("/**/b/**/c", "/b/c/b/x/c"));
    EXPECT_FALSE(Matches("/**/b/**/c", "/c/b"));
}

TEST(LocationPatterns, AQuestionMarkIsOneCharacterOfAnyLength) {
    EXPECT_TRUE(Matches("/root/leaf?", "/root/leaf7"));
    EXPECT_FALSE(Matches("/root/leaf?", "/root/leaf"));
    EXPECT_FALSE(Matches("/root/leaf?", "/root/leaf77"));
    EXPECT_TRUE(Matches("/root/b?r", "/root/b\xC3\xA4r"));
}

TEST(LocationPatterns, ASetIsOneOfItsCharacters) {
    EXPECT_TRUE(Matches("/root/leaf[135]", "/root/leaf3"));
    EXPECT_FALSE(Matches("/root/leaf[135]", "/root/leaf2"));
    EXPECT_TRUE(Matches("/root/[a-f-]x", "/root/ex"));
    EXPECT_TRUE(Matches("/root/[a-f-]x", "/root/-x"));
    EXPECT_FALSE(Matches("/root/[a-f-]x", "/root/gx"));
    EXPECT_TRUE(Matches("/root/[]]", "/root/]"));
    EXPECT_TRUE(Matches("/root/[\xC3\xA0-\xC3\xBF]", "/root/\xC3\xA4"));
}

TEST(LocationPatterns, ANegatedSetIsAnyOtherCharacter) {
    EXPECT_TRUE(Matches("/root/leaf[!135]", "/root/leaf2"));
    EXPECT_FALSE(Matches("/root/leaf[!135]", "/root/leaf3"));
    EXPECT_FALSE(Matches("/root/leaf[!135]", "/root/leaf"));
}

TEST(LocationPatterns, TwoStarsAreAnyNumberOfLevels) {
    EXPECT_TRUE(Matches("/root/**", "/root"));
    EXPECT_TRUE(Matches("/root/**", "/root/world/geo"));
    EXPECT_FALSE(Matches("/root/**", "/roots"));
    EXPECT_TRUE(Matches("/**/geo", "/geo"));
    EXPECT_TRUE(Matches("/**/geo", "/root/world/geo"));
    EXPECT_FALSE(Matches("/**/geo", "/root/world/geo/leaf"));
    EXPECT_TRUE(Matches("/root/**/leaf?/**", "/root/a/b/leaf1/c"));
    EXPECT_TRUE(Matches("/**", "/root"));
}

TEST(LocationPatterns, AnyPatternOfTheSetMayMatch) {
    const Patterns patterns({"/root/a", "/root/b"});
    EXPECT_TRUE(patterns.matches("/root/a"));
    EXPECT_TRUE(patterns.matches("/root/b"));
    EXPECT_FALSE(patterns.matches("/root/c"));
}

TEST(LocationPatterns, NoPatternsMatchNothing) {
    EXPECT_TRUE(Patterns().isEmpty());
    EXPECT_FALSE(Patterns().matches("/root"));
    EXPECT_FALSE(Patterns().mayMatchBelow("/root"));
    EXPECT_FALSE(Patterns({"/root"}).isEmpty());
}

TEST(LocationPatterns, ARelativePathIsNeverMatched) {
    EXPECT_FALSE(Matches("/**", ""));
    EXPECT_FALSE(Matches("/**", "root"));
    EXPECT_FALSE(MayMatchBelow("/**", "root"));
}

TEST(LocationPatterns, ManyDoubleStarsDoNotTakeLong) {
    std::string pattern;
    std::string path;
    for (int level = 0; level < 30; ++level) {
        pattern += "/**/a*a*a*a*a*b";
        path += "/aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa";
    }
    // With backtracking into earlier stars this would outlast the universe.
    EXPECT_FALSE(Matches(pattern, path));
    EXPECT_TRUE(Matches("/**/**/**/**/**/**/**/**/*", path));
}

TEST(LocationPatterns, TellWhetherTheyCouldMatchBelowALocation) {
    EXPECT_TRUE(MayMatchBelow("/root/world/geo", "/root"));
    EXPECT_TRUE(MayMatchBelow("/root/world/geo", ""));
    EXPECT_TRUE(MayMatchBelow("/root/world/geo", "/"));
    EXPECT_FALSE(MayMatchBelow("/root/world/geo", "/root/world/geo"));
    EXPECT_FALSE(MayMatchBelow("/root/world/geo", "/root/other"));
    EXPECT_TRUE(MayMatchBelow("/root/w*/geo", "/root/world"));
    EXPECT_TRUE(MayMatchBelow("/root/**", "/root/world/geo"));
    EXPECT_TRUE(MayMatchBelow("/root/**/leaf", "/root/a/b/c"));
    EXPECT_FALSE(MayMatchBelow("/root/world/**", "/root/other"));
}

TEST(LocationPatterns, RefuseAPatternThatIsNotAbsolute) {
    EXPECT_EQ(PatternErrorOf("root/*"),
              "The location pattern \"root/*\" does not start with \"/\".");
    EXPECT_EQ(PatternErrorOf(""), "The location pattern \"\" does not start with \"/\".");
}

TEST(LocationPatterns, RefuseAnEmptyLevel) {
    EXPECT_EQ(PatternErrorOf("/root/"), "The location pattern \"/root/\" has an empty level.");
    EXPECT_EQ(PatternErrorOf("/root//geo"),
              "The location pattern \"/root//geo\" has an empty level.");
    EXPECT_EQ(PatternErrorOf("/"), "The location pattern \"/\" has an empty level.");
}

TEST(LocationPatterns, RefuseASetThatIsNotClosedInItsLevel) {
    const std::string text = "\" has a \"[\" without \"]\" in its level.";
    EXPECT_EQ(PatternErrorOf("/root/[ab"), "The location pattern \"/root/[ab" + text);
    EXPECT_EQ(PatternErrorOf("/root/[]"), "The location pattern \"/root/[]" + text);
    EXPECT_EQ(PatternErrorOf("/root/[!]"), "The location pattern \"/root/[!]" + text);
    EXPECT_EQ(PatternErrorOf("/root/[a/b]"), "The location pattern \"/root/[a/b]" + text);
}
