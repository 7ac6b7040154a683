#ifndef TELLAR_TOOL_COMMANDTABLE_H
#define TELLAR_TOOL_COMMANDTABLE_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace TellarTool {

/// An option or a positional argument of a command, as "--help" tells it.
struct OptionEntry {
    std::vector<std::string>
        names;         ///< with dashes, short ones first; of a positional its only name
    std::string value; ///< such as "PATH"; empty for flags and positionals
    std::string help;
    std::vector<std::string> choices; ///< all values that are accepted; empty if it takes others
    bool isValueOptional = false;
    bool isFile = false; ///< its value is the path of a file or folder
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

/// Reads the tables from which the parser makes the help, so that manual pages and completions
/// never differ from it.
CommandTable TableOf(const CLI::App& app);

} // namespace TellarTool

#endif
