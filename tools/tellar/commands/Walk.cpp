#include "Subcommands.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarSDK/MemoryBudget.h>

#include "Choice.h"
#include "FilteredPrinter.h"
#include "JsonText.h"
#include "LocationFilter.h"
#include "LocationPrinter.h"
#include "LocationWalk.h"
#include "MemoryText.h"
#include "Output.h"
#include "ParallelWalk.h"
#include "Progress.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneWarnings.h"
#include "Terminal.h"
#include "Totals.h"
#include "text/SimilarNames.h"

namespace TellarTool {

namespace {

using TELLAR::GeometryProducer;
using Clock = std::chrono::steady_clock;

constexpr const char* kExamples = R"(Examples:
  tellar walk examples/garden.json                  the scene as a tree
  tellar walk scene.oxop --at /root/world --depth 2
  tellar walk model.gltf --attrs=xform --xform      any scene file, with transforms
  tellar walk scene.json --json --attrs > locations.json
  tellar walk scene.json --type mesh                all meshes, with totals
  tellar walk scene.json --match 'leaf*' --quiet    totals alone
  tellar walk examples/million.json --stats --quiet --threads 2)";

constexpr std::size_t kMostThreads = 256;

/// The kind of producers to walk with.
enum class Variant { Sync, Async, ThreadAware };

struct WalkOptions {
    std::string scene;
    std::string start = "/root";
    WalkLimits limits;
    std::optional<Variant> variant; // nothing: sync, for any number of threads
    /// See PrintOptions.
    std::optional<std::string> attributes;
    bool worldMatrix = false;
    bool json = false;
    bool quiet = false;
    bool stats = false;
    std::vector<std::string> types; // types and patterns of LocationFilter
    std::vector<std::string> patterns;
    bool isStrict = false;
};

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::unique_ptr<LocationPrinter> MakePrinter(const WalkOptions& options) {
    if (options.quiet) return MakeQuietPrinter();
    PrintOptions print;
    print.attributes = options.attributes;
    print.worldMatrix = options.worldMatrix;
    print.utf8 = IsUtf8Locale();
    print.colours = HasColours();
    return options.json ? MakeJsonPrinter(print) : MakeTreePrinter(print);
}

/// The location that the walk starts from. An async walk sees only what is cooked, so a sync walk
/// cooks as far as it will go.
GeometryProducer::Ptr OpenStart(const Scene& scene, const WalkOptions& options) {
    if (options.variant == Variant::ThreadAware) return scene.threadAwareAt(options.start);
    GeometryProducer::Ptr sync = scene.at(options.start);
    if (options.variant != Variant::Async) return sync;
    LocationCount ignored{0};
    WalkLocations(sync, options.limits, *MakeQuietPrinter(), ignored, [](const std::string&) {});
    return scene.cookedAt(options.start);
}

/// How many results of cooks were dropped because memory was short.
std::uint64_t DroppedResults() {
    std::uint64_t dropped = 0;
    for (const auto& cache : OxTellarMemory::GetMemoryStatistics().caches)
        if (cache.name == "results") dropped += cache.drops;
    return dropped;
}

/// An async walk passes over locations that were cooked and dropped again.
void WarnAboutDrops(const WalkOptions& options) {
    if (options.variant != Variant::Async) return;
    const std::uint64_t dropped = DroppedResults();
    if (dropped == 0) return;
    PrintWarning("warning: locations may be missing: " + std::to_string(dropped) +
                 " results were dropped within --memory, and async producers cook none again");
}

struct WalkFigures {
    std::uint64_t locations = 0;
    double openSeconds = 0;
    double walkSeconds = 0;

