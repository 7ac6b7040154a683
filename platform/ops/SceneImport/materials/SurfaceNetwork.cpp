#include "SurfaceNetwork.h"

#include <algorithm>
#include <cmath>

namespace TellarSceneImport {

using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

namespace {

constexpr const char* kShader = "surface";
constexpr const char* kPublicParameters[] = {"baseColor", "metalness", "roughness",
                                             "specular",  "emission",  "opacity"};

FloatAttribute Numbers(const std::vector<float>& numbers) {
    return FloatAttribute(numbers, static_cast<std::int64_t>(numbers.size()));
}

} // namespace

void SurfaceNetwork::set(const std::string& parameter, float value) {
    parameters.set(parameter, FloatAttribute(value));
}

void SurfaceNetwork::set(const std::string& parameter, const Color& color) {
    parameters.set(parameter, FloatAttribute(color.data(), 3, 3));
}

void SurfaceNetwork::set(const std::string& parameter, int value) {
    parameters.set(parameter, IntAttribute(value));
}

void SurfaceNetwork::addImage(const std::string& name, const ImageNode& image) {
    GroupBuilder values;
    values.set("file", StringAttribute(image.file));
    values.set("uvSet",
               StringAttribute(image.uvSet > 0 ? "st" + std::to_string(image.uvSet) : "st"));
    values.set("wrapU", StringAttribute(image.wrapU));
    values.set("wrapV", StringAttribute(image.wrapV));
    values.set("colorSpace", StringAttribute(image.isColor ? "srgb" : "linear"));
    if (!image.uvTransform.empty()) values.set("uvTransform", Numbers(image.uvTransform));
    if (!image.multiply.empty()) values.set("multiply", Numbers(image.multiply));

    GroupBuilder node;
    node.set("name", StringAttribute(name));
    node.set("type", StringAttribute("image"));
    node.set("parameters", values.build());
    nodes.set(name, node.build());
}

void SurfaceNetwork::addNode(const std::string& name, const std::string& type,
                             const GroupAttribute& inputs) {
    GroupBuilder node;
    node.set("name", StringAttribute(name));
    node.set("type", StringAttribute(type));
    node.set("connections", inputs);
    nodes.set(name, node.build());
}

void SurfaceNetwork::connect(const std::string& input, const std::string& port,
                             const std::string& node) {
    connections.set(input, StringAttribute(port + "@" + node));
}

GroupAttribute SurfaceNetwork::shader(const GroupAttribute& values) {
    GroupBuilder node;
    node.set("name", StringAttribute(kShader));
    node.set("type", StringAttribute("standard_surface"));
    node.set("parameters", values);
    if (!connections.isEmpty()) node.set("connections", connections.build());
    return node.build();
}

GroupAttribute SurfaceNetwork::build() {
    const GroupAttribute values = parameters.build();
    GroupBuilder all;
    all.set(kShader, shader(values));
    all.update(nodes.build());

    GroupBuilder network;
    network.setGroupInherit(false);
    network.set("style", StringAttribute("network"));
    network.set("nodes", all.build());
    for (const std::string name : kPublicParameters) {
        network.set("parameters." + name, values.getChildByName(name));
        network.set("interface." + name + ".src", StringAttribute(kShader + ("." + name)));
    }
    network.set("terminals.surface", StringAttribute(kShader));
    network.set("terminals.surfacePort", StringAttribute("out"));
    return network.build();
}

float Largest(const Color& color) {
    return std::max({color[0], color[1], color[2], 0.0f});
}

Color Scaled(const Color& color, float factor) {
    return {color[0] * factor, color[1] * factor, color[2] * factor};
}

// r^4 = 2 / (n + 2).
float RoughnessOfExponent(float exponent) {
    return std::pow(2.0f / (std::max(exponent, 0.0f) + 2.0f), 0.25f);
}

} // namespace TellarSceneImport
