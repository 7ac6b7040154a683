#include <OxTellarSDK/StringUtil.h>

#include <limits>

#include <gmock/gmock.h>

#include <pwd.h>

#include "ScopedEnvironment.h"

namespace {

using namespace OxStringUtil;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Split, KeepsEmptyPartsBetweenSeparators) {
    EXPECT_THAT(split("a//b", "/"), ElementsAre("a", "", "b"));
    EXPECT_THAT(split("/a/", "/"), ElementsAre("", "a", ""));
    EXPECT_THAT(split("", "/"), ElementsAre(""));
    EXPECT_THAT(split("a", "/"), ElementsAre("a"));
}

TEST(Split, TakesTheSeparatorAsAWholeString) {
    EXPECT_THAT(split("a->b-c>d->", "->"), ElementsAre("a", "b-c>d", ""));
    EXPECT_THAT(split("aaa", "aa"), ElementsAre("", "a"));
}

TEST(Split, StopsAfterTheGivenNumberOfSplits) {
    EXPECT_THAT(split("a/b/c", "/", 1), ElementsAre("a", "b/c"));
    EXPECT_THAT(split("a/b/c", "/", 0), ElementsAre("a/b/c"));
    EXPECT_THAT(split("a/b/c", "/", 9), ElementsAre("a", "b", "c"));
    EXPECT_THAT(split("a/b/c", "/", -7), ElementsAre("a", "b", "c"));
}

TEST(Split, SplitsAtRunsOfWhitespaceWithoutASeparator) {
    EXPECT_THAT(split("  a \t\n b\v\f\rc "), ElementsAre("a", "b", "c"));
    EXPECT_THAT(split(""), IsEmpty());
    EXPECT_THAT(split(" \t "), IsEmpty());
}

TEST(Split, LeavesTheEndOfTheRestWhenWhitespaceSplitsRunOut) {
    EXPECT_THAT(split(" a  b  c ", "", 1), ElementsAre("a", "b  c "));
    EXPECT_THAT(split(" a ", "", 0), ElementsAre("a "));
    EXPECT_THAT(split(" a ", "", 1), ElementsAre("a"));
    EXPECT_THAT(split("  ", "", 0), IsEmpty());
}

TEST(Strip, RemovesWhitespaceFromTheEndsOnly) {
    EXPECT_EQ(strip(" \t\n\r\v\fa b \n"), "a b");
    EXPECT_EQ(lstrip("  a  "), "a  ");
    EXPECT_EQ(rstrip("  a  "), "  a");
    EXPECT_EQ(strip("  "), "");
    EXPECT_EQ(strip(""), "");
}

TEST(Strip, RemovesAnyOfTheGivenCharacters) {
    EXPECT_EQ(strip("/.a/b./", "./"), "a/b");
    EXPECT_EQ(lstrip("xyxa", "yx"), "a");
    EXPECT_EQ(rstrip("axyx", "yx"), "a");
    EXPECT_EQ(strip("xyx", "yx"), "");
    EXPECT_EQ(strip(" a ", ""), " a ");
}

TEST(Strip, LeavesTheNonBreakingSpaceAndOtherBytesAlone) {
    EXPECT_EQ(strip("\xA0 a\x85"), "\xA0 a\x85");
}

TEST(RFind, ReturnsTheIndexOfTheLastOccurrence) {
    EXPECT_EQ(rfind("a/b/c", "/"), 3);
    EXPECT_EQ(rfind("aaa", "aa"), 1);
    EXPECT_EQ(rfind("abc", "abc"), 0);
}

TEST(RFind, ReturnsMinusOneWhenThereIsNone) {
    EXPECT_EQ(rfind("abc", "/"), -1);
    EXPECT_EQ(rfind("", "a"), -1);
    EXPECT_EQ(rfind("a", "aa"), -1);
}

TEST(RFind, FindsAnEmptyTextAtTheEnd) {
    EXPECT_EQ(rfind("abc", ""), 3);
    EXPECT_EQ(rfind("", ""), 0);
}

TEST(Slice, CountsNegativeIndicesFromTheEnd) {
    EXPECT_EQ(slice("abcdef", 1, 3), "bc");
    EXPECT_EQ(slice("abcdef", -3, -1), "de");
    EXPECT_EQ(slice("abcdef", -2), "ef");
    EXPECT_EQ(slice("abcdef", 2), "cdef");
}

TEST(Slice, TakesIndicesBeyondTheEndsAsTheEnds) {
    EXPECT_EQ(slice("abc", -9, 2), "ab");
    EXPECT_EQ(slice("abc", 1, 9), "bc");
    EXPECT_EQ(slice("abc", 7, 9), "");
    EXPECT_EQ(slice("abc", std::numeric_limits<std::ptrdiff_t>::min(),
                    std::numeric_limits<std::ptrdiff_t>::max()),
              "abc");
}

TEST(Slice, IsEmptyWhenTheEndIsNotBehindTheBegin) {
    EXPECT_EQ(slice("abc", 2, 1), "");
    EXPECT_EQ(slice("abc", 1, 1), "");
    EXPECT_EQ(slice("", 0, 1), "");
}

