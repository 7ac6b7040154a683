#ifndef TELLAR_TOOL_WARNINGS_H
#define TELLAR_TOOL_WARNINGS_H

#include <cstddef>
#include <string>

namespace TellarTool {

// Keeps each warning of this process from being printed twice. Safe from several threads at once.

/// Counts a new warning. Returns false, without counting, for a repeated warning and for one about
/// a file of NoteMissingFile().
bool IsNewWarning(const std::string& warning);

/// Marks a file as reported: later warnings that contain its path are not new.
void NoteMissingFile(const std::string& path);

std::size_t GetNumberOfWarnings();

} // namespace TellarTool

#endif
