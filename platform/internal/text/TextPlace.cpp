#include "text/TextPlace.h"

#include <algorithm>

#include "text/Utf8.h"

namespace TellarInternal {

namespace {

struct Line {
    std::size_t number;    // counts from 1
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

namespace {

/// Formats a place; `lineText` is its line up to the place.
std::string PlaceText(std::string_view source, std::size_t line, std::string_view lineText) {
    const auto continued = std::count_if(lineText.begin(), lineText.end(), IsUtf8Continuation);
    const std::size_t column = 1 + lineText.size() - static_cast<std::size_t>(continued);
    return std::string(source) + ':' + std::to_string(line) + ':' + std::to_string(column);
}

} // namespace

std::string TextPlace(std::string_view source, std::string_view text, std::size_t offset) {
    const Line line = LineUpTo(text, offset);
    return PlaceText(source, line.number, line.text) + ": ";
}

std::string AscendingPlaces::at(std::size_t offset) {
    for (const std::size_t end = std::min(offset, text.size()); seen < end; ++seen) {
        if (text[seen] != '\n') continue;
        ++line;
        lineBegin = seen + 1;
    }
    return PlaceText(source, line, text.substr(lineBegin, seen - lineBegin));
}

} // namespace TellarInternal
