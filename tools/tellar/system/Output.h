#ifndef TELLAR_TOOL_OUTPUT_H
#define TELLAR_TOOL_OUTPUT_H

#include <string>
#include <string_view>

namespace TellarTool {

/// The name of a file that stands for standard output.
constexpr const char* kStandardOutput = "-";

/// Thrown when the reader of standard output has gone away ("| head"). The command then ends
/// silently.
struct OutputClosed {};

/// Writes to standard output, which is buffered. Throws OutputClosed, or std::runtime_error
/// with the system's reason.
void WriteOutput(std::string_view text);
/// Writes the buffered rest. Throws as WriteOutput does. To be called before success is reported.
void FlushOutput();

/// Writes "tellar: <message>" to standard error as one line. Writes the buffered rest to standard
/// output first, and ignores it when that fails.
void WriteErrorLine(const std::string& message);

/// Replaces the file in one go: a new one is written beside it and renamed over it when it is
/// complete, so that nothing is ever half-written. Throws std::runtime_error naming the file
/// and the system's reason.
void WriteFile(const std::string& path, std::string_view content);

} // namespace TellarTool

#endif
