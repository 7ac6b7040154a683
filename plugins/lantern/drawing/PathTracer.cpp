#include "drawing/PathTracer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "drawing/Bsdf.h"
#include "drawing/HitGeometry.h"
#include "drawing/Learning.h"
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
    kLightChoice, // one pair for each kind of light; so for kLight
    kLight = kLightChoice + Guide::LightKinds,
    kBouncePurposes = kLight + Guide::LightKinds
};

std::uint32_t AtBounce(int depth, BouncePurpose purpose) {
    return kFirstBounce + static_cast<std::uint32_t>(depth) * kBouncePurposes + purpose;
}

constexpr int kMostWays = 32; // in which a path from the camera goes on, a power of two
constexpr int kBouncesBeforeRoulette = 3;
constexpr float kBelowOne = 0x1.fffffep-1f;
constexpr float kGuideShare = 0.5f; // share of directions that the guide chooses on rough surfaces
// A larger value makes Russian roulette end fewer paths.
constexpr float kCaution = 6;
constexpr float kMinSurvival = 0.3f;
constexpr float kMaxSurvival = 0.95f;
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
    Vertex(const SceneData& scene, const Ray& ray, const RayHit& hit)
        : geometry(GeometryAt(scene, ray, hit)) {}

    HitGeometry geometry;
    Frame frame; // around the shading normal
    V3f geometricNormal;
    Color transmittance{1, 1, 1};          // transmittance of the medium in front of the vertex
    std::optional<Bsdf> bsdf;              // empty at the end of a path
    const Guide::Region* region = nullptr; // null if the guide is empty
    float guideShare = 0;                  // probability of sampling the guide
    Guide::Visit visit;                    // what directLight() has found
    bool isValid = false;                  // false if the hit has no usable position

    /// The density with which scatter() chooses a direction; `bsdfPdf` is its density in the BSDF.
    float pdf(float bsdfPdf, const V3f& direction) const {
        return guideShare > 0 ? Mix(bsdfPdf, region->directions.pdf(direction), guideShare)
                              : bsdfPdf;
    }
};

struct PathTracer::Path {
    /// A path through a point of the picture.
    Path(const CameraRays& camera, const Imath::V2d& point, float time, const V2f& onLens,
         const RayCone& cone)
        : ray(camera.at(point.x, point.y, time, onLens)), cone(cone) {}

    Ray ray;
    RayCone cone;              // cone around the ray
    Color throughput{1, 1, 1}; // product of BSDF times cosine over pdf
    float bsdfPdf = 0;         // pdf of the ray's direction; 0 for camera rays, specular bounces
    float expected = 0;        // luminance that the first vertex reflects; 0 if unknown
    int depth = 0;             // number of bounces so far
    int ways = 1;              // in which the path from the camera goes on
    Color direct{0, 0, 0};     // radiance that reached the camera after one bounce at most
    Color indirect{0, 0, 0};   // the rest, which can be clamped

    std::vector<Guide::Visit>* visits = nullptr; // null unless the path trains the guide

    Color& radianceAfter(int bounces) { return bounces < 2 ? direct : indirect; }
    void find(const Color& light);
    void teach(const Vertex& vertex, const Color& before);
};

/// Returns the number of ways in which a path goes on from a vertex, a power of two. There are more
/// of them where the path can be expected to find more noise than one from the camera: Vorba and
/// Křivánek, "Adjoint-driven Russian Roulette and Splitting", SIGGRAPH 2016.
int PathTracer::waysFrom(const Vertex& vertex, const Path& path) {
    if (!vertex.region || path.visits) return 1;
    const float noise = Luminance(path.throughput) * vertex.region->noise;
    int ways = 1;
    while (path.ways * ways < kMostWays && noise > static_cast<float>(ways))
        ways *= 2;
    return ways;
}

/// Adds light that the current ray has found.
void PathTracer::Path::find(const Color& light) {
    radianceAfter(depth) += throughput * light;
    if (visits && depth > 0) visits->back().found += Luminance(light);
}

/// Completes the bounce and records it for the guide. `before` is the throughput before the bounce,
/// or black if the path ended.
void PathTracer::Path::teach(const Vertex& vertex, const Color& before) {
    Guide::Visit visit = vertex.visit;
    visit.isFirst = depth == 0;
    if (depth > 0) visits->back().goesOn = true;
    visit.position = vertex.geometry.position;
    if (!IsBlack(before)) {
        visit.direction = ray.direction;
        visit.cosine = std::abs(ray.direction ^ vertex.frame.z);
        visit.pdf = bsdfPdf;
        visit.weight = Luminance(throughput) / Luminance(before);
    }
    visits->push_back(visit);
}

