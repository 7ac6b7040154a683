#ifndef TELLARINTERNAL_CHARACTERS_H
#define TELLARINTERNAL_CHARACTERS_H

/// Kinds of ASCII characters, whatever the locale.

namespace TellarInternal {

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// True for the characters of the names of variables: letters, digits and underscores.
constexpr bool IsNameCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || IsDigit(c) || c == '_';
}

constexpr bool IsControlCharacter(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

} // namespace TellarInternal

#endif
