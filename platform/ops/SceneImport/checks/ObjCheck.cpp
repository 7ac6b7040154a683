#include "ObjCheck.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace TellarSceneImport {

namespace {

constexpr std::string_view kMaterial = "newmtl";
constexpr std::string_view kLibrary = "mtllib";

// Removes a line from the text and returns it without leading spaces and the return at its end.
std::string_view TakeLine(std::string_view& text) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    return line;
}

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

// Whether a line begins with one of the words that geometry and materials need.
bool HasStatement(std::string_view content) {
    constexpr std::string_view kWords[] = {"v", "vn", "vt", "vp", "f",      "l",
                                           "p", "o",  "g",  "s",  "mtllib", "usemtl"};
    while (!content.empty()) {
        const std::string_view line = TakeLine(content);
        const std::string_view word = line.substr(0, line.find_first_of(" \t"));
        if (std::find(std::begin(kWords), std::end(kWords), word) != std::end(kWords)) return true;
    }
    return false;
}

} // namespace

void CheckObj(std::string_view content, std::string_view fileName) {
    if (!HasStatement(content)) throw std::runtime_error("it holds no statement of OBJ");
    while (!content.empty()) {
        const std::string_view line = TakeLine(content);
        if (StartsWith(line, kLibrary) && line.find(fileName) != std::string_view::npos)
            throw std::runtime_error("damaged OBJ: it names itself as its materials");
    }
}

void CheckMtl(std::string_view content) {
    while (!content.empty()) {
        const std::string_view line = TakeLine(content);
        if (StartsWith(line, kMaterial)) return;
        // Some readers end a line at a return within a comment.
        const bool isComment = StartsWith(line, "#") && line.find('\r') == std::string_view::npos;
        if (!line.empty() && !isComment)
            throw std::runtime_error("damaged MTL: something stands before the first material");
    }
}

} // namespace TellarSceneImport
