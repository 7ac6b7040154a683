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

#include "RenderOutputHandles.h"

namespace TELLAR::RenderOutputUtilsHost {

namespace {

using OxAttribute::FloatAttribute;

/// The number of live handles. Changed by a relaxed load and store, which may lose a count when two
/// threads meet but costs less than a locked addition.
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
    if (handle) handle->refCount.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseCameraInfo(CameraInfoStruct* handle) noexcept {
    // The thread that frees the handle must see the reads of the others as done.
    if (!handle || handle->refCount.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
    Count(-1);
    delete handle;
}

} // namespace

OxAttributeStruct* GetRelevantSampleTimes(const float* times, std::int64_t count, float open,
                                          float close) {
    // NaN would break the order of the set.
    std::set<float> ordered;
    std::copy_if(times, times + count, std::inserter(ordered, ordered.end()),
                 [](float time) { return !std::isnan(time); });
    std::vector<float> relevant;
    FindSampleTimesRelevantToShutterRange(ordered, open, close, relevant);
    return FloatAttribute(relevant, 1).detach();
}

namespace {

OxAttributeStruct* GetResolution(OxSgIteratorStruct* root, int* width, int* height) {
    std::string name;
    GetRenderResolution(&name, width, height, OxHandleToGeometryProducer(root));
    return TextToC(name);
}

/// A member of the camera, which the slot's type turns into a number; 0 for null.
template <auto Member, typename Number>
Number GetNumber(CameraInfoStruct* handle) noexcept {
    return handle ? static_cast<Number>((*handle->camera).*Member) : Number();
}

const double* GetXform(CameraInfoStruct* handle) noexcept {
    return handle ? handle->camera->xform.getValue() : nullptr;
}

} // namespace

void FillCameraSlots(Suite& suite) {
    TELLAR_SET_ENTRY(suite, 2, getPixelAreaThroughCamera,
                     [](OxSgIteratorStruct* location, const char* camera, const char* resolution) {
                         return GetPixelAreaThroughCamera(OxHandleToGeometryProducer(location),
                                                          Text(camera), Text(resolution));
                     });
    TELLAR_SET_ENTRY(suite, 3, getSampleTimesRelevantToShutterRange,
                     [](const float* times, std::int64_t count, float open, float close) {
                         const bool isUsable = count >= 0 && (count == 0 || times);
                         return isUsable ? GetRelevantSampleTimes(times, count, open, close)
                                         : nullptr;
                     });
    TELLAR_SET_ENTRY(suite, 4, getRenderResolution, GetResolution);
    TELLAR_SET_ENTRY(suite, 5, getCameraPath, [](OxSgIteratorStruct* root) {
        return TextToC(GetCameraPath(OxHandleToGeometryProducer(root)));
    });
    TELLAR_SET_ENTRY(suite, 32, getCameraInfo, [](OxSgIteratorStruct* root, const char* path) {
        return OxCameraInfoToHandle(GetCameraInfo(OxHandleToGeometryProducer(root), Text(path)));
    });
    TELLAR_SET_SLOT(suite, 33, retainCameraInfo, RetainCameraInfo);
    TELLAR_SET_SLOT(suite, 34, releaseCameraInfo, ReleaseCameraInfo);
    TELLAR_SET_SLOT(suite, 35, getCameraFov, GetNumber<&CameraGeometry::fov>);
    TELLAR_SET_SLOT(suite, 36, getCameraNear, GetNumber<&CameraGeometry::near>);
    TELLAR_SET_SLOT(suite, 37, getCameraFar, GetNumber<&CameraGeometry::far>);
    TELLAR_SET_SLOT(suite, 38, getCameraLeft, GetNumber<&CameraGeometry::left>);
    TELLAR_SET_SLOT(suite, 39, getCameraRight, GetNumber<&CameraGeometry::right>);
    TELLAR_SET_SLOT(suite, 40, getCameraTop, GetNumber<&CameraGeometry::top>);
    TELLAR_SET_SLOT(suite, 41, getCameraBottom, GetNumber<&CameraGeometry::bottom>);
    TELLAR_SET_SLOT(suite, 42, getCameraOrthographic, GetNumber<&CameraGeometry::orthographic>);
    TELLAR_SET_SLOT(suite, 43, getCameraOrthographicWidth,
                    GetNumber<&CameraInfo::orthographicWidth>);
    TELLAR_SET_SLOT(suite, 44, getCameraXform, GetXform);
}

} // namespace TELLAR::RenderOutputUtilsHost

namespace TELLAR {

CameraInfoStruct* OxCameraInfoToHandle(std::shared_ptr<CameraInfo> camera) {
    if (!camera) return nullptr;
    auto* const handle = new CameraInfoStruct(std::move(camera));
    RenderOutputUtilsHost::Count(1);
    return handle;
}

std::shared_ptr<CameraInfo> OxHandleToCameraInfo(CameraInfoStruct* handle) {
    return handle ? handle->camera : nullptr;
}

} // namespace TELLAR
