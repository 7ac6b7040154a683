#include "CameraInfoHandle.h"

#include <atomic>
#include <cstdlib>
#include <string>
#include <utility>

#include "RenderOutputLogger.h"

namespace TELLAR {

namespace RenderOutputUtilsHost {

namespace {

/// What plug-ins failed to release shows at the end of the process.
void LogFinalCount();

/// How many handles live. Loaded and stored rather than added to: an exact count across threads is
/// not promised, and would cost every handle a locked addition.
std::atomic<std::int32_t>& LiveCount() {
    static auto* const count = [] {
        std::atexit(LogFinalCount);
        return new std::atomic<std::int32_t>(0);
    }();
    return *count;
}

void LogFinalCount() {
    const std::int32_t live = LiveCount().load(std::memory_order_relaxed);
    if (Logger().debugEnabled())
        Logger().debug("Final CameraInfoStruct count: " + std::to_string(live), __FILE__, __LINE__);
}

void Count(std::int32_t difference) {
    std::atomic<std::int32_t>& live = LiveCount();
    live.store(live.load(std::memory_order_relaxed) + difference, std::memory_order_relaxed);
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
