#include "PlyMaterial.h"

#include <OxTellarSDK/GroupBuilder.h>

namespace TellarSceneImport {

using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

namespace {

constexpr const char* kShader = "surface";
constexpr const char* kImage = "baseColorImage";

GroupAttribute Node(const char* name, const char* type, const GroupAttribute& parameters,
                    const GroupAttribute& connections) {
    GroupBuilder node;
    node.set("name", StringAttribute(name));
    node.set("type", StringAttribute(type));
    node.set("parameters", parameters);
    if (connections.isValid()) node.set("connections", connections);
    return node.build();
}

GroupAttribute SurfaceParameters() {
    GroupBuilder parameters;
    parameters.set("baseColor", FloatAttribute({1, 1, 1}, 3));
    parameters.set("emission", FloatAttribute({0, 0, 0}, 3));
    parameters.set("specular", FloatAttribute(0.0f));
    parameters.set("specularColor", FloatAttribute({1, 1, 1}, 3));
    parameters.set("metalness", FloatAttribute(0.0f));
    parameters.set("roughness", FloatAttribute(1.0f));
    parameters.set("opacity", FloatAttribute(1.0f));
    return parameters.build();
}

GroupAttribute ImageNode(const std::string& texture) {
    GroupBuilder image;
    image.set("file", StringAttribute(texture));
    image.set("uvSet", StringAttribute("st"));
    image.set("wrapU", StringAttribute("repeat"));
    image.set("wrapV", StringAttribute("repeat"));
    image.set("colorSpace", StringAttribute("srgb"));
    return Node(kImage, "image", image.build(), {});
}

} // namespace

GroupAttribute MakePlyMaterial(const std::string& texture, bool hasColors) {
    const GroupAttribute published = SurfaceParameters();
    GroupBuilder parameters;
    parameters.update(published);
    // Only the shader has this one, since it says what the mesh is like.
    if (hasColors) parameters.set("vertexColor", IntAttribute(1));
    GroupBuilder connections, nodes;
    if (!texture.empty()) {
        connections.set("baseColor", StringAttribute(std::string("out@") + kImage));
        nodes.set(kImage, ImageNode(texture));
    }
    nodes.set(kShader, Node(kShader, "standard_surface", parameters.build(),
                            connections.isEmpty() ? GroupAttribute() : connections.build()));

    GroupBuilder network;
    network.setGroupInherit(false);
    network.set("style", StringAttribute("network"));
    network.set("nodes", nodes.build());
    network.set("parameters", published);
    for (std::int64_t i = 0; i < published.getNumberOfChildren(); ++i) {
        const std::string name(published.getChildName(i));
        network.set("interface." + name + ".src", StringAttribute(kShader + ("." + name)));
    }
    network.set("terminals.surface", StringAttribute(kShader));
    network.set("terminals.surfacePort", StringAttribute("out"));
    return network.build();
}

} // namespace TellarSceneImport
