#include "drawing/PathTracer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "drawing/Bsdf.h"
#include "drawing/HitGeometry.h"
#include "drawing/Numbers.h"
#include "drawing/ShadingNormals.h"

namespace lantern {
namespace {

/// The purposes of a path's random numbers.
enum Purpose : std::uint32_t { kPixel, kTime, kFirstBounce, kLens = 0xffffffff };
/// The purposes that recur at each bounce.
enum BouncePurpose : std::uint32_t {
    kOpacity,
    kLobe, // the second number of the pair is for Russian roulette
    kDirection,
    kLightChoice, // the first number for the infinite light, the second for the local one
    kInfiniteLight,
    kLocalLight,
    kBouncePurposes
};

std::uint32_t AtBounce(int depth, BouncePurpose purpose) {
    return kFirstBounce + static_cast<std::uint32_t>(depth) * kBouncePurposes + purpose;
}

constexpr int kBouncesBeforeRoulette = 3;
constexpr float kMaxSurvival = 0.95f;     // of a path, in Russian roulette
constexpr float kLeastPathShare = 0.125f; // finer filters than this add no detail, only work

/// Scaled down so that no component is above `limit`; 0 means no limit.
Color Clamped(const Color& color, float limit) {
    const float largest = Largest(color);
    return limit > 0 && largest > limit ? color * (limit / largest) : color;
}

/// The Beer-Lambert law.
Color Transmittance(const Color& extinction, float distance) {
    return {std::exp(-extinction.x * distance), std::exp(-extinction.y * distance),
            std::exp(-extinction.z * distance)};
}

bool IsMoving(const Shape& shape) {
    return shape.mesh.points.size() > 1 || shape.spheres.centers.size() > 1 ||
           shape.curves.points.size() > 1;
}

bool IsMoving(const SceneData& scene) {
    return scene.camera.toWorld.size() > 1 ||
           std::any_of(scene.shapes.begin(), scene.shapes.end(),
                       [](const Shape& shape) { return IsMoving(shape); }) ||
           std::any_of(scene.instances.begin(), scene.instances.end(),
                       [](const Instance& instance) { return instance.transformCount > 1; });
}

} // namespace

/// The point where a path meets a surface. Normals are on the side that the path comes from.
struct PathTracer::Vertex {
    HitGeometry geometry;
    Frame frame; // around the shading normal
    V3f geometricNormal;
    Color transmittance{1, 1, 1}; // of the inside that the path came through
    std::optional<Bsdf> bsdf;     // none at the end of a path
};

struct PathTracer::Path {
    Ray ray;
    RayCone cone;              // of the ray
    Color throughput{1, 1, 1}; // product of BSDF times cosine over pdf
    float bsdfPdf = 0;         // of the ray's direction; 0 for camera rays and specular bounces
    int depth = 0;             // number of bounces so far
    Color direct{0, 0, 0};     // radiance that reached the camera after one bounce at most
    Color indirect{0, 0, 0};   // the rest, which can be clamped

