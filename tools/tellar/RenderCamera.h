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

/// Throws std::runtime_error naming the scene, the path and everything that the location lacks
/// to be a camera.
RenderCamera FindCamera(const Scene& scene, const TELLAR::GeometryProducer::Ptr& root,
                        const std::string& path);

/// What somebody who wonders about the numbers should know.
std::vector<std::string> NotesAbout(const TELLAR::CameraInfo& camera);

} // namespace TellarTool

#endif
