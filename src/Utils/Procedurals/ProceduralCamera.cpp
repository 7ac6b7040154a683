#include "ProceduralCamera.h"

#include <algorithm>

#include "RenderSettings.h"

using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

CameraInfoMode ReadCameraOptions(const boost::intrusive_ptr<GeometryProducer>& producer,
                                 const GroupAttribute& procedural, std::string& cameraPath) {
    const GroupAttribute options(procedural.getChildByName("cameraInfo"));
    const StringAttribute which(options.getChildByName("whichCamera"));
    if (which.getValueView() == "Other Camera")
        cameraPath = StringAttribute(options.getChildByName("cameraPath")).getValue("", false);
    else
        cameraPath = producer ? RenderCameraPath(producer->getRootProducer()) : std::string();

    const StringAttribute include(procedural.getChildByName("includeCameraInfo"));
    if (include.getValueView() == "As Parameters") return CameraInfoMode::AsParameters;
    if (include.getValueView() == "As Attributes") return CameraInfoMode::AsAttributes;
    return CameraInfoMode::None;
}

std::shared_ptr<CameraInfo>
FindParameterCamera(const boost::intrusive_ptr<GeometryProducer>& producer,
                    const GroupAttribute& procedural, std::string& cameraPath) {
    const CameraInfoMode mode = ReadCameraOptions(producer, procedural, cameraPath);
    if (mode != CameraInfoMode::AsParameters || cameraPath.empty() || !producer) return nullptr;
    return GetCameraInfo(producer->getRootProducer(), cameraPath);
}

FloatAttribute CameraXform(const CameraInfo& camera) {
    float values[16];
    std::transform(camera.xform.getValue(), camera.xform.getValue() + 16, values,
                   [](double value) { return static_cast<float>(value); });
    return {values, 16, 16};
}

} // namespace TELLAR
