#ifndef OXTELLARPRODUCERS_OXCAMERAINFOHANDLE_H
#define OXTELLARPRODUCERS_OXCAMERAINFOHANDLE_H

#include <memory>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>

namespace TELLAR {

/// A new C handle onto a camera, with one reference owned by the caller, who releases it with the
/// suite's releaseCameraInfo. Null for an empty pointer.
TELLAR_API CameraInfoStruct* OxCameraInfoToHandle(std::shared_ptr<CameraInfo> camera);

/// The camera behind a handle, whose count stays as it is. Empty for null.
TELLAR_API std::shared_ptr<CameraInfo> OxHandleToCameraInfo(CameraInfoStruct* handle);

} // namespace TELLAR

#endif
