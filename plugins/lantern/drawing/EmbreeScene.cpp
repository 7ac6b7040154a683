#include "drawing/EmbreeScene.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "drawing/EmbreeHandles.h"
#include "drawing/Numbers.h"
#include "drawing/Sampler.h"

// A two-level hierarchy: each shape in use is an Embree scene of one geometry in the shape's own
// space, and the top scene has one Embree instance per instance of SceneData, with the same index.
// The build quality stays at medium, for which trees do not depend on the number of threads.

namespace lantern {
namespace {

constexpr float kRibbonQuads = 8;          // quads per cubic segment; Embree intersects 8 at once
constexpr float kMinTransmittance = 1e-4f; // a shadow ray ends below this

/// The state of a ray for the filter functions below. Embree hands them a pointer to the first
/// member.
struct RayContext {
    RTCIntersectContext base;
    const OpacitySource* opacity;
    std::uint32_t seed;
    Color transmittance;
    bool isFromDeltaLight;
};

RayHit ToHit(const RTCHit& hit, float distance) {
    return {hit.instID[0], hit.primID, hit.u, hit.v, {hit.Ng_x, hit.Ng_y, hit.Ng_z}, distance, 0};
}

float OpacityOf(const RTCFilterFunctionNArguments& args, RayHit& hit) {
    const auto& found = *reinterpret_cast<const RTCHit*>(args.hit); // N is 1 for single rays
    const auto& ray = *reinterpret_cast<const RTCRay*>(args.ray);
    hit = ToHit(found, ray.tfar);
    // The ray and the normal are in the shape's space here.
    const bool isFlat = args.geometryUserPtr;
    const bool isFromInside = !isFlat && (V3f(ray.dir_x, ray.dir_y, ray.dir_z) ^ hit.outward) > 0;
    return reinterpret_cast<const RayContext*>(args.context)->opacity->opacity(hit, isFromInside);
}

/// The cosine of the angle between the ray and the normal, in the shape's space.
float CosineOf(const RTCFilterFunctionNArguments& args, const RayHit& hit) {
    const auto& ray = *reinterpret_cast<const RTCRay*>(args.ray);
    const V3f direction = Normalized(V3f(ray.dir_x, ray.dir_y, ray.dir_z), V3f(0));
    return std::abs(direction ^ Normalized(hit.outward, V3f(0)));
}

/// Embree's filter for nearest hits: rejects a hit with the probability of its transparency.
void RejectAtRandom(const RTCFilterFunctionNArguments* args) {
    const auto& context = *reinterpret_cast<const RayContext*>(args->context);
    RayHit hit;
    const float opacity = OpacityOf(*args, hit);
    if (ToUnit(HashBits(HashBits(context.seed, hit.instance), hit.primitive)) >= opacity)
        args->valid[0] = 0;
}

/// Embree's filter for shadow rays: multiplies transparencies and lets the ray go on.
void Attenuate(const RTCFilterFunctionNArguments* args) {
    auto& context = *reinterpret_cast<RayContext*>(args->context);
    RayHit hit;
    const float opacity = OpacityOf(*args, hit);
    Color passing(1 - opacity);
    if (context.isFromDeltaLight && opacity > 0)
        passing += context.opacity->straightThrough(hit, CosineOf(*args, hit)) * opacity;
    context.transmittance *= passing;
    if (Largest(context.transmittance) > kMinTransmittance) args->valid[0] = 0;
}

RayContext ContextOf(const OpacitySource& opacity, std::uint32_t seed) {
    RayContext context{};
    rtcInitIntersectContext(&context.base);
    context.opacity = &opacity;
    context.seed = seed;
    context.transmittance = Color(1);
    return context;
}

/// The number of motion steps to give to Embree, which has a limit.
unsigned int StepsFor(std::size_t count) {
    return static_cast<unsigned int>(std::min<std::size_t>(count, RTC_MAX_TIME_STEP_COUNT));
}

StepPosition StepAt(std::size_t count, unsigned int step) {
    const unsigned int steps = StepsFor(count);
    if (steps == count) return {step, step, 0};
    return PositionAmongSteps(count, static_cast<float>(step) / static_cast<float>(steps - 1));
}

RTCGeometryType CurveTypeOf(const Curves& curves) {
    switch (curves.basis) {
    case Curves::Basis::Bezier:
        return curves.isFlat ? RTC_GEOMETRY_TYPE_FLAT_BEZIER_CURVE
                             : RTC_GEOMETRY_TYPE_ROUND_BEZIER_CURVE;
    case Curves::Basis::BSpline:
        return curves.isFlat ? RTC_GEOMETRY_TYPE_FLAT_BSPLINE_CURVE
                             : RTC_GEOMETRY_TYPE_ROUND_BSPLINE_CURVE;
    case Curves::Basis::CatmullRom:
        return curves.isFlat ? RTC_GEOMETRY_TYPE_FLAT_CATMULL_ROM_CURVE
                             : RTC_GEOMETRY_TYPE_ROUND_CATMULL_ROM_CURVE;
    case Curves::Basis::Linear:
        break;
    }
    return curves.isFlat ? RTC_GEOMETRY_TYPE_FLAT_LINEAR_CURVE
                         : RTC_GEOMETRY_TYPE_ROUND_LINEAR_CURVE;
}

} // namespace

namespace {

/// An Embree device and the first error that it reported.
struct Device {
    explicit Device(int threads)
        : handle(rtcNewDevice(("threads=" + std::to_string(std::max(threads, 0))).c_str())) {
        if (!handle) throw RenderError("cannot start Embree");
        rtcSetDeviceErrorFunction(
            handle.get(),
            [](void* self, RTCError code, const char*) {
                RTCError none = RTC_ERROR_NONE;
                static_cast<Device*>(self)->error.compare_exchange_strong(none, code);
            },
            this);
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    std::atomic<RTCError> error{RTC_ERROR_NONE};
    EmbreeDevice handle;
};

EmbreeTree Shared(const EmbreeTree& tree) {
    if (tree) rtcRetainScene(tree.get());
    return EmbreeTree(tree.get());
}

} // namespace

struct EmbreeScene::Trees {
    Trees(const SceneData& data, const OpacitySource& opacity, int threads, const Report& report,
          const EarlierGeometry* earlier);

