#include <OxTellarSDK/Attribute.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ErrorOf.h"
#include "RandomAttribute.h"

using namespace OxAttribute;

namespace {

/// The attribute must come back equal, and in the same text.
void ExpectRoundTrip(const Attribute& attribute) {
    const std::string text = attribute.getXML();
    const Attribute back = ParseAttributeXml(text);
    EXPECT_EQ(back, attribute) << text;
    EXPECT_EQ(back.getXML(), text);
}

std::string ParseErrorOf(std::string_view text) {
    return ErrorOf([text] { ParseAttributeXml(text); });
}

float FloatOfBits(std::uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

GroupAttribute ChainOfGroups(int levels) {
    GroupAttribute group(true);
    for (int i = 1; i < levels; ++i)
        group = GroupAttribute({{"g", group}}, true);
    return group;
}

std::string NestedGroupTags(int levels) {
    std::string text = "<group>";
    for (int i = 1; i < levels; ++i)
        text += "<group name=\"g\">";
    for (int i = 0; i < levels; ++i)
        text += "</group>";
    return text;
}

} // namespace

TEST(AttributeXml, AnInvalidAttributeHasNoText) {
    EXPECT_EQ(Attribute().getXML(), "");
}

TEST(AttributeXml, ASingleValueStandsInOneLine) {
    EXPECT_EQ(IntAttribute(-5).getXML(), "<int>-5</int>\n");
    EXPECT_EQ(FloatAttribute(0.1f).getXML(), "<float>0.1</float>\n");
    EXPECT_EQ(DoubleAttribute(0.1).getXML(), "<double>0.1</double>\n");
    EXPECT_EQ(StringAttribute("polymesh").getXML(), "<string><v>polymesh</v></string>\n");
    EXPECT_EQ(NullAttribute().getXML(), "<null/>\n");
}

TEST(AttributeXml, AnAttributeWithoutValuesIsAnEmptyTag) {
    EXPECT_EQ(IntAttribute({}, 1).getXML(), "<int/>\n");
    EXPECT_EQ(StringAttribute({}, 3).getXML(), "<string tuple=\"3\"/>\n");
    EXPECT_EQ(StringAttribute("").getXML(), "<string><v></v></string>\n");
    EXPECT_EQ(GroupAttribute(true).getXML(), "<group/>\n");
}

TEST(AttributeXml, TuplesOfALineAreSetApart) {
    EXPECT_EQ(DoubleAttribute({0, 1, 2, 3, 4, 5}, 3).getXML(),
              "<double tuple=\"3\">0 1 2  3 4 5</double>\n");
}

TEST(AttributeXml, LongValuesAreWrappedAtTupleEnds) {
    std::vector<std::int32_t> values(18, 7);
    EXPECT_EQ(IntAttribute(values, 3).getXML(), "<int tuple=\"3\">\n"
                                                "  7 7 7  7 7 7  7 7 7  7 7 7  7 7 7\n"
                                                "  7 7 7\n"
                                                "</int>\n");
}

TEST(AttributeXml, SeveralStringsStandBelowOneAnother) {
    EXPECT_EQ(StringAttribute({"left", "right"}, 2).getXML(), "<string tuple=\"2\">\n"
                                                              "  <v>left</v>\n"
                                                              "  <v>right</v>\n"
                                                              "</string>\n");
}

TEST(AttributeXml, EverySampleTellsItsTime) {
    const std::map<float, std::vector<float>> samples = {{-0.25f, {1}}, {0.25f, {2}}};
    const FloatAttribute attribute(samples, 1);
    EXPECT_EQ(attribute.getXML(), "<float>\n"
                                  "  <sample time=\"-0.25\">1</sample>\n"
                                  "  <sample time=\"0.25\">2</sample>\n"
                                  "</float>\n");
}

TEST(AttributeXml, ASingleSampleAtAnotherTimeThanZeroTellsItsTime) {
    EXPECT_EQ(StringAttribute(std::map<float, std::vector<std::string>>{{2.0f, {"x"}}}, 1).getXML(),
              "<string>\n"
              "  <sample time=\"2\"><v>x</v></sample>\n"
              "</string>\n");
    EXPECT_EQ(IntAttribute(std::map<float, std::vector<std::int32_t>>{{-0.0f, {1}}}, 1).getXML(),
              "<int>\n"
              "  <sample time=\"-0\">1</sample>\n"
              "</int>\n");
}

TEST(AttributeXml, GroupsShowTheirChildrenInOrderAndWhetherTheyInherit) {
    const GroupAttribute group({{"type", StringAttribute("camera")},
                                {"geometry", GroupAttribute({{"fov", DoubleAttribute(45)}}, false)},
                                {"a.b", IntAttribute(1)}},
                               true);
    EXPECT_EQ(group.getXML(), "<group>\n"
                              "  <string name=\"type\"><v>camera</v></string>\n"
                              "  <group name=\"geometry\" inherit=\"false\">\n"
                              "    <double name=\"fov\">45</double>\n"
                              "  </group>\n"
                              "  <int name=\"a.b\">1</int>\n"
                              "</group>\n");
}

TEST(AttributeXml, NumbersThatAreNoDecimalsHaveAFormOfTheirOwn) {
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(
        FloatAttribute(
            {inf, -inf, -0.0f, FloatOfBits(0x7fc00000), FloatOfBits(0xff800001), FloatOfBits(1)}, 1)
            .getXML(),
        "<float>inf -inf -0 nan:7fc00000 nan:ff800001 1e-45</float>\n");
    EXPECT_EQ(DoubleAttribute(std::numeric_limits<double>::quiet_NaN()).getXML(),
              "<double>nan:7ff8000000000000</double>\n");
}

TEST(AttributeXml, StringsEscapeWhatXmlOrAnEditorCouldChange) {
    const char raw[] = "<&>\"\\ \n\r\t\0\x1b\x7f é \xff \xc2\x85 \xef\xbf\xbf";
    const std::string bytes(raw, sizeof(raw) - 1);
    EXPECT_EQ(StringAttribute(bytes).getXML(),
              "<string><v>&lt;&amp;&gt;&quot;\\\\ \\n\\r\\t\\x00\\x1b\\x7f é \\xff \\xc2\\x85 "
              "\\xef\\xbf\\xbf</v></string>\n");
    ExpectRoundTrip(StringAttribute(bytes));
}

TEST(AttributeXml, NamesOfChildrenMayHoldAnyBytes) {
    ExpectRoundTrip(GroupAttribute({{"", IntAttribute(1)},
                                    {std::string("a\0b", 3), IntAttribute(2)},
                                    {"\"<&>\\", IntAttribute(3)},
                                    {"\xff\xfe", IntAttribute(4)}},
                                   true));
}

TEST(AttributeXml, NumbersComeBackBitByBit) {
    using Limits = std::numeric_limits<double>;
    ExpectRoundTrip(
        DoubleAttribute({Limits::max(), Limits::min(), Limits::denorm_min(), -0.0, 0.1 + 0.2,
                         1.0 / 3.0, Limits::signaling_NaN(), -Limits::quiet_NaN()},
                        1));
    ExpectRoundTrip(FloatAttribute({FloatOfBits(0x7f800001), FloatOfBits(0x7fffffff), 1e-45f}, 1));
    ExpectRoundTrip(IntAttribute({std::numeric_limits<std::int32_t>::min(), 2147483647}, 1));
}

TEST(AttributeXml, EveryRandomAttributeComesBackEqual) {
    RandomAttribute random(20240607);
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        ExpectRoundTrip(random.make(5));
    }
}

