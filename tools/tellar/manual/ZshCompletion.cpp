#include "ShellCompletion.h"
#include "ShellWords.h"

namespace TellarTool {

namespace {

/// A word in single quotes.
std::string Quoted(std::string_view text) {
    std::string out = "'";
    for (const char c : text)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + '\'';
}

/// The zsh action that completes the value: files, words, or none.
std::string ActionOf(const OptionEntry& option) {
    if (!option.choices.empty()) return '(' + JoinWords(option.choices) + ')';
    return option.isFile ? "_files" : " ";
}

/// The option's entry, such as "--at[Start at this location]:PATH: ", once for each of its names.
void AppendOption(std::string& out, const OptionEntry& option) {
    for (const std::string& name : option.names) {
        std::string spec = option.isRepeated ? "*" : "";
        spec += name;
        const bool isLong = name.compare(0, 2, "--") == 0;
        if (isLong && !option.value.empty()) spec += option.isValueOptional ? "=-" : "=";
        spec += '[' + WithBackslashes(option.help, "[]\\") + ']';
        if (!option.value.empty())
            spec += (option.isValueOptional ? "::" : ":") + WithBackslashes(option.value, ":\\") +
                    ':' + ActionOf(option);
        out += " \\\n            " + Quoted(spec);
    }
}

void AppendPositional(std::string& out, const OptionEntry& positional) {
    const std::string action = positional.names.front() + ':' + ActionOf(positional);
    const char* const count = positional.isRepeated ? "*:" : (positional.isRequired ? ":" : "::");
    out += " \\\n            " + Quoted(count + action);
}

void AppendCommand(std::string& out, const CommandEntry& command) {
    out += "    " + command.name + ")\n        _arguments -s";
    for (const OptionEntry& option : command.options)
        AppendOption(out, option);
    for (const OptionEntry& positional : command.positionals)
        AppendPositional(out, positional);
    out += "\n        ;;\n";
}

} // namespace

std::string ZshCompletion(const CommandTable& table) {
    std::string out = "#compdef tellar\n# zsh completion of tellar, made by: tellar completion "
                      "zsh\n\n_tellar() {\n    local -a commands\n    commands=(\n";
    for (const CommandEntry& command : table.subcommands)
        out += "        " + Quoted(command.name + ':' + WithBackslashes(command.summary, ":\\")) +
               '\n';
    out += "    )\n    if (( CURRENT == 2 )); then\n        _describe -t commands 'command' "
           "commands\n        _arguments";
    for (const OptionEntry& option : table.top.options)
        AppendOption(out, option);
    out += "\n        return\n    fi\n    local command=$words[2]\n    shift words\n"
           "    (( CURRENT-- ))\n    case $command in\n";
    for (const CommandEntry& command : table.subcommands)
        AppendCommand(out, command);
    return out +
           "    esac\n}\n\nif [[ $funcstack[1] == _tellar ]]; then\n    _tellar \"$@\"\nelse\n"
           "    compdef _tellar tellar\nfi\n";
}

} // namespace TellarTool
