#ifndef OXTELLARPRODUCERS_CAMERAINFO_H
#define OXTELLARPRODUCERS_CAMERAINFO_H

#include <memory>
#include <string>

#include <Imath/ImathMatrix.h>
#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

// The system's header of Windows defines both as nothing, for compilers long gone.
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

/// A camera of the scene: its lens and where it stands. It looks along its own -z with +y up.
struct TELLAR_API CameraInfo : CameraGeometry {
    CameraInfo();
    CameraInfo(const CameraInfo& other);
    CameraInfo(CameraInfo&& other) noexcept;
    CameraInfo& operator=(const CameraInfo& other);
    CameraInfo& operator=(CameraInfo&& other) noexcept;
    ~CameraInfo();

    /// Camera to world at the sample nearest to time 0. Row vectors: a point is p M, and the last
    /// row is the camera's position.
    Imath::Matrix44<double> xform;
    /// The same over time: tuples of 16 row by row, one for every time at which a transform from
    /// the root down to the camera has a sample. Invalid when there is no transform at all.
    OxAttribute::FloatAttribute xformSamples;
    /// What half of is one unit of an orthographic camera's screen window. 0 when the camera
    /// does not tell.
    float orthographicWidth = 0;
};

/// The camera at `cameraPath`, as its "geometry" and its transforms tell. The path is one that
/// `producer` resolves: for an absolute one, ask with the scene's root.
///
/// Empty when there is no such location, when its "geometry" lacks one of fov, near, far, left,
/// right, top and bottom as a double, and for a null producer. Answers are kept, empty ones too,
/// under the path and the producer's hash text until ClearCameraInfoCache is called; the record
/// is shared by all who ask, and never changes. Exceptions of the platform pass through, and an
/// empty answer is kept for them as well.
///
/// Trap: a camera that could not be read once stays missing, even after it was added, until
/// ClearCameraInfoCache is called or the producer's hash text changes. Call ClearCameraInfoCache
/// after every change of the scene.
///
/// Threads: any. Two threads that ask for one camera at the same time may both read it; both get
/// the same record. A producer that asks for a camera while that very camera is read from it, on
/// the same thread, is told that there is none.
TELLAR_API std::shared_ptr<CameraInfo>
GetCameraInfo(boost::intrusive_ptr<GeometryProducer> producer, const std::string& cameraPath);

/// Forgets all answers of GetCameraInfo; to be called when the scene has changed in a way that
/// the hash of the producers asked does not show. Records that somebody holds stay as they are.
///
/// Threads: any. The answer to a question that is under way is not kept.
TELLAR_API void ClearCameraInfoCache();

} // namespace TELLAR

#endif
