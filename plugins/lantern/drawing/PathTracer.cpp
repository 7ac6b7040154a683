#include "drawing/PathTracer.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "drawing/Bsdf.h"
#include "drawing/HitGeometry.h"
#include "drawing/Numbers.h"

namespace lantern {
namespace {

/// What the random numbers of a path are for; those at the bounces come again at each of them.
enum Purpose : std::uint32_t { kPixel, kTime, kFirstBounce };
enum BouncePurpose : std::uint32_t {
    kOpenings,
    kLobe, // and whether the path goes on
    kDirection,
    kLights, // which distant one, which near one
    kDistantLight,
    kNearLight,
    kBouncePurposes
};

std::uint32_t AtBounce(int depth, BouncePurpose purpose) {
    return kFirstBounce + static_cast<std::uint32_t>(depth) * kBouncePurposes + purpose;
}

constexpr int kSamplesBetweenLooks = 256; // at whether anybody still wants the picture
constexpr int kSureBounces = 3;           // that paths make before chance may end them
constexpr float kLeastCosine = 1e-3f;

/// The normal, bent so far that the surface is seen from its outside.
V3f TurnedTo(const V3f& out, const V3f& normal) {
    const float cosine = out ^ normal;
    if (cosine >= kLeastCosine) return normal;
    return Normalized(normal + out * (kLeastCosine - cosine), out);
}

/// With no component above `most`, which is 0 for no limit.
Color Clamped(const Color& color, float most) {
    const float largest = Largest(color);
    return most > 0 && largest > most ? color * (most / largest) : color;
}

} // namespace

/// Where a path meets a surface.
struct PathTracer::Vertex {
    HitGeometry geometry;
    Frame frame; // around the normal, on the side that the path comes from
    V3f facing;  // the normal of the surface itself, on that side
    Bsdf bsdf{{}, V3f(0), false};

