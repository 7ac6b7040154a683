#include "Subcommands.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>

#include "Choice.h"
#include "CommandTable.h"
#include "ManPage.h"
#include "Output.h"
#include "ShellCompletion.h"
#include "text/NumberText.h"
#include "text/SimilarNames.h"

namespace TellarTool {

namespace {

constexpr const char* kHelpExamples = R"(Examples:
  tellar help
  tellar help walk
  tellar help --man-pages ~/.local/share/man/man1)";

constexpr const char* kCompletionExamples = R"(Examples:
  source <(tellar completion bash)                  in this bash
  tellar completion zsh > ~/.zfunc/_tellar          a folder of $fpath
  tellar completion fish > ~/.config/fish/completions/tellar.fish)";

struct HelpOptions {
    std::string command;  // empty for all commands
    std::string manPages; // a folder, or empty
};

std::vector<std::string> SubcommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* const subcommand : app.get_subcommands(nullptr))
        names.push_back(subcommand->get_name());
    return names;
}

/// Today, or the day of SOURCE_DATE_EPOCH, so that builds of a package are reproducible.
std::string DateOfPages() {
    std::time_t seconds = std::time(nullptr);
    std::int64_t given = 0;
    const char* const text = std::getenv("SOURCE_DATE_EPOCH");
    if (text && TellarInternal::ReadNumber(text, given)) seconds = given;
    const std::tm* const day = std::gmtime(&seconds);
    char date[32] = "";
    if (day) std::strftime(date, sizeof date, "%Y-%m-%d", day);
    return date;
}

void WriteManPages(const CLI::App& app, const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder))
        throw std::runtime_error("--man-pages: \"" + folder +
                                 "\": " + (error ? error.message() : "is no folder"));
    for (const ManPage& page : MakeManPages(TableOf(app), TELLAR_VERSION, DateOfPages()))
        WriteFile((fs::path(folder) / page.file).string(), page.text);
}

void RunHelp(const CLI::App& app, const HelpOptions& options) {
    if (!options.manPages.empty()) return WriteManPages(app, options.manPages);
    // App::help() of the top command would print the help of the parsed subcommand, which is this
    // one.
    WriteOutput(
        options.command.empty()
            ? app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal)
            : app.get_subcommand(options.command)->help(app.get_name()));
    FlushOutput();
}

/// Accepts one of the names. Its description lists them, for completion.
CLI::Validator SubcommandName(const std::vector<std::string>& names) {
    const auto check = [names](const std::string& name) -> std::string {
        if (std::find(names.begin(), names.end(), name) != names.end()) return {};
        const std::string hint = TellarInternal::DidYouMean(names, name);
        return "there is no subcommand \"" + name + '"' +
               (hint.empty() ? "; \"tellar help\" lists them" : hint);
    };
    return {check, '{' + CLI::detail::join(names, ",") + '}'};
}

void PrintCompletion(const CLI::App& app, const std::string& shell) {
    const CommandTable table = TableOf(app);
    WriteOutput(shell == "bash"  ? BashCompletion(table)
                : shell == "zsh" ? ZshCompletion(table)
                                 : FishCompletion(table));
    FlushOutput();
}

void AddCompletionCommand(CLI::App& app) {
    const auto shell = std::make_shared<std::string>();
    CLI::App& command =
        *app.add_subcommand("completion", "Print a script by which a shell completes commands");
    command.add_option("SHELL", *shell, "bash, zsh or fish")
        ->required()
        ->check(Choice({"bash", "zsh", "fish"}))
        ->option_text(" ");
    command.footer(kCompletionExamples);
    command.callback([&app, shell] { PrintCompletion(app, *shell); });
}

} // namespace

void AddHelpCommands(CLI::App& app) {
    AddCompletionCommand(app);
    const auto options = std::make_shared<HelpOptions>();
    CLI::App& command = *app.add_subcommand("help", "Print how a subcommand is used");
    command.add_option("COMMAND", options->command, "The subcommand; all of them unless given")
        ->check(SubcommandName(SubcommandNames(app)))
        ->option_text(" ");
    command
        .add_option("--man-pages", options->manPages,
                    "Write the manual pages of all subcommands into this folder instead")
        ->option_text("FOLDER");
    command.footer(kHelpExamples);
    command.callback([&app, options] { RunHelp(app, *options); });
}

} // namespace TellarTool