PathTracer::PathTracer(const SceneData& scene, int threads, Report& report, int samples,
                       const EarlierGeometry* earlier)
    : scene(scene), camera(scene.camera, scene.framing.width, scene.framing.height),
      isMoving(IsMoving(scene)),
      pathShare(std::max(kLeastPathShare, 1 / std::sqrt(static_cast<float>(std::max(samples, 1))))),
      textures(scene, report), materials(scene, textures),
      geometry(scene, materials, threads, report, earlier), infiniteLights(scene.lights, textures),
      localLights(scene, materials) {
    pathCone = camera.pixelCone();
    pathCone.width *= pathShare;
    pathCone.spread *= pathShare;
    if (scene.quality.maxDepth < 1) return;
    Learn(guide, double(scene.framing.width) * scene.framing.height, threads,
          [this](const Sampler& sampler, auto& visits) { traceToLearn(sampler, visits); });
}

/// Traces a path through a random place of the picture.
void PathTracer::traceToLearn(const Sampler& sampler, std::vector<Guide::Visit>& visits) const {
    const V2f place = sampler.pair(kPixel);
    const float time = isMoving ? sampler.pair(kTime).x : 0;
    const Imath::V2d point(double(place.x) * scene.framing.width,
                           double(place.y) * scene.framing.height);
    Path path(camera, point, time, V2f(0), pathCone);
    path.visits = &visits;
    tracePath(path, sampler, nullptr);
}

PathTracer::Traced PathTracer::trace(int x, int y, int number, FirstHit* first) const {
    const Sampler sampler(x, y, number);
    const V2f inPixel = sampler.pair(kPixel);
    const V2f onLens = scene.camera.apertureRadius > 0 ? InUnitDisk(sampler.pair(kLens)) : V2f(0);
    const float time = isMoving ? sampler.pair(kTime).x : 0; // the number costs as much as the ray
    const Imath::V2d point(double(x) + inPixel.x, double(y) + inPixel.y);
    Path path(camera, point, time, onLens, pathCone);
    if (first) {
        *first = {};
        first->inPixel = inPixel;
    }
    return tracePath(path, sampler, first);
}

/// Follows a path from the camera to its end.
PathTracer::Traced PathTracer::tracePath(Path& path, const Sampler& sampler,
                                         FirstHit* first) const {
    const RayHit hit = meet(sampler, path);
    if (!hit) return background(path.ray.direction);
    std::optional<Vertex> vertex(std::in_place, scene, path.ray, hit);
    const bool goesOn = arrive(hit, sampler, path, *vertex);
    if (first && vertex->isValid) describe(path.ray, hit, *vertex, *first);
    if (goesOn) follow(vertex, sampler, path);
    const Color sum = path.direct + Clamped(path.indirect, scene.quality.clampIndirect);
    return {IsFinite(sum) ? sum : Color(0, 0, 0), 1};
}

/// Follows a path from a vertex to its end.
void PathTracer::follow(std::optional<Vertex>& vertex, const Sampler& sampler, Path& path) const {
    do {
        const int count = waysFrom(*vertex, path);
        if (count > 1) return branch(*vertex, count, sampler, path);
    } while (advance(*vertex, sampler, path, vertex));
}

/// Lets the path go on in several ways, and adds what they find to it.
void PathTracer::branch(const Vertex& vertex, int count, const Sampler& sampler, Path& path) const {
    for (int i = 0; i < count; ++i) {
        const Sampler own = sampler.branch(i, count);
        Path way = path;
        way.direct = way.indirect = Color(0, 0, 0);
        way.throughput /= static_cast<float>(count);
        way.ways *= count;
        std::optional<Vertex> next;
        if (advance(vertex, own, way, next)) follow(next, own, way);
        path.direct += way.direct;
        path.indirect += way.indirect;
    }
}

/// Makes the next vertex, which may replace this one. Returns false if the path ends.
bool PathTracer::advance(const Vertex& vertex, const Sampler& sampler, Path& path,
                         std::optional<Vertex>& next) const {
    if (!leave(vertex, sampler, path)) return false;
    ++path.depth;
    const RayHit hit = meet(sampler, path);
    Ray segment = path.ray;
    if (hit) segment.farthest = hit.distance;
    path.find(localLights.radianceAlong(segment, path.bsdfPdf));
    if (!hit) path.find(infiniteLights.radiance(path.ray.direction, path.bsdfPdf));
    if (!hit) return false;
    next.emplace(scene, path.ray, hit);
    return arrive(hit, sampler, path, *next);
}

