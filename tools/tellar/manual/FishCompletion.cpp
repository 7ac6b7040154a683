#include "ShellCompletion.h"
#include "ShellWords.h"

namespace TellarTool {

namespace {

std::string Quoted(std::string_view text) {
    return '\'' + WithBackslashes(text, "'\\") + '\'';
}

/// "-s o" for a short name or "-l at" for a long one; fish's "-o" is for long names after one dash.
std::string NameOf(const std::string& name) {
    return name.compare(0, 2, "--") == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1);
}

void AppendOption(std::string& out, const std::string& condition, const OptionEntry& option) {
    out += "complete -c tellar -n " + condition;
    for (const std::string& name : option.names)
        out += NameOf(name);
    if (!option.value.empty() && !option.isValueOptional) out += option.isFile ? " -rF" : " -x";
    if (!option.choices.empty()) out += " -a " + Quoted(JoinWords(option.choices));
    out += " -d " + Quoted(option.help) + '\n';
}

/// Appends the choices for arguments. "-f" keeps fish from offering files, which it does by
/// default.
void AppendArguments(std::string& out, const std::string& condition, const CommandEntry& command) {
    if (!command.positionals.empty() && command.positionals.front().isFile) return;
    out += "complete -c tellar -n " + condition + " -f";
    if (!command.positionals.empty() && !command.positionals.front().choices.empty())
        out += " -a " + Quoted(JoinWords(command.positionals.front().choices));
    out += '\n';
}

} // namespace

std::string FishCompletion(const CommandTable& table) {
    const std::string first = "__fish_use_subcommand";
    std::string out = "# fish completion of tellar, made by: tellar completion fish\n";
    for (const CommandEntry& command : table.subcommands)
        out += "complete -c tellar -n " + first + " -f -a " + command.name + " -d " +
               Quoted(command.summary) + '\n';
    for (const OptionEntry& option : table.top.options)
        AppendOption(out, first, option);
    for (const CommandEntry& command : table.subcommands) {
        const std::string condition = Quoted("__fish_seen_subcommand_from " + command.name);
        for (const OptionEntry& option : command.options)
            AppendOption(out, condition, option);
        AppendArguments(out, condition, command);
    }
    return out;
}

} // namespace TellarTool