    void check() const;
    void share(const EarlierGeometry& earlier);
    void addInstances();
    RTCScene shapeScene(Index index, bool isOpaque);
    EmbreeGeometry newGeometry(RTCGeometryType type) const;
    EmbreeGeometry meshGeometry(const Mesh& mesh) const;
    EmbreeGeometry spheresGeometry(const Spheres& spheres) const;
    EmbreeGeometry curvesGeometry(const Curves& curves) const;
    void fillControlPoints(RTCGeometry geometry, const std::vector<std::vector<V4f>>& steps) const;
    void joinSegments(RTCGeometry geometry, const Curves& curves) const;
    EmbreeGeometry shapeGeometry(const Shape& shape) const;
    void fillPoints(RTCGeometry geometry, const std::vector<std::vector<V3f>>& steps) const;
    EmbreeGeometry instanceGeometry(const Instance& instance, RTCScene shape) const;
    void commit(RTCScene scene) const;
    EmbreeTree newScene(int flags) const;

    const SceneData& data;
    const OpacitySource& opacity;
    const Report& report;
    std::shared_ptr<Device> device; // also of the trees that are shared
    std::vector<EmbreeTree> opaque; // one per shape; null if no instance needs it
    std::vector<EmbreeTree>
        filtered; // one per shape, with filter functions, for instances that are not opaque
    EmbreeTree top;
};

EmbreeScene::Trees::Trees(const SceneData& data, const OpacitySource& opacity, int threads,
                          const Report& report, const EarlierGeometry* earlier)
    : data(data), opacity(opacity), report(report),
      device(earlier ? earlier->geometry.trees->device : std::make_shared<Device>(threads)),
      opaque(data.shapes.size()), filtered(data.shapes.size()) {
    device->error = RTC_ERROR_NONE;
    if (earlier) share(*earlier);
    top = newScene(RTC_SCENE_FLAG_ROBUST);
    addInstances();
    commit(top.get());
}

/// Throws if Embree has reported an error.
void EmbreeScene::Trees::check() const {
    switch (device->error.load()) {
    case RTC_ERROR_NONE:
        return;
    case RTC_ERROR_CANCELLED:
        throw Cancelled{};
    case RTC_ERROR_OUT_OF_MEMORY:
        throw RenderError("there is not enough memory for the scene's geometry");
    default:
        throw RenderError("Embree cannot take the scene's geometry, error " +
                          std::to_string(device->error.load()));
    }
}

void EmbreeScene::Trees::share(const EarlierGeometry& earlier) {
    const Trees& from = *earlier.geometry.trees;
    for (std::size_t i = 0; i < earlier.shapes.size(); ++i) {
        const Index old = earlier.shapes[i];
        if (old == kNone) continue;
        opaque[i] = Shared(from.opaque[old]);
        filtered[i] = Shared(from.filtered[old]);
    }
}

EmbreeTree EmbreeScene::Trees::newScene(int flags) const {
    EmbreeTree scene(rtcNewScene(device->handle.get()));
    check();
    rtcSetSceneFlags(scene.get(), static_cast<RTCSceneFlags>(flags));
    return scene;
}

void EmbreeScene::Trees::commit(RTCScene scene) const {
    report.throwIfCancelled();
    rtcSetSceneProgressMonitorFunction(
        scene,
        [](void* report, double) { return !static_cast<const Report*>(report)->isCancelled(); },
        const_cast<Report*>(&report)); // the callback makes it const again
    rtcCommitScene(scene);
    check();
}

void EmbreeScene::Trees::addInstances() {
    for (std::size_t i = 0; i < data.instances.size(); ++i) {
        const Instance& instance = data.instances[i];
        const Shape& shape = data.shapes[instance.shape];
        if (shape.isEmpty()) continue;
        RTCScene scene = shapeScene(instance.shape, opacity.isOpaque(instance));
        const EmbreeGeometry geometry = instanceGeometry(instance, scene);
        rtcAttachGeometryByID(top.get(), geometry.get(), static_cast<unsigned int>(i));
        check();
    }
}

RTCScene EmbreeScene::Trees::shapeScene(Index index, bool isOpaque) {
    EmbreeTree& scene = (isOpaque ? opaque : filtered)[index];
    if (scene) return scene.get();
    const EmbreeGeometry geometry = shapeGeometry(data.shapes[index]);
    if (!isOpaque) {
        rtcSetGeometryIntersectFilterFunction(geometry.get(), RejectAtRandom);
        rtcSetGeometryOccludedFilterFunction(geometry.get(), Attenuate);
    }
    rtcCommitGeometry(geometry.get());
    EmbreeTree made = newScene(RTC_SCENE_FLAG_ROBUST | RTC_SCENE_FLAG_COMPACT);
    rtcAttachGeometry(made.get(), geometry.get());
    commit(made.get());
    scene = std::move(made);
    return scene.get();
}

EmbreeGeometry EmbreeScene::Trees::shapeGeometry(const Shape& shape) const {
    if (!shape.mesh.triangles.empty()) return meshGeometry(shape.mesh);
    if (!shape.curves.segments.empty()) return curvesGeometry(shape.curves);
    return spheresGeometry(shape.spheres);
}

EmbreeGeometry EmbreeScene::Trees::newGeometry(RTCGeometryType type) const {
    EmbreeGeometry geometry(rtcNewGeometry(device->handle.get(), type));
    check();
    return geometry;
}

EmbreeGeometry EmbreeScene::Trees::meshGeometry(const Mesh& mesh) const {
    EmbreeGeometry geometry = newGeometry(RTC_GEOMETRY_TYPE_TRIANGLE);
    fillPoints(geometry.get(), mesh.points);
    rtcSetSharedGeometryBuffer(geometry.get(), RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                               mesh.triangles.data(), 0, 3 * sizeof(Index),
                               mesh.triangles.size() / 3);
    check();
    return geometry;
}

/// Shares the points with Embree, so that the processor's cache holds one copy of what both read
/// for a hit. Embree reads a few bytes beyond the last point, so vectors without room for them are
/// copied, and so are points between two motion steps.
void EmbreeScene::Trees::fillPoints(RTCGeometry geometry,
                                    const std::vector<std::vector<V3f>>& steps) const {
    const unsigned int count = StepsFor(steps.size());
    rtcSetGeometryTimeStepCount(geometry, count);
    for (unsigned int step = 0; step < count; ++step) {
        const StepPosition at = StepAt(steps.size(), step);
        const std::vector<V3f>& first = steps[at.first];
        const std::vector<V3f>& second = steps[at.second];
        if (at.share == 0 && first.capacity() > first.size()) {
            rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, step, RTC_FORMAT_FLOAT3,
                                       first.data(), 0, sizeof(V3f), first.size());
            check();
            continue;
        }
        auto* points = static_cast<V3f*>(rtcSetNewGeometryBuffer(
            geometry, RTC_BUFFER_TYPE_VERTEX, step, RTC_FORMAT_FLOAT3, sizeof(V3f), first.size()));
        check();
        for (std::size_t i = 0; i < first.size(); ++i)
            points[i] = Mix(first[i], second[i], at.share);
    }
}

EmbreeGeometry EmbreeScene::Trees::spheresGeometry(const Spheres& spheres) const {
    EmbreeGeometry geometry = newGeometry(RTC_GEOMETRY_TYPE_SPHERE_POINT);
    const unsigned int count = StepsFor(spheres.centers.size());
    rtcSetGeometryTimeStepCount(geometry.get(), count);
    for (unsigned int step = 0; step < count; ++step) {
        const StepPosition at = StepAt(spheres.centers.size(), step);
        auto* values = static_cast<float*>(
            rtcSetNewGeometryBuffer(geometry.get(), RTC_BUFFER_TYPE_VERTEX, step, RTC_FORMAT_FLOAT4,
                                    4 * sizeof(float), spheres.radii.size()));
        check();
        for (std::size_t i = 0; i < spheres.radii.size(); ++i) {
            const V3f center =
                Mix(spheres.centers[at.first][i], spheres.centers[at.second][i], at.share);
            const float value[4] = {center.x, center.y, center.z, spheres.radii[i]};
            std::memcpy(values + 4 * i, value, sizeof value);
        }
    }
    return geometry;
}

EmbreeGeometry EmbreeScene::Trees::curvesGeometry(const Curves& curves) const {
    EmbreeGeometry geometry = newGeometry(CurveTypeOf(curves));
    fillControlPoints(geometry.get(), curves.points);
    rtcSetSharedGeometryBuffer(geometry.get(), RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT,
                               curves.segments.data(), 0, sizeof(Index), curves.segments.size());
    if (curves.isFlat) { // tells OpacityOf that the surface has one side
        rtcSetGeometryUserData(geometry.get(), const_cast<Curves*>(&curves));
        rtcSetGeometryTessellationRate(geometry.get(), kRibbonQuads);
    } else if (curves.basis == Curves::Basis::Linear) {
        joinSegments(geometry.get(), curves);
    }
    check();
    return geometry;
}

/// Shares the points of motion steps that Embree can take as they are: hair has millions of points.
void EmbreeScene::Trees::fillControlPoints(RTCGeometry geometry,
                                           const std::vector<std::vector<V4f>>& steps) const {
    const unsigned int count = StepsFor(steps.size());
    rtcSetGeometryTimeStepCount(geometry, count);
    for (unsigned int step = 0; step < count; ++step) {
        const StepPosition at = StepAt(steps.size(), step);
        const std::vector<V4f>& first = steps[at.first];
        const std::vector<V4f>& second = steps[at.second];
        if (at.share == 0) {
            rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, step, RTC_FORMAT_FLOAT4,
                                       first.data(), 0, sizeof(V4f), first.size());
            continue;
        }
        auto* points = static_cast<V4f*>(rtcSetNewGeometryBuffer(
            geometry, RTC_BUFFER_TYPE_VERTEX, step, RTC_FORMAT_FLOAT4, sizeof(V4f), first.size()));
        check();
        for (std::size_t i = 0; i < first.size(); ++i)
            points[i] = first[i] * (1 - at.share) + second[i] * at.share;
    }
}