/// Finds what the path's ray hits.
RayHit PathTracer::meet(const Sampler& sampler, Path& path) const {
    const std::uint32_t seed =
        geometry.isOpaque() ? 0 : sampler.bits(AtBounce(path.depth, kOpacity));
    RayHit hit = geometry.intersect(path.ray, seed);
    path.cone.width = path.cone.widthAt(hit.distance);
    hit.footprint = path.cone.width;
    return hit;
}

/// Makes the path's next vertex and adds the light that it emits and reflects. Returns false if the
/// path ends there.
bool PathTracer::arrive(const RayHit& hit, const Sampler& sampler, Path& path,
                        Vertex& vertex) const {
    const bool isLast = path.depth >= scene.quality.maxDepth;
    if (!makeVertex(path.ray, hit, isLast, vertex)) return false;
    vertex.isValid = true;
    path.throughput *= vertex.transmittance;
    const Color emission = materials.emission(hit);
    if (!IsBlack(emission))
        path.find(emission *
                  localLights.weightOfEmission(path.ray, hit, vertex.geometry, path.bsdfPdf));
    if (isLast || !survives(vertex, sampler, path)) return false;
    const Color reflected =
        directLight(vertex, path.ray.time, path.depth, sampler, vertex.visit.squares);
    vertex.visit.reflected = Luminance(reflected);
    path.radianceAfter(path.depth + 1) += path.throughput * reflected;
    return true;
}

