#include "ResolutionFile.h"

#include <ostream>
#include <stdexcept>

#include <gmock/gmock.h>

#include "ErrorOf.h"

namespace {

using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

std::string ParseErrorOf(std::string_view text) {
    return ErrorOf([text] { ParseResolutions(text, "site.json"); });
}

TEST(ResolutionFile, ReadsFormatsInTheirOrder) {
    const auto formats = ParseResolutions(
        R"({"wide": {"width": 1920, "height": 817, "pixelAspect": 1.25},
            "\u00e9t\u00e9 2": {"height": 1, "width": 1048576}})",
        "site.json");
    ASSERT_EQ(formats.size(), 2u);
    EXPECT_EQ(formats[0].getName(), "wide");
    EXPECT_EQ(formats[0].getWidth(), 1920);
    EXPECT_EQ(formats[0].getHeight(), 817);
    EXPECT_EQ(formats[0].getPixelAspect(), 1.25);
    EXPECT_EQ(formats[1].getName(), "\xC3\xA9t\xC3\xA9 2");
    EXPECT_EQ(formats[1].getWidth(), 1048576);
    EXPECT_EQ(formats[1].getHeight(), 1);
    EXPECT_EQ(formats[1].getPixelAspect(), 1.0);
}

TEST(ResolutionFile, TakesWholeNumbersInAnyNotation) {
    const auto formats =
        ParseResolutions(R"({"a": {"width": 1.92e3, "height": 1080.0}})", "site.json");
    ASSERT_EQ(formats.size(), 1u);
    EXPECT_EQ(formats[0].getWidth(), 1920);
    EXPECT_EQ(formats[0].getHeight(), 1080);
}

TEST(ResolutionFile, MayHoldNoFormats) {
    EXPECT_THAT(ParseResolutions(" {\n} ", "site.json"), IsEmpty());
}

// Text and error of a file; the error stands behind the name of the file.
struct Fault {
    const char* text;
    const char* error;
};

void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.text;
}

class ResolutionFileFault : public testing::TestWithParam<Fault> {};

