#include "JsonText.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <OxTellarSDK/DescriptionJson.h>

#include "NumberText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

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
    const bool isPlain = std::all_of(text.begin(), text.end(), [](char c) {
        return c >= ' ' && c <= '~' && c != '"' && c != '\\';
    });
    return isPlain ? '"' + text + '"' : WriteAttributeJson(StringAttribute(text), -1);
}

std::string JsonOrNull(const std::string& text) {
    return text.empty() ? "null" : Json(text);
}

std::string Json(int value) {
    return WriteAttributeJson(IntAttribute(value), -1);
}

std::string Json(double value) {
    return std::isfinite(value) ? WriteAttributeJson(DoubleAttribute(value), -1) : "null";
}

std::string Json(float value) {
    if (!std::isfinite(value)) return "null";
    std::string text;
    AppendNumber(text, value);
    double sameDigits = 0;
    std::from_chars(text.data(), text.data() + text.size(), sameDigits);
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

} // namespace TellarTool
