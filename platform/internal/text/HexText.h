#ifndef TELLARINTERNAL_HEXTEXT_H
#define TELLARINTERNAL_HEXTEXT_H

#include <optional>
#include <string>
#include <string_view>

/// Bytes as two hexadecimal digits each.

namespace TellarInternal {

/// Appends the two digits of a byte, in lower case.
inline void AppendHexByte(std::string& out, char byte) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    out += kDigits[value >> 4];
    out += kDigits[value & 15];
}

/// The value of a digit in either case, -1 for any other character.
inline int HexDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

/// The byte that the first two characters of the text stand for. Returns nothing unless both are
/// digits.
inline std::optional<char> ReadHexByte(std::string_view text) {
    if (text.size() < 2) return std::nullopt;
    const int high = HexDigitValue(text[0]);
    const int low = HexDigitValue(text[1]);
    if (high < 0 || low < 0) return std::nullopt;
    return static_cast<char>(high * 16 + low);
}

} // namespace TellarInternal

#endif
