#ifndef TELLAR_TOOL_PRINTABLETEXT_H
#define TELLAR_TOOL_PRINTABLETEXT_H

#include <string>
#include <string_view>

namespace TellarTool {

/// Appends text for a terminal: control characters, which could move the cursor, become "\x1b".
void AppendPrintable(std::string& out, std::string_view bytes);

/// Appends "\x1b" for the byte 0x1b, and so on.
void AppendByteNumber(std::string& out, char byte);

} // namespace TellarTool

#endif
