#include "FileText.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace TellarSceneImport {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::uint32_t kReplacement = 0xFFFD;

void AppendUtf8(std::uint32_t character, std::string& text) {
    const auto add = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (character < 0x80) return add(character);
    if (character < 0x800) {
        add(0xC0 | character >> 6);
    } else if (character < 0x10000) {
        add(0xE0 | character >> 12);
        add(0x80 | (character >> 6 & 0x3F));
    } else {
        add(0xF0 | character >> 18);
        add(0x80 | (character >> 12 & 0x3F));
        add(0x80 | (character >> 6 & 0x3F));
    }
    add(0x80 | (character & 0x3F));
}

bool IsHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

std::string FromUtf16(std::string_view bytes, bool isBigEndian) {
    const std::size_t units = bytes.size() / 2;
    const auto unitAt = [&](std::size_t i) -> std::uint32_t {
        const auto first = static_cast<unsigned char>(bytes[2 * i]);
        const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
        return isBigEndian ? first << 8 | second : second << 8 | first;
    };
    std::string text;
    text.reserve(units);
    for (std::size_t i = 0; i < units; ++i) {
        const std::uint32_t unit = unitAt(i);
        if (IsHighSurrogate(unit) && i + 1 < units && IsLowSurrogate(unitAt(i + 1))) {
            AppendUtf8(0x10000 + ((unit - 0xD800) << 10) + (unitAt(i + 1) - 0xDC00), text);
            ++i;
            continue;
        }
        AppendUtf8(IsHighSurrogate(unit) || IsLowSurrogate(unit) ? kReplacement : unit, text);
    }
    return text;
}

} // namespace

std::string ToUtf8(std::string content) {
    const std::string_view bytes = content;
    const auto startsWith = [bytes](std::string_view start) {
        return bytes.substr(0, start.size()) == start;
    };
    if (startsWith(kUtf8Mark)) return content.substr(kUtf8Mark.size());
    if (startsWith("\xFF\xFE")) return FromUtf16(bytes.substr(2), false);
    if (startsWith("\xFE\xFF")) return FromUtf16(bytes.substr(2), true);
    if (bytes.size() < 2 || (bytes[0] == 0) == (bytes[1] == 0)) return content;
    return FromUtf16(bytes, bytes[0] == 0);
}

} // namespace TellarSceneImport
