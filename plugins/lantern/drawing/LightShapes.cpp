#include "drawing/LightShapes.h"

#include <algorithm>
#include <array>
#include <vector>

#include "Report.h"
#include "drawing/EmbreeHandles.h"

namespace lantern {
namespace {

constexpr std::size_t kMostCrossings = 32;
constexpr unsigned int kPanels = 0; // numbers of the two geometries
constexpr unsigned int kBalls = 1;

/// The first member is what Embree has a pointer to.
struct CrossingsContext {
    RTCIntersectContext base;
    std::vector<LightShapes::Crossing>* crossings;
};

/// Notes what is met from outside, and lets the ray go on.
void Note(const RTCFilterFunctionNArguments* args) {
    const auto& hit = *reinterpret_cast<const RTCHit*>(args->hit); // single rays: N is 1
    const auto& ray = *reinterpret_cast<const RTCRay*>(args->ray);
    auto& crossings = *reinterpret_cast<CrossingsContext*>(args->context)->crossings;
    const bool isPanel = hit.geomID == kPanels;
    const Index which = isPanel ? hit.primID / 2 : hit.primID;
    const float along = ray.dir_x * hit.Ng_x + ray.dir_y * hit.Ng_y + ray.dir_z * hit.Ng_z;
    const bool isOutside = isPanel || along < 0; // of panels, who asks knows where they face
    // Between the two triangles of a panel a ray meets both.
    const bool isNoted = std::any_of(crossings.begin(), crossings.end(), [&](const auto& other) {
        return other.isPanel == isPanel && other.which == which;
    });
    if (isOutside && !isNoted && crossings.size() < kMostCrossings)
        crossings.push_back({isPanel, which, ray.tfar});
    args->valid[0] = 0;
}

void Attach(RTCScene scene, RTCGeometry geometry, unsigned int number) {
    rtcSetGeometryIntersectFilterFunction(geometry, Note);
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(scene, geometry, number);
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

void AttachBalls(RTCDevice device, RTCScene scene, const std::vector<LightBall>& balls) {
    const EmbreeGeometry geometry(rtcNewGeometry(device, RTC_GEOMETRY_TYPE_SPHERE_POINT));
    auto* values = NewBuffer<std::array<float, 4>>(geometry.get(), RTC_BUFFER_TYPE_VERTEX,
                                                   RTC_FORMAT_FLOAT4, balls.size());
    for (const LightBall& ball : balls)
        *values++ = {ball.center.x, ball.center.y, ball.center.z, ball.radius};
    Attach(scene, geometry.get(), kBalls);
}

} // namespace

struct LightShapes::Tree {
    EmbreeDevice device{rtcNewDevice("threads=1")};
    EmbreeTree scene{device ? rtcNewScene(device.get()) : nullptr};
};

LightShapes::LightShapes(const std::vector<LightBall>& balls,
                         const std::vector<LightPanel>& panels) {
    if (balls.empty() && panels.empty()) return;
    tree = std::make_unique<Tree>();
    if (!tree->scene) throw RenderError("cannot start Embree");
    rtcSetSceneFlags(tree->scene.get(), RTC_SCENE_FLAG_ROBUST);
    if (!panels.empty()) AttachPanels(tree->device.get(), tree->scene.get(), panels);
    if (!balls.empty()) AttachBalls(tree->device.get(), tree->scene.get(), balls);
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
    RTCRayHit query{};
    query.ray = ToEmbree(ray);
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(tree->scene.get(), &context.base, &query);
    return found;
}

} // namespace lantern
