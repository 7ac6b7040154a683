#ifndef TELLAR_TOOL_COMMANDTABLE_H
#define TELLAR_TOOL_COMMANDTABLE_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace TellarTool {

/// An option or a positional argument of a command, as "--help" lists it.
struct OptionEntry {
    std::vector<std::string> names; ///< with dashes, short ones first; a positional has one name
    std::string value;              ///< such as "PATH"; empty for flags and positionals
    std::string help;
    std::vector<std::string> choices; ///< the accepted values; empty if any value is accepted
    bool isValueOptional = false;
    bool isFile = false; ///< the value is the path of a file or folder
    bool isRequired = false;
    bool isRepeated = false; ///< may be given several times
};

/// A command, or one of its subcommands.
struct CommandEntry {
    std::string name; ///< "tellar" or "walk"
    std::string summary;
    std::vector<OptionEntry> positionals;
    std::vector<OptionEntry> options;
    std::string footer;
};

/// The command and its subcommands.
struct CommandTable {
    CommandEntry top;
    std::vector<CommandEntry> subcommands;
};

/// Reads the parser's own tables, so that manual pages and completions never differ from the help.
CommandTable TableOf(const CLI::App& app);

} // namespace TellarTool

#endif
