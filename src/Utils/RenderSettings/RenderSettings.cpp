#include <OxTellarProducers/RenderResolution.h>

#include <stdexcept>

#include <OxTellarSDK/TellarError.h>

#include "RenderSettings.h"

using OxAttribute::StringAttribute;

namespace TELLAR {

namespace {

constexpr const char* kCameraName = "renderSettings.cameraName";
constexpr const char* kResolution = "renderSettings.resolution";
constexpr const char* kDefaultCameraPath = "/root/world/cam/camera";

} // namespace

ResolutionTableEntry LookUpResolution(const std::string& name, const char* attribute) {
    const auto table = GetResolutionTable(nullptr);
    if (!table) throw std::runtime_error("GetRenderResolution: Error getting resolution table");
    try {
        return table->getResolution(name);
    } catch (...) {
        throw TellarError::OfAttribute(
            attribute, "FileOut: Error querying resolution table for resolution: '" + name + "'.");
    }
}

std::string RenderCameraPath(const GeometryProducer::Ptr& root) {
    if (!root)
        throw std::runtime_error("No root producer given for determining render camera path.");
    return StringAttribute(root->getAttribute(kCameraName)).getValue(kDefaultCameraPath, false);
}

void GetRenderResolution(std::string* name, int* width, int* height, GeometryProducer::Ptr root) {
    std::string foundName = "square_512";
    int foundWidth = 512;
    int foundHeight = 512;
    const StringAttribute wanted(root ? root->getAttribute(kResolution) : OxAttribute::Attribute());
    if (wanted.isValid()) {
        foundName = wanted.getValue("", false);
        const ResolutionTableEntry entry = LookUpResolution(foundName, kResolution);
        foundWidth = entry.getWidth();
        foundHeight = entry.getHeight();
    }
    if (name) *name = foundName;
    if (width) *width = foundWidth;
    if (height) *height = foundHeight;
}

std::string GetCameraPath(GeometryProducer::Ptr root) {
    if (!root) return {};
    const StringAttribute name(root->getAttribute(kCameraName));
    return name.isValid() ? name.getValue("", false) : kDefaultCameraPath;
}

} // namespace TELLAR
