#include <OxTellarSDK/DescriptionJson.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "DescriptionJsonTexts.h"
#include "ErrorOf.h"

using namespace OxAttribute;
using namespace DescriptionJsonTexts;

namespace {

std::string ParseErrorOf(const std::string& text) {
    return ErrorOf([&] { Parse(text); });
}

/// The text after the place of the error that `json` as an argument gives.
std::string ArgumentError(const std::string& json) {
    const std::string error = ParseErrorOf(
        "{\"ops\": [{\"name\": \"a\", \"type\": \"T\", \"args\":\n{\"v\": " + json + "}}]}");
    const std::string place = "in.json:2:";
    EXPECT_EQ(error.substr(0, place.size()), place) << error;
    return error.substr(place.size());
}

} // namespace

// ---- errors ----

struct Faulty {
    const char* text;
    const char* error;

    friend void PrintTo(const Faulty& faulty, std::ostream* out) { *out << faulty.text; }
};

class FaultyDescription : public testing::TestWithParam<Faulty> {};

TEST_P(FaultyDescription, IsRefusedWithItsPositionAndOp) {
    EXPECT_EQ(ParseErrorOf(GetParam().text), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, FaultyDescription,
    testing::Values(
        Faulty{"", "in.json:1:1: not JSON: The document is empty"},
        Faulty{"{\"ops\": [}", "in.json:1:10: not JSON: Invalid value"},
        Faulty{"{\"ops\"\n  []}",
               "in.json:2:3: not JSON: Missing a colon after a name of object member"},
        Faulty{"{} {}",
               "in.json:1:4: not JSON: The document root must not be followed by other values"},
        Faulty{"{\"é\": nul}", "in.json:1:10: not JSON: Invalid value"},
        Faulty{"{\"ops\": 1e400}", "in.json:1:9: not JSON: Number too big to be stored in double"},
        Faulty{"{\"\xff\": 1}", "in.json:1:3: not JSON: Invalid encoding in string"},
        Faulty{"[]", "in.json:1:1: a description must be an object with \"ops\""},
        Faulty{"{}", "in.json:1:1: \"ops\" is missing"},
        Faulty{"{\"ops\": {}}", "in.json:1:9: \"ops\" must be an array"},
        Faulty{"{\"ops\": []}",
               "in.json:1:9: \"ops\" is empty: a description needs at least one op"},
        Faulty{"{\"ops\": [],\n \"op\": 1}", "in.json:2:2: unknown key \"op\""},
        Faulty{"{\"ops\": [], \"ops\": []}", "in.json:1:13: key \"ops\" given twice"},
        Faulty{"{\"ops\": [7]}", "in.json:1:10: an op must be an object, in op 1"},
        Faulty{R"({"ops": [{"type": "T"}]})", "in.json:1:10: \"name\" is missing, in op 1"},
        Faulty{R"({"ops": [{"name": 1, "type": "T"}]})",
               "in.json:1:19: \"name\" must be a string, in op 1"},
        Faulty{R"({"ops": [{"name": "", "type": "T"}]})",
               "in.json:1:19: \"name\" must not be empty, in op \"\""},
        Faulty{R"({"ops": [{"name": "a"}]})", "in.json:1:10: \"type\" is missing, in op \"a\""},
        Faulty{R"({"ops": [{"type": 1, "name": "a"}]})",
               "in.json:1:19: \"type\" must be a string, in op \"a\""},
        Faulty{R"({"ops": [{"name": "a", "type": "T", "arg": {}}]})",
               "in.json:1:37: unknown key \"arg\", in op \"a\""},
        Faulty{
            "{\"ops\": [{\"name\": \"a\", \"type\": \"T\"},\n {\"name\": \"a\", \"type\": \"T\"}]}",
            "in.json:2:11: a second op named \"a\", in op \"a\""},
        Faulty{R"({"ops": [{"name": "a", "type": "T", "inputs": 1}]})",
               "in.json:1:47: \"inputs\" must be an array of op names and null, in op \"a\""},
        Faulty{R"({"ops": [{"name": "a", "type": "T", "inputs": ["a", 1]}]})",
               "in.json:1:53: \"inputs\" must be an array of op names and null, in op \"a\""},
        Faulty{
            R"({"ops": [{"name": "a", "type": "T", "inputs": ["b"]}, {"name": "c", "type": "T"}]})",
            "in.json:1:48: input \"b\" names no op, in op \"a\""},
        Faulty{R"({"ops": [{"name": "a", "type": "T", "args": []}]})",
               "in.json:1:45: \"args\" must be an object, in op \"a\""},
        Faulty{R"({"ops": [{"name": "a", "type": "T", "args": {"$type": "null"}}]})",
               "in.json:1:45: \"args\" must be a group, in op \"a\""}));

struct FaultyValue {
    const char* json;
    const char* error; // the message, starting with the column

    friend void PrintTo(const FaultyValue& faulty, std::ostream* out) { *out << faulty.json; }
};

class FaultyArgument : public testing::TestWithParam<FaultyValue> {};

TEST_P(FaultyArgument, IsRefusedWithItsPositionAndOp) {
    EXPECT_EQ(ArgumentError(GetParam().json), std::string(GetParam().error) + ", in op \"a\"");
}

INSTANTIATE_TEST_SUITE_P(
    Values, FaultyArgument,
    testing::Values(
        FaultyValue{"[]",
                    "7: an empty array has no type: write {\"$type\": \"int\", \"values\": []} or "
                    "another type"},
        FaultyValue{"[1, \"a\"]", "11: an array must hold either strings or numbers"},
        FaultyValue{"[\"a\", true]", "13: an array must hold either strings or numbers"},
        FaultyValue{"[1, null]",
                    "11: an array must hold strings or numbers, or equally long arrays of them"},
        FaultyValue{"[[[1]]]",
                    "9: an array must hold strings or numbers, or equally long arrays of them"},
        FaultyValue{"[[1, 2], [3]]", "16: tuples must all have as many values as the first one"},
        FaultyValue{"[[1, 2], 3]", "16: tuples must all have as many values as the first one"},
        FaultyValue{"[[]]", "8: a tuple needs at least one value"},
        FaultyValue{"[true, 2.5]", "8: an array must hold either numbers or true and false"},
        FaultyValue{"9007199254740992",
                    "7: the integer 9007199254740992 is too large to be exact: write "
                    "9007199254740992.0 for the nearest double"},
        FaultyValue{"{\"a\": 1, \"a\": 2}", "16: key \"a\" given twice"},
        FaultyValue{"{\"a.b\": 1, \"a-c\": 3, \"a\": {}}",
                    "8: key \"a.b\" lies in \"a\", which is given by itself"},
        FaultyValue{"{\"\": 1}", "8: key \"\" has an empty part"},
        FaultyValue{"{\"a..b\": 1}", "8: key \"a..b\" has an empty part"},
        FaultyValue{"{\"$type\": \"long\"}",
                    "17: \"$type\" must be int, float, double, string, null or group"},
        FaultyValue{"{\"$type\": 1}",
                    "17: \"$type\" must be int, float, double, string, null or group"},
        FaultyValue{"{\"$type\": \"null\", \"values\": []}", "25: unknown key \"values\""},
        FaultyValue{"{\"$type\": \"int\"}",
                    "7: a typed value needs either \"values\", or \"times\" and \"samples\""},
        FaultyValue{"{\"$type\": \"int\", \"values\": [1], \"times\": [0]}",
                    "7: a typed value needs either \"values\", or \"times\" and \"samples\""},
        FaultyValue{"{\"$type\": \"int\", \"values\": 1}", "34: values must be an array"},
        FaultyValue{"{\"$type\": \"int\", \"values\": [1.5]}", "35: 1.5 is not an int"},
        FaultyValue{"{\"$type\": \"int\", \"values\": [\"inf\"]}", "35: the value is not an int"},
        FaultyValue{"{\"$type\": \"int\", \"values\": [2147483648]}",
                    "35: 2147483648 is not an int"},
        FaultyValue{"{\"$type\": \"float\", \"values\": [1e39]}", "37: 1e39 is not a float"},
        FaultyValue{"{\"$type\": \"float\", \"values\": [\"1\"]}", "37: the value is not a float"},
        FaultyValue{"{\"$type\": \"float\", \"values\": [true]}", "37: the value is not a float"},
        FaultyValue{"{\"$type\": \"string\", \"values\": [1]}",
                    "38: a string attribute must hold strings"},
        FaultyValue{"{\"$type\": \"string\", \"values\": [], \"hex\": []}",
                    "7: strings must be given either plain or in hexadecimal"},
        FaultyValue{"{\"$type\": \"string\", \"hex\": [\"f\"]}",
                    "35: bytes must be given as a string of two hexadecimal digits each"},
        FaultyValue{"{\"$type\": \"string\", \"hex\": [\"0x\"]}",
                    "35: bytes must be given as a string of two hexadecimal digits each"},
        FaultyValue{"{\"$type\": \"int\", \"values\": [1], \"tuple\": 0}",
                    "48: \"tuple\" must be an integer of 1 or more"},
        FaultyValue{"{\"$type\": \"int\", \"values\": [[1, 2]], \"tuple\": 3}",
                    "53: \"tuple\" must agree with the length of the inner arrays"},
        FaultyValue{"{\"$type\": \"int\", \"times\": [], \"samples\": []}",
                    "33: \"times\" must be an array of at least one number"},
        FaultyValue{"{\"$type\": \"int\", \"times\": [0, 0], \"samples\": [[1], [1]]}",
                    "37: times must ascend"},
        FaultyValue{"{\"$type\": \"int\", \"times\": [\"inf\"], \"samples\": [[1]]}",
                    "34: a time must be a number"},
        FaultyValue{"{\"$type\": \"int\", \"times\": [0], \"samples\": 1}",
                    "49: \"samples\" must be an array"},
        FaultyValue{"{\"$type\": \"int\", \"times\": [0], \"samples\": [1]}",
                    "50: a sample must be an array"},
        FaultyValue{"{\"$type\": \"int\", \"times\": [0, 1], \"samples\": [[1]]}",
                    "52: 1 samples for 2 times"},
        FaultyValue{"{\"$type\": \"int\", \"times\": [0, 1], \"samples\": [[1], [1, 2]]}",
                    "58: samples must all have as many values as the first one"},
        FaultyValue{"{\"$type\": \"group\", \"children\": 1}",
                    "38: \"children\" must be an object or an array"},
        FaultyValue{"{\"$type\": \"group\", \"children\": {\"a\": 1, \"a\": 2}}",
                    "47: a second child named \"a\""},
        FaultyValue{"{\"$type\": \"group\", \"children\": [{\"name\": \"a\"}]}",
                    "39: a child needs \"value\" and either \"name\" or \"hexName\""},
        FaultyValue{"{\"$type\": \"group\", \"children\": [1]}", "39: a child must be an object"},
        FaultyValue{"{\"$type\": \"group\", \"inherit\": 0}",
                    "37: \"inherit\" must be true or false"}));

TEST(ParseDescriptionJson, RefusesANulByteEvenAfterTheEnd) {
    const char raw[] = "{\"ops\": [{\"name\": \"a\", \"type\": \"T\"}]}\0x";
    EXPECT_EQ(ParseErrorOf(std::string(raw, sizeof(raw) - 1)),
              "in.json:1:38: not JSON: a NUL byte");
}

TEST(ParseDescriptionJson, RefusesGroupsThatAreNestedTooDeeply) {
    std::string plain;
    for (int i = 0; i < kMaxGroupDepth; ++i)
        plain += "{\"g\":";
    EXPECT_EQ(ArgumentError(plain + "1" + std::string(kMaxGroupDepth, '}')),
              std::to_string(7 + 5 * (kMaxGroupDepth - 3)) +
                  ": groups are nested deeper than 2048 levels, in op \"a\"");

    std::string dotted = "{\"g";
    for (int i = 0; i < kMaxGroupDepth; ++i)
        dotted += ".g";
    EXPECT_EQ(ArgumentError(dotted + "\": 1}"),
              "8: groups are nested deeper than 2048 levels, in op \"a\"");
    EXPECT_NE(ParseErrorOf(std::string(1000000, '[')).find("nested deeper than"),
              std::string::npos);
}
