#ifndef TELLAR_TOOL_TERMINAL_H
#define TELLAR_TOOL_TERMINAL_H

#include <cstdint>
#include <cstdio>

/// Functions that ask the system about the process and its terminals.
namespace TellarTool {

/// Whether the stream is a terminal.
bool IsTerminal(std::FILE* stream);

/// The number of columns of the terminal; 80 when it is not known.
int TerminalWidth(std::FILE* stream);

/// Whether the user's locale is a UTF-8 one according to LC_ALL, LC_CTYPE or LANG. The locale need
/// not be installed.
bool IsUtf8Locale();

/// Whether standard output may be coloured: it is a terminal and NO_COLOR is not set.
bool HasColours();

/// Makes a write to a closed pipe fail like any other write, instead of ending the process.
void IgnoreClosedPipes();

/// The peak resident memory of the process in bytes; 0 when the system does not report it.
std::uint64_t PeakMemory();

} // namespace TellarTool

#endif
