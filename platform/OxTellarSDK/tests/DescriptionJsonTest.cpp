#include <OxTellarSDK/DescriptionJson.h>

#include <cstring>
#include <filesystem>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/OpType.h>
#include <TempDirectory.h>

#include "RandomAttribute.h"

using namespace OxAttribute;

namespace {

GroupAttribute Parse(const std::string& text) {
    return ParseDescriptionJson(text, "in.json", "");
}

std::string ErrorOf(const std::string& text) {
    try {
        Parse(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

std::string WriteErrorOf(const GroupAttribute& description) {
    try {
        WriteDescriptionJson(description);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

/// What `json` as the argument "v" of an op becomes.
Attribute ArgumentFrom(const std::string& json) {
    const GroupAttribute description =
        Parse(R"({"ops": [{"name": "a", "type": "T", "args": {"v": )" + json + "}}]}");
    return description.getChildByName("a.opArgs.v");
}

/// The text after the place of the error that `json` as an argument gives.
std::string ArgumentError(const std::string& json) {
    const std::string error = ErrorOf(
        "{\"ops\": [{\"name\": \"a\", \"type\": \"T\", \"args\":\n{\"v\": " + json + "}}]}");
    const std::string place = "in.json:2:";
    EXPECT_EQ(error.substr(0, place.size()), place) << error;
    return error.substr(place.size());
}

GroupAttribute Op(const std::vector<GroupAttribute::Child>& children) {
    return GroupAttribute(children, true);
}

GroupAttribute Describe(const std::vector<GroupAttribute::Child>& ops) {
    return GroupAttribute(ops, true);
}

template <typename T, typename Bits>
T FromBits(Bits bits) {
    T value;
    static_assert(sizeof(value) == sizeof(bits));
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

/// Asks for a "directory", as a type that reads files does.
class ReadingType : public OxOpType::OpType {
public:
    const OxOpType::Description& description() const override {
        static const auto* const text =
            new OxOpType::Description{"DescriptionJsonTest.Reading",
                                      1,
                                      "",
                                      {{"file", "string", ""}, {"directory", "string", ""}},
                                      "none"};
        return *text;
    }
    void cook(OxOpType::CookContext&) const override {}
};

/// It is made once and lives to the end of the process.
const OxOpType::OpType* RegisteredReadingType() {
    static const OxOpType::OpType* const type = [] {
        const auto* const made = new ReadingType;
        OxOpType::RegisterOpType(made);
        return made;
    }();
    return type;
}

GroupAttribute ArgsOfReader(const std::string& args, const std::string& directory,
                            const std::string& type = RegisteredReadingType()->description().name) {
    const std::string text =
        R"({"ops": [{"name": "a", "type": ")" + type + R"(", "args": )" + args + "}]}";
    return ParseDescriptionJson(text, "in.json", directory).getChildByName("a.opArgs");
}

} // namespace

// ---- ops ----

TEST(ParseDescriptionJson, MakesAGroupOfEveryOpInTheOrderOfTheText) {
    const GroupAttribute description = Parse(R"({
        "$schema": "description.schema.json", "comment": "two ops",
        "ops": [
            {"name": "scene", "type": "StaticScene", "args": {"location": "/root"}},
            {"comment": "kept as it is", "name": "pruned", "type": "Prune",
             "inputs": ["scene", null], "args": {}}
        ]})");
    EXPECT_EQ(description,
              Describe({{"scene", Op({{"opType", StringAttribute("StaticScene")},
                                      {"opArgs", Op({{"location", StringAttribute("/root")}})}})},
                        {"pruned", Op({{"opType", StringAttribute("Prune")},
                                       {"opInputs", StringAttribute({"scene", ""}, 1)},
                                       {"opArgs", GroupAttribute(true)}})}}));
}

TEST(ParseDescriptionJson, TakesASingleInputAsAString) {
    const GroupAttribute description = Parse(
        R"({"ops": [{"name": "a", "type": "T", "inputs": "b"}, {"name": "b", "type": "T"}]})");
    EXPECT_EQ(description.getChildByName("a.opInputs"), StringAttribute("b"));
}

TEST(ParseDescriptionJson, KeepsAnEmptyListOfInputs) {
    const GroupAttribute description =
        Parse(R"({"ops": [{"name": "a", "type": "T", "inputs": []}]})");
    EXPECT_EQ(description.getChildByName("a.opInputs"), StringAttribute({}, 1));
}

TEST(ParseDescriptionJson, TakesNamesOfOpsLiterally) {
    const GroupAttribute description = Parse(R"({"ops": [{"name": "a.b", "type": "T"}]})");
    EXPECT_EQ(description.getChildName(0), "a.b");
}

TEST(ParseDescriptionJson, SkipsCommentsAndAByteOrderMark) {
    EXPECT_EQ(Parse("\xEF\xBB\xBF// first\n{\"ops\": /* all */ [{\"name\": /**/ \"a\", // one\n"
                    "\"type\": \"T\"}]} /* end */"),
              Parse(R"({"ops": [{"name": "a", "type": "T"}]})"));
}

TEST(ParseDescriptionJson, DoesNotAskWhetherAnOpTypeIsKnown) {
    const GroupAttribute description =
        Parse(R"({"ops": [{"name": "a", "type": "No such type", "args": {"file": "x"}}]})");
    EXPECT_EQ(description.getChildByName("a.opType"), StringAttribute("No such type"));
}

// ---- plain values ----

TEST(DescriptionJsonValue, AScalarBecomesASingleValue) {
    EXPECT_EQ(ArgumentFrom(R"("text")"), StringAttribute("text"));
    EXPECT_EQ(ArgumentFrom("-2147483648"), IntAttribute(std::numeric_limits<std::int32_t>::min()));
    EXPECT_EQ(ArgumentFrom("2.5"), DoubleAttribute(2.5));
    EXPECT_EQ(ArgumentFrom("1e3"), DoubleAttribute(1000));
    EXPECT_EQ(ArgumentFrom("-0.0"), DoubleAttribute(-0.0));
    EXPECT_EQ(ArgumentFrom("true"), IntAttribute(1));
    EXPECT_EQ(ArgumentFrom("false"), IntAttribute(0));
    EXPECT_EQ(ArgumentFrom("null"), NullAttribute());
}

TEST(DescriptionJsonValue, AnIntegerThatFitsNoIntBecomesADouble) {
    EXPECT_EQ(ArgumentFrom("2147483648"), DoubleAttribute(2147483648.0));
    EXPECT_EQ(ArgumentFrom("9007199254740991"), DoubleAttribute(9007199254740991.0));
}

TEST(DescriptionJsonValue, AnArrayBecomesAsManyValues) {
    EXPECT_EQ(ArgumentFrom("[1, 2, 3]"), IntAttribute({1, 2, 3}, 1));
    EXPECT_EQ(ArgumentFrom("[1, 2.5]"), DoubleAttribute({1, 2.5}, 1));
    EXPECT_EQ(ArgumentFrom("[1, 3000000000]"), DoubleAttribute({1, 3e9}, 1));
    EXPECT_EQ(ArgumentFrom(R"(["a", ""])"), StringAttribute({"a", ""}, 1));
    EXPECT_EQ(ArgumentFrom("[true, false, 7]"), IntAttribute({1, 0, 7}, 1));
}

TEST(DescriptionJsonValue, AnArrayOfArraysBecomesTuples) {
    EXPECT_EQ(ArgumentFrom("[[0, 0, 0], [1, 0, 0]]"), IntAttribute({0, 0, 0, 1, 0, 0}, 3));
    EXPECT_EQ(ArgumentFrom("[[0.5, 1]]"), DoubleAttribute({0.5, 1}, 2));
    EXPECT_EQ(ArgumentFrom(R"([["a", "b"]])"), StringAttribute({"a", "b"}, 2));
}

TEST(DescriptionJsonValue, AnObjectBecomesAGroupByDottedPaths) {
    EXPECT_EQ(ArgumentFrom(R"({"xform.matrix": 1, "type": "camera", "xform.origin": 2, "e": {}})"),
              Op({{"xform", Op({{"matrix", IntAttribute(1)}, {"origin", IntAttribute(2)}})},
                  {"type", StringAttribute("camera")},
                  {"e", GroupAttribute(true)}}));
}

TEST(DescriptionJsonValue, StringsMayHoldEveryCharacter) {
    const char raw[] = "a\0\"\\/\b\f\n\r\t\x7f é 😀";
    EXPECT_EQ(ArgumentFrom(R"("a\u0000\"\\\/\b\f\n\r\t\u007f \u00e9 \ud83d\ude00")"),
              StringAttribute(std::string_view(raw, sizeof(raw) - 1)));
}

// ---- the typed form ----

TEST(DescriptionJsonTyped, NamesTheTypeThatPlainJsonCannotTell) {
    EXPECT_EQ(ArgumentFrom(R"({"$type": "float", "values": [1, 0.1, -0]})"),
              FloatAttribute({1, 0.1f, -0.0f}, 1));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "double", "values": [1]})"), DoubleAttribute(1));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "int", "values": []})"), IntAttribute({}, 1));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "string", "values": [], "tuple": 2})"),
              StringAttribute({}, 2));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "null"})"), NullAttribute());
}

