#include "text/TextPlace.h"

#include <algorithm>

#include "text/Utf8.h"

namespace TellarInternal {

namespace {

struct Line {
    std::size_t number;    // from 1
    std::string_view text; // up to the place
};

Line LineUpTo(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, std::min(offset, text.size()));
    const auto breaks = std::count(before.begin(), before.end(), '\n');
    const std::size_t begin = before.rfind('\n') + 1; // npos + 1 is 0
    return {1 + static_cast<std::size_t>(breaks), before.substr(begin)};
}

} // namespace

std::string LineAndColumn(std::string_view text, std::size_t offset) {
    const Line line = LineUpTo(text, offset);
    return "line " + std::to_string(line.number) + ", column " +
           std::to_string(1 + line.text.size());
}

std::string TextPlace(std::string_view source, std::string_view text, std::size_t offset) {
    const Line line = LineUpTo(text, offset);
    const auto continued = std::count_if(line.text.begin(), line.text.end(), IsUtf8Continuation);
    const std::size_t column = 1 + line.text.size() - static_cast<std::size_t>(continued);
    return std::string(source) + ':' + std::to_string(line.number) + ':' + std::to_string(column) +
           ": ";
}

} // namespace TellarInternal