    Color& radianceAfter(int bounces) { return bounces < 2 ? direct : indirect; }
};

PathTracer::PathTracer(const SceneData& scene, int threads, Report& report, int samples)
    : scene(scene), camera(scene.camera, scene.framing.width, scene.framing.height),
      isMoving(IsMoving(scene)),
      pathShare(std::max(kLeastPathShare, 1 / std::sqrt(static_cast<float>(std::max(samples, 1))))),
      textures(scene, report), materials(scene, textures),
      geometry(scene, materials, threads, report), infiniteLights(scene.lights, textures),
      localLights(scene, materials) {
    pathCone = camera.pixelCone();
    pathCone.width *= pathShare;
    pathCone.spread *= pathShare;
}

PathTracer::Traced PathTracer::trace(int x, int y, int number, FirstHit* first) const {
    const Sampler sampler(x, y, number);
    const V2f inPixel = sampler.pair(kPixel);
    const V2f onLens = scene.camera.apertureRadius > 0 ? InUnitDisk(sampler.pair(kLens)) : V2f(0);
    const float time = isMoving ? sampler.pair(kTime).x : 0; // costs as much as the ray
    const Ray ray = camera.at(double(x) + inPixel.x, double(y) + inPixel.y, time, onLens);
    if (first) {
        *first = {};
        first->inPixel = inPixel;
    }
    return tracePath(ray, sampler, first);
}

PathTracer::Traced PathTracer::tracePath(const Ray& cameraRay, const Sampler& sampler,
                                         FirstHit* first) const {
    Path path;
    path.ray = cameraRay;
    path.cone = pathCone;
    for (;; ++path.depth) {
        const int depth = path.depth;
        RayHit hit = geometry.intersect(path.ray, sampler.bits(AtBounce(depth, kOpacity)));
        path.cone.width = path.cone.widthAt(hit.distance);
        hit.footprint = path.cone.width;
        if (!hit && depth == 0) return background(path.ray.direction);
        if (depth > 0) {
            Ray segment = path.ray;
            if (hit) segment.farthest = hit.distance;
            path.radianceAfter(depth) +=
                path.throughput * localLights.radianceAlong(segment, path.bsdfPdf);
        }
        if (!hit) {
            path.radianceAfter(depth) +=
                path.throughput * infiniteLights.radiance(path.ray.direction, path.bsdfPdf);
            break;
        }
        Vertex vertex;
        const bool isLast = depth >= scene.quality.maxDepth;
        if (!makeVertex(path.ray, hit, isLast, vertex)) break;
        path.throughput *= vertex.transmittance;
        if (depth == 0 && first) describe(path.ray, hit, vertex, *first);
        path.radianceAfter(depth) += path.throughput * emittedRadiance(path, hit, vertex);
        if (isLast) break;
        path.radianceAfter(depth + 1) +=
            path.throughput * directLight(vertex, path.ray.time, depth, sampler);
        if (!bounce(vertex, sampler, path)) break;
    }
    const Color sum = path.direct + Clamped(path.indirect, scene.quality.clampIndirect);
    return {IsFinite(sum) ? sum : Color(0, 0, 0), 1};
}

PathTracer::Traced PathTracer::background(const V3f& direction) const {
    const std::optional<Color> radiance = infiniteLights.seenByCamera(direction);
    return radiance ? Traced{*radiance, 1} : Traced{};
}

void PathTracer::describe(const Ray& ray, const RayHit& hit, const Vertex& vertex,
                          FirstHit& first) const {
    first.isHit = true;
    first.instance = hit.instance;
    first.material = materials.indexAt(hit.instance, hit.primitive);
    first.position = vertex.geometry.position;
    first.depth = static_cast<float>(camera.depthOf(first.position, ray.time));
    first.normal = vertex.geometry.shadingNormal;
    const bool isUnlit = scene.materials[first.material].isUnlit;
    if (scene.layers.albedo)
        first.albedo = isUnlit ? materials.emission(hit) : materials.surfaceAt(hit).baseColor;
    if (scene.layers.motion) first.motion = motionOf(ray, hit);
}

/// The way of a point of a surface across the picture while the shutter is open.
V2f PathTracer::motionOf(const Ray& ray, const RayHit& hit) const {
    Ray atTime = ray;
    atTime.time = 0;
    const Imath::V2d start = camera.pixelOf(GeometryAt(scene, atTime, hit).position, 0);
    atTime.time = 1;
    const V2f motion(camera.pixelOf(GeometryAt(scene, atTime, hit).position, 1) - start);
    const bool isFinite = std::isfinite(motion.x) && std::isfinite(motion.y);
    return isFinite ? motion : V2f(0, 0);
}

/// Returns false if the hit has no usable position.
bool PathTracer::makeVertex(const Ray& ray, const RayHit& hit, bool isLast, Vertex& vertex) const {
    vertex.geometry = GeometryAt(scene, ray, hit);
    if (!IsFinite(vertex.geometry.position)) return false;
    const V3f coat =
        materials.mappedNormal(MaterialInput::CoatNormal, hit, ray.time, vertex.geometry);
    vertex.geometry.shadingNormal =
        materials.mappedNormal(MaterialInput::Normal, hit, ray.time, vertex.geometry);
    const V3f wo = -ray.direction;
    const bool isBehind = (wo ^ vertex.geometry.normal) < 0;
    const float side = isBehind ? -1.0f : 1.0f;
    const V3f geometric = vertex.geometry.normal * side;
    vertex.geometricNormal = geometric;
    if (isLast && !isBehind) return true; // nothing of it is needed but the light that it emits
    const SurfaceProperties surface = materials.surfaceAt(hit);
    const bool isInside = isBehind && surface.hasInside();
    vertex.frame = materials.frameAt(
        hit, ray.time, BentTowards(wo, geometric, vertex.geometry.shadingNormal * side));
    const ShadingDirections directions{
        vertex.frame.toLocal(wo), vertex.frame.toLocal(geometric),
        vertex.frame.toLocal(BentTowards(wo, geometric, coat * side))};
    if (!isLast) vertex.bsdf.emplace(surface, directions, isInside);
    if (isInside) vertex.transmittance = Transmittance(surface.extinction, hit.distance);
    return true;
}

/// Samples the BSDF for the path's next ray. Returns false if the path ends here: absorbed, or by
/// Russian roulette.
bool PathTracer::bounce(const Vertex& vertex, const Sampler& sampler, Path& path) const {
    const V2f choice = sampler.pair(AtBounce(path.depth, kLobe));
    const Bsdf::Sample next =
        vertex.bsdf->sample(choice.x, sampler.pair(AtBounce(path.depth, kDirection)));
    if (IsBlack(next.weight)) return false;
    path.ray.direction = Normalized(vertex.frame.toWorld(next.wi), vertex.geometricNormal);
    path.ray.origin = vertex.geometry.rayOrigin(path.ray.direction);
    path.ray.farthest = std::numeric_limits<float>::max();
    path.bsdfPdf = next.pdf;
    // The direction stands for a solid angle of one over its density, as wide as a cone of the same
    // solid angle; a specular bounce keeps the cone as it is.
    if (next.pdf > 0)
        path.cone.spread = std::max(path.cone.spread, pathShare / std::sqrt(kPi * next.pdf));
    path.throughput *= next.weight;
    if (path.depth < kBouncesBeforeRoulette) return true;
    const float survival = std::min(kMaxSurvival, Largest(path.throughput));
    if (choice.y >= survival) return false;
    path.throughput /= survival;
    return true;
}

Color PathTracer::emittedRadiance(const Path& path, const RayHit& hit, const Vertex& vertex) const {
    const Color emission = materials.emission(hit);
    if (IsBlack(emission)) return {0, 0, 0};
    return emission * localLights.weightOfEmission(path.ray, hit, vertex.geometry, path.bsdfPdf);
}

/// Light sampling (next event estimation): one infinite and one local light.
Color PathTracer::directLight(const Vertex& vertex, float time, int depth,
                              const Sampler& sampler) const {
    if (vertex.bsdf->isSpecular()) return {0, 0, 0};
    const V2f choice = sampler.pair(AtBounce(depth, kLightChoice));
    const LightSample infinite =
        infiniteLights.sample(choice.x, sampler.pair(AtBounce(depth, kInfiniteLight)));
    const LightSample local = localLights.sample(vertex.geometry.position, time, choice.y,
                                                 sampler.pair(AtBounce(depth, kLocalLight)));
    return reflectedLight(infinite, vertex, time) + reflectedLight(local, vertex, time);
}

/// Traces a shadow ray to the light.
Color PathTracer::reflectedLight(const LightSample& light, const Vertex& vertex, float time) const {
    if (!(light.pdf > 0) || IsBlack(light.radiance)) return {0, 0, 0};
    const V3f wi = vertex.frame.toLocal(light.direction);
    const Bsdf::Value bsdf = vertex.bsdf->evaluate(wi);
    if (IsBlack(bsdf.timesCosine)) return {0, 0, 0};
    Ray shadowRay;
    shadowRay.origin = vertex.geometry.rayOrigin(light.direction);
    shadowRay.direction = light.direction;
    shadowRay.farthest = light.distance;
    shadowRay.time = time;
    const float weight = light.isDelta ? 1 : PowerHeuristic(light.pdf, bsdf.pdf);
    return bsdf.timesCosine * light.radiance * geometry.transmittance(shadowRay, light.isDelta) *
           (weight / light.pdf);
}

} // namespace lantern
