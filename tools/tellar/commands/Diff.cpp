#include "Subcommands.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/SceneDifference.h>

#include "DifferencePrinter.h"
#include "NumberText.h"
#include "Output.h"
#include "Progress.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneWarnings.h"
#include "StandardInput.h"
#include "StopSignals.h"
#include "Terminal.h"

namespace TellarTool {

namespace {

using TELLAR::DifferenceSummary;

constexpr const char* kExamples = R"(Examples:
  tellar diff yesterday/shot.json shot.json
  tellar diff old.oxop new.oxop --at /root/world/hero --tolerance 1e-5
  tellar diff old.glb new.glb --attrs xform --attrs 'geometry.point.*'
  git show HEAD:shot.json | tellar diff - shot.json --json)";

/// The number of locations whose results are kept, so that scenes of any size can be compared.
constexpr std::uint64_t kFreedTogether = 1 << 17;

struct DiffOptions {
    std::string before;
    std::string after;
    TELLAR::DifferenceOptions search;
    bool json = false;
};

/// Whether the scene has the location. One that cannot be cooked is there.
bool HasLocation(const Scene& scene, const std::string& path) {
    try {
        return scene.getClient()->cookLocation(path).doesLocationExist();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return true;
    }
}

/// Throws std::runtime_error when neither scene has the location that the user asks for.
void CheckStart(const Scene& before, const Scene& after, const std::string& path) {
    const bool isAsked = path != TELLAR::DifferenceOptions().location;
    if (!isAsked || HasLocation(before, path) || HasLocation(after, path)) return;
    static_cast<void>(after.at(path)); // throws, with a hint
}

/// Frees what has been cooked so far. Hardly any location is looked at twice.
void FreeResults(const Scene& before, const Scene& after) {
    static_cast<void>(before.getClient()->takeResults());
    static_cast<void>(after.getClient()->takeResults());
}

DifferenceSummary PrintDifferences(const Scene& before, const Scene& after,
                                   const DiffOptions& options) {
    const StopSignals signals;
    std::atomic<std::uint64_t> visited{0};
    const Progress progress(CountLine(visited), !IsTerminal(stdout));
    const auto printer = (options.json ? MakeDifferenceJson
                                       : MakeDifferenceText)({before.getPath(), after.getPath()});
    TELLAR::DifferenceOptions search = options.search;
    search.isCancelled = [&] {
        if (++visited % kFreedTogether == 0) FreeResults(before, after);
        return signals.noted() != 0;
    };
    WriteOutput(printer->begin());
    const DifferenceSummary summary =
        TELLAR::VisitDifferences(before.getClient(), after.getClient(), search,
                                 [&](const TELLAR::LocationDifference& difference) {
                                     WriteOutput(printer->next(difference));
                                     return true;
                                 });
    signals.throwIfNoted("the list of differences is not complete");
    WriteOutput(printer->end(summary));
    return summary;
}

/// An error about a pattern is one about its option.
void CheckPatterns(const TELLAR::DifferenceOptions& search) {
    try {
        TELLAR::VisitDifferences(nullptr, nullptr, search, nullptr);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string("--attrs: ") + error.what());
    }
}

void RunDiff(const DiffOptions& options) {
    CheckLocationPath("--at", options.search.location);
    if (options.before == kStandardInput && options.after == kStandardInput)
        throw std::runtime_error("only one of the two scenes can be standard input");
    CheckPatterns(options.search);
    SceneWarnings warnings(false);
    const Scene before(options.before);
    const Scene after(options.after);
    CheckStart(before, after, options.search.location);
    const DifferenceSummary summary = PrintDifferences(before, after, options);
    FlushOutput();
    warnings.finish();
    if (summary.failed > 0)
        throw std::runtime_error(std::to_string(summary.failed) +
                                 (summary.failed == 1 ? " location" : " locations") +
                                 " could not be compared");
    if (!summary.areEqual()) throw ProblemsFound();
}

double ToleranceFrom(const std::string& text) {
    double number = 0;
    if (!ReadNumber(text, number) || number < 0)
        throw CLI::ValidationError("--tolerance", "\"" + text + "\" is no number of 0 or more");
    return number;
}

void AddOptions(CLI::App& command, DiffOptions& options) {
    AddLocationPath(command, "--at", options.search.location,
                    "Compare this location and those below it only");
    command
        .add_option_function<std::string>(
            "--tolerance",
            [&options](const std::string& text) { options.search.tolerance = ToleranceFrom(text); },
            "Numbers that differ by no more than this are equal; without it, numbers are compared "
            "bit by bit")
        ->option_text("N");
    command
        .add_option("--attrs", options.search.attributes,
                    "Compare only attributes whose dotted name matches a glob such as xform or "
                    "'geometry.**'; may be repeated")
        ->allow_extra_args(false)
        ->take_all()
        ->option_text("GLOB");
    command.add_flag("--json", options.json, "Print a JSON object");
}

} // namespace

void AddDiffCommand(CLI::App& app) {
    const auto options = std::make_shared<DiffOptions>();
    CLI::App& command = *app.add_subcommand("diff", "List what differs between two scenes");
    command.add_option("A", options->before, "The old scene: any scene file; - is standard input")
        ->required()
        ->option_text(" ");
    command.add_option("B", options->after, "The new scene; - is standard input")
        ->required()
        ->option_text(" ");
    AddOptions(command, *options);
    command.footer(kExamples);
    command.callback([options] { RunDiff(*options); });
}

} // namespace TellarTool