TEST(AttributeXml, TheDeepestTreeComesBackEqual) {
    ExpectRoundTrip(ChainOfGroups(kMaxGroupDepth));
}

TEST(AttributeXml, ADeeperTreeIsRefusedWhereItGetsTooDeep) {
    EXPECT_EQ(ParseErrorOf(NestedGroupTags(kMaxGroupDepth + 1)),
              "XML:1:" + std::to_string(7 + 16 * (kMaxGroupDepth - 1) + 1) +
                  ": groups are nested deeper than 2048 levels");
    EXPECT_EQ(ParseErrorOf(NestedGroupTags(kMaxGroupDepth)), "no error");
}

TEST(AttributeXml, AnEndlessRowOfOpeningTagsIsRefused) {
    std::string text = "<group>";
    for (int i = 0; i < 100000; ++i)
        text += "<group name=\"g\">";
    EXPECT_NE(ParseErrorOf(text).find("groups are nested deeper"), std::string::npos);
}

TEST(AttributeXml, WhiteSpaceBetweenTagsAndNumbersIsFree) {
    EXPECT_EQ(ParseAttributeXml("\n <int\ttuple=\"2\" >\n1\t2\r\n</int> "),
              IntAttribute({1, 2}, 2));
    EXPECT_EQ(ParseAttributeXml("<group>\n</group>"), GroupAttribute(true));
    EXPECT_EQ(ParseAttributeXml("<string> <v> a </v> </string>"), StringAttribute(" a "));
}

struct Malformed {
    const char* text;
    const char* error;

    friend void PrintTo(const Malformed& malformed, std::ostream* out) { *out << malformed.text; }
};

class MalformedXml : public testing::TestWithParam<Malformed> {};

