#include "reading/ReadMaterial.h"

#include <algorithm>
#include <set>
#include <utility>

#include "reading/ShadingParameters.h"

namespace lantern {

namespace {

using Input = MaterialInput;
using Kind = ShadingStep::Kind;

const char* const kLayer = "layer";
const char* const kVertexColors = "color"; // the set that multiplies the base color
constexpr std::size_t kMostLayers = 8;     // one within the other
const Color kBlack(0, 0, 0);

const MaterialInputInfo& InfoOf(Input input) {
    return kInputInfos[static_cast<std::size_t>(input)];
}

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

ShadingStep VertexColorStep() {
    ShadingStep step;
    step.kind = Kind::VertexColor;
    step.set = kVertexColors;
    return step;
}

ShadingUse UseOf(const MaterialInputInfo& info, const std::string& name, const Material& material) {
    const bool isNormal = info.input == Input::Normal || info.input == Input::CoatNormal;
    return {name, info.color != nullptr, info.color || isNormal, material.opacity};
}

/// The value that feeds an input; the material's own value if nothing does.
ShadingValue ValueOf(const Material& material, const MaterialInputInfo& info) {
    ShadingValue value = material[info.input];
    value.constant = OwnValueOf(material, info);
    return value;
}

/// Reads one standard surface, whose steps belong to the compiler.
class SurfaceReader {
public:
    SurfaceReader(const ShadingNode& shader, ShadingCompiler& compiler, const WarnOfMaterial& warn)
        : shader(shader), compiler(compiler), warn(warn) {}

    Material read();

private:
    std::string nameOf(const MaterialInputInfo& info) const;
    std::vector<float> numbersOf(const std::string& name) const;
    void readOwn(const MaterialInputInfo& info);
    void readNumber(const char* name, float least, float most, float& number) const;
    void readFed(const MaterialInputInfo& info);
    void multiplyByVertexColor();
    void multiplyEmission();
    void makeUnlit();

