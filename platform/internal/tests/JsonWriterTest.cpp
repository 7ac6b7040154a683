#include "text/JsonWriter.h"

#include <gtest/gtest.h>

namespace {

using TellarInternal::JsonWriter;

std::string StringAsJson(std::string_view bytes) {
    std::string json;
    TellarInternal::AppendJsonString(json, bytes);
    return json;
}

/// {"a": [1, 2], "b": {}} in one of the layouts.
std::string Written(int indent) {
    JsonWriter json(indent);
    json.open('{');
    json.nextMember("a");
    json.list(2, [&](std::size_t i) { json.number(i + 1); });
    json.nextMember("b");
    json.open('{');
    json.close('}');
    json.close('}');
    return json.take();
}

TEST(JsonWriter, LaysObjectsOutAsAsked) {
    EXPECT_EQ(Written(JsonWriter::kDense), R"({"a":[1,2],"b":{}})");
    EXPECT_EQ(Written(JsonWriter::kOneLine), R"({"a": [1, 2], "b": {}})");
    EXPECT_EQ(Written(0), "{\n\"a\": [1, 2],\n\"b\": {}\n}");
    EXPECT_EQ(Written(2), "{\n  \"a\": [1, 2],\n  \"b\": {}\n}");
}

TEST(JsonWriter, BreaksAListInFrontOfTheItemThatReachesBeyondTheLine) {
    JsonWriter json(2);
    json.list(2, [&](std::size_t) { json.string(std::string(60, 'x')); });
    const std::string item = '"' + std::string(60, 'x') + '"';
    EXPECT_EQ(json.take(), '[' + item + ",\n  " + item + ']');
}

TEST(JsonWriter, KeepsAListOnItsLineWhenItMustNotWrap) {
    JsonWriter json(2);
    json.list(
        2, [&](std::size_t) { json.string(std::string(60, 'x')); }, false);
    const std::string item = '"' + std::string(60, 'x') + '"';
    EXPECT_EQ(json.take(), '[' + item + ", " + item + ']');
}

TEST(JsonWriter, EscapesQuotesBackslashesAndControlCharacters) {
    EXPECT_EQ(StringAsJson("a\"b\\c/\b\f\n\r\t"), R"("a\"b\\c/\b\f\n\r\t")");
    EXPECT_EQ(StringAsJson(std::string_view("\0\x1f\x7f", 3)), R"("\u0000\u001f\u007f")");
    EXPECT_EQ(StringAsJson("caf\xC3\xA9"), "\"caf\xC3\xA9\"");
}

TEST(JsonWriter, WritesDoublesSoThatTheyReadBackAsDoubles) {
    const auto written = [](auto value) {
        std::string json = "1.5";
        TellarInternal::AppendJsonNumber(json, value);
        return json.substr(3);
    };
    EXPECT_EQ(written(7), "7");
    EXPECT_EQ(written(7.0f), "7");
    EXPECT_EQ(written(7.0), "7.0");
    EXPECT_EQ(written(-0.0), "-0.0");
    EXPECT_EQ(written(0.25), "0.25");
    EXPECT_EQ(written(1e300), "1e+300");
}

TEST(JsonWriter, WritesBytesAsPairsOfDigits) {
    JsonWriter json(JsonWriter::kOneLine);
    json.hexString(std::string_view("\0\x0a\xff", 3));
    EXPECT_EQ(json.take(), "\"000aff\"");
}

} // namespace