TEST_P(MalformedXml, IsRefusedWithItsPlace) {
    EXPECT_EQ(ParseErrorOf(GetParam().text), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, MalformedXml,
    testing::Values(
        Malformed{"", "XML:1:1: expected \"<\""}, Malformed{"int", "XML:1:1: expected \"<\""},
        Malformed{"</int>", "XML:1:1: expected an attribute"},
        Malformed{"<", "XML:1:2: expected the name of a tag"},
        Malformed{"<int", "XML:1:5: expected \">\""}, Malformed{"<int ", "XML:1:6: expected \">\""},
        Malformed{"<long>1</long>", "XML:1:1: unknown tag <long>"},
        Malformed{"<int>1", "XML:1:7: expected \"</int>\""},
        Malformed{"<int>1</float>", "XML:1:7: expected \"</int>\""},
        Malformed{"<int>1</int><int>", "XML:1:13: text after the end of the attribute"},
        Malformed{"<int>\n1 x</int>", "XML:2:3: \"x\" is not an int"},
        Malformed{"<int>1.5</int>", "XML:1:6: \"1.5\" is not an int"},
        Malformed{"<int>2147483648</int>", "XML:1:6: \"2147483648\" is not an int"},
        Malformed{"<float>1e39</float>", "XML:1:8: \"1e39\" is not a float"},
        Malformed{"<float>nan</float>", "XML:1:8: \"nan\" is not a float"},
        Malformed{"<float>infinity</float>", "XML:1:8: \"infinity\" is not a float"},
        Malformed{"<float>nan:7fc0000</float>", "XML:1:8: \"nan:7fc0000\" is not a float"},
        Malformed{"<float>nan:3f800000</float>", "XML:1:8: \"nan:3f800000\" is not a float"},
        Malformed{"<double>+1</double>", "XML:1:9: \"+1\" is not a double"},
        Malformed{"<double>0x10</double>", "XML:1:9: \"0x10\" is not a double"},
        Malformed{"<int tuple=\"0\"/>", "XML:1:13: a tuple size must be 1 or more"},
        Malformed{"<int tuple=\"9999999999\"/>",
                  "XML:1:1: Attribute tuple size must be at least 1"},
        Malformed{"<int tuple=\"1\" tuple=\"1\"/>", "XML:1:16: \"tuple\" given twice"},
        Malformed{"<int size=\"1\"/>", "XML:1:6: unknown name \"size\""},
        Malformed{"<int tuple=1/>", "XML:1:11: expected \"=\"\""},
        Malformed{"<int tuple=\"1/>", "XML:1:13: expected a closing quote"},
        Malformed{"<int tuple=\"1\"time=\"0\"/>", "XML:1:15: expected \">\""},
        Malformed{"<int name=\"a\"/>", "XML:1:6: \"name\" does not belong to <int>"},
        Malformed{"<int inherit=\"true\"/>", "XML:1:6: \"inherit\" does not belong to <int>"},
        Malformed{"<null>1</null>", "XML:1:1: <null> must be empty"},
        Malformed{"<string>a</string>", "XML:1:9: expected \"<v>\""},
        Malformed{"<string><v>a<v/></string>", "XML:1:13: expected \"</v>\""},
        Malformed{"<string><v>a", "XML:1:12: expected \"</v>\""},
        Malformed{"<string><v>&apos;</v></string>", "XML:1:12: unknown entity"},
        Malformed{"<string><v>é\\q</v></string>", "XML:1:13: unknown escape"},
        Malformed{"<string><v>\\x1</v></string>", "XML:1:12: unknown escape"},
        Malformed{"<string><v>\x01</v></string>", "XML:1:12: a control character"},
        Malformed{"<string><v>\xff</v></string>", "XML:1:12: bytes that are not UTF-8"},
        Malformed{"<group inherit=\"no\"/>", "XML:1:17: inherit must be \"true\" or \"false\""},
        Malformed{"<group><int/></group>", "XML:1:8: a child of a group needs a name"},
        Malformed{"<group>\n <int name=\"a\"/>\n <int name=\"a\"/>\n</group>",
                  "XML:3:2: a second child named \"a\""},
        Malformed{"<group></int>", "XML:1:8: expected \"</group>\""},
        Malformed{"<group>1</group>", "XML:1:8: expected \"<\""},
        Malformed{"<int><sample>1</sample></int>", "XML:1:6: a sample needs a time"},
        Malformed{"<int><sample time=\"x\">1</sample></int>", "XML:1:20: \"x\" is not a time"},
        Malformed{"<int><sample time=\"inf\">1</sample></int>",
                  "XML:1:1: Error building attribute time samples do not ascend."},
        Malformed{"<int><sample time=\"1\">1</sample><sample time=\"1\">1</sample></int>",
                  "XML:1:47: times must ascend"},
        Malformed{"<int><sample time=\"1\">1 2</sample><sample time=\"2\">1</sample></int>",
                  "XML:1:35: a sample of 1 values after one of 2"},
        Malformed{"<int><sample time=\"1\">1</sample>2</int>", "XML:1:33: expected \"<\""}));
