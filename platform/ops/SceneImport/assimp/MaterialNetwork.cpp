#include "MaterialNetwork.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <assimp/scene.h>

#include "MaterialProperties.h"
#include "materials/SurfaceNetwork.h"

namespace TellarSceneImport {

namespace {

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
    NetworkMaker(const aiMaterial& material, const aiScene& scene)
        : properties(material), scene(scene) {}

    OxAttribute::GroupAttribute make();

private:
    void setColors();
    void setSpecular();
    void setSurface();
    void setOptional(const char* parameter, const char* key);
    void setColor(const char* parameter, const Color& color);
    void setNumber(const char* parameter, float number);
    void addTextures();
    void addTexture(const TextureSlot& slot, aiTextureType kind);
    void addPackedTexture();
    void addImage(const std::string& name, aiTextureType kind, bool isColor,
                  std::vector<float> multiply);

    aiTextureType textureFor(const TextureSlot& slot) const;
    float roughness() const;
    std::string textureFile(aiTextureType kind) const;
    std::string wrap(const char* key, aiTextureType kind) const;
    bool texturesScaleFactors() const;
    std::vector<float> factorFor(const std::string& parameter) const;

    const MaterialProperties properties;
    const aiScene& scene;
    SurfaceNetwork network;
    std::map<std::string, std::vector<float>> factors; // values of parameters that may be textured
};

void NetworkMaker::setColors() {
    auto base = properties.color(AI_MATKEY_BASE_COLOR);
    if (!base) base = properties.color(AI_MATKEY_COLOR_DIFFUSE);
    setColor("baseColor", base.value_or(Color{0.8f, 0.8f, 0.8f}));
    const Color emission = properties.color(AI_MATKEY_COLOR_EMISSIVE).value_or(Color{});
    const float strength = properties.number(AI_MATKEY_EMISSIVE_INTENSITY).value_or(1.0f);
    setColor("emission", Scaled(emission, strength));
}

void NetworkMaker::setColor(const char* parameter, const Color& color) {
    network.set(parameter, color);
    factors[parameter] = {color.begin(), color.end()};
}

void NetworkMaker::setNumber(const char* parameter, float number) {
    network.set(parameter, number);
    factors[parameter] = {number};
}

void NetworkMaker::setSpecular() {
    const auto color = properties.color(AI_MATKEY_COLOR_SPECULAR);
    const float weight = color ? Largest(*color) : 1.0f;
    setNumber("specular", weight);
    setColor("specularColor",
             color && weight > 0.0f ? Scaled(*color, 1.0f / weight) : Color{1, 1, 1});
}

float NetworkMaker::roughness() const {
    if (const auto given = properties.number(AI_MATKEY_ROUGHNESS_FACTOR)) return *given;
    const auto exponent = properties.number(AI_MATKEY_SHININESS);
    return exponent ? RoughnessOfExponent(*exponent) : 0.5f;
}

void NetworkMaker::setSurface() {
    setNumber("metalness", properties.number(AI_MATKEY_METALLIC_FACTOR).value_or(0.0f));
    setNumber("roughness", roughness());
    setNumber("opacity", properties.number(AI_MATKEY_OPACITY).value_or(1.0f));
    // Files that do not know the value say 1.
    if (properties.number(AI_MATKEY_REFRACTI).value_or(1.0f) > 1.0f)
        setOptional("ior", "$mat.refracti");
    setOptional("transmission", "$mat.transmission.factor");
    setOptional("coat", "$mat.clearcoat.factor");
    setOptional("coatRoughness", "$mat.clearcoat.roughnessFactor");
    if (properties.number(AI_MATKEY_TWOSIDED).value_or(0.0f) != 0.0f) network.set("doubleSided", 1);
}

void NetworkMaker::setOptional(const char* parameter, const char* key) {
    if (const auto value = properties.number(key)) network.set(parameter, *value);
}

// Whether textures are multiplied by the parameter's number, as in OBJ, instead of replacing it.
// Only OBJ materials have an illumination model number.
bool NetworkMaker::texturesScaleFactors() const {
    return properties.number("$mat.illum").has_value();
}

std::vector<float> NetworkMaker::factorFor(const std::string& parameter) const {
    const auto found = factors.find(parameter);
    return texturesScaleFactors() && found != factors.end() ? found->second : std::vector<float>();
}

aiTextureType NetworkMaker::textureFor(const TextureSlot& slot) const {
    for (const aiTextureType kind : slot.kinds)
        if (kind != aiTextureType_NONE && !textureFile(kind).empty()) return kind;
    return aiTextureType_NONE;
}

// Files may refer to an embedded texture by the name of the file that it was once.
std::string NetworkMaker::textureFile(aiTextureType kind) const {
    const std::string file = properties.text(kTextureFile, kind);
    if (file.empty()) return {};
    const int embedded = scene.GetEmbeddedTextureAndIndex(file.c_str()).second;
    return embedded >= 0 ? "*" + std::to_string(embedded) : file;
}

std::string NetworkMaker::wrap(const char* key, aiTextureType kind) const {
    static constexpr const char* kNames[] = {"repeat", "clamp", "mirror", "decal"};
    const float mode = properties.number(key, kind).value_or(0.0f);
    return kNames[mode >= 1 && mode <= 3 ? static_cast<int>(mode) : 0];
}

void NetworkMaker::addImage(const std::string& name, aiTextureType kind, bool isColor,
                            std::vector<float> multiply) {
    ImageNode image;
    image.file = textureFile(kind);
    const float uvSet = properties.number("$tex.uvwsrc", kind).value_or(0.0f);
    if (uvSet >= 1.0f && uvSet < 100.0f) image.uvSet = static_cast<int>(uvSet);
    image.wrapU = wrap("$tex.mapmodeu", kind);
    image.wrapV = wrap("$tex.mapmodev", kind);
    image.isColor = isColor;
    const std::vector<float> transform = properties.numbers("$tex.uvtrafo", kind);
    if (transform.size() == 5 && transform != std::vector<float>{0, 0, 1, 1, 0})
        image.uvTransform = transform;
    image.multiply = std::move(multiply);
    network.addImage(name, image);
}

void NetworkMaker::addTexture(const TextureSlot& slot, aiTextureType kind) {
    const std::string name = std::string(slot.parameter) + "Image";
    addImage(name, kind, slot.isColor, factorFor(slot.parameter));
    network.connect(slot.parameter, "out", name);
    auto strength = properties.number("$tex.bumpmult", kind);
    if (!strength) strength = properties.number("$tex.scale", kind);
    if (strength && !slot.isColor) network.set(std::string(slot.parameter) + "Scale", *strength);
}

// Adds one texture for two inputs: roughness in green, metalness in blue.
void NetworkMaker::addPackedTexture() {
    const std::string name = "metalnessRoughnessImage";
    addImage(name, aiTextureType_METALNESS, false,
             {1.0f, factors["roughness"][0], factors["metalness"][0]});
    network.connect("metalness", "b", name);
    network.connect("roughness", "g", name);
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

OxAttribute::GroupAttribute NetworkMaker::make() {
    setColors();
    setSpecular();
    setSurface();
    addTextures();
    return network.build();
}

} // namespace

OxAttribute::GroupAttribute MakeMaterialNetwork(const aiMaterial& material, const aiScene& scene) {
    return NetworkMaker(material, scene).make();
}

} // namespace TellarSceneImport
