#include <OxTellarSDK/DescriptionJson.h>

#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DescriptionJsonTexts.h"
#include "ErrorOf.h"
#include "RandomAttribute.h"

using namespace OxAttribute;
using namespace DescriptionJsonTexts;

namespace {

std::string WriteErrorOf(const GroupAttribute& description) {
    return ErrorOf([&] { WriteDescriptionJson(description); });
}

} // namespace

// ---- writing ----

TEST(WriteDescriptionJson, FormatsOpsReadably) {
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

TEST(WriteDescriptionJson, NamesAnOpThatCannotBeWritten) {
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

TEST(WriteAttributeJson, UsesPlainJsonIfItIsReadBackEqual) {
    EXPECT_EQ(WriteAttributeJson(IntAttribute(5)), "5");
    EXPECT_EQ(WriteAttributeJson(DoubleAttribute(5)), "5.0");
    EXPECT_EQ(WriteAttributeJson(DoubleAttribute({-0.0, 1e300, 0.1}, 1)), "[-0.0, 1e+300, 0.1]");
    EXPECT_EQ(WriteAttributeJson(DoubleAttribute({0, 1, 2, 3}, 2)), "[[0.0, 1.0], [2.0, 3.0]]");
    EXPECT_EQ(WriteAttributeJson(StringAttribute("a\n\"\x01\x7f é")), R"("a\n\"\u0001\u007f é")");
    EXPECT_EQ(WriteAttributeJson(NullAttribute()), "null");
    EXPECT_EQ(WriteAttributeJson(Op({{"a", IntAttribute(1)}, {"b", Op({})}}), -1),
              R"({"a": 1, "b": {}})");
}

TEST(WriteAttributeJson, UsesTheTypedFormOtherwise) {
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

TEST(WriteAttributeJson, IsEmptyForAnInvalidAttribute) {
    EXPECT_EQ(WriteAttributeJson(Attribute()), "");
}

TEST(WriteAttributeJson, RoundTripsRandomAttributes) {
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

TEST(WriteDescriptionJson, RoundTripsRandomDescriptions) {
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

TEST(WriteDescriptionJson, RoundTripsTheDeepestGroups) {
    for (const char* name : {"g", "", "\xff"}) { // plain, typed, typed with listed children
        Attribute value = IntAttribute(1);
        for (int i = 0; i < kMaxGroupDepth - 2; ++i)
            value = GroupAttribute({{name, value}}, true);
        const GroupAttribute description =
            Describe({{"a", Op({{"opType", StringAttribute("T")}, {"opArgs", value}})}});
        EXPECT_EQ(Parse(WriteDescriptionJson(description)), description);
    }
}