/// Rounds the joints between adjacent segments of round linear curves.
void EmbreeScene::Trees::joinSegments(RTCGeometry geometry, const Curves& curves) const {
    auto* flags = static_cast<unsigned char*>(
        rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_FLAGS, 0, RTC_FORMAT_UCHAR,
                                sizeof(unsigned char), curves.segments.size()));
    check();
    for (std::size_t curve = 0; curve + 1 < curves.firstSegments.size(); ++curve) {
        const Index first = curves.firstSegments[curve];
        const Index end = curves.firstSegments[curve + 1];
        for (Index i = first; i < end; ++i) {
            const int left = i > first ? RTC_CURVE_FLAG_NEIGHBOR_LEFT : 0;
            const int right = i + 1 < end ? RTC_CURVE_FLAG_NEIGHBOR_RIGHT : 0;
            flags[i] = static_cast<unsigned char>(left | right);
        }
    }
}

EmbreeGeometry EmbreeScene::Trees::instanceGeometry(const Instance& instance,
                                                    RTCScene shape) const {
    EmbreeGeometry geometry = newGeometry(RTC_GEOMETRY_TYPE_INSTANCE);
    rtcSetGeometryInstancedScene(geometry.get(), shape);
    const unsigned int count = StepsFor(instance.transformCount);
    rtcSetGeometryTimeStepCount(geometry.get(), count);
    for (unsigned int step = 0; step < count; ++step) {
        const StepPosition at = StepAt(instance.transformCount, step);
        const M44f& first = data.transforms[instance.firstTransform + at.first];
        const M44f& second = data.transforms[instance.firstTransform + at.second];
        const M44f matrix = first * (1 - at.share) + second * at.share;
        // Our rows are Embree's columns.
        rtcSetGeometryTransform(geometry.get(), step, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR,
                                matrix.getValue());
    }
    rtcCommitGeometry(geometry.get());
    check();
    return geometry;
}

