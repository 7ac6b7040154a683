#include "tessellation/Tessellate.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <Imath/ImathBox.h>

#include "tessellation/PixelMeasure.h"
#include "tessellation/SubdivisionSurface.h"

namespace lantern {
namespace {

constexpr int kMostParts = 1024;            // limit for the parts of an edge
constexpr std::size_t kMostPlacements = 16; // instances of a shape to measure edge by edge
// The memory of a triangle: 36 bytes of indices, 4 for the face, 32 for half a point with its
// normal and texture coordinate, and about a hundred in the tree for rays.
constexpr double kBytesPerTriangle = 180;

/// A surface that is to be tessellated.
struct Job {
    Job(Index shape, const Shape& cage)
        : shape(shape), surface(*cage.subdivision, cage.mesh.points[0].size()) {}

    Index shape;
    SubdivisionSurface surface;
    std::vector<M44f> toCamera;     // transforms of its nearest instances
    std::vector<float> edgeLengths; // pixels
    std::vector<int> rates;
};

int CountThreads(int asked) {
    if (asked > 0) return std::min(asked, 256);
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 256u));
}

/// The largest scale of a transform in pixels per unit, anywhere in a box.
float LargestScale(const M44f& toCamera, const Imath::Box3f& box, const PixelMeasure& measure) {
    const V3f center = box.center() * toCamera;
    float scale = 0;
    for (int row = 0; row < 3; ++row)
        scale = std::max(scale, V3f(toCamera[row][0], toCamera[row][1], toCamera[row][2]).length());
    const float radius = box.size().length() / 2 * scale;
    const float pixels = scale * measure.pixelsPerUnit(center.length() - radius);
    return std::isfinite(pixels) ? pixels : 0;
}

/// An instance of a shape.
struct Placement {
    float scale; // pixels per unit
    M44f toCamera;
};

/// Adds to a heap that holds only the finest placements, with the coarsest of them on top.
void AddPlacement(const Placement& placement, std::vector<Placement>& heap) {
    const auto isFiner = [](const Placement& a, const Placement& b) { return a.scale > b.scale; };
    heap.push_back(placement);
    std::push_heap(heap.begin(), heap.end(), isFiner);
    if (heap.size() <= kMostPlacements) return;
    std::pop_heap(heap.begin(), heap.end(), isFiner);
    heap.pop_back();
}

Imath::Box3f BoxOf(const std::vector<V3f>& points) {
    Imath::Box3f box;
    for (const V3f& point : points)
        box.extendBy(point);
    return box;
}

/// Finds, for each job, the transforms of the instances that need the finest edges.
void FindPlacements(const SceneData& scene, const PixelMeasure& measure,
                    std::vector<std::unique_ptr<Job>>& jobs) {
    std::vector<std::size_t> jobOfShape(scene.shapes.size(), jobs.size());
    std::vector<Imath::Box3f> boxes;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        jobOfShape[jobs[i]->shape] = i;
        boxes.push_back(BoxOf(scene.shapes[jobs[i]->shape].mesh.points[0]));
    }
    std::vector<std::vector<Placement>> found(jobs.size());
    for (const Instance& instance : scene.instances) {
        const std::size_t job = jobOfShape[instance.shape];
        if (job == jobs.size()) continue;
        const M44f toCamera = scene.transforms[instance.firstTransform] * measure.toCamera();
        AddPlacement({LargestScale(toCamera, boxes[job], measure), toCamera}, found[job]);
    }
    for (std::size_t i = 0; i < jobs.size(); ++i)
        for (const Placement& placement : found[i])
            jobs[i]->toCamera.push_back(placement.toCamera);
}

void MeasureEdges(const std::vector<V3f>& points, const PixelMeasure& measure, Job& job) {
    for (const auto& [from, to] : job.surface.edges()) {
        float length = 0;
        for (const M44f& toCamera : job.toCamera)
            length =
                std::max(length, measure.length(points[from] * toCamera, points[to] * toCamera));
        job.edgeLengths.push_back(length);
    }
}

/// Chooses the rates for edges of this many pixels and returns the number of triangles.
double ChooseRates(float pixels, Job& job) {
    job.rates.clear();
    for (const float length : job.edgeLengths) {
        const float parts = std::ceil(length / pixels);
        job.rates.push_back(parts >= 1 ? static_cast<int>(std::min(parts, float(kMostParts))) : 1);
    }
    return job.surface.countTriangles(job.rates);
}

std::string Text(float value) {
    std::string text = std::to_string(value);
    return text.substr(0, text.find('.') + 2);
}

/// Chooses the rates of all jobs, with longer edges if they would need too much memory.
void ChooseAllRates(const Quality& quality, std::vector<std::unique_ptr<Job>>& jobs,
                    Report& report) {
    const double most = quality.subdivisionMemory * 1e6 / kBytesPerTriangle;
    float pixels = quality.subdivisionEdge;
    for (int attempt = 0; attempt < 16; ++attempt) {
        double triangles = 0;
        for (const std::unique_ptr<Job>& job : jobs)
            triangles += ChooseRates(pixels, *job);
        if (triangles <= most) break;
        pixels *= static_cast<float>(std::max(std::sqrt(triangles / most), 1.05));
    }
    if (pixels > quality.subdivisionEdge)
        report.warn("edges of subdivision surfaces are " + Text(pixels) + " instead of " +
                    Text(quality.subdivisionEdge) + " pixels long, to stay within " +
                    std::to_string(quality.subdivisionMemory) + " megabytes");
}

/// Makes a job for each shape that can be subdivided. Warns of the others.
std::vector<std::unique_ptr<Job>> JobsOf(const SceneData& scene, Report& report) {
    std::vector<std::unique_ptr<Job>> jobs;
    for (Index i = 0; i < scene.shapes.size(); ++i) {
        const Shape& shape = scene.shapes[i];
        if (!shape.subdivision) continue;
        report.throwIfCancelled();
        auto job = std::make_unique<Job>(i, shape);
        if (job->surface.isValid())
            jobs.push_back(std::move(job));
        else
            report.warn("a subdivision surface of " +
                        std::to_string(shape.subdivision->faceSizes.size()) +
                        " faces cannot be subdivided, or has more than " +
                        std::to_string(SubdivisionSurface::kMostEdgesAround) +
                        " edges around a face or point; its cage is drawn");
    }
    return jobs;
}

/// Replaces the cage by the mesh of the tessellated surface.
void ReplaceCage(std::unique_ptr<Job> job, int threads, std::vector<Shape>& shapes) {
    Shape& shape = shapes[job->shape];
    Mesh mesh = job->surface.tessellate(shape.mesh.points, job->rates, CountThreads(threads));
    shape.mesh = std::move(mesh);
    job.reset(); // it refers to the subdivision
    shape.subdivision.reset();
}

} // namespace

void TessellateSubdivisions(SceneData& scene, int threads, Report& report) {
    std::vector<std::unique_ptr<Job>> jobs = JobsOf(scene, report);
    if (jobs.empty()) return;
    report.progress(0, "subdividing surfaces");
    const PixelMeasure measure(scene.camera, scene.framing);
    FindPlacements(scene, measure, jobs);
    for (const std::unique_ptr<Job>& job : jobs)
        MeasureEdges(scene.shapes[job->shape].mesh.points[0], measure, *job);
    ChooseAllRates(scene.quality, jobs, report);
    for (std::unique_ptr<Job>& job : jobs) {
        report.throwIfCancelled();
        ReplaceCage(std::move(job), threads, scene.shapes);
    }
}

} // namespace lantern
