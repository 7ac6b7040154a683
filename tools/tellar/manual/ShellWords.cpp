#include "ShellWords.h"

namespace TellarTool {

std::string JoinWords(const std::vector<std::string>& words, std::string_view separator) {
    std::string out;
    for (const std::string& word : words) {
        if (!out.empty()) out += separator;
        out += word;
    }
    return out;
}

std::string WithBackslashes(std::string_view text, std::string_view characters) {
    std::string out;
    for (const char c : text) {
        if (characters.find(c) != std::string_view::npos) out += '\\';
        out += c;
    }
    return out;
}

} // namespace TellarTool