TEST_P(ResolutionFileFault, IsToldWithItsPlace) {
    EXPECT_EQ(ParseErrorOf(GetParam().text),
              std::string("resolution table \"site.json\", ") + GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    NotJson, ResolutionFileFault,
    testing::Values(
        Fault{"", "line 1, column 1: The document is empty."},
        Fault{"{\n  \"a\" 1}", "line 2, column 7: Missing a colon after a name of object member."},
        Fault{"{\"a\": {\"width\": 1,\n\"height\": 2",
              "line 2, column 12: \"a\": Missing a comma or '}' after an object member."},
        Fault{"{\"a\": {\"width\": 1e999}}",
              "line 1, column 22: \"a\": Number too big to be stored in double."},
        Fault{"{} {}", "line 1, column 4: The document root must not be followed by other values."},
        Fault{"{\"\xFF\": {}}", "line 1, column 4: Invalid encoding in string."}));

INSTANTIATE_TEST_SUITE_P(
    RootThatIsNoObject, ResolutionFileFault,
    testing::Values(
        Fault{"[]", "line 1, column 2: the file holds an array; it must be an object of formats"},
        Fault{"12", "line 1, column 3: the file holds 12; it must be an object of formats"},
        Fault{"\"a\"", "line 1, column 4: the file holds \"a\"; it must be an object of formats"},
        Fault{"null", "line 1, column 5: the file holds null; it must be an object of formats"}));

INSTANTIATE_TEST_SUITE_P(
    FormatThatIsNoObject, ResolutionFileFault,
    testing::Values(
        Fault{"{\"a\": 12}",
              "line 1, column 9: \"a\" is 12; it must be an object with width and height"},
        Fault{"{\"a\": true}",
              "line 1, column 11: \"a\" is true; it must be an object with width and height"},
        Fault{"{\"a\":\n[]}",
              "line 2, column 2: \"a\" is an array; it must be an object with width and height"},
        Fault{"{\"a\": \"1x1\"}",
              "line 1, column 12: \"a\" is \"1x1\"; it must be an object with width and height"}));

INSTANTIATE_TEST_SUITE_P(
    Members, ResolutionFileFault,
    testing::Values(
        Fault{"{\"a\": {\"width\": 1, \"heigth\": 1}}",
              "line 1, column 28: \"a\": there is no member \"heigth\"; there are width, height "
              "and pixelAspect"},
        Fault{"{\"a\": {\"width\": 1}}", "line 1, column 19: \"a\": there is no height"},
        Fault{"{\"a\": {\"height\": 1\n}}", "line 2, column 2: \"a\": there is no width"},
        Fault{"{\"a\": {}}", "line 1, column 9: \"a\": there is no width"},
        Fault{"{\"a\": {\"width\": 1, \"width\": 1}}",
              "line 1, column 27: \"a\": width stands twice"},
        Fault{"{\"a\": {\"height\": 1, \"height\": 1}}",
              "line 1, column 29: \"a\": height stands twice"},
        Fault{"{\"a\": {\"pixelAspect\": 1, \"pixelAspect\": 1}}",
              "line 1, column 39: \"a\": pixelAspect stands twice"}));

INSTANTIATE_TEST_SUITE_P(
    Names, ResolutionFileFault,
    testing::Values(
        Fault{"{\"a\": {\"width\": 1, \"height\": 1},\n \"a\": {\"width\": 2, \"height\": 2}}",
              "line 2, column 5: \"a\" stands twice in the file"},
        Fault{"{\"\": {\"width\": 1, \"height\": 1}}", "line 1, column 4: a name is empty"},
        Fault{"{\"a\\u0007\": {}}",
              "line 1, column 11: the name \"a\\x07\" holds a control character"},
        Fault{"{\"\\u009b1m\": {}}",
              "line 1, column 12: the name \"\\xC2\\x9B1m\" holds a control character"},
        Fault{"{\"\\u007f\": {}}",
              "line 1, column 10: the name \"\\x7F\" holds a control character"}));

// A value as the file has it, and as the error shows it.
struct WrongValue {
    std::string text;
    std::string shown;
};

void PrintTo(const WrongValue& value, std::ostream* out) {
    *out << value.text;
}

class WrongSize : public testing::TestWithParam<WrongValue> {};

TEST_P(WrongSize, IsRefusedAsWidthAndAsHeight) {
    const std::string refusal = GetParam().shown + "; it must be a whole number from 1 to 1048576";
    EXPECT_THAT(ParseErrorOf("{\"a\": {\"height\": 1,\n\"width\":" + GetParam().text + "\n}}"),
                AllOf(StartsWith("resolution table \"site.json\", line 2, column "),
                      EndsWith(": \"a\": width is " + refusal)));
    EXPECT_THAT(ParseErrorOf("{\"a\":\n{\"width\": 1,\n\"height\":" + GetParam().text + "\n}}"),
                AllOf(StartsWith("resolution table \"site.json\", line 3, column "),
                      EndsWith(": \"a\": height is " + refusal)));
}

INSTANTIATE_TEST_SUITE_P(
    Values, WrongSize,
    testing::Values(WrongValue{"0", "0"}, WrongValue{"-1", "-1"}, WrongValue{"1048577", "1048577"},
                    WrongValue{"1.5", "1.5"}, WrongValue{"2147483648", "2147483648"},
                    WrongValue{"-1e99", "-1e99"}, WrongValue{"1e-999", "1e-999"},
                    WrongValue{"123456789012345678901234567890123456789",
                               "12345678901234567890123456789012..."},
                    WrongValue{"\"12\"", "\"12\""}, WrongValue{"null", "null"},
                    WrongValue{"false", "false"}, WrongValue{"[1]", "an array"},
                    WrongValue{"{}", "an object"}));

class WrongPixelAspect : public testing::TestWithParam<WrongValue> {};

TEST_P(WrongPixelAspect, IsRefused) {
    const std::string text = "{\"a\": {\"width\": 1, \"height\": 1,\n\"pixelAspect\":";
    EXPECT_THAT(ParseErrorOf(text + GetParam().text + "}}"),
                AllOf(StartsWith("resolution table \"site.json\", line 2, column "),
                      EndsWith(": \"a\": pixelAspect is " + GetParam().shown +
                               "; it must be a finite number above 0")));
}

INSTANTIATE_TEST_SUITE_P(Values, WrongPixelAspect,
                         testing::Values(WrongValue{"0", "0"}, WrongValue{"-0.5", "-0.5"},
                                         WrongValue{"1e-999", "1e-999"},
                                         WrongValue{"\"1\"", "\"1\""},
                                         WrongValue{"{}", "an object"}));

TEST(ResolutionFile, TakesAsManyPixelsAsAnIntHolds) {
    EXPECT_EQ(ParseErrorOf(R"({"a": {"width": 1048576, "height": 2047}})"), "no error");
    EXPECT_EQ(ParseErrorOf(R"({"a": {"width": 1048576, "height": 2048}})"),
              "resolution table \"site.json\", line 1, column 41: \"a\": width times height is "
              "2147483648; it must be at most 2147483647");
}

TEST(ResolutionFile, RefusesWhatIsNestedDeepWithoutReadingItAll) {
    EXPECT_THAT(ParseErrorOf(std::string(1000000, '[')),
                EndsWith("it must be an object of formats"));
    std::string text;
    for (int i = 0; i < 100000; ++i)
        text += "{\"width\":";
    EXPECT_EQ(ParseErrorOf(text),
              "resolution table \"site.json\", line 1, column 20: \"width\": width "
              "is an object; it must be a whole number from 1 to 1048576");
}

TEST(ResolutionFile, RefusesAZeroByteWhereverItStands) {
    using namespace std::string_view_literals;
    EXPECT_EQ(ParseErrorOf("{}\n\0{"sv),
              "resolution table \"site.json\", line 2, column 1: a zero byte");
    EXPECT_THAT(ParseErrorOf("{\"a\0\": {}}"sv),
                StartsWith("resolution table \"site.json\", line 1, column 4: "));
}

TEST(ResolutionFile, ShowsOnlyTheBeginningOfALongNameInErrors) {
    // The 64th byte is in the middle of a character, which is left out as a whole.
    const std::string begin(63, 'n');
    EXPECT_THAT(ParseErrorOf("{\"" + begin + "\xC3\xA9 and more\": 1}"),
                EndsWith(": \"" + begin +
                         "...\" is 1; it must be an object with width "
                         "and height"));
}

} // namespace
