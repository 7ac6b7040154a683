#ifndef TELLAR_TOOL_JSONTEXT_H
#define TELLAR_TOOL_JSONTEXT_H

#include <string>
#include <string_view>
#include <vector>

#include <Imath/ImathMatrix.h>

namespace TellarTool {

// Values as the library writes them in JSON, each on one line.

/// A string that is not UTF-8 is written as in descriptions.
std::string Json(const std::string& text);
/// null for the empty text, where it means that there is none.
std::string JsonOrNull(const std::string& text);
std::string Json(int value);
/// null for infinities and NaN, which JSON cannot express.
std::string Json(double value);
/// With the digits that tell it from other floats: 0.1, where a double would have to be
/// 0.10000000149011612.
std::string Json(float value);
/// 16 numbers, row by row.
template <typename T>
std::string Json(const Imath::Matrix44<T>& matrix);

/// Arrays of values that are JSON already: on one line, and with a line for each, as a member of
/// a document.
std::string JsonArray(const std::vector<std::string>& values);
std::string JsonLines(const std::vector<std::string>& values);

/// An array of values, each of which is put through Json().
template <typename Values>
std::string JsonList(const Values& values) {
    std::vector<std::string> texts;
    texts.reserve(values.size());
    for (const auto& value : values)
        texts.push_back(Json(value));
    return JsonArray(texts);
}

template <typename T>
std::string Json(const Imath::Matrix44<T>& matrix) {
    return JsonList(std::vector<T>(matrix.getValue(), matrix.getValue() + 16));
}

/// Collects the members of an object.
class JsonObject {
public:
    /// `value` is JSON already.
    JsonObject& addJson(const char* name, const std::string& value);
    template <typename Value>
    JsonObject& add(const char* name, const Value& value) {
        return addJson(name, Json(value));
    }

    /// On one line.
    std::string line() const { return "{" + join(", ") + "}"; }
    /// A line for every member, as a document.
    std::string document() const { return "{\n  " + join(",\n  ") + "\n}\n"; }

private:
    std::string join(std::string_view separator) const;

    std::vector<std::string> members;
};

/// Turns JSON objects, each with a line feed at its end, into the members of an array.
class JsonMembers {
public:
    /// The members in the text, with separators between them and after earlier members.
    std::string next(const std::string& text);

private:
    bool isFirst = true;
};

} // namespace TellarTool

#endif