    /// The surface and the normal that it is meant to have agree on which side that is.
    bool isSound(const V3f& world, const V3f& local) const {
        return ((world ^ facing) > 0) == (local.z > 0);
    }
};

PathTracer::PathTracer(const SceneData& scene, int threads, Report& report)
    : scene(scene), report(report), camera(scene.camera, scene.framing.width, scene.framing.height),
      textures(scene, report), materials(scene, textures),
      geometry(scene, materials, threads, report), lights(scene, materials, textures) {}

PathTracer::Pixel PathTracer::pixel(int x, int y, int samples) const {
    Pixel sum;
    for (int i = 0; i < samples; ++i) {
        if (i % kSamplesBetweenLooks == 0) report.throwIfCancelled();
        const Sampler sampler(x, y, i);
        const V2f inside = sampler.pair(kPixel);
        const Ray ray =
            camera.at(double(x) + inside.x, double(y) + inside.y, sampler.pair(kTime).x);
        const Pixel found = path(ray, sampler);
        sum.color += found.color;
        sum.alpha += found.alpha;
    }
    const auto share = 1 / static_cast<float>(samples);
    return {sum.color * share, sum.alpha * share};
}

bool PathTracer::arrive(const Ray& ray, const RayHit& hit, Vertex& vertex) const {
    vertex.geometry = GeometryAt(scene, ray, hit);
    if (!IsFinite(vertex.geometry.position)) return false;
    materials.bendNormal(hit, ray.time, vertex.geometry);
    const V3f out = -ray.direction;
    const bool isInside = (out ^ vertex.geometry.normal) < 0;
    const float side = isInside ? -1.0f : 1.0f;
    vertex.facing = vertex.geometry.normal * side;
    vertex.frame = FrameAround(TurnedTo(out, vertex.geometry.smoothNormal * side));
    const Surfacing surfacing = materials.surfacing(hit);
    vertex.bsdf =
        Bsdf(surfacing, vertex.frame.toLocal(out), isInside && surfacing.transmission > 0);
    return true;
}

PathTracer::Pixel PathTracer::path(const Ray& first, const Sampler& sampler) const {
    Color direct(0, 0, 0), indirect(0, 0, 0), throughput(1, 1, 1);
    Pixel result;
    Ray ray = first;
    float pdf = 0; // of the ray's direction; 0: there was no choice
    for (int depth = 0;; ++depth) {
        Color& sum = depth < 2 ? direct : indirect;
        const RayHit hit = geometry.intersect(ray, sampler.bits(AtBounce(depth, kOpenings)));
        if (depth > 0) {
            Ray before = ray;
            if (hit) before.farthest = hit.distance;
            sum += throughput * lights.crossed(before, pdf);
        }
        if (!hit && depth == 0) {
            bool isThere = false;
            result.color = lights.seenByCamera(ray.direction, isThere);
            result.alpha = isThere ? 1.0f : 0.0f;
            break;
        }
        if (!hit) {
            sum += throughput * lights.beyondAll(ray.direction, pdf);
            break;
        }
        result.alpha = 1;
        Vertex vertex;
        if (!arrive(ray, hit, vertex)) break;
        sum += throughput * emitted(ray, hit, vertex, pdf);
        if (depth >= scene.quality.maxDepth) break;
        (depth == 0 ? direct : indirect) += throughput * lit(vertex, ray.time, depth, sampler);

        const V2f choice = sampler.pair(AtBounce(depth, kLobe));
        const Bsdf::Sample next =
            vertex.bsdf.sample(choice.x, sampler.pair(AtBounce(depth, kDirection)));
        if (IsBlack(next.weight)) break;
        ray.direction = Normalized(vertex.frame.toWorld(next.in), vertex.facing);
        if (!vertex.isSound(ray.direction, next.in)) break;
        ray.origin = vertex.geometry.leaving(ray.direction);
        ray.farthest = std::numeric_limits<float>::max();
        pdf = next.pdf;
        throughput *= next.weight;
        if (depth >= kSureBounces) {
            const float survival = std::min(0.95f, Largest(throughput));
            if (choice.y >= survival) break;
            throughput /= survival;
        }
    }
    const Color sum = direct + Clamped(indirect, scene.quality.clampIndirect);
    if (IsFinite(sum)) result.color += sum;
    return result;
}

Color PathTracer::emitted(const Ray& ray, const RayHit& hit, const Vertex& vertex,
                          float pdf) const {
    const Color emission = materials.emission(hit);
    if (IsBlack(emission)) return {0, 0, 0};
    return emission * lights.weightOfEmission(ray, hit, vertex.geometry, pdf);
}

Color PathTracer::lit(const Vertex& vertex, float time, int depth, const Sampler& sampler) const {
    if (vertex.bsdf.isMirror()) return {0, 0, 0};
    const V2f choice = sampler.pair(AtBounce(depth, kLights));
    const LightSample distant =
        lights.sampleDistant(choice.x, sampler.pair(AtBounce(depth, kDistantLight)));
    const LightSample near = lights.sampleNear(vertex.geometry.position, time, choice.y,
                                               sampler.pair(AtBounce(depth, kNearLight)));
    return litBy(distant, vertex, time) + litBy(near, vertex, time);
}

Color PathTracer::litBy(const LightSample& light, const Vertex& vertex, float time) const {
    if (!(light.pdf > 0) || IsBlack(light.radiance)) return {0, 0, 0};
    const V3f in = vertex.frame.toLocal(light.direction);
    if (!vertex.isSound(light.direction, in)) return {0, 0, 0};
    const Bsdf::Value value = vertex.bsdf.evaluate(in);
    if (IsBlack(value.share)) return {0, 0, 0};
    Ray ray;
    ray.origin = vertex.geometry.leaving(light.direction);
    ray.direction = light.direction;
    ray.farthest = light.distance;
    ray.time = time;
    const float weight = light.hasExtent ? PowerHeuristic(light.pdf, value.pdf) : 1;
    return value.share * light.radiance * (geometry.transmittance(ray) * weight / light.pdf);
}

} // namespace lantern
