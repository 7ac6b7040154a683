#ifndef OXTELLARPRODUCERS_CAMERAINFO_H
#define OXTELLARPRODUCERS_CAMERAINFO_H

#include <memory>
#include <string>

#include <Imath/ImathMatrix.h>

#include <OxTellarProducers/GeometryProducer.h>

// The Windows headers define both as nothing.
#if defined(_WIN32)
#undef near
#undef far
#endif

namespace TELLAR {

/// The lens of a camera. A value; copy it freely.
struct TELLAR_API CameraGeometry {
    CameraGeometry();
    CameraGeometry(const CameraGeometry& other);
    CameraGeometry(CameraGeometry&& other) noexcept;
    CameraGeometry& operator=(const CameraGeometry& other);
    CameraGeometry& operator=(CameraGeometry&& other) noexcept;

    float fov = 0;  ///< across the width of a screen window from -1 to 1, in degrees
    float near = 0; ///< clipping distances from the camera, both positive
    float far = 0;
    float left = 0; ///< screen window: 1 is half the field of view
    float right = 0;
    float top = 0;
    float bottom = 0;
    bool orthographic = false;
};

/// A camera of the scene: its lens and its transform. It looks along its own -z with +y up.
struct TELLAR_API CameraInfo : CameraGeometry {
    CameraInfo();
    CameraInfo(const CameraInfo& other);
    CameraInfo(CameraInfo&& other) noexcept;
    CameraInfo& operator=(const CameraInfo& other);
    CameraInfo& operator=(CameraInfo&& other) noexcept;
    ~CameraInfo();

    /// Camera to world at the sample nearest to time 0, for row vectors: p M. The last row is the
    /// camera's position.
    Imath::Matrix44<double> xform;
    /// The same in single precision, one sample of 16 values for every time at which a transform
    /// from the root down to the camera has one. Invalid when there is no transform.
    OxAttribute::FloatAttribute xformSamples;
    /// Twice the length, in the scene, of one unit of an orthographic camera's screen window. 0
    /// when it is not given.
    float orthographicWidth = 0;
};

/// The camera that a location is, read from its "geometry" and its transforms. Nothing is cached.
/// Empty when its "geometry" lacks one of fov, near, far, left, right, top and bottom as a double.
/// Exceptions of the platform pass through. Threads: as for reading the producer.
TELLAR_API std::shared_ptr<CameraInfo> ReadCameraInfo(GeometryProducer& location);

/// The camera at `cameraPath`, read from its "geometry" and its transforms. `producer` resolves the
/// path: pass the scene's root for an absolute one.
///
/// Empty for a null producer, when there is no such location, and when its "geometry" lacks one of
/// fov, near, far, left, right, top and bottom as a double. Results are cached, empty ones too, by
/// the path and the producer's hash text until ClearCameraInfoCache is called; when memory is short
/// (OxTellarSDK/MemoryBudget.h), records that nobody holds may go earlier. The record is shared by
/// all callers and never changes. Exceptions of the platform pass through; an empty result is
/// cached for them.
///
/// Trap: a camera that could not be read stays missing, even when it is added later, until
/// ClearCameraInfoCache is called or the hash text changes. Clear after every change of the scene,
/// or use ReadCameraInfo.
///
/// Threads: any. Two threads may read one camera at the same time; both get the same record. A
/// request for a camera that comes from reading this camera on the same thread gets an empty
/// result.
TELLAR_API std::shared_ptr<CameraInfo> GetCameraInfo(GeometryProducer::Ptr producer,
                                                     const std::string& cameraPath);

/// Empties the cache of GetCameraInfo. Call it when the scene has changed but the hash texts of the
/// producers have not. Records in use stay as they are.
///
/// Threads: any. Results of calls in progress are not cached.
TELLAR_API void ClearCameraInfoCache();

} // namespace TELLAR

#endif