    const ShadingNode& shader;
    ShadingCompiler& compiler;
    const WarnOfMaterial& warn;
    Material material;
};

Material SurfaceReader::read() {
    if (!SetDefaults(shader.type(), material))
        warn("the shader \"" + shader.type() +
             "\" is not known; it is drawn as a standard surface");
    for (const MaterialInputInfo& info : kInputInfos)
        readOwn(info);
    readNumber("alphaCutoff", -1, 1, material.alphaCutoff);
    readNumber("normalScale", -1e6f, 1e6f, material.normalScale);
    readNumber("coatNormalScale", -1e6f, 1e6f, material.coatNormalScale);
    material.isDoubleSided = shader.parameter("doubleSided").number(1) != 0;
    for (const MaterialInputInfo& info : kInputInfos)
        readFed(info);
    if (shader.connection("bump"))
        warn("\"bump\" of its material has a texture, which is left out");
    multiplyByVertexColor();
    multiplyEmission();
    if (shader.parameter("unlit").number(0) != 0) makeUnlit();
    return std::move(material);
}

/// The name among the input's aliases that the shader uses.
std::string SurfaceReader::nameOf(const MaterialInputInfo& info) const {
    if (info.input != Input::BaseColor) return info.name;
    for (const char* const other : {"baseColor", "color", "Kd", "diffuse"})
        if (shader.parameter(other) || shader.connection(other)) return other;
    return info.name;
}

/// Assigns the parameter's value, clamped to its range.
void SurfaceReader::readOwn(const MaterialInputInfo& info) {
    const std::string name = nameOf(info);
    const Attribute value = shader.parameter(name);
    if (info.number) return readNumber(name.c_str(), info.least, info.most, material.*info.number);
    if (!value || !info.color) return;
    const std::vector<float> numbers = FiniteNumbers(value);
    if (numbers.size() != 1 && numbers.size() < 3)
        return warn("\"" + std::string(info.name) + "\" of its material is no colour");
    Color& own = material.*info.color;
    own = numbers.size() == 1 ? Color(numbers[0]) : Color(numbers[0], numbers[1], numbers[2]);
    for (int i = 0; i < 3; ++i)
        own[i] = std::clamp(own[i], info.least, info.most);
}

void SurfaceReader::readNumber(const char* name, float least, float most, float& number) const {
    const Attribute value = shader.parameter(name);
    if (!value) return;
    const std::vector<float> numbers = FiniteNumbers(value);
    if (numbers.empty())
        return warn("\"" + std::string(name) + "\" of its material is not a number");
    float sum = 0; // a color stands for its mean
    for (const float one : numbers)
        sum += one;
    number = std::clamp(sum / static_cast<float>(numbers.size()), least, most);
}

/// A constant that is connected becomes the own value.
void SurfaceReader::readFed(const MaterialInputInfo& info) {
    const std::string name = nameOf(info);
    const ShadingUse use = UseOf(info, name, material);
    if (!shader.connection(name) && !shader.hasConnectionsOfComponents(name)) {
        if (const auto texture = compiler.textureOf(use)) material[info.input] = *texture;
        return;
    }
    const ShadingValue value = compiler.inputOf(shader, name, OwnValueOf(material, info), use);
    if (value.step != kNone) {
        material[info.input] = value;
        const ShadingStep& step = compiler.steps[value.step];
        if (info.input == Input::Normal && step.kind == Kind::Image)
            material.normalUvSet = step.set;
        if (info.input == Input::CoatNormal && step.kind == Kind::Image)
            material.coatNormalUvSet = step.set;
        return;
    }
    Color own = value.constant;
    if (info.number) own = Color((own.x + own.y + own.z) / 3); // a color stands for its mean
    for (int i = 0; i < 3; ++i)
        own[i] = std::clamp(own[i], info.least, info.most);
    SetOwnValue(material, info, own);
}

/// A surface without any base color takes that of the vertices.
void SurfaceReader::multiplyByVertexColor() {
    const MaterialInputInfo& info = InfoOf(Input::BaseColor);
    const std::string name = nameOf(info);
    const bool hasBase = shader.parameter(name) || material[Input::BaseColor].step != kNone ||
                         shader.connection(name) || shader.type() == "emitter";
    const double wanted = shader.parameter("vertexColor").number(hasBase ? 0 : 1);
    if (wanted == 0) return;
    const ShadingValue color = compiler.add(VertexColorStep());
    if (!hasBase) {
        material[Input::BaseColor] = color;
        return;
    }
    ShadingStep product;
    product.kind = Kind::Multiply;
    product.inputs[0] = ValueOf(material, info);
    product.inputs[1] = color;
    product.inputs[1].constant = Color(1);
    material[Input::BaseColor] = compiler.add(std::move(product));
}

void SurfaceReader::multiplyEmission() {
    const ShadingUse use{"emissionStrength", false, false, 1};
    const ShadingValue strength = compiler.inputOf(shader, use.input, Color(1), use);
    if (strength.step == kNone && strength.constant == Color(1)) return;
    const MaterialInputInfo& info = InfoOf(Input::Emission);
    const Color factor(std::max(strength.constant.x, 0.0f));
    if (strength.step != kNone || material[Input::Emission].step != kNone) {
        ShadingStep product;
        product.kind = Kind::Multiply;
        product.inputs[0] = ValueOf(material, info);
        product.inputs[1] = strength;
        material[Input::Emission] = compiler.add(std::move(product));
    }
    material.emission *= factor;
}

/// The base color becomes light that the surface emits, and nothing is reflected.
void SurfaceReader::makeUnlit() {
    material.isUnlit = true;
    material.emission = material.baseColor;
    material[Input::Emission] = material[Input::BaseColor];
    for (const Input input : {Input::BaseColor, Input::Specular, Input::Metalness,
                              Input::Transmission, Input::Coat, Input::SheenColor}) {
        SetOwnValue(material, InfoOf(input), kBlack);
        material[input] = ShadingValue();
    }
}

/// Reads the surface of a network.
class MaterialReader {
public:
    MaterialReader(const ShadingNetwork& network, const TextureFileOf& textureFileOf,
                   const WarnOfMaterial& warn)
        : network(network), warn(warn), compiler(network, textureFileOf, warn) {}

