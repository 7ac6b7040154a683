#include "CameraInfoHandle.h"

#include <atomic>
#include <cstdlib>
#include <utility>

#include "NamedLogger.h"

namespace TELLAR {

namespace RenderOutputUtilsHost {

namespace {

const NamedLogger kLogger("RenderOutputUtils");

/// How many handles live. Loaded and stored rather than added to: an exact count across threads is
/// not promised, and would cost every handle a locked addition.
std::atomic<std::int32_t> liveCount{0};

/// Logs at the end of the process how many handles plug-ins failed to release.
void LogFinalCount() noexcept {
    kLogger.debug("Final CameraInfoStruct count: {}", liveCount.load(std::memory_order_relaxed));
}

/// Also makes sure that the end of the process is heard of, if the system has room to note that.
void Count(std::int32_t difference) noexcept {
    static const int isNoted = std::atexit(LogFinalCount);
    static_cast<void>(isNoted);
    liveCount.store(liveCount.load(std::memory_order_relaxed) + difference,
                    std::memory_order_relaxed);
}

} // namespace

void RetainCameraInfo(CameraInfoStruct* handle) noexcept {
    if (handle) ++handle->refCount;
}

void ReleaseCameraInfo(CameraInfoStruct* handle) noexcept {
    if (!handle || --handle->refCount >= 1) return;
    Count(-1);
    delete handle;
}

} // namespace RenderOutputUtilsHost

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
