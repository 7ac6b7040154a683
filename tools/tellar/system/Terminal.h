#ifndef TELLAR_TOOL_TERMINAL_H
#define TELLAR_TOOL_TERMINAL_H

#include <cstdint>
#include <cstdio>

/// What the system tells about the process and the terminals it is connected to: everything
/// in the command that differs between systems.
namespace TellarTool {

/// Whether the stream is a terminal that somebody looks at.
bool IsTerminal(std::FILE* stream);

/// How many columns the terminal has; 80 when it does not tell.
int TerminalWidth(std::FILE* stream);

/// Whether the user's locale shows UTF-8. Told by the environment (LC_ALL, LC_CTYPE, LANG), so
/// that a locale that is named but not installed counts too.
bool IsUtf8Locale();

/// Whether standard output may be coloured: it is a terminal and NO_COLOR is not set.
bool HasColours();

/// Makes a write to a closed pipe fail like any other write, instead of ending the process.
void IgnoreClosedPipes();

/// The most memory the process ever had resident, in bytes; 0 when the system does not tell.
std::uint64_t PeakMemory();

} // namespace TellarTool

#endif
