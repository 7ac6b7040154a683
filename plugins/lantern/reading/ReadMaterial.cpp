#include "reading/ReadMaterial.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <limits>
#include <utility>

namespace lantern {

const MaterialDraft::Slot MaterialDraft::slots[] = {
    {"baseColor", &Material::baseColorTexture, true},
    {"emission", &Material::emissionTexture, true},
    {"specular", &Material::specularTexture, false},
    {"metalness", &Material::metalnessTexture, false},
    {"roughness", &Material::roughnessTexture, false},
    {"opacity", &Material::opacityTexture, false},
    {"transmission", &Material::transmissionTexture, false},
    {"normal", &Material::normalTexture, false},
};

namespace {

using Warn = std::function<void(const std::string& what)>;

constexpr float kHuge = std::numeric_limits<float>::max();

struct ColorInput {
    const char* name;
    Color Material::*value;
    float most;
};
constexpr ColorInput kColors[] = {
    {"baseColor", &Material::baseColor, 1},
    {"emission", &Material::emission, kHuge},
    {"specularColor", &Material::specularColor, 1},
};

struct NumberInput {
    const char* name;
    float Material::*value;
    float least, most;
};
constexpr NumberInput kNumbers[] = {
    {"specular", &Material::specular, 0, 1},
    {"metalness", &Material::metalness, 0, 1},
    {"roughness", &Material::roughness, 0, 1},
    {"ior", &Material::ior, 1, 1000},
    {"transmission", &Material::transmission, 0, 1},
    {"coat", &Material::coat, 0, 1},
    {"coatRoughness", &Material::coatRoughness, 0, 1},
    {"opacity", &Material::opacity, 0, 1},
    {"alphaCutoff", &Material::alphaCutoff, -1, 1},
    {"normalScale", &Material::normalScale, -kHuge, kHuge},
};

/// Assigns the shader's own defaults; false for an unknown shader.
bool SetDefaults(const std::string& type, Material& material) {
    if (type == "matte") material.specular = 0;
    if (type == "metal") material.metalness = 1;
    if (type == "glass") {
        material.transmission = 1;
        material.roughness = 0;
    }
    if (type == "emitter") {
        material.baseColor = Color(0);
        material.emission = Color(1);
        material.specular = 0;
    }
    const char* const known[] = {"standard_surface", "matte", "plastic", "metal", "glass",
                                 "emitter"};
    return std::find(std::begin(known), std::end(known), type) != std::end(known);
}

const char* const kImage = "image";
const char* const kConstant = "constant";

/// 0 to 3 for a single channel, -1 for all.
int ChannelOf(const std::string& port) {
    const auto place = std::string("rgba").find(port);
    return port.size() == 1 && place != std::string::npos ? static_cast<int>(place) : -1;
}

std::vector<float> FiniteNumbers(const Attribute& value) {
    std::vector<float> numbers = value.floatsNearest();
    const auto isFinite = [](float number) { return std::isfinite(number); };
    if (!std::all_of(numbers.begin(), numbers.end(), isFinite)) numbers.clear();
    return numbers;
}

Texture::Wrap ReadWrap(const Attribute& mode) {
    if (mode.isTextEqual("clamp")) return Texture::Wrap::Clamp;
    if (mode.isTextEqual("mirror")) return Texture::Wrap::Mirror;
    if (mode.isTextEqual("decal") || mode.isTextEqual("black")) return Texture::Wrap::Black;
    return Texture::Wrap::Repeat;
}

/// Whether a file whose color space is not given holds sRGB: colors do, except in ".exr" and
/// ".hdr".
bool IsSrgbByItself(const std::string& file, bool isColor) {
    std::string extension = file.substr(std::min(file.rfind('.'), file.size()));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return isColor && extension != ".exr" && extension != ".hdr";
}

class MaterialReader {
public:
    MaterialReader(const ShadingNetwork& network, const ShadingNode& shader,
                   const TextureFileOf& textureFileOf, const Warn& warn)
        : network(network), shader(shader), textureFileOf(textureFileOf), warn(warn) {}

    MaterialDraft read();

private:
    void readColor(const ColorInput& color);
    void readNumber(const NumberInput& number);
    void readTextures();
    Attribute valueOf(const std::string& input) const;
    Attribute constantOf(const ShadingConnection& connection) const;
    std::optional<Texture> readTexture(const MaterialDraft::Slot& slot) const;
    std::optional<std::string> fileOf(const ShadingNode& image, const std::string& name) const;
    void readImage(const ShadingNode& image, Texture& texture) const;
    Color multiplyOf(const ShadingNode& image, const Texture& texture) const;
    void warnOfUnreadInputs() const;
    std::string input(const char* name) const;

