#include <OxTellarSDK/DelimiterCodec.h>

namespace OxAttribute {

namespace {

// The value of a hexadecimal digit, -1 for any other character.
int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// The byte that an escape in front of `text` stands for, -1 when there is no escape.
int escapedByte(std::string_view text) {
    if (text.size() < 3 || text[0] != '%') return -1;
    const int high = hexValue(text[1]);
    const int low = hexValue(text[2]);
    return high < 0 || low < 0 ? -1 : high * 16 + low;
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
        const int byte = escapedByte(encoded);
        name += byte < 0 ? encoded.front() : static_cast<char>(byte);
        encoded.remove_prefix(byte < 0 ? 1 : 3);
    }
    return name;
}

} // namespace OxAttribute
