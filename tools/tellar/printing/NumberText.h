#ifndef TELLAR_TOOL_NUMBERTEXT_H
#define TELLAR_TOOL_NUMBERTEXT_H

#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

namespace TellarTool {

/// The shortest text that reads back as the same number, whatever the locale.
template <typename T>
void AppendNumber(std::string& out, T value) {
    char text[32];
    out.append(text, std::to_chars(text, text + sizeof(text), value).ptr);
}

/// The same for people, to whom the sign of zero and that of no number mean nothing.
template <typename T>
std::string NumberText(T value) {
    if (std::isnan(value)) return "nan";
    std::string out;
    AppendNumber(out, value + T(0)); // -0 + 0 is 0
    return out;
}

/// Seven digits of it, for what nobody reads back.
inline std::string RoundedText(double value) {
    constexpr int kDigits = 7;
    if (std::isnan(value)) return "nan";
    char text[32];
    char* const end =
        std::to_chars(text, text + sizeof(text), value + 0.0, std::chars_format::general, kDigits)
            .ptr;
    return {text, end};
}

/// False unless all of the text is a number that the type holds, and a finite one.
template <typename T>
bool ReadNumber(std::string_view text, T& number) {
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || last != end) return false;
    if constexpr (std::is_floating_point_v<T>) return std::isfinite(number);
    return true;
}

/// The numbers of "2,3,8,8"; nothing unless all of them are such.
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
