#include "drawing/LightShapes.h"

#include <algorithm>
#include <array>
#include <vector>

#include "Report.h"
#include "drawing/EmbreeHandles.h"

namespace lantern {
namespace {

constexpr std::size_t kMostCrossings = 32;
// Embree's identifiers of the two geometries.
constexpr unsigned int kPanels = 0;
constexpr unsigned int kSpheres = 1;

/// Embree hands a pointer to the first member to the filter function.
struct CrossingsContext {
    RTCIntersectContext base;
    std::vector<LightShapes::Crossing>* crossings;
};

/// Embree's filter function: collects the hit, then rejects it so that the ray goes on.
void CollectHit(const RTCFilterFunctionNArguments* args) {
    const auto& hit = *reinterpret_cast<const RTCHit*>(args->hit); // N is 1 for single rays
    const auto& ray = *reinterpret_cast<const RTCRay*>(args->ray);
    auto& crossings = *reinterpret_cast<CrossingsContext*>(args->context)->crossings;
    const bool isPanel = hit.geomID == kPanels;
    const Index index = isPanel ? hit.primID / 2 : hit.primID; // a panel is two triangles
    const float cosine = ray.dir_x * hit.Ng_x + ray.dir_y * hit.Ng_y + ray.dir_z * hit.Ng_z;
    const bool isEntering = isPanel || cosine < 0;
    // A ray through the diagonal of a panel hits both triangles.
    const bool isKnown = std::any_of(crossings.begin(), crossings.end(), [&](const auto& other) {
        return other.isPanel == isPanel && other.index == index;
    });
    if (isEntering && !isKnown && crossings.size() < kMostCrossings)
        crossings.push_back({isPanel, index, ray.tfar});
    args->valid[0] = 0;
}

void Attach(RTCScene scene, RTCGeometry geometry, unsigned int id) {
    rtcSetGeometryIntersectFilterFunction(geometry, CollectHit);
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(scene, geometry, id);
}

template <typename Value>
Value* NewBuffer(RTCGeometry geometry, RTCBufferType type, RTCFormat format, std::size_t count) {
    void* const buffer = rtcSetNewGeometryBuffer(geometry, type, 0, format, sizeof(Value), count);
    if (!buffer) throw RenderError("there is not enough memory for the scene's lights");
    return static_cast<Value*>(buffer);
}

void AttachPanels(RTCDevice device, RTCScene scene, const std::vector<LightPanel>& panels) {
    const EmbreeGeometry geometry(rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE));
    auto* points = NewBuffer<V3f>(geometry.get(), RTC_BUFFER_TYPE_VERTEX, RTC_FORMAT_FLOAT3,
                                  panels.size() * 4);
    auto* triangles = NewBuffer<std::array<Index, 3>>(geometry.get(), RTC_BUFFER_TYPE_INDEX,
                                                      RTC_FORMAT_UINT3, panels.size() * 2);
    Index first = 0;
    for (const LightPanel& panel : panels) {
        *points++ = panel.corner;
        *points++ = panel.corner + panel.edgeX;
        *points++ = panel.corner + panel.edgeX + panel.edgeY;
        *points++ = panel.corner + panel.edgeY;
        *triangles++ = {first, first + 1, first + 2};
        *triangles++ = {first, first + 2, first + 3};
        first += 4;
    }
    Attach(scene, geometry.get(), kPanels);
}

void AttachSpheres(RTCDevice device, RTCScene scene, const std::vector<LightSphere>& spheres) {
    const EmbreeGeometry geometry(rtcNewGeometry(device, RTC_GEOMETRY_TYPE_SPHERE_POINT));
    auto* values = NewBuffer<std::array<float, 4>>(geometry.get(), RTC_BUFFER_TYPE_VERTEX,
                                                   RTC_FORMAT_FLOAT4, spheres.size());
    for (const LightSphere& sphere : spheres)
        *values++ = {sphere.center.x, sphere.center.y, sphere.center.z, sphere.radius};
    Attach(scene, geometry.get(), kSpheres);
}

} // namespace

struct LightShapes::Tree {
    EmbreeDevice device{rtcNewDevice("threads=1")};
    EmbreeTree scene{device ? rtcNewScene(device.get()) : nullptr};
};

LightShapes::LightShapes(const std::vector<LightSphere>& spheres,
                         const std::vector<LightPanel>& panels) {
    if (spheres.empty() && panels.empty()) return;
    tree = std::make_unique<Tree>();
    if (!tree->scene) throw RenderError("cannot start Embree");
    rtcSetSceneFlags(tree->scene.get(), RTC_SCENE_FLAG_ROBUST);
    if (!panels.empty()) AttachPanels(tree->device.get(), tree->scene.get(), panels);
    if (!spheres.empty()) AttachSpheres(tree->device.get(), tree->scene.get(), spheres);
    rtcCommitScene(tree->scene.get());
    if (rtcGetDeviceError(tree->device.get()) != RTC_ERROR_NONE)
        throw RenderError("Embree cannot take the scene's lights");
}

LightShapes::~LightShapes() = default;

std::vector<LightShapes::Crossing> LightShapes::crossings(const Ray& ray) const {
    std::vector<Crossing> found;
    if (!tree || !IsSound(ray)) return found;
    CrossingsContext context{};
    rtcInitIntersectContext(&context.base);
    context.crossings = &found;
    RTCRayHit query;
    AssignRay(ray, query.ray);
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(tree->scene.get(), &context.base, &query);
    return found;
}

} // namespace lantern