EmbreeScene::EmbreeScene(const SceneData& scene, const OpacitySource& opacity, int threads,
                         const Report& report, const EarlierGeometry* earlier)
    : trees(std::make_unique<Trees>(scene, opacity, threads, report, earlier)),
      isAllOpaque(std::all_of(
          scene.instances.begin(), scene.instances.end(), [&](const Instance& instance) {
              return scene.shapes[instance.shape].isEmpty() || opacity.isOpaque(instance);
          })) {}

EmbreeScene::~EmbreeScene() = default;

RayHit EmbreeScene::intersect(const Ray& ray, std::uint32_t seed) const {
    if (!IsSound(ray)) return {};
    RayContext context = ContextOf(trees->opacity, seed);
    RTCRayHit found; // Embree assigns the rest of the hit if there is one
    AssignRay(ray, found.ray);
    found.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    found.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(trees->top.get(), &context.base, &found);
    if (found.hit.geomID == RTC_INVALID_GEOMETRY_ID) return {};
    return ToHit(found.hit, found.ray.tfar);
}

Color EmbreeScene::transmittance(const Ray& ray, bool isFromDeltaLight) const {
    if (!IsSound(ray)) return Color(0);
    RayContext context = ContextOf(trees->opacity, 0);
    context.isFromDeltaLight = isFromDeltaLight;
    RTCRay occluded;
    AssignRay(ray, occluded);
    rtcOccluded1(trees->top.get(), &context.base, &occluded);
    return occluded.tfar < 0 ? Color(0) : context.transmittance;
}

} // namespace lantern
