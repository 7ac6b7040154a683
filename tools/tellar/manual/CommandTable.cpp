#include "CommandTable.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include <CLI/CLI.hpp>

namespace TellarTool {

namespace {

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> texts) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// The choices of an option. The parser describes them as "{bash,fish,zsh}" after the value's type.
std::vector<std::string> ChoicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t begin = type.find('{');
    const std::size_t end = type.find('}');
    if (begin == std::string::npos || end == std::string::npos || end < begin) return {};
    return CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
}

std::vector<std::string> NamesOf(const CLI::Option& option) {
    if (option.get_positional()) return {option.get_name(true)};
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

OptionEntry EntryOf(const CLI::Option& option) {
    OptionEntry entry;
    entry.names = NamesOf(option);
    entry.help = option.get_description();
    entry.choices = ChoicesOf(option);
    entry.isRequired = option.get_required();
    if (option.get_positional()) {
        entry.isFile = entry.choices.empty() && entry.names.front() != "TYPE";
        entry.isRepeated = option.get_items_expected_max() > 1;
        return entry;
    }
    entry.value = option.get_option_text();
    entry.isValueOptional = !entry.value.empty() && option.get_items_expected_min() == 0;
    entry.isFile = IsOneOf(entry.value, {"FILE", "FOLDER", "PICTURE"});
    entry.isRepeated =
        option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll && !entry.value.empty();
    return entry;
}

CommandEntry EntryOf(const CLI::App& command) {
    CommandEntry entry;
    entry.name = command.get_name();
    entry.summary = command.get_description();
    entry.footer = command.get_footer();
    for (const CLI::Option* const option : command.get_options())
        (option->get_positional() ? entry.positionals : entry.options).push_back(EntryOf(*option));
    return entry;
}

} // namespace

CommandTable TableOf(const CLI::App& app) {
    CommandTable table{EntryOf(app), {}};
    for (const CLI::App* const subcommand : app.get_subcommands(nullptr))
        table.subcommands.push_back(EntryOf(*subcommand));
    return table;
}

} // namespace TellarTool
