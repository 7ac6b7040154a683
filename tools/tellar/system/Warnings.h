#ifndef TELLAR_TOOL_WARNINGS_H
#define TELLAR_TOOL_WARNINGS_H

#include <cstddef>
#include <string>

namespace TellarTool {

// The warnings of this process, which are printed once each. Any thread may call the functions.

/// Counts a warning. Returns false, and counts nothing, for one that was there before or is about a
/// missing file that is known.
bool IsNewWarning(const std::string& warning);

/// Later warnings in which the path of the file stands say nothing new.
void NoteMissingFile(const std::string& path);

std::size_t GetNumberOfWarnings();

} // namespace TellarTool

#endif
