#ifndef TELLAR_TOOL_RENDERCAMERA_H
#define TELLAR_TOOL_RENDERCAMERA_H

#include <string>
#include <vector>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/GeometryProducer.h>

#include "Scene.h"

namespace TellarTool {

/// A camera, and where it was found.
struct RenderCamera {
    std::string path;
    TELLAR::GeometryProducer::Ptr location;
    TELLAR::CameraInfo info;
};

/// A number of a camera's group "geometry".
struct LensValue {
    const char* name;
    float TELLAR::CameraGeometry::*member;
};

/// The values that every camera must have. The library does not say which of them is missing.
constexpr LensValue kLensValues[] = {
    {"fov", &TELLAR::CameraGeometry::fov},       {"near", &TELLAR::CameraGeometry::near},
    {"far", &TELLAR::CameraGeometry::far},       {"left", &TELLAR::CameraGeometry::left},
    {"right", &TELLAR::CameraGeometry::right},   {"top", &TELLAR::CameraGeometry::top},
    {"bottom", &TELLAR::CameraGeometry::bottom},
};

/// Throws std::runtime_error naming the scene, the path and everything that the location lacks
/// to be a camera.
RenderCamera FindCamera(const Scene& scene, const TELLAR::GeometryProducer::Ptr& root,
                        const std::string& path);

/// Sentences that explain unusual numbers of the camera.
std::vector<std::string> NotesAbout(const TELLAR::CameraInfo& camera);

} // namespace TellarTool

#endif
