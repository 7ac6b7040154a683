#include "Draw.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "drawing/Passes.h"

namespace lantern {
namespace {

/// Draws the buckets of a region in passes: each thread takes the next bucket until none is left.
/// An exception in one thread stops the others.
class Run {
public:
    Run(const PathTracer& tracer, Film& film, Passes& passes, const Buckets& buckets,
        const Window& region, int samples, Report& report)
        : tracer(tracer), film(film), passes(passes), buckets(buckets), region(region),
          report(report), total(double(region.width()) * region.height() * samples) {}

    Drawing::End draw(int threads, std::atomic<int>& passesDone) {
        passesDone = 0;
        auto rested = report.control().timeRested();
        tell(0);
        while (!isOver) {
            const auto restedBefore = std::exchange(rested, report.control().timeRested());
            passes.exclude(rested - restedBefore);
            count = passes.next(film);
            if (count == 0) break;
            drawPass(threads);
            if (!isOver) ++passesDone;
        }
        if (told < 1 && !isOver) report.progress(1, "drawing");
        return end;
    }

    bool hasPaths() const { return done > 0; }

private:
    static constexpr int kMostAtOnce = 64;            // paths that are added to the film together
    using Traced = std::array<FilmPath, kMostAtOnce>; // the working memory of a thread

    void drawPass(int threads) {
        taken = 0;
        std::vector<std::thread> others;
        try {
            for (int i = 1; i < std::min(threads, buckets.count()); ++i)
                others.emplace_back([this] { work(); });
        } catch (...) { // fewer threads than wanted can be started; those that run are enough
            if (others.empty() && !hasWarned) report.warn("there are no threads to draw with");
            hasWarned = true;
        }
        work();
        for (std::thread& other : others)
            other.join();
        if (failure) std::rethrow_exception(failure);
    }

    void work() {
        try {
            Traced traced;
            for (int next = taken++; next < buckets.count() && !isOver; next = taken++)
                drawBucket(next, traced);
        } catch (...) {
            const std::lock_guard<std::mutex> guard(lock);
            if (!failure) failure = std::current_exception();
            isOver = true;
        }
    }

    void tell(std::int64_t paths) {
        const std::lock_guard<std::mutex> guard(lock); // so that the progress never decreases
        done += paths;
        told = std::max({told, double(done) / total, passes.timeShare()});
        report.progress(told, "drawing");
    }

    void drawBucket(int number, Traced& traced) {
        const Window bucket = buckets.at(number).within(region);
        if (bucket.isEmpty()) return;
        bool isChanged = false;
        for (int y = bucket.y0; y < bucket.y1; ++y) {
            for (int x = bucket.x0; x < bucket.x1; ++x) {
                if (!goesOn()) return;
                if (passes.wants(x, y) && drawPixel(x, y, number, traced)) isChanged = true;
            }
            tell(std::int64_t(bucket.width()) * count);
        }
        if (isChanged) report.pixels({bucket.x0, bucket.y0, bucket.width(), bucket.height()});
    }

    /// Traces the paths that the pixel lacks after the pass. Returns whether there were some.
    bool drawPixel(int x, int y, int bucket, Traced& traced) {
        const bool hasLayers = film.hasLayers();
        const int firstPath = film.pathsOf(x, y);
        int number = firstPath;
        while (number < passes.pathsAfter()) {
            int filled = 0;
            for (; filled < kMostAtOnce && number < passes.pathsAfter(); ++number) {
                FilmPath& path = traced[static_cast<std::size_t>(filled++)];
                path.traced = tracer.trace(x, y, number, hasLayers ? &path.first : nullptr);
            }
            film.add(x, y, bucket, traced.data(), filled);
        }
        return number > firstPath;
    }

    /// Whether the thread shall draw the next pixel. Waits while the render is paused.
    bool goesOn() {
        if (isOver) return false;
        report.control().rest();
        if (report.isCancelled()) {
            if (!report.isAskedToFinish()) throw Cancelled{};
            return endWith(Drawing::End::Ended);
        }
        return !report.control().isInterrupted() || endWith(Drawing::End::Interrupted);
    }

    bool endWith(Drawing::End why) {
        const std::lock_guard<std::mutex> guard(lock);
        if (!isOver) end = why;
        isOver = true;
        return false;
    }

    const PathTracer& tracer;
    Film& film; // each pixel is changed by one thread of a pass
    Passes& passes;
    const Buckets& buckets;
    const Window region;
    Report& report;
    const double total; // paths
    int count = 0;      // paths of a pixel in the pass
    bool hasWarned = false;
    std::atomic<int> taken{0};
    std::atomic<bool> isOver{false};
    std::mutex lock;       // guards the members below
    std::int64_t done = 0; // paths
    double told = 0;       // the progress
    Drawing::End end = Drawing::End::Complete;
    std::exception_ptr failure;
};

int ThreadsFor(int asked) {
    if (asked > 0) return std::min(asked, 1024);
    return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

/// The pixels to draw for a part of the picture, which may be more with a noise goal.
Window DrawnWindow(const SceneData& scene, const Window& part) {
    if (scene.quality.noise <= 0) return part;
    return Passes::wholeSquares(part, scene.framing.width, scene.framing.height);
}

float GainOf(const SceneData& scene) {
    const float exposed = std::exp2(scene.quality.exposure);
    return std::isfinite(exposed) ? exposed : 1;
}

} // namespace

Drawing::Drawing(const SceneData& scene, const DrawOptions& options, Report& report,
                 const EarlierGeometry* earlier)
    : scene(scene), options(options), report(report), threads(ThreadsFor(options.threads)),
      samples(std::max(1, options.samples > 0 ? options.samples : scene.quality.samples)),
      tracer(scene, threads, report, samples, earlier),
      buckets(DrawnWindow(scene, scene.framing.window)), paths(scene, buckets, GainOf(scene)) {}

Drawing::End Drawing::run(const Window& region) {
    const Window drawn = DrawnWindow(scene, region.within(scene.framing.window));
    Passes passes(scene.quality, samples, drawn, options.begin);
    Run run(tracer, paths, passes, buckets, drawn, samples, report);
    const End end = run.draw(threads, passesDone);
    hasPaths = hasPaths || run.hasPaths();
    if (end == End::Ended && !hasPaths) throw Cancelled{};
    isTimeOver = passes.isTimeOver();
    isComplete = end == End::Complete;
    return end;
}

Picture Drawing::develop() const {
    Picture picture = paths.develop(scene.framing.window);
    picture.isComplete = isComplete;
    if (isTimeOver)
        report.info("the time limit ended the drawing after " +
                    std::to_string(*picture.facts.samples) + " of " + std::to_string(samples) +
                    " paths per pixel");
    return picture;
}

Picture Draw(const SceneData& scene, const DrawOptions& options, Report& report) {
    Drawing drawing(scene, options, report);
    drawing.run(scene.framing.window);
    return drawing.develop();
}

} // namespace lantern
