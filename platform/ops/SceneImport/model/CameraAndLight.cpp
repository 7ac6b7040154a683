#include "CameraAndLight.h"

#include <algorithm>
#include <cmath>

#include <OxTellarSDK/GroupBuilder.h>

namespace TellarSceneImport {

using OxAttribute::DoubleAttribute;
using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::StringAttribute;

namespace {

FloatAttribute Color3(const std::array<float, 3>& color) {
    return FloatAttribute(color.data(), 3, 3);
}

} // namespace

void ImportedLight::setColor(float red, float green, float blue) {
    intensity = std::max({red, green, blue, 0.0f});
    if (intensity > 0.0f && std::isfinite(intensity))
        color = {red / intensity, green / intensity, blue / intensity};
}

GroupAttribute CameraGeometry(const ImportedCamera& camera) {
    const double top = camera.aspect > 0.0 ? 1.0 / camera.aspect : 1.0;
    GroupBuilder geometry;
    geometry.set("fov", DoubleAttribute(camera.fieldOfView));
    geometry.set("near", DoubleAttribute(camera.nearClip));
    geometry.set("far", DoubleAttribute(camera.farClip));
    geometry.set("left", DoubleAttribute(-1.0));
    geometry.set("right", DoubleAttribute(1.0));
    geometry.set("bottom", DoubleAttribute(-top));
    geometry.set("top", DoubleAttribute(top));
    const bool isOrthographic = camera.orthographicWidth > 0.0;
    geometry.set("projection", StringAttribute(isOrthographic ? "orthographic" : "perspective"));
    if (isOrthographic)
        geometry.set("orthographicWidth", DoubleAttribute(camera.orthographicWidth));
    return geometry.build();
}

GroupAttribute LightParameters(const ImportedLight& light) {
    GroupBuilder parameters;
    parameters.set("type", StringAttribute(light.type));
    parameters.set("color", Color3(light.color));
    parameters.set("intensity", FloatAttribute(light.intensity));
    parameters.set("decay", Color3(light.decay));
    if (light.type == "spot") {
        parameters.set("coneInner", FloatAttribute(light.coneInner));
        parameters.set("coneOuter", FloatAttribute(light.coneOuter));
    }
    if (light.type == "area") parameters.set("size", FloatAttribute(light.size.data(), 2, 2));
    if (light.range > 0.0f) parameters.set("range", FloatAttribute(light.range));
    return parameters.build();
}

GroupAttribute LightNetwork(const ImportedLight& light) {
    GroupBuilder parameters;
    parameters.update(LightParameters(light));
    parameters.del("type"); // equal to the type of the node
    GroupBuilder network;
    network.setGroupInherit(false);
    network.set("style", StringAttribute("network"));
    network.set("nodes.light.name", StringAttribute("light"));
    network.set("nodes.light.type", StringAttribute(light.type + "_light"));
    network.set("nodes.light.parameters", parameters.build());
    network.set("parameters.color", Color3(light.color));
    network.set("parameters.intensity", FloatAttribute(light.intensity));
    network.set("interface.color.src", StringAttribute("light.color"));
    network.set("interface.intensity.src", StringAttribute("light.intensity"));
    network.set("terminals.light", StringAttribute("light"));
    network.set("terminals.lightPort", StringAttribute("out"));
    return network.build();
}

} // namespace TellarSceneImport
