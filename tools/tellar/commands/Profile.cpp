#include "Subcommands.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/SceneProfile.h>
#include <OxTellarProducers/VisitLocations.h>

#include "ChosenSettings.h"
#include "NumberOption.h"
#include "OpPlaces.h"
#include "Output.h"
#include "PictureOptions.h"
#include "Pictures.h"
#include "Plugins.h"
#include "ProfileReport.h"
#include "Progress.h"
#include "ReadyScene.h"
#include "RendererOptions.h"
#include "Renderers.h"
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
  tellar profile shot.oxop --trace trace.json        for a viewer of traces
  tellar profile shot.oxop --render shot.exr --size 640x360 --samples 4)";

constexpr std::int32_t kMostThreads = 256;
constexpr std::int32_t kMostLocations = 1000000;
constexpr std::int32_t kMostEvents = 5000000;
constexpr std::int32_t kDefaultEvents = 200000;

struct ProfileOptions {
    std::string scene;
    std::string start = "/root";
    std::int32_t threads = 0; // 0: not chosen
    std::int32_t locations = 100;
    std::int32_t events = kDefaultEvents;
    std::string trace; // empty: not wanted; so is the next one
    std::string flame;
    RendererOptions renderer; // its picture is empty unless one is to be drawn
    ChosenSettings chosen;
    std::int32_t samples = 0;   // 0: the choice of the scene or the renderer
    std::optional<float> frame; // absent: 0
    bool isPictureAlone = false;
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

/// The scene as it is profiled: for a picture, with what it needs.
Scene OpenScene(const ProfileOptions& options) {
    Scene scene(options.scene);
    if (options.renderer.picture.empty()) return scene;
    const ReadyScene ready = MakeReady(WithChosen(scene, options.chosen),
                                       {options.frame.value_or(0)}, StudioUse::WhereDark);
    if (!ready.note.empty()) WriteErrorLine("info: " + ready.note);
    return ready.scene;
}

Renderer FindRenderer(const ProfileOptions& options) {
    SetUpPluginHost();
    AddRendererFolder();
    return Renderer(options.renderer.renderer);
}

/// Draws a picture, if one is wanted. The signal that stopped it is thrown when the report is
/// printed.
std::optional<Stopped> Draw(const Scene& scene, const ProfileOptions& options,
                            const std::optional<Renderer>& renderer, ProfileReport& report) {
    if (!renderer) return std::nullopt;
    const Clock::time_point begin = Clock::now();
    const std::uint64_t before = TellarRuntime::getNumberOfCooks();
    Drawing drawing{*renderer, options.renderer.isVerbose, options.threads};
    drawing.isSilent = true;
    report.picture = options.renderer.picture;
    std::optional<Stopped> stopped;
    try {
        DrawPictures(drawing, scene.at("/root"),
                     {{options.frame.value_or(0), report.picture, {}, options.samples}});
    } catch (const Stopped& signal) {
        stopped = signal;
    }
    report.drawSeconds = SecondsSince(begin);
    report.drawCooks = TellarRuntime::getNumberOfCooks() - before;
    return stopped;
}

/// Cooks everything below the start that is not cooked yet.
std::optional<Stopped> CookAll(const TELLAR::GeometryProducer::Ptr& start,
                               const ProfileOptions& options, ProfileReport& report) {
    const StopSignals signals;
    std::atomic<std::uint64_t> count{0};
    const Progress progress(CountLine(count), true);
    const Clock::time_point begin = Clock::now();
    const CookedLocations cooked = TELLAR::CookLocations(
        start, {std::max(options.threads, 1), false, [&signals] { return signals.noted() != 0; }},
        &count);
    report.cookSeconds = SecondsSince(begin);
    report.locations = cooked.locations;
    report.failed = cooked.failed;
    if (signals.noted() == 0) return std::nullopt;
    return Stopped{signals.noted(), "the report is of what was cooked until then"};
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

/// Cooks, and draws, under the eyes of a profiler. Returns the signal that ended it.
std::optional<Stopped> Profile(const ProfileOptions& options,
                               const std::optional<Renderer>& renderer, std::optional<Scene>& scene,
                               ProfileReport& report) {
    TELLAR::CookProfiler profiler(LimitsOf(options));
    const Clock::time_point begin = Clock::now();
    scene = OpenScene(options);
    const auto start = scene->at(options.start);
    report.openSeconds = SecondsSince(begin);
    std::optional<Stopped> stopped = Draw(*scene, options, renderer, report);
    if (!stopped && !options.isPictureAlone) stopped = CookAll(start, options, report);
    report.profile = profiler.take();
    return stopped;
}

void CheckOptions(const ProfileOptions& options) {
    CheckLocationPath("--at", options.start);
    CheckFile("--trace", options.trace);
    CheckFile("--flame", options.flame);
    if (options.renderer.picture.empty()) return;
    if (options.renderer.picture == kStandardOutput) CheckFile("--render", kStandardOutput);
    CheckPicture(options.renderer, "--render");
    CheckChosen(options.chosen);
    for (const std::string& hint : HintsAbout(options.chosen))
        PrintWarning("warning: " + hint);
}

void RunProfile(const ProfileOptions& options) {
    CheckOptions(options);
    std::optional<Renderer> renderer;
    if (!options.renderer.picture.empty()) renderer = FindRenderer(options);
    SceneWarnings warnings(options.isStrict);
    ProfileReport report;
    report.scene = options.scene;
    report.start = options.start;
    std::optional<Scene> scene;
    const std::optional<Stopped> stopped = Profile(options, renderer, scene, report);
    AddPlaces(report);
    Write(report, options);
    if (stopped) throw *stopped;
    const bool isCooked = options.start == "/root" && !options.isPictureAlone;
    if (options.isStrict || isCooked) warnings.check(*scene);
    warnings.finish();
    if (report.failed > 0 || report.profile.totals.errors > 0) throw ProblemsFound();
}

void AddRenderOptions(CLI::App& command, ProfileOptions& options) {
    CLI::Option* const picture =
        command
            .add_option("--render", options.renderer.picture,
                        "Draw this picture first, so that cooks are those of a render, then cook "
                        "what it did not need; the options below are for it alone")
            ->option_text("PICTURE");
    const std::size_t first = command.get_options().size();
    AddRenderer(command, options.renderer);
    AddPictureOptions(command, options.chosen);
    command.add_flag("--picture-alone", options.isPictureAlone,
                     "Do not cook what the picture does not need");
    AddNumber(command, "--frame", options.frame, "The time of the picture, 0 unless given");
    AddQualityOptions(command, options.chosen, options.samples);
    const auto all = command.get_options();
    for (std::size_t i = first; i < all.size(); ++i)
        all[i]->needs(picture);
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
             "Cook with this many threads, 1 unless given. A renderer draws with as many, or with "
             "one for each processor");
    AddOutputOptions(command, *options);
    AddStrict(command, options->isStrict);
    AddRenderOptions(command, *options);
    command.footer(kExamples);
    command.callback([options] {
        options->chosen.renderer = options->renderer.renderer;
        RunProfile(*options);
    });
}

} // namespace TellarTool
