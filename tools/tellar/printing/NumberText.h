#ifndef TELLAR_TOOL_NUMBERTEXT_H
#define TELLAR_TOOL_NUMBERTEXT_H

#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/NumberText.h"

namespace TellarTool {

using TellarInternal::AppendNumber;
using TellarInternal::ReadNumber;

/// The shortest text that reads back as the same number, without the signs of zero and of NaN.
template <typename T>
std::string NumberText(T value) {
    if (std::isnan(value)) return "nan";
    std::string out;
    AppendNumber(out, value + T(0)); // -0 + 0 is 0
    return out;
}

/// The number rounded to seven digits, for people only.
inline std::string RoundedText(double value) {
    constexpr int kDigits = 7;
    if (std::isnan(value)) return "nan";
    char text[32];
    char* const end =
        std::to_chars(text, text + sizeof(text), value + 0.0, std::chars_format::general, kDigits)
            .ptr;
    return {text, end};
}

/// The number with this many digits behind the point.
inline std::string FixedText(double value, int digits) {
    char text[400]; // more than the longest double has in front of the point
    char* const end =
        std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed, digits).ptr;
    return {text, end};
}

/// The numbers of a list such as "2,3,8,8". Returns nothing unless all of them are finite numbers
/// that T can hold.
template <typename T>
std::optional<std::vector<T>> ReadNumbers(std::string_view text) {
    std::vector<T> numbers;
    for (;;) {
        const std::size_t comma = text.find(',');
        T number{};
        if (!ReadNumber(text.substr(0, comma), number)) return std::nullopt;
        numbers.push_back(number);
        if (comma == std::string_view::npos) return numbers;
        text.remove_prefix(comma + 1);
    }
}

} // namespace TellarTool

#endif
