#include "UsageHint.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "text/SimilarNames.h"

namespace TellarTool {

namespace {

const CLI::App* FindSubcommand(const CLI::App& app, const std::string& name) {
    for (const CLI::App* const subcommand : app.get_subcommands(nullptr))
        if (subcommand->get_name() == name) return subcommand;
    return nullptr;
}

/// With their dashes.
std::vector<std::string> OptionNames(const CLI::App& subcommand) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : subcommand.get_options()) {
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
        for (const std::string& name : option->get_snames())
            names.push_back("-" + name);
    }
    return names;
}

bool IsLongOption(const std::string& argument) {
    return argument.size() > 2 && argument.compare(0, 2, "--") == 0;
}

} // namespace

std::string HintAboutOptions(const CLI::App& app, const std::vector<std::string>& arguments) {
    const CLI::App* const subcommand =
        arguments.empty() ? nullptr : FindSubcommand(app, arguments.front());
    const std::vector<std::string> names = OptionNames(subcommand ? *subcommand : app);
    for (const std::string& argument : arguments) {
        const std::string name = argument.substr(0, argument.find('='));
        if (!IsLongOption(name) || std::find(names.begin(), names.end(), name) != names.end())
            continue;
        std::string hint = TellarInternal::DidYouMean(names, name);
        if (!hint.empty()) return hint;
    }
    return {};
}

std::string ComplaintAboutSubcommand(const CLI::App& app,
                                     const std::vector<std::string>& arguments) {
    const std::string list = "; \"tellar --help\" lists them";
    if (arguments.empty()) return "a subcommand is required" + list;
    if (arguments.front().empty() || arguments.front().front() == '-') return {};
    const std::string& name = arguments.front();
    if (FindSubcommand(app, name)) return {};
    std::vector<std::string> names;
    for (const CLI::App* const subcommand : app.get_subcommands(nullptr))
        names.push_back(subcommand->get_name());
    const std::string hint = TellarInternal::DidYouMean(names, name);
    return "there is no subcommand \"" + name + '"' + (hint.empty() ? list : hint);
}

} // namespace TellarTool