    MaterialDraft read(const ShadingNode& surface) {
        MaterialDraft draft;
        draft.values = readNode(surface);
        compiler.warnOfUnknownTypes();
        draft.values.steps = std::move(compiler.steps);
        draft.textures = std::move(compiler.textures);
        return draft;
    }

private:
    Material readNode(const ShadingNode& node) {
        return node.type() == kLayer ? readLayer(node) : SurfaceReader(node, compiler, warn).read();
    }
    Material readLayer(const ShadingNode& node);
    std::optional<Material> readPart(const ShadingNode& node, const char* input);
    void blend(Material& base, const Material& top, const MaterialInputInfo& info,
               const ShadingValue& mask);

    const ShadingNetwork& network;
    const WarnOfMaterial& warn;
    ShadingCompiler compiler;
    std::set<std::string> open; // the layers that are being read
};

/// Parameters are blended one by one. What cannot be fed is that of the base.
Material MaterialReader::readLayer(const ShadingNode& node) {
    std::optional<Material> base = readPart(node, "base");
    const std::optional<Material> top = readPart(node, "top");
    if (!base) return top.value_or(Material());
    if (!top) return *base;
    const ShadingUse use{"mask", false, false, 1};
    const ShadingValue mask = compiler.inputOf(node, use.input, Color(1), use);
    for (const MaterialInputInfo& info : kInputInfos)
        blend(*base, *top, info, mask);
    return *base;
}

std::optional<Material> MaterialReader::readPart(const ShadingNode& node, const char* input) {
    const std::optional<ShadingConnection> connection = node.connection(input);
    const std::optional<ShadingNode> part =
        connection ? network.find(connection->node) : std::nullopt;
    if (!part) {
        warn("a layer of its material has no \"" + std::string(input) + "\" that is there");
        return {};
    }
    if (open.size() >= kMostLayers) {
        warn("its material has too many layers within layers");
        return {};
    }
    if (!open.insert(connection->node).second) {
        warn("the layer \"" + NameOfNode(connection->node) + "\" of its material contains itself");
        return {};
    }
    Material material = readNode(*part);
    open.erase(connection->node);
    return material;
}

void MaterialReader::blend(Material& base, const Material& top, const MaterialInputInfo& info,
                           const ShadingValue& mask) {
    const ShadingValue from = ValueOf(base, info), to = ValueOf(top, info);
    const bool isConstant = from.step == kNone && to.step == kNone;
    if (isConstant && from.constant == to.constant) return;
    const Color share = mask.constant;
    SetOwnValue(base, info, from.constant + (to.constant - from.constant) * share.x);
    if (isConstant && mask.step == kNone) return;
    ShadingStep mix;
    mix.kind = Kind::Mix;
    mix.inputs = {from, to, mask};
    if (mask.channel < 0) mix.inputs[2].channel = 0;
    base[info.input] = compiler.add(std::move(mix));
}

} // namespace

MaterialDraft ReadMaterial(const ShadingNetwork& network, const std::string& name,
                           const TextureFileOf& textureFileOf, const WarnOfMaterial& warn) {
    const std::optional<ShadingNode> surface = network.surface();
    MaterialDraft draft;
    if (surface)
        draft = MaterialReader(network, textureFileOf, warn).read(*surface);
    else
        warn("its material has no surface that is there; it is drawn in grey");
    draft.values.name = name;
    return draft;
}

MaterialDraft DefaultMaterial() {
    MaterialDraft draft;
    draft.values.name = "default";
    draft.values.steps = {VertexColorStep()};
    draft.values[Input::BaseColor].step = 0;
    return draft;
}

} // namespace lantern