TEST(DescriptionJsonTyped, TakesTuplesFlatOrNested) {
    const FloatAttribute expected({1, 2, 3, 4}, 2);
    EXPECT_EQ(ArgumentFrom(R"({"$type": "float", "tuple": 2, "values": [1, 2, 3, 4]})"), expected);
    EXPECT_EQ(ArgumentFrom(R"({"$type": "float", "values": [[1, 2], [3, 4]]})"), expected);
    EXPECT_EQ(ArgumentFrom(R"({"$type": "float", "tuple": 2, "values": [[1, 2], [3, 4]]})"),
              expected);
}

TEST(DescriptionJsonTyped, GivesSamplesWithTheirTimes) {
    const std::map<float, std::vector<double>> numbers = {{-0.5f, {1, 2}}, {0.5f, {3, 4}}};
    EXPECT_EQ(
        ArgumentFrom(R"({"$type": "double", "times": [-0.5, 0.5], "samples": [[1, 2], [3, 4]]})"),
        DoubleAttribute(numbers, 1));
    EXPECT_EQ(ArgumentFrom(
                  R"({"$type": "double", "times": [-0.5, 0.5], "samples": [[[1, 2]], [[3, 4]]]})"),
              DoubleAttribute(numbers, 2));
    const std::map<float, std::vector<std::string>> texts = {{3.0f, {"x"}}};
    EXPECT_EQ(ArgumentFrom(R"({"$type": "string", "times": [3], "samples": [["x"]]})"),
              StringAttribute(texts, 1));
}

