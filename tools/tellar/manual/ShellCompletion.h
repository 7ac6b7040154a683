#ifndef TELLAR_TOOL_SHELLCOMPLETION_H
#define TELLAR_TOOL_SHELLCOMPLETION_H

#include <string>

#include "CommandTable.h"

namespace TellarTool {

// Scripts by which a shell completes commands, options and their values while they are typed.

std::string BashCompletion(const CommandTable& table);
/// A file "_tellar" for a folder of $fpath.
std::string ZshCompletion(const CommandTable& table);
std::string FishCompletion(const CommandTable& table);

} // namespace TellarTool

#endif
