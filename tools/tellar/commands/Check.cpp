#include "Subcommands.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/SceneCheck.h>

#include "Choice.h"
#include "FindingText.h"
#include "JunitText.h"
#include "NumberOption.h"
#include "Output.h"
#include "Progress.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneWarnings.h"
#include "StopSignals.h"
#include "Warnings.h"

namespace TellarTool {

namespace {

using TELLAR::CheckReport;
using TELLAR::CheckRule;
using TELLAR::CheckSeverity;

constexpr const char* kNotes =
    R"(The exit status is 0 when nothing is found that is as bad as --fail-on says, 1 when something is,
and 2 when the scene cannot be checked.

Examples:
  tellar check examples/garden.json
  tellar check scene.oxop --threads 2 --fail-on error
  tellar check model.glb --ignore material-unused,camera-unused
  tellar check scene.json --junit report.xml
  tellar check --rules)";

constexpr const char* kOutcomeOfSignal = "the scene is not checked to its end";
constexpr std::int32_t kMostThreads = 256;
constexpr std::int32_t kMostListed = 1000000;

struct CheckCommand {
    std::string scene;
    std::string start = "/root";
    std::vector<std::string> only;
    std::vector<std::string> ignored;
    std::optional<CheckSeverity> failOn = CheckSeverity::Warning;
    std::int32_t threads = 1;
    std::int32_t most = 100;
    std::string junit; // a file; empty: none
    bool json = false;
    bool listRules = false;
};

bool IsIn(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<std::string> AllRules() {
    std::vector<std::string> names;
    for (const CheckRule& rule : TELLAR::GetCheckRules())
        names.emplace_back(rule.name);
    return names;
}

/// Throws std::runtime_error when none is left.
std::vector<std::string> WantedRules(const CheckCommand& command) {
    const bool isWholeScene = command.start == "/root";
    std::vector<std::string> wanted;
    for (const CheckRule& rule : TELLAR::GetCheckRules()) {
        const bool isChosen = (command.only.empty() || IsIn(command.only, rule.name)) &&
                              !IsIn(command.ignored, rule.name);
        if (isChosen && (isWholeScene || !rule.needsWholeScene)) wanted.emplace_back(rule.name);
    }
    if (wanted.empty())
        throw std::runtime_error(isWholeScene ? "--ignore: no rule is left"
                                              : "--at: the rules need the whole scene");
    return wanted;
}

bool IsAsBadAs(const CheckReport& report, std::optional<CheckSeverity> severity) {
    return severity && std::any_of(report.totals.begin(), report.totals.end(),
                                   [&](const auto& total) { return total.severity >= *severity; });
}

/// Throws Stopped after a signal.
CheckReport Check(const Scene& scene, const CheckCommand& command,
                  const std::vector<std::string>& rules) {
    const StopSignals signals;
    std::atomic<std::uint64_t> count{0};
    TELLAR::CheckOptions options;
    options.start = command.start;
    options.threads = command.threads;
    options.mostFindings = static_cast<std::size_t>(command.most);
    options.rules = rules;
    options.isCancelled = [&signals] { return signals.noted() != 0; };
    options.progress = &count;
    (void)scene.at(command.start); // names the scene in the error if there is no such location
    CheckReport report;
    {
        const Progress progress(CountLine(count), true);
        report = TELLAR::CheckScene(scene.getClient(), options);
    }
    signals.throwIfNoted(kOutcomeOfSignal);
    return report;
}

void Print(const CheckReport& report, const CheckCommand& command, const JunitSuite& suite) {
    const bool isJunitPrinted = command.junit == kStandardOutput;
    if (isJunitPrinted)
        WriteOutput(JunitOf(report, suite));
    else
        WriteOutput(command.json ? JsonOf(report) : TextOf(report));
    FlushOutput();
    if (!command.junit.empty() && !isJunitPrinted) WriteFile(command.junit, JunitOf(report, suite));
}

/// Prints what the library logged, except about files that the report names.
void PrintWarnings(const CheckReport& report, SceneWarnings& warnings) {
    for (const TELLAR::CheckFinding& finding : report.findings)
        if (!finding.file.empty()) NoteMissingFile(finding.file);
    warnings.finish();
}

void RunCheck(const CheckCommand& command) {
    if (command.listRules) return WriteOutput(command.json ? RulesJson() : RulesText());
    if (command.scene.empty()) throw CLI::RequiredError("SCENE");
    if (command.json && command.junit == kStandardOutput)
        throw std::runtime_error("--json and --junit both go to standard output");
    CheckLocationPath("--at", command.start);
    const std::vector<std::string> rules = WantedRules(command);
    SceneWarnings warnings(false);
    const auto begin = std::chrono::steady_clock::now();
    const Scene scene(command.scene);
    const CheckReport report = Check(scene, command, rules);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    Print(report, command, {scene.getPath(), rules, seconds.count(), command.failOn});
    PrintWarnings(report, warnings);
    if (IsAsBadAs(report, command.failOn)) throw ProblemsFound();
}

void AddRuleOptions(CLI::App& app, CheckCommand& command) {
    const auto add = [&app](const char* name, std::vector<std::string>& rules, const char* help) {
        app.add_option(name, rules, help)
            ->delimiter(',')
            ->allow_extra_args(false)
            ->check(Choice(AllRules()))
            ->option_text("RULE,...");
    };
    add("--only", command.only, "Apply these rules only");
    add("--ignore", command.ignored, "Do not apply these rules");
    const std::map<std::string, std::optional<CheckSeverity>> severities = {
        {"note", CheckSeverity::Note},
        {"warning", CheckSeverity::Warning},
        {"error", CheckSeverity::Error},
        {"never", std::nullopt}};
    app.add_option_function<std::string>(
           "--fail-on",
           [&command, severities](const std::string& name) {
               command.failOn = severities.at(name);
           },
           "End with status 1 when something as bad as this is found; warning by default")
        ->check(Choice({"note", "warning", "error", "never"}))
        ->option_text("SEVERITY");
}

} // namespace

void AddCheckCommand(CLI::App& app) {
    const auto command = std::make_shared<CheckCommand>();
    CLI::App& check = *app.add_subcommand("check", "Look for problems in a scene");
    AddScene(check, command->scene);
    AddLocationPath(check, "--at", command->start,
                    "Check only this location and what is below it. Rules that need the whole "
                    "scene are left out");
    AddRuleOptions(check, *command);
    AddCount(check, "--most", command->most, kMostListed,
             "List so many findings of each rule, and count the rest; 100 by default");
    AddCount(check, "--threads", command->threads, kMostThreads,
             "Check with this many threads; the output is the same");
    check.add_flag("--json", command->json, "Print a JSON object");
    check
        .add_option("--junit", command->junit,
                    "Also write the report to this file as JUnit XML; - prints it instead of the "
                    "text")
        ->option_text("FILE");
    check.add_flag("--rules", command->listRules, "Print all rules with their severities, and end");
    check.footer(kNotes);
    check.callback([command] { RunCheck(*command); });
}

} // namespace TellarTool