TEST(Replace, ReplacesEveryOccurrenceFromTheLeft) {
    EXPECT_EQ(replace("a.b.c", ".", "/"), "a/b/c");
    EXPECT_EQ(replace("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replace("a.b", ".", ""), "ab");
    EXPECT_EQ(replace("aa", "a", "aa"), "aaaa");
    EXPECT_EQ(replace("abc", "x", "y"), "abc");
}

TEST(Replace, StopsAfterTheGivenCount) {
    EXPECT_EQ(replace("a.b.c", ".", "/", 1), "a/b.c");
    EXPECT_EQ(replace("a.b.c", ".", "/", 0), "a.b.c");
    EXPECT_EQ(replace("a.b.c", ".", "/", 9), "a/b/c");
}

TEST(Replace, FindsNothingBetweenAllBytes) {
    EXPECT_EQ(replace("abc", "", "-"), "-a-b-c-");
    EXPECT_EQ(replace("abc", "", "-", 2), "-a-bc");
    EXPECT_EQ(replace("abc", "", "-", 3), "-a-b-c");
    EXPECT_EQ(replace("", "", "-"), "-");
    EXPECT_EQ(replace("", "", "-", 0), "");
}

TEST(StartsWith, ComparesTheBeginning) {
    EXPECT_TRUE(startswith("/root/world", "/root"));
    EXPECT_TRUE(startswith("a", ""));
    EXPECT_TRUE(startswith("", ""));
    EXPECT_FALSE(startswith("/root", "/root/world"));
    EXPECT_FALSE(startswith("abc", "b"));
}

TEST(EndsWith, ComparesTheEnd) {
    EXPECT_TRUE(endswith("a.exr", ".exr"));
    EXPECT_TRUE(endswith("a", ""));
    EXPECT_TRUE(endswith("", ""));
    EXPECT_FALSE(endswith(".exr", "a.exr"));
    EXPECT_FALSE(endswith("abc", "b"));
}

TEST(ExpandVars, ReplacesVariablesWithAndWithoutBraces) {
    const ScopedEnvironment shot("TELLAR_TEST_SHOT", "sh010");
    EXPECT_EQ(expandvars("/s/$TELLAR_TEST_SHOT/a"), "/s/sh010/a");
    EXPECT_EQ(expandvars("${TELLAR_TEST_SHOT}_a"), "sh010_a");
    EXPECT_EQ(expandvars("$TELLAR_TEST_SHOT$TELLAR_TEST_SHOT"), "sh010sh010");
    EXPECT_EQ(expandvars("$TELLAR_TEST_SHOT-1"), "sh010-1");
}

TEST(ExpandVars, ReplacesAVariableThatIsSetToNothing) {
    const ScopedEnvironment empty("TELLAR_TEST_EMPTY", "");
    EXPECT_EQ(expandvars("a${TELLAR_TEST_EMPTY}b"), "ab");
}

TEST(ExpandVars, LeavesWhatItDoesNotKnowAsItIs) {
    const ScopedEnvironment unset("TELLAR_TEST_UNSET", std::nullopt);
    const ScopedEnvironment set("TELLAR_TEST_SET", "x");
    EXPECT_EQ(expandvars("$TELLAR_TEST_UNSET/${TELLAR_TEST_UNSET}"),
              "$TELLAR_TEST_UNSET/${TELLAR_TEST_UNSET}");
    EXPECT_EQ(expandvars("${TELLAR_TEST_UNSET}$TELLAR_TEST_SET"), "${TELLAR_TEST_UNSET}x");
    EXPECT_EQ(expandvars("100$ $$ $- ${} ${TELLAR_TEST_SET"), "100$ $$ $- ${} ${TELLAR_TEST_SET");
    EXPECT_EQ(expandvars("$$TELLAR_TEST_SET"), "$x");
    EXPECT_EQ(expandvars(""), "");
}

TEST(ExpandVars, DoesNotExpandAValueAgain) {
    const ScopedEnvironment inner("TELLAR_TEST_INNER", "x");
    const ScopedEnvironment outer("TELLAR_TEST_OUTER", "$TELLAR_TEST_INNER");
    EXPECT_EQ(expandvars("$TELLAR_TEST_OUTER"), "$TELLAR_TEST_INNER");
}

TEST(ExpandUser, TakesTheHomeFolderFromTheEnvironment) {
    const ScopedEnvironment home("HOME", "/home/ada");
    EXPECT_EQ(expanduser("~"), "/home/ada");
    EXPECT_EQ(expanduser("~/a/~"), "/home/ada/a/~");
}

TEST(ExpandUser, JoinsWithoutASecondSlash) {
    const ScopedEnvironment home("HOME", "/");
    EXPECT_EQ(expanduser("~/a"), "/a");
    EXPECT_EQ(expanduser("~"), "/");
}

TEST(ExpandUser, AsksTheSystemForNamedUsers) {
    const passwd* account = getpwuid(0);
    ASSERT_NE(account, nullptr) << "This system has no account with the id 0";
    EXPECT_EQ(expanduser("~" + std::string(account->pw_name) + "/a"),
              std::string(account->pw_dir) + "/a");
}

TEST(ExpandUser, LeavesUnknownUsersAndOtherPathsAsTheyAre) {
    EXPECT_EQ(expanduser("~no such user/a"), "~no such user/a");
    EXPECT_EQ(expanduser("/a/~"), "/a/~");
    EXPECT_EQ(expanduser(""), "");
}

} // namespace
