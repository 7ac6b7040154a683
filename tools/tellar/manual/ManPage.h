#ifndef TELLAR_TOOL_MANPAGE_H
#define TELLAR_TOOL_MANPAGE_H

#include <string>
#include <vector>

#include "CommandTable.h"

namespace TellarTool {

/// A manual page in the language of troff with the macros of man(7).
struct ManPage {
    std::string file; ///< file name, such as "tellar-walk.1"
    std::string text;
};

/// A page for the command and one for each subcommand. `date` is in the form 2026-12-31.
std::vector<ManPage> MakeManPages(const CommandTable& table, const std::string& version,
                                  const std::string& date);

} // namespace TellarTool

#endif
