#ifndef TELLARINTERNAL_MESSAGETEXT_H
#define TELLARINTERNAL_MESSAGETEXT_H

#include <string>
#include <string_view>

#include "text/Characters.h"
#include "text/HexText.h"

/// Texts from outside as parts of messages.

namespace TellarInternal {

inline std::string Quoted(std::string_view text) {
    return '"' + std::string(text) + '"';
}

/// Appends the text with each control character as "\x" and two hexadecimal digits, so that it
/// stays on its line.
inline void AppendOnOneLine(std::string& out, std::string_view text) {
    for (const char c : text) {
        if (!IsControlCharacter(c)) {
            out += c;
            continue;
        }
        out += "\\x";
        AppendHexByte(out, c);
    }
}

} // namespace TellarInternal

#endif
