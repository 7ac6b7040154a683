#include "Subcommands.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/SceneProfile.h>
#include <OxTellarProducers/VisitLocations.h>

#include "NumberOption.h"
#include "OpPlaces.h"
#include "Output.h"
#include "ProfileReport.h"
#include "Progress.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneWarnings.h"
#include "StopSignals.h"

namespace TellarTool {

namespace {

using TELLAR::CookedLocations;
using Clock = std::chrono::steady_clock;

constexpr const char* kExamples = R"(Examples:
  tellar profile examples/garden.json
  tellar profile shot.oxop --threads 2 --locations 10
  tellar profile shot.oxop --at /root/world/hero --json > profile.json
  tellar profile shot.oxop --flame flame.html        for a browser
  tellar profile shot.oxop --trace trace.json        for a viewer of traces)";

constexpr std::int32_t kMostThreads = 256;
constexpr std::int32_t kMostLocations = 1000000;
constexpr std::int32_t kMostEvents = 5000000;
constexpr std::int32_t kDefaultEvents = 200000;

struct ProfileOptions {
    std::string scene;
    std::string start = "/root";
    std::int32_t threads = 1;
    std::int32_t locations = 100;
    std::int32_t events = kDefaultEvents;
    std::string trace; // empty: not wanted; so is the next one
    std::string flame;
    bool json = false;
    bool isStrict = false;
};

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Throws std::runtime_error naming the option when no file could be written there.
void CheckFile(const std::string& option, const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path folder = fs::path(path).has_parent_path() ? fs::path(path).parent_path() : ".";
    if (path.empty()) return;
    if (path == kStandardOutput)
        throw std::runtime_error(option + ": a file is needed; the report is on standard output");
    if (!fs::is_directory(folder, ignored))
        throw std::runtime_error(option + ": there is no folder \"" + folder.string() + "\"");
    if (fs::is_directory(path, ignored))
        throw std::runtime_error(option + ": \"" + path + "\" is a folder");
}

TELLAR::ProfileLimits LimitsOf(const ProfileOptions& options) {
    TELLAR::ProfileLimits limits;
    limits.locations = static_cast<std::size_t>(options.locations);
    if (!options.trace.empty()) limits.events = static_cast<std::size_t>(options.events);
    return limits;
}

/// Cooks everything below the start. Returns the signal that ended it; 0 when none did.
int CookAll(const TELLAR::GeometryProducer::Ptr& start, const ProfileOptions& options,
            ProfileReport& report) {
    const StopSignals signals;
    std::atomic<std::uint64_t> count{0};
    const Progress progress(CountLine(count), true);
    const Clock::time_point begin = Clock::now();
    const CookedLocations cooked = TELLAR::CookLocations(
        start, {options.threads, false, [&signals] { return signals.noted() != 0; }}, &count);
    report.cookSeconds = SecondsSince(begin);
    report.locations = cooked.locations;
    report.failed = cooked.failed;
    return signals.noted();
}

void AddPlaces(ProfileReport& report) {
    for (const TELLAR::ProfiledOp& op : report.profile.ops)
        report.places.push_back(PlaceOfOp(op.name));
}

void Write(const ProfileReport& report, const ProfileOptions& options) {
    if (!options.trace.empty()) WriteFile(options.trace, TraceText(report));
    if (!options.flame.empty()) WriteFile(options.flame, FlamePage(report));
    WriteOutput(options.json ? ProfileJson(report) : ProfileText(report));
    FlushOutput();
}

void RunProfile(const ProfileOptions& options) {
    CheckLocationPath("--at", options.start);
    CheckFile("--trace", options.trace);
    CheckFile("--flame", options.flame);
    SceneWarnings warnings(options.isStrict);
    ProfileReport report;
    report.scene = options.scene;
    report.start = options.start;
    TELLAR::CookProfiler profiler(LimitsOf(options));
    const Clock::time_point begin = Clock::now();
    const Scene scene(options.scene);
    const auto start = scene.at(options.start);
    report.openSeconds = SecondsSince(begin);
    const int signal = CookAll(start, options, report);
    report.profile = profiler.take();
    AddPlaces(report);
    Write(report, options);
    if (signal != 0) throw Stopped{signal, "the report is of what was cooked until then"};
    // Cheap once the whole scene is cooked.
    if (options.isStrict || options.start == "/root") warnings.check(scene);
    warnings.finish();
    if (report.failed > 0 || report.profile.totals.errors > 0) throw ProblemsFound();
}

void AddOutputOptions(CLI::App& command, ProfileOptions& options) {
    AddCount(command, "--locations", options.locations, kMostLocations,
             "How many of the costliest locations to print, 100 unless given");
    command.add_flag("--json", options.json, "Print one JSON document instead of tables");
    command
        .add_option("--flame", options.flame,
                    "Write a flame graph: a page in HTML, for a browser, of which op needed which")
        ->option_text("FILE");
    CLI::Option* const trace =
        command
            .add_option("--trace", options.trace,
                        "Write every cook and every wait by thread and time, as trace events in "
                        "JSON, which browsers and other programs show")
            ->option_text("FILE");
    AddCount(command, "--trace-events", options.events, kMostEvents,
             "How many trace events to write at most, the longest ones; 200000 unless given");
    command.get_option("--trace-events")->needs(trace);
}

} // namespace

void AddProfileCommand(CLI::App& app) {
    const auto options = std::make_shared<ProfileOptions>();
    CLI::App& command = *app.add_subcommand(
        "profile", "Cook a scene and tell what took how long: ops, op types and locations");
    AddScene(command, options->scene)->required();
    AddLocationPath(command, "--at", options->start,
                    "Cook this location and those below it instead of /root");
    AddCount(command, "--threads", options->threads, kMostThreads,
             "Cook with this many threads, 1 unless given");
    AddOutputOptions(command, *options);
    AddStrict(command, options->isStrict);
    command.footer(kExamples);
    command.callback([options] { RunProfile(*options); });
}

} // namespace TellarTool