    double rate() const { return walkSeconds > 0 ? double(locations) / walkSeconds : 0; }
};

std::string StatsText(const WalkFigures& figures) {
    char text[400];
    const int length =
        std::snprintf(text, sizeof(text),
                      "locations    %llu\n"
                      "opened in    %.3f s\n"
                      "walked in    %.3f s\n"
                      "per second   %.0f\n"
                      "peak memory  %.1f MiB\n",
                      static_cast<unsigned long long>(figures.locations), figures.openSeconds,
                      figures.walkSeconds, figures.rate(), double(PeakMemory()) / (1 << 20));
    return std::string(text, static_cast<std::size_t>(length)) +
           MemoryText(OxTellarMemory::GetMemoryStatistics());
}

std::string StatsJson(const WalkFigures& figures) {
    return JsonObject()
        .addJson("locations", std::to_string(figures.locations))
        .add("openSeconds", figures.openSeconds)
        .add("walkSeconds", figures.walkSeconds)
        .add("perSecond", figures.rate())
        .addJson("peakMemory", std::to_string(PeakMemory()))
        .addJson("memory", MemoryJson(OxTellarMemory::GetMemoryStatistics()))
        .document();
}

void PrintStats(const WalkOptions& options, const WalkFigures& figures) {
    const std::string stats = options.json ? StatsJson(figures) : StatsText(figures);
    if (options.json && !options.quiet)
        std::fwrite(stats.data(), 1, stats.size(), stderr);
    else
        WriteOutput(stats);
}

LocationFilter MakeFilter(const WalkOptions& options) {
    try {
        return {options.types, options.patterns};
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string("--match: ") + error.what());
    }
}

/// Suggests a similar type for each wanted type that no location has.
void WarnAboutTypes(const std::vector<std::string>& wanted, const std::set<std::string>& types) {
    std::vector<std::string> names(types.begin(), types.end());
    names.emplace_back(kAnyMesh);
    for (const std::string& type : wanted) {
        const bool isThere = LocationFilter({type}, {}).matchesAnyOf(types);
        const std::string hint = TellarInternal::DidYouMean(names, type);
        if (!isThere && !hint.empty() && type != kAnyMesh)
            PrintWarning(std::string("warning: --type: no location is of the type \"")
                             .append(type)
                             .append(1, '"')
                             .append(hint));
    }
}

void PrintTotals(const WalkOptions& options, const Totals& totals) {
    if (options.json) return WriteOutput("\n],\n\"totals\": " + TotalsJson(totals) + "}\n");
    const bool isAlone = options.quiet || totals.locations == 0;
    WriteOutput((isAlone ? "" : "\n") + TotalsText(totals));
}

/// Prints the matching locations one after the other, then their totals.
void PrintMatches(const GeometryProducer::Ptr& start, const WalkOptions& options,
                  LocationCount& count) {
    const LocationFilter filter = MakeFilter(options);
    SharedTotals totals;
    const auto printer = MakeFilteredPrinter(MakePrinter(options), filter, totals);
    JsonMembers members;
    if (options.json) WriteOutput("{\"locations\": [");
    WalkLocations(start, options.limits, *printer, count, [&](const std::string& text) {
        WriteOutput(options.json ? members.next(text) : text);
    });
    PrintTotals(options, totals.get());
    WarnAboutTypes(options.types, totals.getTypes());
}

void PrintTree(const GeometryProducer::Ptr& start, const WalkOptions& options,
               LocationCount& count) {
    WalkLocations(start, options.limits, *MakePrinter(options), count,
                  [](const std::string& text) { WriteOutput(text); });
}

bool IsWholeScene(const WalkOptions& options) {
    return options.start == "/root" && options.limits.depth == WalkLimits().depth;
}

