#include "RenderCamera.h"

#include <memory>
#include <stdexcept>

#include <OxTellarSDK/Attribute.h>

#include "LocationPaths.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;

/// The values that the location lacks to be a camera. Empty if it is one.
std::string WhatIsMissing(const GeometryProducer::Ptr& location) {
    const GroupAttribute geometry(location->getAttribute("geometry"));
    const std::string type = location->getType();
    if (!geometry.isValid() && type == "camera") return "the location has no group \"geometry\"";
    if (!geometry.isValid())
        return "the location is not a camera" +
               (type.empty() ? "" : ", but of type \"" + type + '"');
    std::string missing;
    for (const LensValue& lens : kLensValues) {
        const Attribute value = geometry.getChildByName(lens.name);
        if (DoubleAttribute(value).isValid()) continue;
        if (!missing.empty()) missing += ", ";
        missing += std::string("\"geometry.") + lens.name +
                   (value.isValid() ? "\" is no double" : "\" is missing");
    }
    return missing;
}

bool IsInvertible(Imath::Matrix44<double> matrix) {
    try {
        matrix.invert(true);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

RenderCamera FindCamera(const Scene& scene, const GeometryProducer::Ptr& root,
                        const std::string& path) {
    const GeometryProducer::Ptr location = root->getProducerByPath(path);
    std::string missing = location ? WhatIsMissing(location)
                                   : "there is no such location" + HintAboutLocation(root, path);
    std::shared_ptr<const TELLAR::CameraInfo> info;
    if (missing.empty()) info = TELLAR::GetCameraInfo(root, path);
    if (info) return {path, location, *info};
    if (missing.empty()) missing = "it cannot be read";
    throw std::runtime_error(scene.getPath() + ": camera \"" + path + "\": " + missing);
}

std::vector<std::string> NotesAbout(const TELLAR::CameraInfo& camera) {
    std::vector<std::string> notes;
    if (camera.orthographic && camera.orthographicWidth == 0)
        notes.emplace_back("the camera is orthographic, but its width is 0: its window has no "
                           "extent (\"geometry.orthographicWidth\" must be a double)");
    if (!IsInvertible(camera.xform))
        notes.emplace_back("the camera's transform cannot be inverted: world to camera counts "
                           "as none");
    return notes;
}

} // namespace TellarTool
