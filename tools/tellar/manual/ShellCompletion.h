#ifndef TELLAR_TOOL_SHELLCOMPLETION_H
#define TELLAR_TOOL_SHELLCOMPLETION_H

#include <string>

#include "CommandTable.h"

namespace TellarTool {

// Completion scripts: they let a shell complete commands, options and values of options.

std::string BashCompletion(const CommandTable& table);
/// The content of a file "_tellar" for a folder in $fpath.
std::string ZshCompletion(const CommandTable& table);
std::string FishCompletion(const CommandTable& table);

} // namespace TellarTool

#endif
