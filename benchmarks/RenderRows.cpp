// Rows about the renderer lantern: its rays compared with a bare loop of Embree's calls on the same
// rays, the time to the first pixel of many instances, and their memory.

#include <ctime>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Measure.h"
#include "RayLog.h"
#include "RenderScenes.h"
#include "Report.h"
#include "Rows.h"
#include "SceneData.h"
#include "drawing/Buckets.h"
#include "drawing/PathTracer.h"

namespace TellarBench {

namespace {

constexpr int kPasses = 11;
constexpr int kPrimaryPaths = 8; // paths per pixel

/// Throws if a material is transparent: its filter functions would count as Embree's time.
void CheckIsOpaque(const lantern::SceneData& scene) {
    for (const lantern::Material& material : scene.materials)
        if (!material.isDoubleSided || material.opacity < 1 ||
            material[lantern::MaterialInput::Opacity].step != lantern::kNone)
            throw std::runtime_error("the material " + material.name + " is transparent");
}

/// Traces the paths of all pixels in the renderer's order.
void TraceAll(const lantern::PathTracer& tracer, const lantern::Window& window, int paths) {
    const lantern::Buckets buckets(window);
    for (int number = 0; number < buckets.count(); ++number) {
        const lantern::Window bucket = buckets.at(number);
        for (int y = bucket.y0; y < bucket.y1; ++y)
            for (int x = bucket.x0; x < bucket.x1; ++x)
                for (int path = 0; path < paths; ++path)
                    tracer.trace(x, y, path, nullptr);
    }
}

void CompareRays(lantern::SceneData scene, bool areWholePaths, Row& row) {
    CheckIsOpaque(scene);
    const int side = GetOptions().leaves < 10000 ? 16 : 256;
    const lantern::Window window{0, 0, side, side};
    scene.framing = {side, side, window};
    if (!areWholePaths) scene.quality.maxDepth = 0;
    lantern::Report report;
    const lantern::PathTracer tracer(scene, 1, report);
    const auto traceAll = [&] { TraceAll(tracer, window, areWholePaths ? 1 : kPrimaryPaths); };
    const std::vector<TracedRay> rays = RecordRays(traceAll);
    const Row::Seconds seconds =
        row.time([&] { return SumRays(traceAll); }, [&] { return TraceBare(rays); });
    const double millions = static_cast<double>(rays.size()) * 1e-6;
    row.report("mrays", millions / seconds.library, millions / seconds.tree);
    row.report("percent", 100 * seconds.tree / seconds.library);
}

double GetProcessorSeconds() {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Returns seconds to the end of reading, seconds and processor seconds to the first pixel, bytes
/// per instance and the number of instances.
std::vector<double> OpenForest() {
    const Stopwatch watch;
    const double processorBefore = GetProcessorSeconds();
    constexpr int kThreads = 2;
    const lantern::SceneData scene = ReadForest(kThreads);
    const double read = watch.seconds();
    const double before = GetAnonymousBytes();
    lantern::Report report;
    const lantern::PathTracer tracer(scene, kThreads, report);
    tracer.trace(scene.framing.width / 2, scene.framing.height / 2, 0, nullptr);
    const double pixel = watch.seconds();
    const double processor = GetProcessorSeconds() - processorBefore;
    const double records =
        static_cast<double>(scene.instances.capacity() * sizeof(lantern::Instance) +
                            scene.transforms.capacity() * sizeof(lantern::M44f));
    const auto instances = static_cast<double>(scene.instances.size());
    const double bytes = GetAnonymousBytes() - before + records;
    return {read, pixel, processor, bytes / instances, instances};
}

void MeasureFirstPixel(Row& row) {
    const std::vector<double> figures = MeasureInChild(OpenForest);
    Checksum found, known; // the number of threads does not change the number of instances
    found.locations = static_cast<std::int64_t>(figures.at(4));
    known.locations = static_cast<std::int64_t>(ReadForest(1).instances.size());
    row.verify(found, known);
    row.report("read_ms", figures.at(0) * 1e3);
    row.report("pixel_ms", figures.at(1) * 1e3);
    row.report("processor_ms", figures.at(2) * 1e3);
    row.report("instance_bytes", figures.at(3));
    row.finish(figures.at(1));
}

} // namespace

void AddRenderRows() {
    const std::vector<std::pair<std::string, std::function<lantern::SceneData()>>> scenes = {
        {"garden", ReadGarden},
        {"forest", [] { return ReadForest(1); }},
        {"dense_mesh", MakeDenseMesh}};
    for (const auto& [name, make] : scenes) {
        AddRow("primary_rays/" + name, kPasses,
               [make = make](Row& row) { CompareRays(make(), false, row); });
        AddRow("path_rays/" + name, kPasses,
               [make = make](Row& row) { CompareRays(make(), true, row); });
    }
    AddRow("first_pixel/forest", 1, MeasureFirstPixel);
}

} // namespace TellarBench
