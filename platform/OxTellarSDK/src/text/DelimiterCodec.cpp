#include <OxTellarSDK/DelimiterCodec.h>

#include <optional>

#include "text/HexText.h"

namespace OxAttribute {

namespace {

// The byte that the escape at the start of a text stands for. Returns nothing if there is none.
std::optional<char> EscapedByte(std::string_view text) {
    if (text.empty() || text[0] != '%') return std::nullopt;
    return TellarInternal::ReadHexByte(text.substr(1));
}

} // namespace

std::string DelimiterEncode(std::string_view name) {
    std::string encoded;
    encoded.reserve(name.size());
    for (const char c : name) {
        switch (c) {
        case '.':
            encoded += "%2E";
            break;
        case '/':
            encoded += "%2F";
            break;
        case '%':
            encoded += "%25";
            break;
        case '\0':
            encoded += "%00";
            break;
        default:
            encoded += c;
        }
    }
    return encoded;
}

std::string DelimiterDecode(std::string_view encoded) {
    std::string name;
    name.reserve(encoded.size());
    while (!encoded.empty()) {
        const std::optional<char> byte = EscapedByte(encoded);
        name += byte.value_or(encoded.front());
        encoded.remove_prefix(byte ? 3 : 1);
    }
    return name;
}

} // namespace OxAttribute