TEST(DescriptionJsonTyped, WritesNumbersThatAreNoDecimalsAsStrings) {
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(
        ArgumentFrom(R"({"$type": "float", "values": ["inf", "-inf", "nan", "nan:ff800001"]})"),
        FloatAttribute({inf, -inf, FromBits<float>(0x7fc00000u), FromBits<float>(0xff800001u)}, 1));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "double", "values": ["nan"]})"),
              DoubleAttribute(FromBits<double>(std::uint64_t(0x7ff8000000000000))));
}

TEST(DescriptionJsonTyped, GivesBytesThatAreNoTextInHexadecimal) {
    EXPECT_EQ(ArgumentFrom(R"({"$type": "string", "hex": ["ff00", "", "41"]})"),
              StringAttribute({std::string_view("\xff\0", 2), "", "A"}, 1));
    const std::map<float, std::vector<std::string>> samples = {{0.0f, {"\xff"}}, {1.0f, {"\xfe"}}};
    EXPECT_EQ(
        ArgumentFrom(R"({"$type": "string", "times": [0, 1], "hexSamples": [["ff"], ["fe"]]})"),
        StringAttribute(samples, 1));
}

TEST(DescriptionJsonTyped, TakesNamesOfAGroupLiterally) {
    EXPECT_EQ(
        ArgumentFrom(R"({"$type": "group", "inherit": false,
                               "children": {"a.b": 1, "": {}, "$type": "x"}})"),
        GroupAttribute(
            {{"a.b", IntAttribute(1)}, {"", GroupAttribute(true)}, {"$type", StringAttribute("x")}},
            false));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "group", "inherit": true})"), GroupAttribute(true));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "group",
                 "children": [{"hexName": "ff", "value": 1}, {"name": "é", "value": 2}]})"),
              GroupAttribute({{"\xff", IntAttribute(1)}, {"é", IntAttribute(2)}}, true));
}

