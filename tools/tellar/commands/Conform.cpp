#include "Subcommands.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarProducers/SceneDescription.h>
#include <OxTellarSDK/OpTypeSuite.h>

#include "CheckProcess.h"
#include "Checks.h"
#include "JsonText.h"
#include "NumberOption.h"
#include "Output.h"
#include "StopSignals.h"
#include "Table.h"

namespace TellarTool {

namespace {

constexpr const char* kNotes =
    R"(Each check runs in a process of its own with TELLAR_VALIDATE=1. The exit status is 0 when all
checks are passed, 1 when some are not, and 2 when the plug-in cannot be loaded.

Examples:
  tellar conform build/myrenderer.so
  tellar conform lantern --only cancel --json
  tellar conform build/mytype.so --scene tests/mytype.json
  tellar conform --list)";

constexpr const char* kOutcomeOfSignal = "the check that ran is not complete";
constexpr int kMostSeconds = 24 * 60 * 60;

struct ConformOptions {
    std::vector<std::string> plugins;
    std::string scene;
    std::string format = "png";
    std::vector<std::string> only; // names of checks; empty: all
    std::int32_t seconds = 120;    // for one check
    bool list = false;
    bool json = false;
    std::vector<std::string> child; // the parts of a ChildTask
};

/// A subject and the results of its checks.
struct SubjectResults {
    Subject subject;
    std::vector<CheckResult> results;
};

// Text --------------------------------------------------------------------------------------------

std::string TitleOf(const Subject& subject) {
    std::string title = subject.api == OX_RENDERER_API ? "renderer \"" : "op type \"";
    title += subject.name + '"';
    const std::string plural = subject.versions.size() > 1 ? ", versions " : ", version ";
    for (const unsigned int version : subject.versions)
        title += (version == subject.versions.front() ? plural : " and ") + std::to_string(version);
    return title + (subject.file.empty() ? ", built in" : ", " + subject.file);
}

const char* OutcomeOf(const CheckResult& result) {
    if (!result.faults.empty()) return "failed";
    return result.reasonToSkip.empty() ? "passed" : "does not apply";
}

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

/// The outcome, and one line for each remark.
std::string TextOf(const CheckResult& result, std::size_t nameWidth) {
    std::vector<std::string> remarks = result.faults;
    remarks.insert(remarks.end(), result.notes.begin(), result.notes.end());
    if (!result.reasonToSkip.empty()) remarks.push_back(result.reasonToSkip);
    std::string text = "  " + Padded(result.check, nameWidth) + "  " + OutcomeOf(result);
    for (const std::string& remark : remarks)
        text += (remarks.size() == 1 ? ": " : "\n      ") + remark;
    return text + '\n';
}

std::size_t NameWidth(const std::vector<Check>& checks) {
    std::size_t width = 0;
    for (const Check& check : checks)
        width = std::max(width, std::string(check.name).size());
    return width;
}

std::string ListOfChecks() {
    Table rows;
    for (const char* api : {OX_RENDERER_API, OX_OP_TYPE_API})
        for (const Check& check : ChecksOf(api))
            rows.push_back({api == std::string(OX_RENDERER_API) ? "renderer" : "op type",
                            check.name, check.summary});
    std::string text;
    AppendTable(text, rows);
    return text;
}

// JSON --------------------------------------------------------------------------------------------

std::string JsonOf(const CheckResult& result) {
    return JsonObject()
        .add("check", result.check)
        .add("outcome", std::string(OutcomeOf(result)))
        .addJson("faults", JsonList(result.faults))
        .addJson("notes", JsonList(result.notes))
        .addJson("reason", JsonOrNull(result.reasonToSkip))
        .line();
}

std::string JsonOf(const SubjectResults& subject) {
    std::vector<std::string> checks;
    for (const CheckResult& result : subject.results)
        checks.push_back(JsonOf(result));
    std::vector<int> versions(subject.subject.versions.begin(), subject.subject.versions.end());
    return JsonObject()
        .add("api", subject.subject.api)
        .add("name", subject.subject.name)
        .addJson("versions", JsonList(versions))
        .addJson("file", JsonOrNull(subject.subject.file))
        .addJson("checks", JsonLines(checks))
        .line();
}

// Runs --------------------------------------------------------------------------------------------

bool IsWanted(const std::string& check, const ConformOptions& options) {
    return options.only.empty() ||
           std::find(options.only.begin(), options.only.end(), check) != options.only.end();
}

GivenPlugin GivenOf(const std::string& plugin, const ConformOptions& options) {
    return {plugin, options.scene, options.format, std::chrono::seconds(options.seconds), {}};
}

/// Whether the check of its functions has failed, without which no other one can run.
bool IsUnloadable(const SubjectResults& results) {
    return std::any_of(results.results.begin(), results.results.end(), [](const auto& result) {
        return result.check == kLoadingCheck && !result.faults.empty();
    });
}

/// Throws Stopped after a signal.
SubjectResults RunChecks(const GivenPlugin& given, const Subject& subject,
                         const ConformOptions& options, const StopSignals& signals) {
    const std::vector<Check> checks = ChecksOf(subject.api);
    SubjectResults results{subject, {}};
    if (!options.json) WriteOutput(TitleOf(subject) + '\n');
    FlushOutput();
    for (const Check& check : checks) {
        if (!IsWanted(check.name, options)) continue;
        results.results.push_back(IsUnloadable(results)
                                      ? CheckResult{check.name, {}, {}, "the plug-in does not load"}
                                      : RunInChild(given, subject, check.name));
        signals.throwIfNoted(kOutcomeOfSignal);
        if (options.json) continue;
        WriteOutput(TextOf(results.results.back(), NameWidth(checks)));
        FlushOutput();
    }
    return results;
}

std::int64_t NumberOfFailed(const SubjectResults& results) {
    return std::count_if(results.results.begin(), results.results.end(),
                         [](const CheckResult& result) { return !result.faults.empty(); });
}

std::string SummaryOf(std::size_t checks, std::int64_t failed) {
    const std::string count = std::to_string(checks) + (checks == 1 ? " check" : " checks");
    return count + ", " + (failed == 0 ? "none" : std::to_string(failed)) + " failed\n";
}

/// Names of checks are checked before anything runs.
void CheckNames(const ConformOptions& options) {
    for (const std::string& name : options.only) {
        bool isKnown = false;
        for (const char* api : {OX_RENDERER_API, OX_OP_TYPE_API})
            for (const Check& check : ChecksOf(api))
                isKnown = isKnown || check.name == name;
        if (!isKnown)
            throw std::runtime_error("--only: there is no check \"" + name +
                                     "\"; see tellar conform --list");
    }
}

void RunConform(const ConformOptions& options) {
    if (options.list) return WriteOutput(ListOfChecks());
    if (options.plugins.empty()) throw CLI::RequiredError("PLUGIN");
    CheckNames(options);
    // A scene that cannot be read is no fault of the plug-in.
    if (!options.scene.empty()) TELLAR::ReadSceneDescription(options.scene);
    const StopSignals signals;
    std::vector<std::string> subjects; // as JSON
    std::size_t checks = 0;
    std::int64_t failed = 0;
    for (const std::string& plugin : options.plugins) {
        GivenPlugin given = GivenOf(plugin, options);
        given.isStopped = [&signals] { return signals.noted() != 0; };
        for (const Subject& subject : LoadInChild(given)) {
            const SubjectResults results = RunChecks(given, subject, options, signals);
            checks += results.results.size();
            failed += NumberOfFailed(results);
            subjects.push_back(JsonOf(results));
        }
    }
    WriteOutput(options.json ? JsonObject().addJson("plugins", JsonLines(subjects)).document()
                             : SummaryOf(checks, failed));
    FlushOutput();
    if (failed > 0) throw ProblemsFound();
}

void Run(const ConformOptions& options) {
    if (options.child.empty()) return RunConform(options);
    const std::vector<std::string>& parts = options.child;
    RunAsChild(GivenOf(options.plugins.front(), options), {parts[0], parts[1], parts[2], parts[3]});
}

} // namespace

void AddConformCommand(CLI::App& app) {
    const auto options = std::make_shared<ConformOptions>();
    CLI::App& command = *app.add_subcommand(
        "conform", "Check that a renderer or an op type keeps the contract of plug-ins");
    command
        .add_option("PLUGIN", options->plugins,
                    "The library of plug-ins, or the name of a renderer or an op type")
        ->option_text(" ");
    command
        .add_option("--scene", options->scene,
                    "A scene that uses the op types under test, for arguments that make sense")
        ->option_text("FILE");
    command
        .add_option("--format", options->format,
                    "The extension of the pictures that a renderer shall write; png unless given")
        ->option_text("EXTENSION");
    command.add_option("--only", options->only, "Run these checks only")
        ->delimiter(',')
        ->option_text("CHECK,...");
    AddCount(command, "--seconds", options->seconds, kMostSeconds,
             "How long a check may take; 120 unless given");
    command.add_flag("--list", options->list, "List the checks");
    command.add_flag("--json", options->json, "Print a JSON object");
    command.add_option("--child", options->child)->expected(4)->group("");
    command.footer(kNotes);
    command.callback([options] { Run(*options); });
}

} // namespace TellarTool
