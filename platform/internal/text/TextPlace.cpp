#include "text/TextPlace.h"

#include <algorithm>

namespace TellarInternal {

std::string TextPlace(std::string_view source, std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, std::min(offset, text.size()));
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const std::size_t lineStart = before.rfind('\n') + 1; // npos + 1 is 0
    // Bytes that continue a UTF-8 character take no column of their own.
    const auto column = 1 + std::count_if(before.begin() + lineStart, before.end(),
                                          [](char c) { return (c & 0xC0) != 0x80; });
    return std::string(source) + ':' + std::to_string(line) + ':' + std::to_string(column) + ": ";
}

} // namespace TellarInternal
