#include "RenderOutputEntries.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <utility>

#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/OxCameraInfoHandle.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarProducers/ScreenSpace.h>

/// The object behind a C camera handle: a count and the record that it keeps alive.
struct CameraInfoStruct {
    std::int32_t refCount; // not atomic: a handle is for one thread at a time
    std::shared_ptr<TELLAR::CameraInfo> camera;
};

namespace TELLAR::RenderOutputUtilsHost {

namespace {

using OxAttribute::FloatAttribute;
using Producer = GeometryProducer::Ptr;

/// The number of live handles. Loaded and stored instead of added to: threads may lose counts,
/// which is cheaper than a locked addition for every handle.
std::atomic<std::int32_t> liveCount{0};

/// Logs at the end of the process how many handles plug-ins failed to release.
void LogFinalCount() noexcept {
    kLogger.debug("Final CameraInfoStruct count: {}", liveCount.load(std::memory_order_relaxed));
}

/// The first call registers the message for the end of the process.
void Count(std::int32_t difference) noexcept {
    static const int isRegistered = std::atexit(LogFinalCount);
    static_cast<void>(isRegistered);
    liveCount.store(liveCount.load(std::memory_order_relaxed) + difference,
                    std::memory_order_relaxed);
}

void RetainCameraInfo(CameraInfoStruct* handle) noexcept {
    if (handle) ++handle->refCount;
}

void ReleaseCameraInfo(CameraInfoStruct* handle) noexcept {
    if (!handle || --handle->refCount >= 1) return;
    Count(-1);
    delete handle;
}

/// Reads a camera, whose record is kept during the call. A null handle gives null.
template <typename Read>
auto ReadCamera(CameraInfoStruct* handle, Read read) {
    const std::shared_ptr<CameraInfo> camera = OxHandleToCameraInfo(handle);
    return camera ? read(*camera) : decltype(read(*camera))();
}

int GetPixelArea(OxSgIteratorStruct* location, const char* cameraPath, const char* resolution) {
    return EnterWith("getPixelAreaThroughCamera", location, [&](auto& producer) {
        return GetPixelAreaThroughCamera(producer, Text(cameraPath), Text(resolution));
    });
}

OxAttributeStruct* GetRelevantSampleTimes(const float* times, std::int64_t count, float open,
                                          float close) {
    return Enter("getSampleTimesRelevantToShutterRange", [&]() -> OxAttributeStruct* {
        if (count < 0 || (count > 0 && !times)) return nullptr;
        // NaN would break the order of the set.
        std::set<float> ordered;
        std::copy_if(times, times + count, std::inserter(ordered, ordered.end()),
                     [](float time) { return !std::isnan(time); });
        std::vector<float> relevant;
        FindSampleTimesRelevantToShutterRange(ordered, open, close, relevant);
        return FloatAttribute(relevant, 1).detach();
    });
}

OxAttributeStruct* GetResolution(OxSgIteratorStruct* root, int* width, int* height) {
    return Enter("getRenderResolution", [&] {
        std::string name;
        GetRenderResolution(&name, width, height, OxHandleToGeometryProducer(root));
        return TextToC(name);
    });
}

OxAttributeStruct* GetPathOfCamera(OxSgIteratorStruct* root) {
    return Enter("getCameraPath",
                 [&] { return TextToC(GetCameraPath(OxHandleToGeometryProducer(root))); });
}

CameraInfoStruct* GetCamera(OxSgIteratorStruct* root, const char* cameraPath) {
    return EnterWith("getCameraInfo", root, [&](auto& producer) {
        return OxCameraInfoToHandle(GetCameraInfo(producer, Text(cameraPath)));
    });
}

template <float CameraGeometry::*Member>
float GetLensValue(CameraInfoStruct* handle) {
    return ReadCamera(handle, [](auto& camera) { return camera.*Member; });
}

int GetOrthographic(CameraInfoStruct* handle) {
    return ReadCamera(handle, [](auto& camera) { return camera.orthographic ? 1 : 0; });
}

float GetOrthographicWidth(CameraInfoStruct* handle) {
    return ReadCamera(handle, [](auto& camera) { return camera.orthographicWidth; });
}

const double* GetXform(CameraInfoStruct* handle) {
    return ReadCamera(handle, [](auto& camera) { return camera.xform.getValue(); });
}

} // namespace

void FillCameraSlots(Suite& suite) {
    TELLAR_SET_SLOT(suite, 2, getPixelAreaThroughCamera, GetPixelArea);
    TELLAR_SET_SLOT(suite, 3, getSampleTimesRelevantToShutterRange, GetRelevantSampleTimes);
    TELLAR_SET_SLOT(suite, 4, getRenderResolution, GetResolution);
    TELLAR_SET_SLOT(suite, 5, getCameraPath, GetPathOfCamera);
    TELLAR_SET_SLOT(suite, 32, getCameraInfo, GetCamera);
    TELLAR_SET_SLOT(suite, 33, retainCameraInfo, RetainCameraInfo);
    TELLAR_SET_SLOT(suite, 34, releaseCameraInfo, ReleaseCameraInfo);
    TELLAR_SET_SLOT(suite, 35, getCameraFov, GetLensValue<&CameraGeometry::fov>);
    TELLAR_SET_SLOT(suite, 36, getCameraNear, GetLensValue<&CameraGeometry::near>);
    TELLAR_SET_SLOT(suite, 37, getCameraFar, GetLensValue<&CameraGeometry::far>);
    TELLAR_SET_SLOT(suite, 38, getCameraLeft, GetLensValue<&CameraGeometry::left>);
    TELLAR_SET_SLOT(suite, 39, getCameraRight, GetLensValue<&CameraGeometry::right>);
    TELLAR_SET_SLOT(suite, 40, getCameraTop, GetLensValue<&CameraGeometry::top>);
    TELLAR_SET_SLOT(suite, 41, getCameraBottom, GetLensValue<&CameraGeometry::bottom>);
    TELLAR_SET_SLOT(suite, 42, getCameraOrthographic, GetOrthographic);
    TELLAR_SET_SLOT(suite, 43, getCameraOrthographicWidth, GetOrthographicWidth);
    TELLAR_SET_SLOT(suite, 44, getCameraXform, GetXform);
}

} // namespace TELLAR::RenderOutputUtilsHost

namespace TELLAR {

CameraInfoStruct* OxCameraInfoToHandle(std::shared_ptr<CameraInfo> camera) {
    if (!camera) return nullptr;
    auto* const handle = new CameraInfoStruct{1, std::move(camera)};
    RenderOutputUtilsHost::Count(1);
    return handle;
}

std::shared_ptr<CameraInfo> OxHandleToCameraInfo(CameraInfoStruct* handle) {
    return handle ? handle->camera : nullptr;
}

} // namespace TELLAR
