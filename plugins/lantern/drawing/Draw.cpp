#include "Draw.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "drawing/CameraRays.h"
#include "drawing/PathTracer.h"

namespace lantern {
namespace {

constexpr int kBucketSize = 32; // pixels on each side

/// The square tiles of a window that threads draw one at a time, row by row from the top.
class Buckets {
public:
    explicit Buckets(const Window& window)
        : window(window), columns((window.width() + kBucketSize - 1) / kBucketSize),
          rows((window.height() + kBucketSize - 1) / kBucketSize) {}

    int count() const { return columns * rows; }
    Window at(int bucket) const {
        const int x = window.x0 + bucket % columns * kBucketSize;
        const int y = window.y0 + bucket / columns * kBucketSize;
        return {x, y, std::min(x + kBucketSize, window.x1), std::min(y + kBucketSize, window.y1)};
    }

private:
    Window window;
    int columns;
    int rows;
};

/// Draws all buckets: each thread takes the next one until none is left. An exception in one thread
/// stops the others.
class Drawing {
public:
    Drawing(const PathTracer& tracer, Picture& picture, int samples, float gain, Report& report)
        : tracer(tracer), picture(picture), samples(samples), gain(gain), report(report),
          buckets(picture.window) {}

    void run(int threads) {
        tell(0);
        std::vector<std::thread> others;
        try {
            for (int i = 1; i < std::min(threads, buckets.count()); ++i)
                others.emplace_back([this] { work(); });
        } catch (...) { // fewer threads than wanted can be started; those that run are enough
            if (others.empty() && threads > 1) report.warn("there are no threads to draw with");
        }
        work();
        for (std::thread& other : others)
            other.join();
        if (failure) std::rethrow_exception(failure);
    }

private:
    void work() {
        try {
            for (int next = taken++; next < buckets.count() && !isOver; next = taken++)
                draw(buckets.at(next));
        } catch (...) {
            const std::lock_guard<std::mutex> guard(lock);
            if (!failure) failure = std::current_exception();
            isOver = true;
        }
    }

    void tell(int pixels) {
        const std::lock_guard<std::mutex> guard(lock); // so that the progress never decreases
        done += pixels;
        report.progress(double(done) / (double(picture.window.width()) * picture.window.height()),
                        "drawing");
    }

    void draw(const Window& bucket) {
        for (int y = bucket.y0; y < bucket.y1 && !isOver; ++y) {
            const std::size_t row = static_cast<std::size_t>(y - picture.window.y0);
            float* out =
                &picture.pixels[4 * (row * picture.window.width() + bucket.x0 - picture.window.x0)];
            for (int x = bucket.x0; x < bucket.x1 && !isOver; ++x) {
                const PathTracer::Pixel pixel = tracer.pixel(x, y, samples);
                *out++ = pixel.color.x * gain;
                *out++ = pixel.color.y * gain;
                *out++ = pixel.color.z * gain;
                *out++ = pixel.alpha;
            }
            tell(bucket.width());
        }
    }

    const PathTracer& tracer;
    Picture& picture; // each pixel is written by one thread
    const int samples;
    const float gain;
    Report& report;
    const Buckets buckets;
    std::atomic<int> taken{0};
    std::atomic<bool> isOver{false};
    std::mutex lock;       // guards the members below
    std::int64_t done = 0; // pixels
    std::exception_ptr failure;
};

int ThreadsFor(int asked) {
    if (asked > 0) return std::min(asked, 1024);
    return std::max(1u, std::thread::hardware_concurrency());
}

Picture EmptyPicture(const SceneData& scene) {
    const Framing& framing = scene.framing;
    Picture picture;
    picture.width = framing.width;
    picture.height = framing.height;
    picture.window = framing.window;
    picture.pixels.resize(std::size_t(4) * framing.window.width() * framing.window.height());
    const M44d toCamera = WorldToCamera(scene.camera);
    const M44d toNdc = toCamera * ProjectionOf(scene.camera, framing.width, framing.height);
    picture.worldToCamera = M44f(toCamera);
    picture.worldToNdc = M44f(toNdc);
    return picture;
}

} // namespace

Picture Draw(const SceneData& scene, const DrawOptions& options, Report& report) {
    const int threads = ThreadsFor(options.threads);
    const int samples = std::max(1, options.samples > 0 ? options.samples : scene.quality.samples);
    const float exposed = std::exp2(scene.quality.exposure);
    Picture picture = EmptyPicture(scene);
    const PathTracer tracer(scene, threads, report);
    Drawing(tracer, picture, samples, std::isfinite(exposed) ? exposed : 1, report).run(threads);
    return picture;
}

} // namespace lantern
