#ifndef TELLAR_CAMERAINFOHANDLE_H
#define TELLAR_CAMERAINFOHANDLE_H

#include <cstdint>
#include <memory>

#include <OxTellarProducers/OxCameraInfoHandle.h>

/// The object behind a C handle onto a camera: a count, and the record that it keeps alive.
struct CameraInfoStruct {
    std::int32_t refCount; // not atomic: a handle is for one thread at a time
    std::shared_ptr<TELLAR::CameraInfo> camera;
};

namespace TELLAR {
namespace RenderOutputUtilsHost {

// Both take null.
void RetainCameraInfo(CameraInfoStruct* handle) noexcept;
void ReleaseCameraInfo(CameraInfoStruct* handle) noexcept;

} // namespace RenderOutputUtilsHost
} // namespace TELLAR

#endif
