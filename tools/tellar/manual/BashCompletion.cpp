#include "ShellCompletion.h"
#include "ShellWords.h"

namespace TellarTool {

namespace {

// Bash splits "--option=value" into three words. Values of options that only the user knows are not
// completed.
constexpr const char* kBegin = R"(# bash completion of tellar, made by: tellar completion bash
_tellar() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
    local options= words= files=yes
    if [[ $current == "=" ]]; then
        current=
    elif [[ $previous == "=" ]]; then
        previous=${COMP_WORDS[COMP_CWORD-2]}
    fi
    COMPREPLY=()
    case $COMP_CWORD:${COMP_WORDS[1]} in
)";

constexpr const char* kEnd = R"(    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [[ $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    elif [[ $files ]]; then
        compopt -o filenames 2> /dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -F _tellar tellar
)";

std::vector<std::string> AllNames(const std::vector<OptionEntry>& options) {
    std::vector<std::string> names;
    for (const OptionEntry& option : options)
        names.insert(names.end(), option.names.begin(), option.names.end());
    return names;
}

/// The bash assignment that sets the choices for the option's value.
std::string ValueOf(const OptionEntry& option) {
    if (!option.choices.empty()) return "words=\"" + JoinWords(option.choices) + '"';
    return option.isFile ? "words=" : "files=";
}

void AppendValues(std::string& out, const std::vector<OptionEntry>& options) {
    bool isAny = false;
    for (const OptionEntry& option : options) {
        if (option.value.empty() || option.isValueOptional) continue;
        if (!isAny) out += "        case $previous in\n";
        isAny = true;
        out += "        " + JoinWords(option.names, "|") + ") " + ValueOf(option) + " ;;\n";
    }
    if (isAny) out += "        esac\n";
}

/// The bash assignment that sets the choices for arguments; empty for files.
std::string ArgumentsOf(const CommandEntry& command) {
    if (command.positionals.empty()) return "files=";
    const OptionEntry& first = command.positionals.front();
    if (!first.choices.empty()) return "words=\"" + JoinWords(first.choices) + '"';
    return first.isFile ? "" : "files=";
}

void AppendCommand(std::string& out, const CommandEntry& command) {
    out += "    *:" + command.name + ")\n";
    out += "        options=\"" + JoinWords(AllNames(command.options)) + "\"\n";
    const std::string arguments = ArgumentsOf(command);
    if (!arguments.empty()) out += "        " + arguments + '\n';
    AppendValues(out, command.options);
    out += "        ;;\n";
}

} // namespace

std::string BashCompletion(const CommandTable& table) {
    std::string out = kBegin;
    std::vector<std::string> commands;
    for (const CommandEntry& command : table.subcommands)
        commands.push_back(command.name);
    out += "    1:*)\n        options=\"" + JoinWords(AllNames(table.top.options)) +
           "\"\n        words=\"" + JoinWords(commands) + "\"\n        ;;\n";
    for (const CommandEntry& command : table.subcommands)
        AppendCommand(out, command);
    return out + kEnd;
}

} // namespace TellarTool
