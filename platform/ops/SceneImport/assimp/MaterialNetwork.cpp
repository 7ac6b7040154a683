#include "MaterialNetwork.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <assimp/GltfMaterial.h>

#include <OxTellarSDK/GroupBuilder.h>

#include "MaterialProperties.h"

namespace TellarSceneImport {

using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

namespace {

using Color = std::array<float, 3>;

// The name of the node and the parameters that it exposes.
constexpr const char* kShader = "surface";
constexpr const char* kPublicParameters[] = {"baseColor", "metalness", "roughness",
                                             "specular",  "emission",  "opacity"};

// A shader parameter that a texture may drive, and the kinds of texture, best first.
struct TextureSlot {
    const char* parameter;
    aiTextureType kinds[2];
    bool isColor;
};

constexpr TextureSlot kSlots[] = {
    {"baseColor", {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE}, true},
    {"metalness", {aiTextureType_METALNESS, aiTextureType_NONE}, false},
    {"roughness", {aiTextureType_DIFFUSE_ROUGHNESS, aiTextureType_NONE}, false},
    {"specularColor", {aiTextureType_SPECULAR, aiTextureType_NONE}, true},
    {"emission", {aiTextureType_EMISSION_COLOR, aiTextureType_EMISSIVE}, true},
    {"opacity", {aiTextureType_OPACITY, aiTextureType_NONE}, false},
    {"normal", {aiTextureType_NORMALS, aiTextureType_NORMAL_CAMERA}, false},
    {"bump", {aiTextureType_HEIGHT, aiTextureType_NONE}, false},
};

constexpr const char* kTextureFile = "$tex.file";

class NetworkMaker {
public:
    NetworkMaker(const aiMaterial& material, const std::filesystem::path& folder)
        : properties(material), folder(folder) {}

    GroupAttribute make();

private:
    void setColors();
    void setSpecular();
    void setSurface();
    void setOptional(const char* parameter, const char* key);
    void addTextures();
    void addTexture(const TextureSlot& slot, aiTextureType kind);
    void addPackedTexture();
    void addImage(const std::string& name, aiTextureType kind, bool isColor,
                  const FloatAttribute& multiply);
    void connect(const char* parameter, const std::string& port, const std::string& image);

    aiTextureType textureFor(const TextureSlot& slot) const;
    std::string textureFile(aiTextureType kind) const;
    bool isGltf() const { return !properties.text(AI_MATKEY_GLTF_ALPHAMODE).empty(); }
    bool isCutOut() const;
    bool texturesScaleFactors() const;
    FloatAttribute factorFor(const char* parameter) const;

