#include "Materials.h"

#include <string>

#include <OxTellarSDK/GroupBuilder.h>

#include "TinyGltf.h"

#include "Document.h"

namespace TellarSceneImport {

using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

namespace {

// The name of the node and the parameters that it exposes.
constexpr const char* kShader = "surface";
constexpr const char* kPublicParameters[] = {"baseColor", "metalness", "roughness",
                                             "specular",  "emission",  "opacity"};

class NetworkMaker {
public:
    NetworkMaker(const Document& document, const tinygltf::Material& material)
        : document(document), material(material) {}

    GroupAttribute make();

private:
    void setParameters();
    void addTextures();
    void addImage(const std::string& name, int texture, int uvSet, const char* colorSpace,
                  const FloatAttribute& multiply);
    void connect(const char* parameter, const char* port, const std::string& image);

    const Document& document;
    const tinygltf::Material& material;
    GroupBuilder parameters;
    GroupBuilder connections;
    GroupBuilder images;
};

float ToFloat(double value) {
    return static_cast<float>(value);
}

FloatAttribute Color3(const std::vector<double>& c) {
    const float color[3] = {ToFloat(c[0]), ToFloat(c[1]), ToFloat(c[2])};
    return FloatAttribute(color, 3, 3);
}

const char* WrapName(int wrap) {
    if (wrap == TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE) return "clamp";
    return wrap == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT ? "mirror" : "repeat";
}

void NetworkMaker::setParameters() {
    const auto& surface = material.pbrMetallicRoughness;
    const float white[3] = {1, 1, 1};
    parameters.set("baseColor", Color3(surface.baseColorFactor));
    parameters.set("emission", Color3(material.emissiveFactor));
    parameters.set("specular", FloatAttribute(1.0f));
    parameters.set("specularColor", FloatAttribute(white, 3, 3));
    parameters.set("metalness", FloatAttribute(ToFloat(surface.metallicFactor)));
    parameters.set("roughness", FloatAttribute(ToFloat(surface.roughnessFactor)));
    const bool isOpaque = material.alphaMode != "MASK" && material.alphaMode != "BLEND";
    parameters.set("opacity",
                   FloatAttribute(isOpaque ? 1.0f : ToFloat(surface.baseColorFactor[3])));
    if (material.alphaMode == "MASK")
        parameters.set("alphaCutoff", FloatAttribute(ToFloat(material.alphaCutoff)));
    if (material.doubleSided) parameters.set("doubleSided", IntAttribute(1));
}

void NetworkMaker::connect(const char* parameter, const char* port, const std::string& image) {
    connections.set(parameter, StringAttribute(std::string(port) + "@" + image));
}

void NetworkMaker::addImage(const std::string& name, int textureIndex, int uvSet,
                            const char* colorSpace, const FloatAttribute& multiply) {
    const tinygltf::Model& model = document.model();
    const tinygltf::Texture& texture = model.textures[textureIndex];
    const std::string uri = texture.source >= 0 ? model.images[texture.source].uri : "";
    GroupBuilder image;
    image.set("file", StringAttribute(uri.empty() ? "" : document.pathOf(uri)));
    image.set("uvSet", StringAttribute(uvSet > 0 ? "st" + std::to_string(uvSet) : "st"));
    const tinygltf::Sampler sampler =
        texture.sampler >= 0 ? model.samplers[texture.sampler] : tinygltf::Sampler();
    image.set("wrapU", StringAttribute(WrapName(sampler.wrapS)));
    image.set("wrapV", StringAttribute(WrapName(sampler.wrapT)));
    image.set("colorSpace", StringAttribute(colorSpace));
    image.set("multiply", multiply);
    GroupBuilder node;
    node.set("name", StringAttribute(name));
    node.set("type", StringAttribute("image"));
    node.set("parameters", image.build());
    images.set(name, node.build());
}

void NetworkMaker::addTextures() {
    const auto& surface = material.pbrMetallicRoughness;
    const auto exists = [this](int texture) {
        return texture >= 0 && static_cast<std::size_t>(texture) < document.model().textures.size();
    };
    if (const auto& packed = surface.metallicRoughnessTexture; exists(packed.index)) {
        const float factors[3] = {1.0f, ToFloat(surface.roughnessFactor),
                                  ToFloat(surface.metallicFactor)};
        addImage("metalnessRoughnessImage", packed.index, packed.texCoord, "linear",
                 FloatAttribute(factors, 3, 3));
        connect("metalness", "b", "metalnessRoughnessImage");
        connect("roughness", "g", "metalnessRoughnessImage");
    }
    if (const auto& base = surface.baseColorTexture; exists(base.index)) {
        addImage("baseColorImage", base.index, base.texCoord, "srgb",
                 Color3(surface.baseColorFactor));
        connect("baseColor", "out", "baseColorImage");
        if (material.alphaMode == "MASK" || material.alphaMode == "BLEND")
            connect("opacity", "a", "baseColorImage");
    }
    if (const auto& glow = material.emissiveTexture; exists(glow.index)) {
        addImage("emissionImage", glow.index, glow.texCoord, "srgb",
                 Color3(material.emissiveFactor));
        connect("emission", "out", "emissionImage");
    }
    if (const auto& normal = material.normalTexture; exists(normal.index)) {
        addImage("normalImage", normal.index, normal.texCoord, "linear", FloatAttribute());
        connect("normal", "out", "normalImage");
        parameters.set("normalScale", FloatAttribute(ToFloat(normal.scale)));
    }
}

GroupAttribute NetworkMaker::make() {
    setParameters();
    const GroupAttribute values = parameters.build(OxAttribute::BuildAndRetain);
    addTextures();

    GroupBuilder shader;
    shader.set("name", StringAttribute(kShader));
    shader.set("type", StringAttribute("standard_surface"));
    shader.set("parameters", parameters.build());
    if (!connections.isEmpty()) shader.set("connections", connections.build());
    GroupBuilder nodes;
    nodes.set(kShader, shader.build());
    nodes.update(images.build());

    GroupBuilder network;
    network.setGroupInherit(false);
    network.set("style", StringAttribute("network"));
    network.set("nodes", nodes.build());
    for (const std::string name : kPublicParameters) {
        network.set("parameters." + name, values.getChildByName(name));
        network.set("interface." + name + ".src", StringAttribute(kShader + ("." + name)));
    }
    network.set("terminals.surface", StringAttribute(kShader));
    network.set("terminals.surfacePort", StringAttribute("out"));
    return network.build();
}

} // namespace

GroupAttribute MakeGltfMaterial(const Document& document, int material) {
    return NetworkMaker(document, document.model().materials[material]).make();
}

} // namespace TellarSceneImport