TEST(DescriptionJsonTyped, MayDescribeTheArgumentsThemselves) {
    const GroupAttribute description = Parse(R"({"ops": [{"name": "a", "type": "T",
        "args": {"$type": "group", "inherit": false, "children": {"x": 1}}}]})");
    EXPECT_EQ(description.getChildByName("a.opArgs"),
              GroupAttribute({{"x", IntAttribute(1)}}, false));
}

// ---- relative files ----

TEST(DescriptionJsonFile, ARelativeFileGetsTheDirectoryOfTheDescription) {
    EXPECT_EQ(
        ArgsOfReader(R"({"file": "a/b.obj"})", "/scenes"),
        Op({{"file", StringAttribute("a/b.obj")}, {"directory", StringAttribute("/scenes")}}));
}

TEST(DescriptionJsonFile, AnAbsoluteFileOrAGivenDirectoryIsLeftAlone) {
    EXPECT_EQ(ArgsOfReader(R"({"file": "/a.obj"})", "/scenes"),
              Op({{"file", StringAttribute("/a.obj")}}));
    EXPECT_EQ(ArgsOfReader(R"({"directory": "/other", "file": "a.obj"})", "/scenes"),
              Op({{"directory", StringAttribute("/other")}, {"file", StringAttribute("a.obj")}}));
    EXPECT_EQ(ArgsOfReader(R"({"file": ""})", "/scenes"), Op({{"file", StringAttribute("")}}));
    EXPECT_EQ(ArgsOfReader("{}", "/scenes"), GroupAttribute(true));
}

TEST(DescriptionJsonFile, ATypeThatTakesNoDirectoryGetsNone) {
    EXPECT_EQ(ArgsOfReader(R"({"file": "a.obj"})", "/scenes", "No such type"),
              Op({{"file", StringAttribute("a.obj")}}));
}

TEST(DescriptionJsonFile, IsReadWithItsOwnFolderAsTheDirectory) {
    ASSERT_TRUE(RegisteredReadingType());
    const TempDirectory folder;
    const std::string path = folder.write("scene.json", R"({"ops": [
        {"name": "a", "type": "DescriptionJsonTest.Reading", "args": {"file": "x.obj"}}]})");
    EXPECT_EQ(ReadDescriptionJsonFile(path).getChildByName("a.opArgs.directory"),
              StringAttribute(std::filesystem::canonical(folder.path()).string()));
}

TEST(DescriptionJsonFile, NamesItselfInItsErrors) {
    const TempDirectory folder;
    const std::string path = folder.write("scene.json", "{\n  \"ops\": 1}");
    try {
        ReadDescriptionJsonFile(path);
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()), path + ":2:10: \"ops\" must be an array");
    }
    EXPECT_THROW(ReadDescriptionJsonFile(folder.path("missing.json")), std::runtime_error);
}

// ---- errors ----

struct Faulty {
    const char* text;
    const char* error;

    friend void PrintTo(const Faulty& faulty, std::ostream* out) { *out << faulty.text; }
};

class FaultyDescription : public testing::TestWithParam<Faulty> {};

TEST_P(FaultyDescription, IsRefusedWithItsPlaceAndOp) {
    EXPECT_EQ(ErrorOf(GetParam().text), GetParam().error);
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
    const char* error; // from the column on

    friend void PrintTo(const FaultyValue& faulty, std::ostream* out) { *out << faulty.json; }
};

class FaultyArgument : public testing::TestWithParam<FaultyValue> {};

