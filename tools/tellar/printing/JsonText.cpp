#include "JsonText.h"

#include <cmath>
#include <utility>

#include <OxTellarSDK/DescriptionJson.h>

#include "NumberText.h"
#include "text/JsonWriter.h"
#include "text/Utf8.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using namespace TellarInternal;

std::string Join(const std::vector<std::string>& texts, std::string_view separator) {
    std::string out;
    for (const std::string& text : texts) {
        if (!out.empty()) out += separator;
        out += text;
    }
    return out;
}

} // namespace

std::string Json(const std::string& text) {
    if (!IsUtf8(text)) return WriteAttributeJson(StringAttribute(text), -1);
    std::string json;
    AppendJsonString(json, text);
    return json;
}

std::string JsonOrNull(const std::string& text) {
    return text.empty() ? "null" : Json(text);
}

std::string Json(int value) {
    return std::to_string(value);
}

std::string Json(double value) {
    if (!std::isfinite(value)) return "null";
    std::string json;
    AppendJsonNumber(json, value);
    return json;
}

std::string Json(float value) {
    if (!std::isfinite(value)) return "null";
    std::string text;
    AppendNumber(text, value);
    double sameDigits = 0;
    ReadNumber(text, sameDigits);
    return Json(sameDigits);
}

std::string JsonArray(const std::vector<std::string>& values) {
    return "[" + Join(values, ", ") + "]";
}

std::string JsonLines(const std::vector<std::string>& values) {
    return values.empty() ? "[]" : "[\n    " + Join(values, ",\n    ") + "\n  ]";
}

JsonObject& JsonObject::addJson(const char* name, const std::string& value) {
    members.push_back('"' + std::string(name) + "\": " + value);
    return *this;
}

std::string JsonObject::join(std::string_view separator) const {
    return Join(members, separator);
}

std::string JsonMembers::next(const std::string& text) {
    std::string members;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        members += std::exchange(isFirst, false) ? "\n  " : ",\n  ";
        members.append(text, begin, end - begin);
        begin = end == std::string::npos ? text.size() : end + 1;
    }
    return members;
}

} // namespace TellarTool