    const MaterialProperties properties;
    const std::filesystem::path& folder;
    GroupBuilder parameters;
    GroupBuilder connections;
    GroupBuilder images;
    GroupAttribute values; // parameters, when all are set
};

FloatAttribute Color3(const Color& color) {
    return FloatAttribute(color.data(), 3, 3);
}

float Largest(const Color& color) {
    return std::max({color[0], color[1], color[2], 0.0f});
}

Color Scaled(const Color& color, float factor) {
    return {color[0] * factor, color[1] * factor, color[2] * factor};
}

// The roughness r of the microfacet lobe that looks like a highlight with exponent n:
// r^4 = 2 / (n + 2).
float RoughnessOfExponent(float exponent) {
    return std::pow(2.0f / (std::max(exponent, 0.0f) + 2.0f), 0.25f);
}

void NetworkMaker::setColors() {
    auto base = properties.color(AI_MATKEY_BASE_COLOR);
    if (!base) base = properties.color(AI_MATKEY_COLOR_DIFFUSE);
    parameters.set("baseColor", Color3(base.value_or(Color{0.8f, 0.8f, 0.8f})));
    const Color emission = properties.color(AI_MATKEY_COLOR_EMISSIVE).value_or(Color{});
    const float strength = properties.number(AI_MATKEY_EMISSIVE_INTENSITY).value_or(1.0f);
    parameters.set("emission", Color3(Scaled(emission, strength)));
}

void NetworkMaker::setSpecular() {
    const auto color = isGltf() ? std::nullopt : properties.color(AI_MATKEY_COLOR_SPECULAR);
    const float weight = color ? Largest(*color) : 1.0f;
    parameters.set("specular", FloatAttribute(weight));
    parameters.set("specularColor",
                   Color3(color && weight > 0.0f ? Scaled(*color, 1.0f / weight) : Color{1, 1, 1}));
}

void NetworkMaker::setSurface() {
    const float metalness = properties.number(AI_MATKEY_METALLIC_FACTOR).value_or(0.0f);
    parameters.set("metalness", FloatAttribute(metalness));
    auto roughness = properties.number(AI_MATKEY_ROUGHNESS_FACTOR);
    if (const auto exponent = properties.number(AI_MATKEY_SHININESS); exponent && !roughness)
        roughness = RoughnessOfExponent(*exponent);
    parameters.set("roughness", FloatAttribute(roughness.value_or(0.5f)));

    const bool isOpaque = isGltf() && !isCutOut();
    const float opacity = properties.number(AI_MATKEY_OPACITY).value_or(1.0f);
    parameters.set("opacity", FloatAttribute(isOpaque ? 1.0f : opacity));
    if (isGltf() && properties.text(AI_MATKEY_GLTF_ALPHAMODE) == "MASK")
        setOptional("alphaCutoff", "$mat.gltf.alphaCutoff");
    // Files that do not know the value say 1.
    if (properties.number(AI_MATKEY_REFRACTI).value_or(1.0f) > 1.0f)
        setOptional("ior", "$mat.refracti");
    setOptional("transmission", "$mat.transmission.factor");
    setOptional("coat", "$mat.clearcoat.factor");
    setOptional("coatRoughness", "$mat.clearcoat.roughnessFactor");
    if (properties.number(AI_MATKEY_TWOSIDED).value_or(0.0f) != 0.0f)
        parameters.set("doubleSided", IntAttribute(1));
}

void NetworkMaker::setOptional(const char* parameter, const char* key) {
    if (const auto value = properties.number(key))
        parameters.set(parameter, FloatAttribute(*value));
}

// The alpha of glTF matters only in these two modes.
bool NetworkMaker::isCutOut() const {
    const std::string mode = properties.text(AI_MATKEY_GLTF_ALPHAMODE);
    return mode == "MASK" || mode == "BLEND";
}

// In glTF and OBJ a texture is multiplied by the number of the parameter; elsewhere it replaces the
// number. Only OBJ materials have an illumination model number.
bool NetworkMaker::texturesScaleFactors() const {
    return isGltf() || properties.number("$mat.illum").has_value();
}

FloatAttribute NetworkMaker::factorFor(const char* parameter) const {
    return texturesScaleFactors() ? FloatAttribute(values.getChildByName(parameter))
                                  : FloatAttribute();
}

aiTextureType NetworkMaker::textureFor(const TextureSlot& slot) const {
    for (const aiTextureType kind : slot.kinds)
        if (kind != aiTextureType_NONE && !textureFile(kind).empty()) return kind;
    return aiTextureType_NONE;
}

// Textures inside the scene file keep Assimp's name for them, "*0".
std::string NetworkMaker::textureFile(aiTextureType kind) const {
    std::string file = properties.text(kTextureFile, kind);
    if (file.empty() || file[0] == '*') return file;
    std::replace(file.begin(), file.end(), '\\', '/');
    const bool hasDrive = file.size() > 1 && file[1] == ':';
    if (hasDrive || file.find("://") != std::string::npos) return file;
    return (folder / file).lexically_normal().generic_string();
}

void NetworkMaker::addImage(const std::string& name, aiTextureType kind, bool isColor,
                            const FloatAttribute& multiply) {
    static constexpr const char* kWrapNames[] = {"repeat", "clamp", "mirror", "decal"};
    GroupBuilder image;
    image.set("file", StringAttribute(textureFile(kind)));
    const float uvSet = properties.number("$tex.uvwsrc", kind).value_or(0.0f);
    image.set("uvSet", StringAttribute(uvSet >= 1.0f && uvSet < 100.0f
                                           ? "st" + std::to_string(static_cast<int>(uvSet))
                                           : "st"));
    for (const auto& [parameter, key] :
         {std::pair("wrapU", "$tex.mapmodeu"), std::pair("wrapV", "$tex.mapmodev")}) {
        const float mode = properties.number(key, kind).value_or(0.0f);
        image.set(parameter, StringAttribute(kWrapNames[mode >= 1 && mode <= 3 ? int(mode) : 0]));
    }
    image.set("colorSpace", StringAttribute(isColor ? "srgb" : "linear"));
    const std::vector<float> transform = properties.numbers("$tex.uvtrafo", kind);
    if (transform.size() == 5 && transform != std::vector<float>{0, 0, 1, 1, 0})
        image.set("uvTransform", FloatAttribute(transform, 5));
    image.set("multiply", multiply);

    GroupBuilder node;
    node.set("name", StringAttribute(name));
    node.set("type", StringAttribute("image"));
    node.set("parameters", image.build());
    images.set(name, node.build());
}

void NetworkMaker::connect(const char* parameter, const std::string& port,
                           const std::string& image) {
    connections.set(parameter, StringAttribute(port + "@" + image));
}

void NetworkMaker::addTexture(const TextureSlot& slot, aiTextureType kind) {
    const std::string name = std::string(slot.parameter) + "Image";
    addImage(name, kind, slot.isColor, factorFor(slot.parameter));
    connect(slot.parameter, "out", name);
    if (kind == aiTextureType_BASE_COLOR && isGltf() && isCutOut()) connect("opacity", "a", name);
    auto strength = properties.number("$tex.bumpmult", kind);
    if (!strength) strength = properties.number("$tex.scale", kind);
    if (strength && !slot.isColor)
        parameters.set(std::string(slot.parameter) + "Scale", FloatAttribute(*strength));
}

// One file for both, as glTF has it: roughness in green, metalness in blue.
void NetworkMaker::addPackedTexture() {
    const float roughness = FloatAttribute(values.getChildByName("roughness")).getValue();
    const float metalness = FloatAttribute(values.getChildByName("metalness")).getValue();
    const std::string name = "metalnessRoughnessImage";
    addImage(name, aiTextureType_METALNESS, false, Color3({1.0f, roughness, metalness}));
    connect("metalness", "b", name);
    connect("roughness", "g", name);
}

void NetworkMaker::addTextures() {
    const std::string metalnessFile = textureFile(aiTextureType_METALNESS);
    const bool isPacked =
        !metalnessFile.empty() && metalnessFile == textureFile(aiTextureType_DIFFUSE_ROUGHNESS);
    if (isPacked) addPackedTexture();
    for (const TextureSlot& slot : kSlots) {
        const aiTextureType kind = textureFor(slot);
        const bool isDone = isPacked && (kind == aiTextureType_METALNESS ||
                                         kind == aiTextureType_DIFFUSE_ROUGHNESS);
        if (kind != aiTextureType_NONE && !isDone) addTexture(slot, kind);
    }
}

GroupAttribute NetworkMaker::make() {
    setColors();
    setSpecular();
    setSurface();
    values = parameters.build(OxAttribute::BuildAndRetain);
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

GroupAttribute MakeMaterialNetwork(const aiMaterial& material,
                                   const std::filesystem::path& folder) {
    return NetworkMaker(material, folder).make();
}

} // namespace TellarSceneImport