TEST_P(FaultyArgument, IsRefusedWithItsPlaceAndOp) {
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

TEST(ParseDescriptionJson, RefusesANulByteEvenBehindTheEnd) {
    const char raw[] = "{\"ops\": [{\"name\": \"a\", \"type\": \"T\"}]}\0x";
    EXPECT_EQ(ErrorOf(std::string(raw, sizeof(raw) - 1)), "in.json:1:38: not JSON: a NUL byte");
}

TEST(ParseDescriptionJson, RefusesGroupsNestedTooDeepWithoutUsingTheStackUp) {
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
    EXPECT_NE(ErrorOf(std::string(1000000, '[')).find("nested deeper than"), std::string::npos);
}

// ---- writing ----

TEST(WriteDescriptionJson, LaysOpsOutForPeople) {
    const GroupAttribute description =
        Describe({{"scene", Op({{"opType", StringAttribute("StaticScene")},
                                {"opArgs", Op({{"location", StringAttribute("/root")},
                                               {"a", GroupAttribute(true)},
                                               {"size", FloatAttribute({1, 0.1f}, 1)}})}})},
                  {"z", Op({{"opType", StringAttribute("T")},
                            {"opInputs", StringAttribute({"scene", ""}, 1)}})}});
    EXPECT_EQ(WriteDescriptionJson(description), R"({
  "ops": [
    {
      "name": "scene",
      "type": "StaticScene",
      "args": {
        "location": "/root",
        "a": {},
        "size": {"$type": "float", "values": [1, 0.1]}
      }
    },
    {
      "name": "z",
      "type": "T",
      "inputs": ["scene", null]
    }
  ]
}
)");
}

TEST(WriteDescriptionJson, NamesTheOpThatCannotBeWritten) {
    const StringAttribute type("T");
    EXPECT_EQ(WriteErrorOf(GroupAttribute()), "There is no description to write");
    EXPECT_EQ(WriteErrorOf(GroupAttribute(true)), "The description holds no op");
    EXPECT_EQ(WriteErrorOf(GroupAttribute({{"a", Op({{"opType", type}})}}, false)),
              "The description's group does not inherit, which cannot be written as JSON");
    EXPECT_EQ(WriteErrorOf(Describe({{"", Op({{"opType", type}})}})),
              "Op \"\" cannot be written as JSON: its name is empty or not UTF-8");
    EXPECT_EQ(WriteErrorOf(Describe({{"a", IntAttribute(1)}})),
              "Op \"a\" cannot be written as JSON: it is not a group");
    EXPECT_EQ(WriteErrorOf(Describe({{"a", GroupAttribute({{"opType", type}}, false)}})),
              "Op \"a\" cannot be written as JSON: its group does not inherit");
    EXPECT_EQ(WriteErrorOf(Describe({{"a", Op({})}})),
              "Op \"a\" cannot be written as JSON: it has no \"opType\"");
    EXPECT_EQ(WriteErrorOf(Describe({{"a", Op({{"opType", StringAttribute({}, 1)}})}})),
              "Op \"a\" cannot be written as JSON: \"opType\" is not one string");
    EXPECT_EQ(WriteErrorOf(Describe({{"a", Op({{"opType", type}, {"opArgs", type}})}})),
              "Op \"a\" cannot be written as JSON: \"opArgs\" is not a group");
    EXPECT_EQ(
        WriteErrorOf(Describe({{"a", Op({{"opType", type}, {"opInputs", IntAttribute(1)}})}})),
        "Op \"a\" cannot be written as JSON: \"opInputs\" is not a list of UTF-8 strings "
        "without times");
    EXPECT_EQ(
        WriteErrorOf(Describe({{"a", Op({{"opType", type}, {"opInputs", StringAttribute("b")}})}})),
        "Op \"a\" cannot be written as JSON: its input \"b\" names no op");
    EXPECT_EQ(WriteErrorOf(Describe({{"a", Op({{"opType", type}, {"more", type}})}})),
              "Op \"a\" cannot be written as JSON: \"more\" is no part of an op");
}

TEST(WriteAttributeJson, WritesPlainJsonWhereItReadsBackEqual) {
    EXPECT_EQ(WriteAttributeJson(IntAttribute(5)), "5");
    EXPECT_EQ(WriteAttributeJson(DoubleAttribute(5)), "5.0");
    EXPECT_EQ(WriteAttributeJson(DoubleAttribute({-0.0, 1e300, 0.1}, 1)), "[-0.0, 1e+300, 0.1]");
    EXPECT_EQ(WriteAttributeJson(DoubleAttribute({0, 1, 2, 3}, 2)), "[[0.0, 1.0], [2.0, 3.0]]");
    EXPECT_EQ(WriteAttributeJson(StringAttribute("a\n\"\x01\x7f é")), R"("a\n\"\u0001\u007f é")");
    EXPECT_EQ(WriteAttributeJson(NullAttribute()), "null");
    EXPECT_EQ(WriteAttributeJson(Op({{"a", IntAttribute(1)}, {"b", Op({})}}), -1),
              R"({"a": 1, "b": {}})");
}

