#include "reading/CompileShading.h"

#include <algorithm>
#include <utility>

#include "reading/ShadingParameters.h"

namespace lantern {

namespace {

using Kind = ShadingStep::Kind;

const char* const kImage = "image";
const char* const kVertexColor = "vertexColor";
const char* const kUvTransform = "uvTransform";
constexpr std::size_t kMostStops = 1024;
constexpr double kMostOctaves = 16;
const Color kBlack(0, 0, 0);
const Color kWhite(1, 1, 1);

ShadingValue Constant(const Color& value) {
    ShadingValue result;
    result.constant = value;
    return result;
}

/// A channel of a value. An alpha is 1.
ShadingValue WithChannel(ShadingValue value, int channel) {
    if (channel < 0) return value;
    if (channel > 2) return Constant(kWhite);
    value.constant = Color(value.constant[channel]);
    if (value.channel < 0) value.channel = channel;
    return value;
}

/// The stops of a ramp in ascending order; from black to white if the node has none.
std::vector<ShadingStep::Stop> ReadStops(const ShadingNode& node) {
    const std::vector<float> places = FiniteNumbers(node.parameter("positions"));
    const std::vector<float> colors = FiniteNumbers(node.parameter("colors"));
    const std::size_t count = std::min({places.size(), colors.size() / 3, kMostStops});
    std::vector<ShadingStep::Stop> stops;
    for (std::size_t i = 0; i < count; ++i)
        stops.push_back({places[i], {colors[3 * i], colors[3 * i + 1], colors[3 * i + 2]}});
    if (stops.empty()) stops = {{0, kBlack}, {1, kWhite}};
    std::stable_sort(stops.begin(), stops.end(),
                     [](const auto& a, const auto& b) { return a.place < b.place; });
    return stops;
}

} // namespace

ShadingCompiler::ShadingCompiler(const ShadingNetwork& network, const TextureFileOf& textureFileOf,
                                 const WarnOfMaterial& warn)
    : network(network), textureFileOf(textureFileOf), warn(warn) {}

ShadingValue ShadingCompiler::add(ShadingStep step) {
    ShadingValue value;
    if (steps.size() < kMostShadingSteps) {
        value.step = static_cast<Index>(steps.size());
        steps.push_back(std::move(step));
    } else {
        warnOfTooManySteps();
    }
    return value;
}

void ShadingCompiler::warnOfTooManySteps() {
    if (!isFull)
        warn("its material has more than " + std::to_string(kMostShadingSteps) +
             " nodes; the rest is left out");
    isFull = true;
}

ShadingCompiler::Maker ShadingCompiler::makerOf(const std::string& type) {
    static const std::map<std::string, Maker> makers = {
        {"constant", &ShadingCompiler::constant}, {"checker", &ShadingCompiler::checker},
        {"noise", &ShadingCompiler::noise},       {"ramp", &ShadingCompiler::ramp},
        {"mix", &ShadingCompiler::mix},           {"add", &ShadingCompiler::sum},
        {"multiply", &ShadingCompiler::product},  {"invert", &ShadingCompiler::inverse}};
    const auto found = makers.find(type);
    return found == makers.end() ? nullptr : found->second;
}

// Outputs and inputs ------------------------------------------------------------------------------

std::optional<ShadingValue> ShadingCompiler::outputOf(const ShadingConnection& connection,
                                                      const ShadingUse& use) {
    if (isFull) return {};
    // Images differ by channel and by what they are read for.
    const auto key =
        std::make_tuple(connection.node, connection.port, use.input, use.isColor, use.isVector);
    const auto found = known.find(key);
    if (found != known.end()) return found->second;
    if (!open.insert(connection.node).second) {
        warn("\"" + use.input + "\" of its material is fed by the node \"" +
             NameOfNode(connection.node) + "\", which feeds itself; its own value is used");
        return {};
    }
    std::optional<ShadingValue> value;
    if (open.size() <= kMostShadingSteps)
        value = compile(connection.node, connection.port, use);
    else
        warnOfTooManySteps();
    open.erase(connection.node);
    return known[key] = value;
}

std::optional<ShadingValue>
ShadingCompiler::compile(const std::string& name, const std::string& port, const ShadingUse& use) {
    const std::optional<ShadingNode> node = network.find(name);
    if (!node) {
        warn("\"" + use.input +
             "\" of its material is fed by a node that is not there; its own value is used");
        return {};
    }
    if (node->type() == kImage) return image(*node, port, use);
    if (node->type() == kVertexColor) return vertexColor(*node, port);
    const Maker make = makerOf(node->type());
    if (!make) {
        unknownTypes.insert(node->type());
        return {};
    }
    const std::optional<ShadingValue> value = (this->*make)(*node, use);
    return value ? std::optional<ShadingValue>(WithChannel(*value, ChannelOf(port))) : std::nullopt;
}

ShadingValue ShadingCompiler::inputOf(const ShadingNode& node, const std::string& input,
                                      const Color& otherwise, const ShadingUse& use) {
    ShadingValue value = Constant(ReadColor(node.parameter(input), otherwise));
    if (const std::optional<ShadingConnection> connection = node.connection(input)) {
        const std::optional<ShadingValue> output = outputOf(*connection, use);
        if (output && output->step == kNone) return *output;
        if (output) {
            value.step = output->step;
            value.channel = output->channel;
        }
    }
    return node.hasConnectionsOfComponents(input) ? withComponents(node, input, value, use) : value;
}

ShadingValue ShadingCompiler::withComponents(const ShadingNode& node, const std::string& input,
                                             const ShadingValue& value, const ShadingUse& use) {
    ShadingStep combine;
    combine.kind = Kind::Combine;
    for (int i = 0; i < 3; ++i) {
        ShadingValue& component = combine.inputs[static_cast<std::size_t>(i)];
        component = WithChannel(value, i);
        const std::string name = input + ":" + "rgb"[i];
        const std::optional<ShadingConnection> connection = node.connection(name);
        if (!connection) continue;
        const ShadingUse single{name, use.isColor, false, use.opacity};
        const std::optional<ShadingValue> output = outputOf(*connection, single);
        if (!output) continue;
        component.step = output->step;
        component.channel = output->channel;
        if (output->step == kNone) component.constant = output->constant;
    }
    ShadingValue combined = add(std::move(combine));
    combined.constant = value.constant;
    return combined;
}

std::optional<ShadingValue> ShadingCompiler::textureOf(const ShadingUse& use) {
    const std::optional<std::string> file = textureFileOf(use.input);
    if (!file) return {};
    Texture texture;
    texture.file = *file;
    texture.isSrgb = IsSrgbByItself(*file, use.isColor);
    texture.channel = use.isVector ? -1 : 0;
    ShadingStep step;
    step.texture = static_cast<Index>(textures.size());
    textures.push_back(texture);
    return add(std::move(step));
}

void ShadingCompiler::warnOfUnknownTypes() const {
    if (unknownTypes.empty()) return;
    std::string names;
    for (const std::string& type : unknownTypes)
        names += (names.empty() ? "\"" : ", \"") + type + "\"";
    warn("its material has nodes of unknown types, which are left out: " + names);
}

// Images ------------------------------------------------------------------------------------------

std::optional<ShadingValue> ShadingCompiler::image(const ShadingNode& node, const std::string& port,
                                                   const ShadingUse& use) {
    Texture texture;
    if (!readTexture(node, port, use, texture)) {
        warn("\"" + use.input +
             "\" of its material is fed by an image without a file; its own value is used");
        return {};
    }
    const Coordinates coordinates = coordinatesOf(node);
    texture.uvSet = coordinates.set;
    texture.uvTransform = coordinates.transform;
    ShadingStep step;
    step.texture = static_cast<Index>(textures.size());
    step.set = texture.uvSet;
    textures.push_back(texture);
    return add(std::move(step));
}

bool ShadingCompiler::readTexture(const ShadingNode& image, const std::string& port,
                                  const ShadingUse& use, Texture& texture) const {
    const Attribute attribute = image.parameter("attribute");
    if (attribute.isText())
        if (const auto file = textureFileOf(attribute.text())) texture.file = *file;
    if (texture.file.empty()) texture.file = image.parameter("file").text();
    if (texture.file.empty()) texture.file = textureFileOf(use.input).value_or("");
    if (texture.file.empty()) return false;
    texture.channel = ChannelOf(port);
    if (texture.channel < 0 && !use.isVector) texture.channel = 0;
    texture.isSrgb = IsSrgbByItself(texture.file, use.isColor);
    const Attribute space = image.parameter("colorSpace");
    if (space.isText()) texture.isSrgb = space.isTextEqual("srgb");
    if (texture.channel == 3) texture.isSrgb = false; // alpha is always linear
    texture.wrapU = ReadWrap(image.parameter("wrapU"));
    texture.wrapV = ReadWrap(image.parameter("wrapV"));
    texture.multiply = ReadMultiply(image.parameter("multiply"), texture.channel, use.opacity);
    return true;
}

/// The nodes "uvTransform" at the inputs "uv" are applied from the farthest one on, then the node's
/// own parameters.
ShadingCompiler::Coordinates ShadingCompiler::coordinatesOf(const ShadingNode& node) {
    Coordinates result;
    result.set = node.parameter("uvSet").text("st");
    result.transform = ReadUvTransform(node.parameter("uvTransform"));
    std::set<std::string> visited;
    std::optional<ShadingConnection> connection = node.connection("uv");
    while (connection) {
        const std::optional<ShadingNode> source = network.find(connection->node);
        if (!visited.insert(connection->node).second) {
            warn("the node \"" + NameOfNode(connection->node) + "\" of its material feeds itself");
            break;
        }
        if (!source || source->type() != kUvTransform) {
            if (source) unknownTypes.insert(source->type());
            break;
        }
        const UvTransform own = MakeUvTransform(ReadPair(source->parameter("offset"), {0, 0}),
                                                ReadPair(source->parameter("scale"), {1, 1}),
                                                float(source->parameter("rotation").number(0)));
        result.transform = Composed(own, result.transform);
        result.set = source->parameter("uvSet").text(result.set);
        connection = source->connection("uv");
    }
    return result;
}

// Other nodes -------------------------------------------------------------------------------------

void ShadingCompiler::readCoordinates(const ShadingNode& node, ShadingStep& step) {
    constexpr float kDefaultScale = 8; // so that a pattern is visible on coordinates from 0 to 1
    const Coordinates coordinates = coordinatesOf(node);
    const V2f scale = ReadPair(node.parameter("scale"), V2f(kDefaultScale));
    const Attribute space = node.parameter("space");
    step.isInObjectSpace = space.isTextEqual("object");
    step.scale = ReadColor(node.parameter("scale"), V3f(kDefaultScale));
    if (space && !step.isInObjectSpace && !space.isTextEqual("uv"))
        warn("\"space\" of a pattern of its material is neither \"uv\" nor \"object\"");
    step.set = coordinates.set;
    step.uvTransform = Composed(coordinates.transform, MakeUvTransform(V2f(0, 0), scale, 0));
}

std::optional<ShadingValue> ShadingCompiler::vertexColor(const ShadingNode& node,
                                                         const std::string& port) {
    const int channel = ChannelOf(port);
    ShadingStep step;
    step.kind = channel == 3 ? Kind::VertexAlpha : Kind::VertexColor;
    step.set = node.parameter("name").text("color");
    ShadingValue value = add(std::move(step));
    value.constant = kWhite;
    return channel == 3 ? value : WithChannel(value, channel);
}

std::optional<ShadingValue> ShadingCompiler::constant(const ShadingNode& node, const ShadingUse&) {
    const Attribute value = node.parameter("value");
    return Constant(ReadColor(value ? value : node.parameter("color"), kBlack));
}

std::optional<ShadingValue> ShadingCompiler::checker(const ShadingNode& node,
                                                     const ShadingUse& use) {
    ShadingStep step;
    step.kind = Kind::Checker;
    step.inputs[0] = inputOf(node, "color1", kWhite, use);
    step.inputs[1] = inputOf(node, "color2", kBlack, use);
    readCoordinates(node, step);
    return add(std::move(step));
}

std::optional<ShadingValue> ShadingCompiler::noise(const ShadingNode& node, const ShadingUse& use) {
    ShadingStep step;
    step.kind = Kind::Noise;
    step.inputs[0] = inputOf(node, "color1", kBlack, use);
    step.inputs[1] = inputOf(node, "color2", kWhite, use);
    const double octaves = node.parameter("octaves").number(3);
    step.octaves = octaves >= 1 ? static_cast<int>(std::min(octaves, kMostOctaves)) : 1;
    readCoordinates(node, step);
    return add(std::move(step));
}

/// The texture coordinate along which a ramp runs if its value has no source.
ShadingValue ShadingCompiler::coordinateAlong(const ShadingNode& node) {
    ShadingStep along;
    along.kind =
        node.parameter("direction").isTextEqual("v") ? Kind::CoordinateT : Kind::CoordinateS;
    const Coordinates coordinates = coordinatesOf(node);
    along.set = coordinates.set;
    along.uvTransform = coordinates.transform;
    return add(std::move(along));
}

/// A ramp over the input "value" or, without that input, along a texture coordinate.
std::optional<ShadingValue> ShadingCompiler::ramp(const ShadingNode& node, const ShadingUse& use) {
    ShadingStep step;
    step.kind = Kind::Ramp;
    step.isStepped = node.parameter("interpolation").isTextEqual("constant");
    step.stops = ReadStops(node);
    if (node.connection("value") || node.parameter("value")) {
        const ShadingUse single{use.input, false, false, 1};
        step.inputs[0] = inputOf(node, "value", kBlack, single);
    } else {
        step.inputs[0] = coordinateAlong(node);
    }
    return add(std::move(step));
}

std::optional<ShadingValue> ShadingCompiler::mix(const ShadingNode& node, const ShadingUse& use) {
    ShadingStep step;
    step.kind = Kind::Mix;
    step.inputs[0] = inputOf(node, "a", kBlack, use);
    step.inputs[1] = inputOf(node, "b", kWhite, use);
    step.inputs[2] = inputOf(node, "amount", Color(0.5f), {use.input, false, false, 1});
    return add(std::move(step));
}

std::optional<ShadingValue> ShadingCompiler::sum(const ShadingNode& node, const ShadingUse& use) {
    ShadingStep step;
    step.kind = Kind::Add;
    step.inputs[0] = inputOf(node, "a", kBlack, use);
    step.inputs[1] = inputOf(node, "b", kBlack, use);
    return add(std::move(step));
}

std::optional<ShadingValue> ShadingCompiler::product(const ShadingNode& node,
                                                     const ShadingUse& use) {
    ShadingStep step;
    step.kind = Kind::Multiply;
    step.inputs[0] = inputOf(node, "a", kWhite, use);
    step.inputs[1] = inputOf(node, "b", kWhite, use);
    return add(std::move(step));
}

std::optional<ShadingValue> ShadingCompiler::inverse(const ShadingNode& node,
                                                     const ShadingUse& use) {
    ShadingStep step;
    step.kind = Kind::Invert;
    step.inputs[0] = inputOf(node, "a", kBlack, use);
    return add(std::move(step));
}

} // namespace lantern
