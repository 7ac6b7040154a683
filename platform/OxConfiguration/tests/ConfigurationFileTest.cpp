#include "ConfigurationFile.h"

#include <gmock/gmock.h>

#include "TempDirectory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

ConfigurationValues Parsed(std::string_view text) {
    ConfigurationValues values;
    std::string error;
    EXPECT_TRUE(ParseConfiguration(text, "site.json", values, error)) << error;
    return values;
}

std::string ErrorOf(std::string_view text) {
    ConfigurationValues values = {{"kept", "as it was"}};
    std::string error;
    EXPECT_FALSE(ParseConfiguration(text, "site.json", values, error));
    EXPECT_THAT(values, ElementsAre(Pair("kept", "as it was")));
    return error;
}

TEST(ConfigurationFile, ReadsStrings) {
    EXPECT_THAT(Parsed(R"({"a": "one", "b": "", "\u00e9": "tab\there"})"),
                ElementsAre(Pair("a", "one"), Pair("b", ""), Pair("\xC3\xA9", "tab\there")));
}

TEST(ConfigurationFile, TakesNumbersAndBooleansAsTheirText) {
    EXPECT_THAT(Parsed(R"({"a": -1.50e+3, "b": 0, "c": 12345678901234567890123, "d": true,
                           "e": false})"),
                ElementsAre(Pair("a", "-1.50e+3"), Pair("b", "0"),
                            Pair("c", "12345678901234567890123"), Pair("d", "true"),
                            Pair("e", "false")));
}

TEST(ConfigurationFile, JoinsTheKeysOfNestedObjectsWithDots) {
    EXPECT_THAT(Parsed(R"({"cache": {"limit": 4, "disk": {"path": "/c"}, "on": true}, "z": "1"})"),
                ElementsAre(Pair("cache.disk.path", "/c"), Pair("cache.limit", "4"),
                            Pair("cache.on", "true"), Pair("z", "1")));
}

TEST(ConfigurationFile, LetsTheLastOfEqualKeysWin) {
    EXPECT_THAT(Parsed(R"({"a.b": "1", "a": {"b": "2"}, "c": "3", "c": "4"})"),
                ElementsAre(Pair("a.b", "2"), Pair("c", "4")));
}

TEST(ConfigurationFile, IsEmptyForAnEmptyObject) {
    EXPECT_THAT(Parsed(" {\n} "), IsEmpty());
}

TEST(ConfigurationFile, NamesThePlaceOfASyntaxError) {
    EXPECT_EQ(ErrorOf("{\n  \"a\": \"1\"\n  \"b\": \"2\"\n}"),
              "Configuration file \"site.json\", line 3, column 3: "
              "Missing a comma or '}' after an object member.");
    EXPECT_EQ(ErrorOf(""), "Configuration file \"site.json\", line 1, column 1: "
                           "The document is empty.");
    EXPECT_EQ(ErrorOf("{} x"), "Configuration file \"site.json\", line 1, column 4: "
                               "The document root must not be followed by other values.");
}

TEST(ConfigurationFile, RefusesNullAndArraysByKey) {
    EXPECT_EQ(ErrorOf("{\"a\": {\n\"b\": null}}"),
              "Configuration file \"site.json\", line 2, column 10: The value of \"a.b\" is null; "
              "it must be a string, a number, a boolean or an object.");
    EXPECT_EQ(ErrorOf("{\"a\": [1]}"),
              "Configuration file \"site.json\", line 1, column 8: The value of \"a\" is an array; "
              "it must be a string, a number, a boolean or an object.");
}

TEST(ConfigurationFile, RefusesARootThatIsNoObject) {
    for (const char* text : {"\"a\"", "null", "[]", "12", "true"}) {
        SCOPED_TRACE(text);
        EXPECT_THAT(ErrorOf(text), testing::EndsWith("The file must hold one object."));
    }
}

TEST(ConfigurationFile, RefusesAZeroByteWhereverItStands) {
    using namespace std::string_view_literals;
    EXPECT_EQ(ErrorOf("{}\n\0{"sv),
              "Configuration file \"site.json\", line 2, column 1: A zero byte.");
}

TEST(ConfigurationFile, RefusesTextThatIsNotUtf8) {
    EXPECT_EQ(ErrorOf("{\"a\": \"\xFF\"}"), "Configuration file \"site.json\", line 1, column 8: "
                                            "Invalid encoding in string.");
}

