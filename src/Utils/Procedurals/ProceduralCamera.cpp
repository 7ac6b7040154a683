#include "ProceduralCamera.h"

#include <algorithm>

#include "RenderSettings.h"

using namespace OxAttribute;

namespace TELLAR {

std::shared_ptr<CameraInfo> FindParameterCamera(const GeometryProducer::Ptr& producer,
                                                const GroupAttribute& procedural,
                                                std::string& cameraPath) {
    const StringAttribute include(procedural.getChildByName("includeCameraInfo"));
    if (include.getValueView() != "As Parameters" || !producer) return nullptr;
    const GroupAttribute options(procedural.getChildByName("cameraInfo"));
    const StringAttribute which(options.getChildByName("whichCamera"));
    const GeometryProducer::Ptr root = producer->getRootProducer();
    cameraPath = which.getValueView() == "Other Camera"
                     ? StringAttribute(options.getChildByName("cameraPath")).getValue("", false)
                     : RenderCameraPath(root);
    return cameraPath.empty() ? nullptr : GetCameraInfo(root, cameraPath);
}

FloatAttribute CameraXform(const CameraInfo& camera) {
    float values[16];
    std::transform(camera.xform.getValue(), camera.xform.getValue() + 16, values,
                   [](double value) { return static_cast<float>(value); });
    return {values, 16, 16};
}

} // namespace TELLAR
