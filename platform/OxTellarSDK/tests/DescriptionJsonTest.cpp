#include <OxTellarSDK/DescriptionJson.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/OpType.h>

#include <TempDirectory.h>

#include "DescriptionJsonTexts.h"

using namespace OxAttribute;
using namespace DescriptionJsonTexts;

namespace {

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

TEST(ParseDescriptionJson, AcceptsASingleInputAsAString) {
    const GroupAttribute description = Parse(
        R"({"ops": [{"name": "a", "type": "T", "inputs": "b"}, {"name": "b", "type": "T"}]})");
    EXPECT_EQ(description.getChildByName("a.opInputs"), StringAttribute("b"));
}

TEST(ParseDescriptionJson, KeepsAnEmptyListOfInputs) {
    const GroupAttribute description =
        Parse(R"({"ops": [{"name": "a", "type": "T", "inputs": []}]})");
    EXPECT_EQ(description.getChildByName("a.opInputs"), StringAttribute({}, 1));
}

TEST(ParseDescriptionJson, DoesNotSplitOpNamesAtDots) {
    const GroupAttribute description = Parse(R"({"ops": [{"name": "a.b", "type": "T"}]})");
    EXPECT_EQ(description.getChildName(0), "a.b");
}

TEST(ParseDescriptionJson, SkipsCommentsAndAByteOrderMark) {
    EXPECT_EQ(Parse("\xEF\xBB\xBF// first\n{\"ops\": /* all */ [{\"name\": /**/ \"a\", // one\n"
                    "\"type\": \"T\"}]} /* end */"),
              Parse(R"({"ops": [{"name": "a", "type": "T"}]})"));
}

TEST(ParseDescriptionJson, AcceptsUnknownOpTypes) {
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

TEST(DescriptionJsonValue, AnIntegerOutOfRangeBecomesADouble) {
    EXPECT_EQ(ArgumentFrom("2147483648"), DoubleAttribute(2147483648.0));
    EXPECT_EQ(ArgumentFrom("9007199254740991"), DoubleAttribute(9007199254740991.0));
}

TEST(DescriptionJsonValue, AnArrayBecomesSeveralValues) {
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

TEST(DescriptionJsonValue, StringsCanHaveAnyCharacter) {
    const char raw[] = "a\0\"\\/\b\f\n\r\t\x7f é 😀";
    EXPECT_EQ(ArgumentFrom(R"("a\u0000\"\\\/\b\f\n\r\t\u007f \u00e9 \ud83d\ude00")"),
              StringAttribute(std::string_view(raw, sizeof(raw) - 1)));
}

// ---- the typed form ----

TEST(DescriptionJsonTyped, GivesTypesThatPlainJsonCannotExpress) {
    EXPECT_EQ(ArgumentFrom(R"({"$type": "float", "values": [1, 0.1, -0]})"),
              FloatAttribute({1, 0.1f, -0.0f}, 1));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "double", "values": [1]})"), DoubleAttribute(1));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "int", "values": []})"), IntAttribute({}, 1));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "string", "values": [], "tuple": 2})"),
              StringAttribute({}, 2));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "null"})"), NullAttribute());
}

TEST(DescriptionJsonTyped, AcceptsFlatAndNestedTuples) {
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

TEST(DescriptionJsonTyped, HasNonFiniteNumbersAsStrings) {
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(
        ArgumentFrom(R"({"$type": "float", "values": ["inf", "-inf", "nan", "nan:ff800001"]})"),
        FloatAttribute({inf, -inf, FromBits<float>(0x7fc00000u), FromBits<float>(0xff800001u)}, 1));
    EXPECT_EQ(ArgumentFrom(R"({"$type": "double", "values": ["nan"]})"),
              DoubleAttribute(FromBits<double>(std::uint64_t(0x7ff8000000000000))));
}

TEST(DescriptionJsonTyped, HasInvalidUtf8AsHexadecimalBytes) {
    EXPECT_EQ(ArgumentFrom(R"({"$type": "string", "hex": ["ff00", "", "41"]})"),
              StringAttribute({std::string_view("\xff\0", 2), "", "A"}, 1));
    const std::map<float, std::vector<std::string>> samples = {{0.0f, {"\xff"}}, {1.0f, {"\xfe"}}};
    EXPECT_EQ(
        ArgumentFrom(R"({"$type": "string", "times": [0, 1], "hexSamples": [["ff"], ["fe"]]})"),
        StringAttribute(samples, 1));
}

TEST(DescriptionJsonTyped, DoesNotSplitGroupNamesAtDots) {
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

TEST(DescriptionJsonFile, ARelativeDirectoryCountsFromThatOfTheDescription) {
    EXPECT_EQ(
        ArgsOfReader(R"({"directory": "../b/", "file": "a.obj"})", "/scenes/a"),
        Op({{"directory", StringAttribute("/scenes/b")}, {"file", StringAttribute("a.obj")}}));
    EXPECT_EQ(ArgsOfReader(R"({"directory": "."})", "/scenes/a"),
              Op({{"directory", StringAttribute("/scenes/a")}}));
    EXPECT_EQ(ArgsOfReader(R"({"directory": "b"})", "/scenes", "No such type"),
              Op({{"directory", StringAttribute("b")}}));
}

TEST(DescriptionJsonFile, ARelativeTextureGetsTheDirectoryOfTheDescription) {
    const auto directoryOf = [](const std::string& args) {
        return ArgsOfReader(args, "/scenes").getChildByName("directory");
    };
    const StringAttribute scenes("/scenes");
    EXPECT_EQ(directoryOf(R"({"a": {"light.texture": "sky.exr"}})"), scenes);
    EXPECT_EQ(directoryOf(R"({"c": {"x": {"c": {"y": {"a": {"textures.t": "a.png"}}}}}})"), scenes);
    EXPECT_EQ(directoryOf(R"({"set": {"material.nodes.n.parameters.file": "a.png"}})"), scenes);
    EXPECT_FALSE(
        directoryOf(R"({"set": {"material.nodes.n.parameters.file": "/a.png"}})").isValid());
    EXPECT_FALSE(directoryOf(R"({"a": {"user.file": "a.png"}})").isValid());
}

TEST(DescriptionJsonText, TellsThePlacesOfOpsAndTheNumberOfComments) {
    DescriptionText told;
    ParseDescriptionJson(R"({"comment": "one", "ops": [
  // two, "quoted"
  {"name": "a", "type": "T", "args": {"path": "//no/*comment*/\"//"}, "comment": "three"},
      /* four */ {"type": "T", /* five
      */ "name": "\u00e4"}
]}
// six)",
                         "in", "", &told);
    EXPECT_EQ(told.places, (std::unordered_map<std::string, std::string>{{"a", "in:3:3"},
                                                                         {"\xC3\xA4", "in:4:18"}}));
    EXPECT_EQ(told.comments, 6U);
}

TEST(DescriptionJsonFile, NoDirectoryIsAddedForATypeWithoutThatArgument) {
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

TEST(DescriptionJsonFile, IsNamedInErrors) {
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