TEST(ConfigurationFile, RefusesHalfOfAnEscapedSurrogatePair) {
    EXPECT_EQ(ErrorOf(R"({"a": "\udc00"})"), "Configuration file \"site.json\", line 1, column 15: "
                                             "The surrogate pair in string is invalid.");
    EXPECT_EQ(ErrorOf(R"({"a\uddbb": 1})"), "Configuration file \"site.json\", line 1, column 11: "
                                            "The surrogate pair in string is invalid.");
    EXPECT_THAT(Parsed(R"({"a": "\ud83d\ude00\ud7ff"})"),
                ElementsAre(Pair("a", "\xF0\x9F\x98\x80\xED\x9F\xBF")));
}

TEST(ConfigurationFile, NamesAKeyWithControlCharactersInOneLine) {
    EXPECT_THAT(ErrorOf(R"({"a\nb\u007f": null})"),
                testing::HasSubstr(R"(The value of "a\x0ab\x7f" is null;)"));
}

std::string Nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "{\"a\":";
    return text + "\"1\"" + std::string(static_cast<std::size_t>(depth), '}');
}

TEST(ConfigurationFile, RefusesWhatIsNestedTooDeepInsteadOfOverflowingTheStack) {
    EXPECT_THAT(Parsed(Nested(64)), testing::SizeIs(1));
    EXPECT_THAT(ErrorOf(Nested(65)), testing::EndsWith("Objects are nested more than 64 deep."));
    EXPECT_THAT(ErrorOf(Nested(100000)),
                testing::EndsWith("Objects are nested more than 64 deep."));
}

TEST(ConfigurationFile, ReadsAFileAndNamesItInErrors) {
    const TempDirectory folder;
    ConfigurationValues values;
    std::string error;
    EXPECT_TRUE(ReadConfigurationFile(folder.write("good.json", R"({"a": "1"})"), values, error));
    EXPECT_THAT(values, ElementsAre(Pair("a", "1")));

    const std::string bad = folder.write("bad.json", "{\n");
    EXPECT_FALSE(ReadConfigurationFile(bad, values, error));
    EXPECT_EQ(error, "Configuration file \"" + bad +
                         "\", line 2, column 1: Missing a name for object member.");
}

TEST(ConfigurationFile, NamesAFileThatDoesNotExistAndOneThatIsAFolder) {
    const TempDirectory folder;
    ConfigurationValues values;
    std::string error;
    EXPECT_FALSE(ReadConfigurationFile(folder.path("none.json"), values, error));
    EXPECT_EQ(error, "Cannot read the configuration file \"" + folder.path("none.json") +
                         "\": No such file or directory");
    EXPECT_FALSE(ReadConfigurationFile(folder.path(), values, error));
    EXPECT_EQ(error,
              "Cannot read the configuration file \"" + folder.path() + "\": not a regular file");
}

TEST(ConfigurationFile, RefusesAPipeAndADeviceWithoutWaiting) {
    const TempDirectory folder;
    ConfigurationValues values;
    std::string error;
    for (const std::string& path : {folder.makePipe("pipe"), std::string("/dev/zero")}) {
        EXPECT_FALSE(ReadConfigurationFile(path, values, error));
        EXPECT_EQ(error, "Cannot read the configuration file \"" + path + "\": not a regular file");
    }
}

TEST(ConfigurationFile, NamesAFileThatCannotBeReadAlthoughItOpens) {
    ConfigurationValues values;
    std::string error;
    EXPECT_FALSE(ReadConfigurationFile("/proc/self/mem", values, error));
    EXPECT_EQ(error, "Cannot read the configuration file \"/proc/self/mem\": Input/output error");
}

TEST(ConfigurationFile, RefusesAFileThatIsTooLargeToBeAConfiguration) {
    const TempDirectory folder;
    const std::string path = folder.write("large.json", "{}");
    std::filesystem::resize_file(path, 16 * 1024 * 1024 + 1);
    ConfigurationValues values;
    std::string error;
    EXPECT_FALSE(ReadConfigurationFile(path, values, error));
    EXPECT_EQ(error,
              "Cannot read the configuration file \"" + path + "\": 16777217 bytes are too many");
}

} // namespace
