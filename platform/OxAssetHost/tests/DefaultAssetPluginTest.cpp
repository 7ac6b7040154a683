#include <OxAssetHost/OxAssetPluginManager.h>

#include <filesystem>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include <OxConfiguration/Configuration.h>

#include "ScopedEnvironment.h"
#include "TempDirectory.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

std::string Resolve(const std::string& reference, int frame = 7) {
    return OxAssetPluginManager::getDefaultAssetPlugin()->resolvePath(reference, frame, true);
}

std::string ResolveIfPossible(const std::string& reference) {
    return OxAssetPluginManager::getDefaultAssetPlugin()->resolvePath(reference, 7, false);
}

std::string FailureOf(const std::string& reference) {
    try {
        return "no failure, but " + Resolve(reference);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

/// Gives the process this search path, or none, and nothing else to configure it.
class ScopedSearchPath {
public:
    explicit ScopedSearchPath(const std::optional<std::string>& folders)
        : file("OX_CONFIG_FILE", std::nullopt), variable("OX_CONFIG_ASSET_SEARCH_PATH", folders) {
        Config()->reload();
    }

private:
    // Undone last, when the variables are as they were.
    struct ReloadAtEnd {
        ~ReloadAtEnd() { Config()->reload(); }
    } reload;
    ScopedEnvironment file;
    ScopedEnvironment variable;
};

class ScopedCurrentFolder {
public:
    explicit ScopedCurrentFolder(const std::string& folder)
        : previous(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~ScopedCurrentFolder() { std::filesystem::current_path(previous); }
    ScopedCurrentFolder(const ScopedCurrentFolder&) = delete;
    ScopedCurrentFolder& operator=(const ScopedCurrentFolder&) = delete;

private:
    std::filesystem::path previous;
};

class DefaultAssetPluginTest : public testing::Test {
protected:
    ScopedSearchPath noSearchPath{std::nullopt};
};

// Texts as they are.

TEST_F(DefaultAssetPluginTest, LeavesAnEmptyTextEmpty) {
    EXPECT_EQ(Resolve(""), "");
}

TEST_F(DefaultAssetPluginTest, LeavesPlainWordsAsTheyAre) {
    EXPECT_EQ(Resolve("red"), "red");
    EXPECT_EQ(Resolve("two words"), "two words");
    EXPECT_EQ(Resolve("gr\xC3\xBCn"), "gr\xC3\xBCn");
    EXPECT_EQ(Resolve("back~up"), "back~up");
}

TEST_F(DefaultAssetPluginTest, LeavesPathsWithoutTokensAsTheyAre) {
    EXPECT_EQ(Resolve("/no/such/file.exr"), "/no/such/file.exr");
    EXPECT_EQ(Resolve("no/such/file.exr"), "no/such/file.exr");
    EXPECT_EQ(Resolve("./a//b/../c"), "./a//b/../c");
}

TEST_F(DefaultAssetPluginTest, RefusesANulByte) {
    EXPECT_EQ(FailureOf(std::string("a/b\0c", 5)),
              "Asset reference 'a/b\\x00c' cannot be resolved: it contains a NUL byte.");
}

TEST_F(DefaultAssetPluginTest, RefusesTextsOfMoreThan64KiB) {
    const std::string longest(65536, 'x');
    EXPECT_EQ(Resolve(longest), longest);
    EXPECT_EQ(FailureOf(longest + 'x'), "Asset reference '" + std::string(200, 'x') +
                                            "...' cannot be resolved: "
                                            "it is longer than 65536 bytes.");
}

TEST_F(DefaultAssetPluginTest, RefusesTextsThatVariablesMakeTooLong) {
    const ScopedEnvironment half("TELLAR_TEST_A", std::string(32768, 'x'));
    EXPECT_EQ(Resolve("$TELLAR_TEST_A$TELLAR_TEST_A"), std::string(65536, 'x'));
    const std::string expected =
        "' cannot be resolved: it is longer than 65536 bytes with its variables replaced.";
    EXPECT_THAT(FailureOf("$TELLAR_TEST_A$TELLAR_TEST_A/"), EndsWith(expected));
    EXPECT_THAT(FailureOf("$TELLAR_TEST_A$TELLAR_TEST_A$TELLAR_TEST_A"), EndsWith(expected));
}

// Variables.

TEST_F(DefaultAssetPluginTest, ReplacesVariablesWithAndWithoutBraces) {
    const ScopedEnvironment a("TELLAR_TEST_A", "one");
    const ScopedEnvironment b("TELLAR_TEST_B", "two");
    EXPECT_EQ(Resolve("$TELLAR_TEST_A"), "one");
    EXPECT_EQ(Resolve("/p/$TELLAR_TEST_A/${TELLAR_TEST_B}x/$TELLAR_TEST_B.exr"),
              "/p/one/twox/two.exr");
    EXPECT_EQ(Resolve("${TELLAR_TEST_A}${TELLAR_TEST_B}"), "onetwo");
}

TEST_F(DefaultAssetPluginTest, ReplacesAnEmptyVariableWithNothing) {
    const ScopedEnvironment a("TELLAR_TEST_A", "");
    EXPECT_EQ(Resolve("/a$TELLAR_TEST_A/b"), "/a/b");
    EXPECT_EQ(Resolve("$TELLAR_TEST_A"), "");
}

TEST_F(DefaultAssetPluginTest, NamesAVariableThatIsNotSet) {
    const ScopedEnvironment a("TELLAR_TEST_A", std::nullopt);
    EXPECT_EQ(FailureOf("$TELLAR_TEST_A/b"),
              "Asset reference '$TELLAR_TEST_A/b' cannot be resolved: "
              "the environment variable 'TELLAR_TEST_A' is not set.");
    EXPECT_EQ(FailureOf("word${TELLAR_TEST_A}"),
              "Asset reference 'word${TELLAR_TEST_A}' cannot be resolved: "
              "the environment variable 'TELLAR_TEST_A' is not set.");
    EXPECT_THAT(FailureOf("${not a name}"), HasSubstr("'not a name' is not set"));
}

TEST_F(DefaultAssetPluginTest, TakesADollarWithoutANameForACharacter) {
    EXPECT_EQ(Resolve("$"), "$");
    EXPECT_EQ(Resolve("/a$/b$-$.c"), "/a$/b$-$.c");
    EXPECT_EQ(Resolve("${}"), "${}");
    EXPECT_EQ(Resolve("${never closed"), "${never closed");
}

TEST_F(DefaultAssetPluginTest, DoesNotExpandValuesAgain) {
    const ScopedEnvironment a("TELLAR_TEST_A", "~/$HOME/${HOME}/####/%04d");
    EXPECT_EQ(Resolve("$TELLAR_TEST_A"), "~/$HOME/${HOME}/####/%04d");
}

// Home folders.

TEST_F(DefaultAssetPluginTest, ReplacesALeadingTilde) {
    const ScopedEnvironment home("HOME", "/home/somebody");
    EXPECT_EQ(Resolve("~"), "/home/somebody");
    EXPECT_EQ(Resolve("~/"), "/home/somebody/");
    EXPECT_EQ(Resolve("~/maps/a.exr"), "/home/somebody/maps/a.exr");
    EXPECT_EQ(Resolve("/maps/~/a.exr"), "/maps/~/a.exr");
}

TEST_F(DefaultAssetPluginTest, MakesNoDoubledSeparatorBehindAHomeFolder) {
    const ScopedEnvironment home("HOME", "/");
    EXPECT_EQ(Resolve("~"), "/");
    EXPECT_EQ(Resolve("~/a.exr"), "/a.exr");
}

TEST_F(DefaultAssetPluginTest, LeavesTokensInAHomeFolderAlone) {
    const ScopedEnvironment home("HOME", "/home/$USER/##");
    EXPECT_EQ(Resolve("~/a.##.exr"), "/home/$USER/##/a.07.exr");
}

TEST_F(DefaultAssetPluginTest, NamesAnUnknownUser) {
    EXPECT_EQ(FailureOf("~no such user/a.exr"),
              "Asset reference '~no such user/a.exr' cannot be resolved: "
              "there is no user 'no such user'.");
    EXPECT_EQ(FailureOf("~no such user"), "Asset reference '~no such user' cannot be resolved: "
                                          "there is no user 'no such user'.");
}

TEST_F(DefaultAssetPluginTest, FindsTheHomeFolderOfAUser) {
    // Every system of this kind has the account, though not everywhere with the same folder.
    const std::string home = Resolve("~root");
    EXPECT_EQ(home.front(), '/');
    EXPECT_EQ(Resolve("~root/a"), home == "/" ? "/a" : home + "/a");
}

// Frame tokens.

TEST_F(DefaultAssetPluginTest, PadsTheFrameToTheLengthOfARunOfHashes) {
    EXPECT_EQ(Resolve("/a/b.####.exr", 7), "/a/b.0007.exr");
    EXPECT_EQ(Resolve("/a/b.####.exr", 12345), "/a/b.12345.exr");
    EXPECT_EQ(Resolve("/a/b#", 0), "/a/b0");
    EXPECT_EQ(Resolve("/##/###-#", 12), "/12/012-12");
}

TEST_F(DefaultAssetPluginTest, ReplacesPercentTokens) {
    EXPECT_EQ(Resolve("/a/b.%04d.exr", 7), "/a/b.0007.exr");
    EXPECT_EQ(Resolve("/a/b.%d.exr", 7), "/a/b.7.exr");
    EXPECT_EQ(Resolve("/a/b.%01d.exr", 12), "/a/b.12.exr");
    EXPECT_EQ(Resolve("%04d", 7), "0007");
    EXPECT_EQ(Resolve("frame%d", 7), "frame7");
    EXPECT_EQ(Resolve("/%03d/%03d", 7), "/007/007");
}

TEST_F(DefaultAssetPluginTest, WritesTheSignOfANegativeFrameBeforeTheZeros) {
    EXPECT_EQ(Resolve("/a.####.exr", -7), "/a.-007.exr");
    EXPECT_EQ(Resolve("/a.%04d.exr", -7), "/a.-007.exr");
    EXPECT_EQ(Resolve("/a.##.exr", -7), "/a.-7.exr");
    EXPECT_EQ(Resolve("/a.#.exr", -7), "/a.-7.exr");
    EXPECT_EQ(Resolve("/a.%d.exr", -7), "/a.-7.exr");
}

TEST_F(DefaultAssetPluginTest, WritesTheFirstAndTheLastFrameOfAll) {
    EXPECT_EQ(Resolve("/############", std::numeric_limits<int>::min()), "/-02147483648");
    EXPECT_EQ(Resolve("/%d", std::numeric_limits<int>::max()), "/2147483647");
}

TEST_F(DefaultAssetPluginTest, TakesHashesInAWordForATokenOnlyBeforeADot) {
    EXPECT_EQ(Resolve("image.####.exr"), "image.0007.exr");
    EXPECT_EQ(Resolve("C#"), "C#");
    EXPECT_EQ(Resolve("#ff8800"), "#ff8800");
    EXPECT_EQ(Resolve("#1.##.exr"), "#1.07.exr");
    EXPECT_EQ(Resolve("dir/C#"), "dir/C7");
}

TEST_F(DefaultAssetPluginTest, TakesOtherPercentSequencesForCharacters) {
    EXPECT_EQ(Resolve("100%"), "100%");
    EXPECT_EQ(Resolve("/%4d/%s/%%/%i"), "/%4d/%s/%%/%i");
    EXPECT_EQ(Resolve("/%0d/%00d/%004d/%04x/%04"), "/%0d/%00d/%004d/%04x/%04");
    EXPECT_EQ(Resolve("a%20b"), "a%20b");
    EXPECT_EQ(Resolve("%%02d"), "%07");
}

TEST_F(DefaultAssetPluginTest, PadsTo99DigitsAndRefusesMore) {
    EXPECT_EQ(Resolve("/%099d"), "/" + std::string(98, '0') + "7");
    EXPECT_EQ(Resolve("/" + std::string(99, '#')), "/" + std::string(98, '0') + "7");
    EXPECT_EQ(FailureOf("/%0100d"),
              "Asset reference '/%0100d' cannot be resolved: "
              "its frame token '%0100d' is too wide, 99 digits are the most.");
    EXPECT_THAT(FailureOf("/%0" + std::string(300, '9') + "d"), HasSubstr(" is too wide, "));
    EXPECT_THAT(FailureOf("/" + std::string(100, '#')), HasSubstr(" is too wide, "));
}

// The search path.

class AssetSearchPathTest : public testing::Test {
protected:
    AssetSearchPathTest() {
        first.write("first.exr", "");
        first.write("both.exr", "");
        second.write("second.exr", "");
        second.write("both.exr", "");
        second.write("image.0007.exr", "");
        second.write("word", "");
        std::filesystem::create_directory(second.path("maps"));
        second.write("maps/a.exr", "");
    }

    TempDirectory first;
    TempDirectory second;
    ScopedSearchPath searchPath{first.path() + ":" + second.path()};
};

TEST_F(AssetSearchPathTest, TakesTheFirstFolderThatHasTheReference) {
    EXPECT_EQ(Resolve("first.exr"), first.path("first.exr"));
    EXPECT_EQ(Resolve("second.exr"), second.path("second.exr"));
    EXPECT_EQ(Resolve("both.exr"), first.path("both.exr"));
    EXPECT_EQ(Resolve("maps/a.exr"), second.path("maps/a.exr"));
    EXPECT_EQ(Resolve("maps"), second.path("maps"));
    EXPECT_EQ(Resolve("word"), second.path("word"));
}

TEST_F(AssetSearchPathTest, LooksForTheReferenceWithEverythingReplaced) {
    const ScopedEnvironment a("TELLAR_TEST_A", "maps");
    EXPECT_EQ(Resolve("$TELLAR_TEST_A/a.exr"), second.path("maps/a.exr"));
    EXPECT_EQ(Resolve("image.####.exr", 7), second.path("image.0007.exr"));
}

TEST_F(AssetSearchPathTest, LeavesAWordThatIsInNoFolder) {
    EXPECT_EQ(Resolve("red"), "red");
    EXPECT_EQ(Resolve("file.exr"), "file.exr");
}

TEST_F(AssetSearchPathTest, RefusesAPathThatIsInNoFolderAndListsThem) {
    EXPECT_EQ(FailureOf("maps/b.exr"), "Asset reference 'maps/b.exr' cannot be resolved: "
                                       "it is in no folder of ASSET_SEARCH_PATH: '" +
                                           first.path() + "', '" + second.path() + "'.");
}

TEST_F(AssetSearchPathTest, RefusesAFrameThatIsInNoFolder) {
    EXPECT_EQ(Resolve("image.####.exr", 7), second.path("image.0007.exr"));
    EXPECT_THROW(Resolve("image.####.exr", 8), std::runtime_error);
    EXPECT_THROW(Resolve("image.%04d.exr", 8), std::runtime_error);
}

TEST_F(AssetSearchPathTest, ReturnsAbsolutePathsWhetherOrNotTheyExist) {
    EXPECT_EQ(Resolve("/no/such/both.exr"), "/no/such/both.exr");
    EXPECT_EQ(Resolve("/both.exr"), "/both.exr");
}

TEST_F(AssetSearchPathTest, DoesNotSearchWhatCountsFromTheCurrentFolder) {
    EXPECT_EQ(Resolve("./both.exr"), "./both.exr");
    EXPECT_EQ(Resolve("../both.exr"), "../both.exr");
    EXPECT_EQ(Resolve("."), ".");
    EXPECT_EQ(Resolve(".."), "..");
}

TEST_F(AssetSearchPathTest, SearchesForNamesThatOnlyBeginWithADot) {
    first.write(".hidden", "");
    first.write("..odd", "");
    EXPECT_EQ(Resolve(".hidden"), first.path(".hidden"));
    EXPECT_EQ(Resolve("..odd"), first.path("..odd"));
}

TEST_F(AssetSearchPathTest, TakesNamesThatNoFileCanHaveForAbsent) {
    const std::string longName(5000, 'x');
    EXPECT_EQ(Resolve(longName), longName);
    EXPECT_THAT(FailureOf("maps/" + longName), HasSubstr("it is in no folder"));
    EXPECT_THAT(FailureOf("first.exr/below-a-file"), HasSubstr("it is in no folder"));
    EXPECT_EQ(Resolve("\xFF\xFE"), "\xFF\xFE");
}

TEST_F(AssetSearchPathTest, LeavesATextThatBecomesEmptyEmpty) {
    const ScopedEnvironment a("TELLAR_TEST_A", "");
    EXPECT_EQ(Resolve("$TELLAR_TEST_A"), "");
}

TEST(AssetSearchPath, ReplacesHomeFoldersAndVariablesInItsFolders) {
    const TempDirectory folder;
    std::filesystem::create_directory(folder.path("maps"));
    folder.write("maps/a.exr", "");
    const ScopedEnvironment home("HOME", folder.path());
    const ScopedEnvironment a("TELLAR_TEST_A", folder.path());
    {
        const ScopedSearchPath searchPath("~/maps");
        EXPECT_EQ(Resolve("a.exr"), folder.path("maps/a.exr"));
    }
    const ScopedSearchPath searchPath("${TELLAR_TEST_A}/maps");
    EXPECT_EQ(Resolve("a.exr"), folder.path("maps/a.exr"));
}

TEST(AssetSearchPath, TakesFrameTokensInItsFoldersForCharacters) {
    const TempDirectory folder;
    std::filesystem::create_directory(folder.path("C#%d"));
    folder.write("C#%d/a.exr", "");
    const ScopedSearchPath searchPath(folder.path("C#%d"));
    EXPECT_EQ(Resolve("a.exr"), folder.path("C#%d/a.exr"));
}

TEST(AssetSearchPath, CountsRelativeFoldersFromTheCurrentFolder) {
    const TempDirectory folder;
    std::filesystem::create_directory(folder.path("maps"));
    folder.write("maps/a.exr", "");
    const ScopedCurrentFolder current(folder.path());
    const ScopedSearchPath searchPath("textures:maps");
    EXPECT_EQ(Resolve("a.exr"), "maps/a.exr");
}

TEST(AssetSearchPath, DoublesNoSeparator) {
    const TempDirectory folder;
    folder.write("a.exr", "");
    const ScopedSearchPath searchPath(folder.path() + "/");
    EXPECT_EQ(Resolve("a.exr"), folder.path() + "/a.exr");
}

TEST(AssetSearchPath, CountsAsNoneWhenItHasNoFolders) {
    const ScopedEnvironment a("TELLAR_TEST_A", "");
    const ScopedSearchPath searchPath("::$TELLAR_TEST_A:");
    EXPECT_EQ(Resolve("no/such/file.exr"), "no/such/file.exr");
}

TEST(AssetSearchPath, PassesOverAFolderThatCannotBeExpandedAndSaysWhy) {
    const ScopedEnvironment a("TELLAR_TEST_A", std::nullopt);
    const TempDirectory folder;
    folder.write("a.exr", "");
    const ScopedSearchPath searchPath("$TELLAR_TEST_A/maps:" + folder.path());
    EXPECT_EQ(Resolve("a.exr"), folder.path("a.exr"));
    EXPECT_EQ(FailureOf("b/c.exr"), "Asset reference 'b/c.exr' cannot be resolved: "
                                    "it is in no folder of ASSET_SEARCH_PATH: "
                                    "'$TELLAR_TEST_A/maps' "
                                    "(the environment variable 'TELLAR_TEST_A' is not set), '" +
                                        folder.path() + "'.");
}

// Failures.

TEST_F(AssetSearchPathTest, GivesBackWhatCannotBeResolvedIfItNeedNotBe) {
    const ScopedEnvironment a("TELLAR_TEST_A", std::nullopt);
    const ScopedEnvironment b("TELLAR_TEST_B", "set");
    EXPECT_EQ(ResolveIfPossible("$TELLAR_TEST_B/$TELLAR_TEST_A/####"),
              "$TELLAR_TEST_B/$TELLAR_TEST_A/####");
    EXPECT_EQ(ResolveIfPossible("~no such user/a"), "~no such user/a");
    EXPECT_EQ(ResolveIfPossible("/%0100d"), "/%0100d");
    EXPECT_EQ(ResolveIfPossible("maps/b.####.exr"), "maps/b.####.exr");
    EXPECT_EQ(ResolveIfPossible(std::string("a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(ResolveIfPossible(std::string(70000, 'x')), std::string(70000, 'x'));
    EXPECT_EQ(ResolveIfPossible("both.exr"), first.path("both.exr"));
}

TEST_F(DefaultAssetPluginTest, WritesMessagesOfOneLine) {
    EXPECT_EQ(FailureOf("~a\nb\x7F/c"), "Asset reference '~a\\x0ab\\x7f/c' cannot be resolved: "
                                        "there is no user 'a\\x0ab\\x7f'.");
}

TEST_F(DefaultAssetPluginTest, CutsLongTextsInMessagesBetweenCharacters) {
    // The 200th byte is the first one of a character of two.
    const std::string text = "/%0100d" + std::string(192, 'x');
    EXPECT_THAT(FailureOf(text + "\xC3\xBC and more"),
                testing::StartsWith("Asset reference '" + text + "...' cannot be resolved: "));
    EXPECT_THAT(FailureOf(text + "y"), Not(HasSubstr("...")));
}

} // namespace