    const ShadingNetwork& network;
    const ShadingNode& shader;
    const TextureFileOf& textureFileOf;
    const Warn& warn;
    MaterialDraft draft;
};

MaterialDraft MaterialReader::read() {
    if (!SetDefaults(shader.type(), draft.values))
        warn("the shader \"" + shader.type() +
             "\" is not known; it is drawn as a standard surface");
    for (const ColorInput& color : kColors)
        readColor(color);
    for (const NumberInput& number : kNumbers)
        readNumber(number);
    draft.values.isDoubleSided = valueOf("doubleSided").number(1) != 0;
    readTextures();
    warnOfUnreadInputs();
    return std::move(draft);
}

/// The name among the input's aliases that the shader uses.
std::string MaterialReader::input(const char* name) const {
    if (name != std::string("baseColor")) return name;
    for (const char* const other : {"baseColor", "color", "Kd", "diffuse"})
        if (shader.parameter(other) || shader.connection(other)) return other;
    return name;
}

/// The value of a connected constant, or else of the input itself.
Attribute MaterialReader::valueOf(const std::string& input) const {
    const std::optional<ShadingConnection> connection = shader.connection(input);
    const Attribute constant = connection ? constantOf(*connection) : Attribute();
    return constant ? constant : shader.parameter(input);
}

Attribute MaterialReader::constantOf(const ShadingConnection& connection) const {
    const std::optional<ShadingNode> node = network.find(connection.node);
    if (!node || node->type() != kConstant) return {};
    const Attribute value = node->parameter("value");
    Attribute whole = value ? value : node->parameter("color");
    const int channel = ChannelOf(connection.port);
    const std::vector<float> numbers = whole.floatsNearest();
    if (channel < 0 || static_cast<std::size_t>(channel) >= numbers.size()) return whole;
    const auto& suite = whole.suite();
    return Attribute::owning(suite,
                             suite.createFloat(&numbers[static_cast<std::size_t>(channel)], 1, 1));
}

void MaterialReader::readColor(const ColorInput& color) {
    const Attribute value = valueOf(input(color.name));
    if (!value) return;
    const std::vector<float> numbers = FiniteNumbers(value);
    if (numbers.size() != 1 && numbers.size() < 3)
        return warn("\"" + std::string(color.name) + "\" of its material is no colour");
    Color& own = draft.values.*color.value;
    own = numbers.size() == 1 ? Color(numbers[0]) : Color(numbers[0], numbers[1], numbers[2]);
    for (int i = 0; i < 3; ++i)
        own[i] = std::clamp(own[i], 0.0f, color.most);
}

void MaterialReader::readNumber(const NumberInput& number) {
    const Attribute value = valueOf(number.name);
    if (!value) return;
    const std::vector<float> numbers = FiniteNumbers(value);
    if (numbers.empty())
        return warn("\"" + std::string(number.name) + "\" of its material is no number");
    float sum = 0; // a color stands for its mean
    for (const float one : numbers)
        sum += one;
    draft.values.*number.value =
        std::clamp(sum / static_cast<float>(numbers.size()), number.least, number.most);
}

void MaterialReader::readTextures() {
    for (std::size_t i = 0; i < MaterialDraft::kSlots; ++i)
        draft.textures[i] = readTexture(MaterialDraft::slots[i]);
}

std::optional<Texture> MaterialReader::readTexture(const MaterialDraft::Slot& slot) const {
    const std::string name = input(slot.input);
    const std::optional<ShadingConnection> connection = shader.connection(name);
    const bool takesAll = slot.isColor || slot.input == std::string("normal");
    Texture texture;
    if (!connection) {
        const std::optional<std::string> file = textureFileOf(name);
        if (!file) return {};
        texture.file = *file;
        texture.isSrgb = IsSrgbByItself(*file, slot.isColor);
        texture.channel = takesAll ? -1 : 0;
        return texture;
    }
    const std::optional<ShadingNode> node = network.find(connection->node);
    if (node && node->type() == kConstant) return {};
    const bool isImage = node && node->type() == kImage;
    const std::optional<std::string> file = isImage ? fileOf(*node, name) : std::nullopt;
    if (!file) {
        const std::string what = !node     ? "a node that is not there"
                                 : isImage ? "an image without a file"
                                           : "a node of the type \"" + node->type() + "\"";
        warn("\"" + name + "\" of its material is fed by " + what + "; its own value is used");
        return {};
    }
    texture.file = *file;
    texture.channel = ChannelOf(connection->port);
    if (texture.channel < 0 && !takesAll) texture.channel = 0;
    texture.isSrgb = IsSrgbByItself(*file, slot.isColor);
    readImage(*node, texture);
    return texture;
}

std::optional<std::string> MaterialReader::fileOf(const ShadingNode& image,
                                                  const std::string& name) const {
    const Attribute attribute = image.parameter("attribute");
    if (attribute.isText())
        if (auto file = textureFileOf(attribute.text())) return file;
    std::string file = image.parameter("file").text();
    return file.empty() ? textureFileOf(name) : file;
}

void MaterialReader::readImage(const ShadingNode& image, Texture& texture) const {
    texture.uvSet = image.parameter("uvSet").text("st");
    texture.wrapU = ReadWrap(image.parameter("wrapU"));
    texture.wrapV = ReadWrap(image.parameter("wrapV"));
    const Attribute space = image.parameter("colorSpace");
    if (space.isText()) texture.isSrgb = space.isTextEqual("srgb");
    if (texture.channel == 3) texture.isSrgb = false; // alpha is always linear
    texture.multiply = multiplyOf(image, texture);
    const std::vector<float> transform = FiniteNumbers(image.parameter("uvTransform"));
    if (transform.size() < 5) return;
    texture.uvOffset = V2f(transform[0], transform[1]);
    texture.uvScale = V2f(transform[2], transform[3]);
    texture.uvTurn = transform[4];
}

/// The factor of a single channel is the first component.
Color MaterialReader::multiplyOf(const ShadingNode& image, const Texture& texture) const {
    const std::vector<float> factors = FiniteNumbers(image.parameter("multiply"));
    if (factors.empty()) return Color(1);
    const auto at = [&](int channel) {
        return factors[std::min(static_cast<std::size_t>(channel), factors.size() - 1)];
    };
    if (texture.channel < 0) return {at(0), at(1), at(2)};
    // The factors of a color do not apply to its alpha, which the surface's opacity multiplies.
    if (texture.channel == 3 && factors.size() == 3) return Color(draft.values.opacity);
    return Color(at(texture.channel));
}

void MaterialReader::warnOfUnreadInputs() const {
    const char* const unread[] = {"specularColor", "ior", "coat", "coatRoughness", "bump"};
    for (const char* const name : unread) {
        const std::optional<ShadingConnection> connection = shader.connection(name);
        if (connection && !constantOf(*connection))
            warn("\"" + std::string(name) + "\" of its material has a texture, which is left out");
    }
    for (const MaterialDraft::Slot& slot : MaterialDraft::slots)
        if (shader.hasConnectionsOfComponents(input(slot.input)))
            warn("components of \"" + std::string(slot.input) +
                 "\" of its material are fed, which is left out");
}

// Keys --------------------------------------------------------------------------------------------

template <typename Value>
void Append(std::string& key, const Value& value) {
    key.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void AppendText(std::string& key, const std::string& text) {
    Append(key, text.size());
    key += text;
}

} // namespace

std::string KeyOf(const Texture& texture) {
    std::string key;
    AppendText(key, texture.file);
    AppendText(key, texture.uvSet);
    Append(key, texture.wrapU);
    Append(key, texture.wrapV);
    Append(key, texture.isSrgb);
    Append(key, texture.channel);
    for (int i = 0; i < 3; ++i)
        Append(key, texture.multiply[i]);
    for (const float value : {texture.uvScale.x, texture.uvScale.y, texture.uvTurn,
                              texture.uvOffset.x, texture.uvOffset.y})
        Append(key, value);
    return key;
}

std::string MaterialDraft::key() const {
    std::string key;
    AppendText(key, values.name);
    for (const ColorInput& color : kColors)
        for (int i = 0; i < 3; ++i)
            Append(key, (values.*color.value)[i]);
    for (const NumberInput& number : kNumbers)
        Append(key, values.*number.value);
    Append(key, values.isDoubleSided);
    for (const std::optional<Texture>& texture : textures) {
        Append(key, texture.has_value());
        if (texture) AppendText(key, KeyOf(*texture));
    }
    return key;
}

MaterialDraft ReadMaterial(const ShadingNetwork& network, const std::string& name,
                           const TextureFileOf& textureFileOf,
                           const std::function<void(const std::string& what)>& warn) {
    const std::optional<ShadingNode> shader = network.surface();
    MaterialDraft draft;
    if (shader)
        draft = MaterialReader(network, *shader, textureFileOf, warn).read();
    else
        warn("its material has no surface that is there; it is drawn in grey");
    draft.values.name = name;
    return draft;
}

} // namespace lantern
