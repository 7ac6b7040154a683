#ifndef TELLAR_TOOL_MEMORYTEXT_H
#define TELLAR_TOOL_MEMORYTEXT_H

#include <string>

#include <OxTellarSDK/MemoryBudget.h>

namespace TellarTool {

/// What the caches keep: a line for all of them, and a table with a row for each that was used.
std::string MemoryText(const OxTellarMemory::MemoryStatistics& memory);

/// The same as a JSON object on one line, in bytes. The limit is null when there is none.
std::string MemoryJson(const OxTellarMemory::MemoryStatistics& memory);

} // namespace TellarTool

#endif