void RunWalk(const WalkOptions& options) {
    if (options.limits.threads > 1 &&
        options.variant.value_or(Variant::ThreadAware) != Variant::ThreadAware)
        throw std::runtime_error("--threads: only thread-aware producers are walked by several");
    CheckLocationPath("--at", options.start);
    SceneWarnings warnings(options.isStrict);
    const Clock::time_point openStart = Clock::now();
    const Scene scene(options.scene);
    const GeometryProducer::Ptr start = OpenStart(scene, options);
    const double openSeconds = SecondsSince(openStart);

    const bool isFiltered = !options.types.empty() || !options.patterns.empty();
    LocationCount count{0};
    const Clock::time_point walkStart = Clock::now();
    {
        const Progress progress(CountLine(count), options.quiet || !IsTerminal(stdout));
        (isFiltered ? PrintMatches : PrintTree)(start, options, count);
    }
    if (options.stats) PrintStats(options, {count, openSeconds, SecondsSince(walkStart)});
    FlushOutput();
    WarnAboutDrops(options);
    // Cheap once the whole scene is cooked.
    if (options.isStrict || IsWholeScene(options)) warnings.check(scene);
    warnings.finish();
}

/// The parser does not check that SCENE is given, because it could not say why SCENE is missing:
/// behind --attrs it is taken for the name of an attribute.
void CheckScene(const CLI::App& walk, const WalkOptions& options) {
    if (!options.scene.empty()) return;
    throw std::runtime_error(walk.count("--attrs") > 0
                                 ? "walk: no SCENE is given (write --attrs=NAME, or --attrs behind "
                                   "the scene)"
                                 : "walk: no SCENE is given");
}

void AddPrintingOptions(CLI::App& command, WalkOptions& options) {
    command
        .add_option("--attrs", options.attributes,
                    "Print all attributes, or one by its dotted name (write --attrs=NAME)")
        ->expected(0, 1)
        ->option_text("[NAME]");
    command.add_flag("--xform", options.worldMatrix, "Print world matrices, at time 0");
    command.add_flag("--json", options.json, "Print one JSON document instead of a tree");
}

void AddFilterOptions(CLI::App& command, WalkOptions& options) {
    command
        .add_option("--type", options.types,
                    "Print only locations of these types, with totals at the end; mesh means "
                    "polymesh and subdmesh")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->option_text("TYPE,...");
    command
        .add_option("--match", options.patterns,
                    "Print only locations whose path matches a glob such as '/root/**/leaf*', or "
                    "whose name one such as 'leaf*', with totals at the end")
        ->allow_extra_args(false)
        ->take_all()
        ->option_text("GLOB");
}

void AddThreadOptions(CLI::App& command, WalkOptions& options) {
    command
        .add_option("--threads", options.limits.threads,
                    "Walk with this many threads; the output is the same")
        ->check(CLI::Range(std::size_t(1), kMostThreads))
        ->option_text("N");
    const std::map<std::string, Variant> variants = {
        {"sync", Variant::Sync}, {"async", Variant::Async}, {"thread-aware", Variant::ThreadAware}};
    command
        .add_option_function<std::string>(
            "--variant",
            [&options, variants](const std::string& name) { options.variant = variants.at(name); },
            "Kind of producers to walk with: sync, async, or thread-aware ones, which have a "
            "client "
            "for each thread; without it all threads share one client. Async ones cook nothing "
            "themselves: the scene is cooked by a sync walk first")
        ->check(Choice({"sync", "async", "thread-aware"}))
        ->option_text("KIND");
}

} // namespace

void AddWalkCommand(CLI::App& app) {
    const auto options = std::make_shared<WalkOptions>();
    CLI::App& command = *app.add_subcommand("walk", "Print the locations of a scene as a tree");
    AddScene(command, options->scene);
    AddLocationPath(command, "--at", options->start, "Start at this location instead of /root");
    command.add_option("--depth", options->limits.depth, "Go no more than this many levels down")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()))
        ->option_text("N");
    AddFilterOptions(command, *options);
    AddPrintingOptions(command, *options);
    AddThreadOptions(command, *options);
    command.add_flag(
        "--stats", options->stats,
        "Print number of locations, time, rate, peak memory and what caches keep at the end (with "
        "--json as JSON, to standard error)");
    command.add_flag("--quiet", options->quiet, "Print no locations");
    AddStrict(command, options->isStrict);
    command.footer(kExamples);
    command.callback([options, &command] {
        CheckScene(command, *options);
        RunWalk(*options);
    });
}

} // namespace TellarTool
