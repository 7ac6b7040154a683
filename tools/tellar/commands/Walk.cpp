#include "Subcommands.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "LocationPrinter.h"
#include "LocationWalk.h"
#include "OrderedText.h"
#include "Output.h"
#include "Progress.h"
#include "Scene.h"
#include "Terminal.h"

namespace TellarTool {

namespace {

using TELLAR::GeometryProducer;
using Clock = std::chrono::steady_clock;

constexpr const char* kExamples = R"(Examples:
  tellar walk examples/garden.json                  the scene as a tree
  tellar walk scene.oxop --at /root/world --depth 2
  tellar walk model.gltf --attrs=xform --xform      any scene file, with transforms
  tellar walk scene.json --json --attrs > locations.json
  tellar walk examples/million.json --stats --quiet --threads 2)";

constexpr std::size_t kMostThreads = 256;
/// Enough parts for each thread that an uneven scene keeps none of them waiting for long.
constexpr std::size_t kPartsPerThread = 32;

struct WalkOptions {
    std::string scene;
    std::string start = "/root";
    std::size_t depth = std::numeric_limits<std::size_t>::max();
    Variant variant = Variant::ThreadAware;
    std::size_t threads = 1;
    /// Absent: none; empty: all; else one dotted name.
    std::optional<std::string> attributes;
    bool worldMatrix = false;
    bool json = false;
    bool quiet = false;
    bool stats = false;
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

/// Threads that are joined whatever happens; `stop` must make them end.
template <typename Stop>
class Workers {
public:
    explicit Workers(Stop stop) : stop(std::move(stop)) {}
    ~Workers() {
        stop();
        for (std::thread& thread : threads)
            thread.join();
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    template <typename Work>
    void add(Work work) {
        threads.emplace_back(std::move(work));
    }

private:
    const Stop stop;
    std::vector<std::thread> threads;
};

void WalkAlone(const GeometryProducer::Ptr& start, const WalkOptions& options,
               const LocationPrinter& printer, LocationCount& count) {
    LocationWalk walk(printer, options.depth, count,
                      [](const std::string& text) { WriteOutput(text); });
    walk.walk({WalkPart::Subtree, start, {}, false, {}});
}

/// Takes parts in order until there are none left.
void Work(const std::vector<WalkPart>& parts, std::atomic<std::size_t>& nextPart,
          const WalkOptions& options, const LocationPrinter& printer, LocationCount& count,
          OrderedText& output) {
    for (;;) {
        const std::size_t part = nextPart++;
        if (part >= parts.size()) return;
        std::exception_ptr error;
        try {
            LocationWalk walk(printer, options.depth, count,
                              [&](std::string text) { output.put(part, std::move(text)); });
            walk.walk(parts[part]);
        } catch (const OrderedText::Stopped&) {
            return;
        } catch (...) {
            error = std::current_exception();
        }
        output.finish(part, error);
        if (error) return;
    }
}

void WalkTogether(const GeometryProducer::Ptr& start, const WalkOptions& options,
                  const LocationPrinter& printer, LocationCount& count) {
    const std::vector<WalkPart> parts =
        PlanWalk(start, options.depth, options.threads * kPartsPerThread);
    OrderedText output(parts.size());
    std::atomic<std::size_t> nextPart{0};
    Workers workers([&] {
        nextPart = parts.size();
        output.stop();
    });
    for (std::size_t i = 0; i < options.threads; ++i)
        workers.add([&] { Work(parts, nextPart, options, printer, count, output); });
    while (const std::optional<std::string> text = output.next())
        WriteOutput(*text);
}

/// An async walk sees what is cooked. This cooks it, as far as the walk will go.
void CookAhead(SceneEntry& entry, const WalkOptions& options) {
    LocationCount ignored{0};
    const std::unique_ptr<LocationPrinter> printer = MakeQuietPrinter();
    WalkAlone(entry.sync(options.start), options, *printer, ignored);
}

GeometryProducer::Ptr Open(SceneEntry& entry, const WalkOptions& options) {
    if (options.variant == Variant::ThreadAware) return entry.threadAware(options.start);
    if (options.variant == Variant::Sync) return entry.sync(options.start);
    CookAhead(entry, options);
    return entry.async(options.start);
}

void PrintStats(const WalkOptions& options, std::uint64_t locations, double openSeconds,
                double walkSeconds) {
    char text[400];
    const double rate = walkSeconds > 0 ? double(locations) / walkSeconds : 0;
    const int length = std::snprintf(text, sizeof(text),
                                     "locations    %llu\n"
                                     "opened in    %.3f s\n"
                                     "walked in    %.3f s\n"
                                     "per second   %.0f\n"
                                     "peak memory  %.1f MiB\n",
                                     static_cast<unsigned long long>(locations), openSeconds,
                                     walkSeconds, rate, double(PeakMemory()) / (1 << 20));
    const std::string_view stats(text, static_cast<std::size_t>(length));
    if (options.json && !options.quiet)
        std::fwrite(stats.data(), 1, stats.size(), stderr);
    else
        WriteOutput(stats);
}

void RunWalk(const WalkOptions& options) {
    if (options.threads > 1 && options.variant != Variant::ThreadAware)
        throw std::runtime_error("--threads: only thread-aware producers are walked by several");
    CheckLocationPath("--at", options.start);
    const Clock::time_point openStart = Clock::now();
    const Scene scene = OpenScene(options.scene);
    SceneEntry entry(scene);
    const GeometryProducer::Ptr start = Open(entry, options);
    const double openSeconds = SecondsSince(openStart);

    const std::unique_ptr<LocationPrinter> printer = MakePrinter(options);
    LocationCount count{0};
    const Clock::time_point walkStart = Clock::now();
    {
        const Progress progress(CountLine(count), options.quiet || !IsTerminal(stdout));
        if (options.threads > 1)
            WalkTogether(start, options, *printer, count);
        else
            WalkAlone(start, options, *printer, count);
    }
    if (options.stats) PrintStats(options, count, openSeconds, SecondsSince(walkStart));
    FlushOutput();
}

/// SCENE is not left to be required by the parser, which could not tell why it is missing: an
/// optional value that follows an option is taken for its value.
void CheckScene(const CLI::App& walk, const WalkOptions& options) {
    if (!options.scene.empty()) return;
    throw std::runtime_error(walk.count("--attrs") > 0
                                 ? "walk: no SCENE is given (write --attrs=NAME, or --attrs behind "
                                   "the scene)"
                                 : "walk: no SCENE is given");
}

} // namespace

void AddWalk(CLI::App& app) {
    const auto options = std::make_shared<WalkOptions>();
    CLI::App* const walk = app.add_subcommand("walk", "Print the locations of a scene as a tree");
    walk->add_option("SCENE", options->scene, kSceneHelp)->option_text(" ");
    walk->add_option("--at", options->start, "Start at this location instead of /root")
        ->option_text("PATH");
    walk->add_option("--depth", options->depth, "Go no more than this many levels down")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()))
        ->option_text("N");
    walk->add_option("--attrs", options->attributes,
                     "Print all attributes, or one by its dotted name (write --attrs=NAME)")
        ->expected(0, 1)
        ->option_text("[NAME]");
    walk->add_flag("--xform", options->worldMatrix, "Print world matrices, at time 0");
    walk->add_flag("--json", options->json, "Print one JSON document instead of a tree");
    walk->add_option("--threads", options->threads,
                     "Walk with this many threads; the output is the same")
        ->check(CLI::Range(std::size_t(1), kMostThreads))
        ->option_text("N");
    const std::map<std::string, Variant> variants = {
        {"sync", Variant::Sync}, {"async", Variant::Async}, {"thread-aware", Variant::ThreadAware}};
    walk->add_option_function<std::string>(
            "--variant",
            [options, variants](const std::string& name) { options->variant = variants.at(name); },
            "Kind of producers to walk with: sync, async or thread-aware (the default). Async "
            "ones cook nothing themselves: the scene is cooked by a sync walk first")
        ->check(CLI::IsMember({"sync", "async", "thread-aware"}))
        ->option_text("KIND");
    walk->add_flag("--stats", options->stats,
                   "Print number of locations, time, rate and peak memory at the end (to standard "
                   "error with --json)");
    walk->add_flag("--quiet", options->quiet, "Print no locations");
    walk->footer(kExamples);
    walk->callback([options, walk] {
        CheckScene(*walk, *options);
        RunWalk(*options);
    });
}

} // namespace TellarTool
