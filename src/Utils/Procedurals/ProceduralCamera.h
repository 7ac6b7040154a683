#ifndef OXTELLARPRODUCERS_PROCEDURALCAMERA_H
#define OXTELLARPRODUCERS_PROCEDURALCAMERA_H

#include <OxTellarProducers/CameraInfo.h>

namespace TELLAR {

/// The camera that a procedural's group wants to be passed as parameters, and its path. Null when
/// the group wants none, there is none, or the producer is null.
std::shared_ptr<CameraInfo> FindParameterCamera(const GeometryProducer::Ptr& producer,
                                                const OxAttribute::GroupAttribute& procedural,
                                                std::string& cameraPath);

/// The beginning of the names of the camera's parameters, such as "cameraInfo_fov".
constexpr const char* kCameraPrefix = "cameraInfo_";

/// The camera's transform row by row in single precision.
OxAttribute::FloatAttribute CameraXform(const CameraInfo& camera);

} // namespace TELLAR

#endif
