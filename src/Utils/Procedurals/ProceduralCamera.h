#ifndef TELLAR_PROCEDURALCAMERA_H
#define TELLAR_PROCEDURALCAMERA_H

#include <memory>
#include <string>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

enum class CameraInfoMode { None, AsParameters, AsAttributes };

/// What a procedural's group asks for about a camera, and which one. A null producer's scene has
/// no render camera: its path is empty.
CameraInfoMode ReadCameraOptions(const boost::intrusive_ptr<GeometryProducer>& producer,
                                 const OxAttribute::GroupAttribute& procedural,
                                 std::string& cameraPath);

/// The camera to be passed as parameters, and its path; null when none is wanted or there is none.
std::shared_ptr<CameraInfo>
FindParameterCamera(const boost::intrusive_ptr<GeometryProducer>& producer,
                    const OxAttribute::GroupAttribute& procedural, std::string& cameraPath);

/// What the camera's parameters are called: "cameraInfo_fov".
constexpr const char* kCameraPrefix = "cameraInfo_";

/// The camera's transform row by row in single precision.
OxAttribute::FloatAttribute CameraXform(const CameraInfo& camera);

} // namespace TELLAR

#endif
