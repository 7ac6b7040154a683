#include "PrintableText.h"

#include <cstddef>

#include "text/HexText.h"

namespace TellarTool {

void AppendByteNumber(std::string& out, char byte) {
    out += "\\x";
    TellarInternal::AppendHexByte(out, byte);
}

void AppendPrintable(std::string& out, std::string_view bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        // C1 controls, U+0080 to U+009F, are two bytes in UTF-8.
        const bool isC1 = byte == 0xC2 && i + 1 < bytes.size() &&
                          (static_cast<unsigned char>(bytes[i + 1]) & 0xE0) == 0x80;
        if (byte >= 0x20 && byte != 0x7F && !isC1)
            out += bytes[i];
        else
            AppendByteNumber(out, bytes[i]);
    }
}

} // namespace TellarTool
