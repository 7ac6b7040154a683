#ifndef TELLAR_TOOL_NUMBERTEXT_H
#define TELLAR_TOOL_NUMBERTEXT_H

#include <charconv>
#include <cmath>
#include <string>

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

} // namespace TellarTool

#endif