/// Gives the path its next ray. Returns false if it is absorbed.
bool PathTracer::leave(const Vertex& vertex, const Sampler& sampler, Path& path) const {
    const Color before = path.throughput;
    const bool goesOn = bounce(vertex, sampler, path);
    if (path.visits) path.teach(vertex, goesOn ? before : Color(0));
    return goesOn;
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

/// Completes a vertex that has its geometry. Returns false if it has no usable position.
bool PathTracer::makeVertex(const Ray& ray, const RayHit& hit, bool isLast, Vertex& vertex) const {
    if (!IsFinite(vertex.geometry.position)) return false;
    const bool hasMaps = materials.hasNormalMap(hit);
    V3f coat; // only with such maps
    if (hasMaps) {
        coat = materials.mappedNormal(MaterialInput::CoatNormal, hit, ray.time, vertex.geometry);
        vertex.geometry.shadingNormal =
            materials.mappedNormal(MaterialInput::Normal, hit, ray.time, vertex.geometry);
    }
    const V3f wo = -ray.direction;
    const bool isBehind = (wo ^ vertex.geometry.normal) < 0;
    const float side = isBehind ? -1.0f : 1.0f;
    const V3f geometric = vertex.geometry.normal * side;
    vertex.geometricNormal = geometric;
    if (isLast && !isBehind) return true; // only its emission is needed
    const SurfaceProperties surface = materials.surfaceAt(hit);
    const bool isInside = isBehind && surface.hasInside();
    vertex.frame = materials.frameAt(
        hit, ray.time, BentTowards(wo, geometric, vertex.geometry.shadingNormal * side));
    const ShadingDirections directions{
        vertex.frame.toLocal(wo), vertex.frame.toLocal(geometric),
        hasMaps ? vertex.frame.toLocal(BentTowards(wo, geometric, coat * side)) : V3f(0, 0, 1)};
    if (!isLast) {
        vertex.bsdf.emplace(surface, directions, isInside);
        vertex.region = guide.at(vertex.geometry.position);
        if (vertex.region)
            vertex.guideShare = kGuideShare * vertex.region->use * vertex.bsdf->roughShare();
    }
    if (isInside) vertex.transmittance = Transmittance(surface.extinction, hit.distance);
    return true;
}

/// Samples the path's next ray. Returns false if it is absorbed.
bool PathTracer::bounce(const Vertex& vertex, const Sampler& sampler, Path& path) const {
    const V2f choice = sampler.pair(AtBounce(path.depth, kLobe));
    if (!scatter(vertex, choice.x, sampler.pair(AtBounce(path.depth, kDirection)), path))
        return false;
    path.ray.origin = vertex.geometry.rayOrigin(path.ray.direction);
    path.ray.farthest = std::numeric_limits<float>::max();
    // The direction stands for a solid angle of one over its density, as wide as a cone of the same
    // solid angle; a specular bounce keeps the cone as it is.
    if (path.bsdfPdf > 0)
        path.cone.spread = std::max(path.cone.spread, pathShare / std::sqrt(kPi * path.bsdfPdf));
    return true;
}

/// Russian roulette. The survival probability is proportional to the light that the path is
/// expected to bring from here, relative to that at its first vertex: Vorba and Křivánek,
/// "Adjoint-driven Russian Roulette and Splitting", SIGGRAPH 2016. Without a guide it depends on
/// the throughput.
bool PathTracer::survives(const Vertex& vertex, const Sampler& sampler, Path& path) const {
    const float known = vertex.region ? vertex.region->reflected : 0;
    if (path.depth == 0) path.expected = known;
    float survival = 1;
    if (path.visits || !(path.expected > 0) || !vertex.region) {
        if (path.depth > kBouncesBeforeRoulette)
            survival = std::min(kMaxSurvival, Largest(path.throughput));
    } else if (path.depth > 0) {
        const float share = Luminance(path.throughput) * known / path.expected;
        survival = std::clamp(kCaution * share, kMinSurvival, 1.0f);
    }
    if (survival >= 1) return true;
    if (sampler.pair(AtBounce(path.depth, kLobe)).y >= survival) return false;
    path.throughput /= survival;
    return true;
}

/// Samples the path's next direction from the guide or the BSDF: one-sample multiple importance
/// sampling with the balance heuristic.
bool PathTracer::scatter(const Vertex& vertex, float choice, const V2f& u, Path& path) {
    const float share = vertex.guideShare;
    if (choice < share) {
        path.ray.direction = vertex.region->directions.sample(u);
        const Bsdf::Value value = vertex.bsdf->evaluate(vertex.frame.toLocal(path.ray.direction));
        path.bsdfPdf = vertex.pdf(value.pdf, path.ray.direction);
        path.throughput *= value.timesCosine / path.bsdfPdf;
        return !IsBlack(value.timesCosine) && IsFinite(path.throughput);
    }
    const float rest = std::min((choice - share) / (1 - share), kBelowOne);
    const Bsdf::Sample next = vertex.bsdf->sample(rest, u);
    if (IsBlack(next.weight)) return false;
    path.ray.direction = Normalized(vertex.frame.toWorld(next.wi), vertex.geometricNormal);
    path.bsdfPdf = next.pdf > 0 ? vertex.pdf(next.pdf, path.ray.direction) : 0;
    path.throughput *= next.weight * (next.pdf > 0 ? next.pdf / path.bsdfPdf : 1 / (1 - share));
    return true;
}

/// Light sampling (next event estimation): at most one light of each kind. Assigns Guide::Visit's
/// squares.
Color PathTracer::directLight(const Vertex& vertex, float time, int depth, const Sampler& sampler,
                              Guide::OfEachKind& squares) const {
    Color sum(0, 0, 0);
    if (vertex.bsdf->isSpecular()) return sum;
    for (std::uint32_t i = 0; i < Guide::LightKinds; ++i) {
        const auto kind = Guide::LightKind(i);
        if (!hasLights(kind)) continue;
        const float probability = vertex.region ? vertex.region->sampling[i] : 1;
        const float choice = sampler.pair(AtBounce(depth, kLightChoice) + i).x;
        if (choice >= probability) continue;
        const LightSample light = sampleLight(kind, vertex, time, choice / probability,
                                              sampler.pair(AtBounce(depth, kLight) + i));
        const Color reflected = reflectedLight(light, vertex, time) / probability;
        squares[i] = Luminance(reflected) * Luminance(reflected) * probability;
        sum += reflected;
    }
    return sum;
}

bool PathTracer::hasLights(Guide::LightKind kind) const {
    if (kind == Guide::Environments) return infiniteLights.hasSampledEnvironments();
    if (kind == Guide::Suns) return infiniteLights.hasSuns();
    return !localLights.isEmpty();
}

LightSample PathTracer::sampleLight(Guide::LightKind kind, const Vertex& vertex, float time,
                                    float choice, const V2f& u) const {
    const float number = std::min(choice, kBelowOne);
    if (kind == Guide::Environments) return infiniteLights.sampleEnvironments(number, u);
    if (kind == Guide::Suns) return infiniteLights.sampleSuns(number, u);
    return localLights.sample(vertex.geometry.position, time, number, u);
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
    const float weight =
        light.isDelta ? 1 : PowerHeuristic(light.pdf, vertex.pdf(bsdf.pdf, light.direction));
    return bsdf.timesCosine * light.radiance * geometry.transmittance(shadowRay, light.isDelta) *
           (weight / light.pdf);
}

} // namespace lantern
