#ifndef TELLAR_TOOL_OUTPUT_H
#define TELLAR_TOOL_OUTPUT_H

#include <string>
#include <string_view>

namespace TellarTool {

/// Thrown when the reader of standard output has gone away ("| head"): the command then ends
/// without a word.
struct OutputClosed {};

/// Writes to standard output, which is buffered. Throws OutputClosed, or std::runtime_error
/// with the system's reason.
void WriteOutput(std::string_view text);
/// Delivers what is buffered. Throws as WriteOutput does; to be called before success is
/// reported.
void FlushOutput();

/// Writes "tellar: <message>" to standard error: one line, whatever is in the message. What there
/// was before goes to standard output first; if it cannot be delivered, the message still can.
void WriteErrorLine(const std::string& message);

/// Replaces the file in one go: a new one is written beside it and renamed over it when it is
/// complete, so that nothing is ever half-written. Throws std::runtime_error naming the file
/// and the system's reason.
void WriteFile(const std::string& path, std::string_view content);

} // namespace TellarTool

#endif
