#include "Draw.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "drawing/Buckets.h"
#include "drawing/Film.h"
#include "drawing/Passes.h"
#include "drawing/PathTracer.h"

namespace lantern {
namespace {

/// Draws all buckets of a pass: each thread takes the next one until none is left. An exception in
/// one thread stops the others.
class Drawing {
public:
    Drawing(const PathTracer& tracer, Film& film, Passes& passes, const Buckets& buckets,
            int samples, Report& report)
        : tracer(tracer), film(film), passes(passes), buckets(buckets), report(report),
          total(double(buckets.window().width()) * buckets.window().height() * samples) {}

    void run(int threads) {
        tell(0);
        while (!isOver) {
            count = passes.next(film);
            if (count == 0) break;
            runPass(threads);
        }
        if (told < 1 && !isOver) report.progress(1, "drawing");
    }

    /// Whether the caller asked for the picture so far.
    bool isEnded() const { return isOver; }
    bool hasPaths() const { return done > 0; }

private:
    void runPass(int threads) {
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
            for (int next = taken++; next < buckets.count() && !isOver; next = taken++)
                draw(next);
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

    void draw(int number) {
        const Window bucket = buckets.at(number);
        for (int y = bucket.y0; y < bucket.y1; ++y) {
            for (int x = bucket.x0; x < bucket.x1; ++x) {
                if (!goesOn()) return;
                if (passes.wants(x, y)) drawPixel(x, y, number);
            }
            tell(std::int64_t(bucket.width()) * count);
        }
    }

    void drawPixel(int x, int y, int bucket) {
        const bool hasLayers = film.hasLayers();
        FirstHit first;
        for (int i = 0; i < count; ++i) {
            const PathTracer::Traced traced =
                tracer.trace(x, y, passes.firstPath() + i, hasLayers ? &first : nullptr);
            film.add(x, y, bucket, traced, first);
        }
    }

    bool goesOn() {
        if (isOver) return false;
        if (!report.isCancelled()) return true;
        if (!report.isAskedToFinish()) throw Cancelled{};
        isOver = true;
        return false;
    }

    const PathTracer& tracer;
    Film& film; // each pixel is changed by one thread of a pass
    Passes& passes;
    const Buckets& buckets;
    Report& report;
    const double total; // paths
    int count = 0;      // paths of a pixel in the pass
    bool hasWarned = false;
    std::atomic<int> taken{0};
    std::atomic<bool> isOver{false};
    std::mutex lock;       // guards the members below
    std::int64_t done = 0; // paths
    double told = 0;       // the progress
    std::exception_ptr failure;
};

int ThreadsFor(int asked) {
    if (asked > 0) return std::min(asked, 1024);
    return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

/// The pixels to draw, which may be more than those of the picture with a noise goal.
Window DrawnWindow(const SceneData& scene) {
    const Framing& framing = scene.framing;
    if (scene.quality.noise <= 0) return framing.window;
    return Passes::wholeSquares(framing.window, framing.width, framing.height);
}

} // namespace

Picture Draw(const SceneData& scene, const DrawOptions& options, Report& report) {
    const int threads = ThreadsFor(options.threads);
    const int samples = std::max(1, options.samples > 0 ? options.samples : scene.quality.samples);
    const float exposed = std::exp2(scene.quality.exposure);
    const PathTracer tracer(scene, threads, report, samples);
    const Buckets buckets(DrawnWindow(scene));
    Film film(scene, buckets, std::isfinite(exposed) ? exposed : 1);
    Passes passes(scene.quality, samples, buckets.window(), options.begin);
    Drawing drawing(tracer, film, passes, buckets, samples, report);
    drawing.run(threads);
    if (drawing.isEnded() && !drawing.hasPaths()) throw Cancelled{};
    Picture picture = film.develop(scene.framing.window);
    picture.isComplete = !drawing.isEnded();
    if (passes.isTimeOver())
        report.info("the time limit ended the drawing after " +
                    std::to_string(*picture.facts.samples) + " of " + std::to_string(samples) +
                    " paths per pixel");
    return picture;
}

} // namespace lantern
