#ifndef TELLARINTERNAL_UTF8_H
#define TELLARINTERNAL_UTF8_H

#include <cstddef>
#include <string_view>

namespace TellarInternal {

/// The length in bytes of the well-formed UTF-8 character at the start of `bytes`: 1 to 4, or 0 if
/// there is none. Overlong forms and surrogates are not well-formed.
inline std::size_t Utf8CharacterBytes(std::string_view bytes) {
    const auto byteAt = [bytes](std::size_t i) -> unsigned {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u;
    };
    const unsigned first = byteAt(0);
    if (bytes.empty()) return 0;
    if (first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4) return 0;

    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    for (std::size_t i = 1; i < length; ++i)
        if ((byteAt(i) & 0xC0) != 0x80) return 0;

    const unsigned second = byteAt(1);
    if (first == 0xE0 && second < 0xA0) return 0;
    if (first == 0xED && second > 0x9F) return 0;
    if (first == 0xF0 && second < 0x90) return 0;
    if (first == 0xF4 && second > 0x8F) return 0;
    return length;
}

inline bool IsUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = Utf8CharacterBytes(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

/// True for the bytes of a character after its first one.
inline bool IsUtf8Continuation(char byte) {
    return (byte & 0xC0) == 0x80;
}

/// At most `mostBytes` from the start of the text, without cutting a character in two.
inline std::string_view Utf8Beginning(std::string_view text, std::size_t mostBytes) {
    if (text.size() <= mostBytes) return text;
    while (mostBytes > 0 && IsUtf8Continuation(text[mostBytes]))
        --mostBytes;
    return text.substr(0, mostBytes);
}

} // namespace TellarInternal

#endif