TEST(WriteAttributeJson, WritesTheTypedFormElsewhere) {
    EXPECT_EQ(WriteAttributeJson(FloatAttribute(1)), R"({"$type": "float", "values": [1]})");
    EXPECT_EQ(WriteAttributeJson(IntAttribute({1, 2, 3}, 2)),
              R"({"$type": "int", "tuple": 2, "values": [1, 2, 3]})");
    const std::map<float, std::vector<double>> samples = {{0.0f, {1, 2}}, {0.5f, {3, 4}}};
    EXPECT_EQ(WriteAttributeJson(DoubleAttribute(samples, 2)),
              R"({"$type": "double", "times": [0, 0.5], "samples": [[[1.0, 2.0]], [[3.0, 4.0]]]})");
    EXPECT_EQ(WriteAttributeJson(DoubleAttribute(std::numeric_limits<double>::infinity())),
              R"({"$type": "double", "values": ["inf"]})");
    EXPECT_EQ(WriteAttributeJson(StringAttribute("\xff")), R"({"$type": "string", "hex": ["ff"]})");
    EXPECT_EQ(WriteAttributeJson(GroupAttribute({{"a.b", IntAttribute(1)}}, false), -1),
              R"({"$type": "group", "inherit": false, "children": {"a.b": 1}})");
    EXPECT_EQ(WriteAttributeJson(GroupAttribute({{"\xff", IntAttribute(1)}}, true), -1),
              R"({"$type": "group", "children": [{"hexName": "ff", "value": 1}]})");
}

TEST(WriteAttributeJson, BreaksLongArraysBetweenValues) {
    const std::string text = WriteAttributeJson(IntAttribute(std::vector<int>(60, 1000), 1));
    EXPECT_EQ(text.find('\n'), 96u) << text;
    EXPECT_EQ(text.substr(91, 14), "1000,\n  1000, ");
}

TEST(WriteAttributeJson, HasNoTextForAnInvalidAttribute) {
    EXPECT_EQ(WriteAttributeJson(Attribute()), "");
}

TEST(WriteAttributeJson, EveryRandomAttributeReadsBackEqual) {
    RandomAttribute random(20240608);
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        const Attribute attribute = random.make(5);
        const int indent = i % 2 == 0 ? 2 : -1;
        const std::string text = WriteAttributeJson(attribute, indent);
        EXPECT_EQ(ArgumentFrom(text), attribute) << text;
        EXPECT_TRUE(indent > 0 || text.find('\n') == std::string::npos) << text;
    }
}

TEST(WriteDescriptionJson, EveryRandomDescriptionReadsBackEqual) {
    RandomAttribute random(20240609);
    for (int i = 0; i < 100; ++i) {
        SCOPED_TRACE(i);
        std::vector<GroupAttribute::Child> ops;
        for (int op = 0; op < 4; ++op) {
            std::vector<GroupAttribute::Child> parts = {
                {"opType", StringAttribute("T")},
                {"opArgs", random.group(3)},
                {"opInputs", StringAttribute({"op2", "", "op0"}, 1)}};
            std::swap(parts[random.below(3)], parts[random.below(3)]);
            ops.emplace_back("op" + std::to_string(op), Op(parts));
        }
        const std::string text = WriteDescriptionJson(Describe(ops));
        EXPECT_EQ(Parse(text), Describe(ops)) << text;
        EXPECT_EQ(WriteDescriptionJson(Parse(text)), text);
    }
}

TEST(WriteDescriptionJson, TheDeepestGroupsReadBackEqual) {
    for (const char* name : {"g", "", "\xff"}) { // plain, typed, typed with listed children
        Attribute value = IntAttribute(1);
        for (int i = 0; i < kMaxGroupDepth - 2; ++i)
            value = GroupAttribute({{name, value}}, true);
        const GroupAttribute description =
            Describe({{"a", Op({{"opType", StringAttribute("T")}, {"opArgs", value}})}});
        EXPECT_EQ(Parse(WriteDescriptionJson(description)), description);
    }
}
