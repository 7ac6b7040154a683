#include "Walk.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "LocationPrinter.h"
#include "LocationWalk.h"
#include "OrderedText.h"
#include "Output.h"
#include "Progress.h"
#include "Terminal.h"

namespace TellarTool {

namespace {

using TELLAR::GeometryProducer;
using Clock = std::chrono::steady_clock;

/// Enough parts for each thread that an uneven scene keeps none of them waiting for long.
constexpr std::size_t kPartsPerThread = 32;

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

} // namespace

void RunWalk(const WalkOptions& options) {
    if (options.threads > 1 && options.variant != Variant::ThreadAware)
        throw std::runtime_error("--threads: only thread-aware producers are walked by several");
    if (options.start.empty() || options.start.front() != '/')
        throw std::runtime_error("--at: \"" + options.start + "\" is no absolute location path");
    const Clock::time_point openStart = Clock::now();
    const Scene scene = OpenScene(options.scene);
    SceneEntry entry(scene);
    const GeometryProducer::Ptr start = Open(entry, options);
    const double openSeconds = SecondsSince(openStart);

    const std::unique_ptr<LocationPrinter> printer = MakePrinter(options);
    LocationCount count{0};
    const Clock::time_point walkStart = Clock::now();
    {
        const Progress progress(count, options.quiet || !IsTerminal(stdout));
        if (options.threads > 1)
            WalkTogether(start, options, *printer, count);
        else
            WalkAlone(start, options, *printer, count);
    }
    if (options.stats) PrintStats(options, count, openSeconds, SecondsSince(walkStart));
    FlushOutput();
}

} // namespace TellarTool
