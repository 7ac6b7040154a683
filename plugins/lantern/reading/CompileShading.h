#ifndef LANTERN_READING_COMPILESHADING_H
#define LANTERN_READING_COMPILESHADING_H

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "SceneData.h"
#include "reading/ShadingNetwork.h"

namespace lantern {

/// Returns the texture file of a name in the location's "textures"; nothing for an unknown name.
using TextureFileOf = std::function<std::optional<std::string>(const std::string& name)>;
/// Takes a warning about a material.
using WarnOfMaterial = std::function<void(const std::string& what)>;

/// How a value is used.
struct ShadingUse {
    std::string input;     ///< name of the shader's input
    bool isColor = false;  ///< images without a color space are sRGB; false: linear
    bool isVector = false; ///< a color or a normal; false: a single number
    float opacity = 1;     ///< factor for the alpha of an image whose "multiply" is for colors only
};

/// Compiles the nodes that feed a shader to the steps of a Material. The types of nodes, with their
/// parameters, are in docs/rendering.md. Refers to all arguments.
class ShadingCompiler {
public:
    ShadingCompiler(const ShadingNetwork& network, const TextureFileOf& textureFileOf,
                    const WarnOfMaterial& warn);

    /// The value of a node's output. Returns nothing if the node cannot be used, after a warning.
    std::optional<ShadingValue> outputOf(const ShadingConnection& connection,
                                         const ShadingUse& use);
    /// The value of an input: its connection, those of its components, its parameter or else
    /// `otherwise`. A result without steps is constant.
    ShadingValue inputOf(const ShadingNode& node, const std::string& input, const Color& otherwise,
                         const ShadingUse& use);
    /// The image of the location's texture of that name, if there is one.
    std::optional<ShadingValue> textureOf(const ShadingUse& use);

    ShadingValue add(ShadingStep step);

    /// Warns of the types that are not known.
    void warnOfUnknownTypes() const;

    std::vector<ShadingStep> steps;
    std::vector<Texture> textures;

private:
    /// The texture coordinates of a node.
    struct Coordinates {
        std::string set = "st";
        UvTransform transform;
    };
    using Maker = std::optional<ShadingValue> (ShadingCompiler::*)(const ShadingNode&,
                                                                   const ShadingUse&);

    static Maker makerOf(const std::string& type);
    std::optional<ShadingValue> compile(const std::string& name, const std::string& port,
                                        const ShadingUse& use);
    std::optional<ShadingValue> image(const ShadingNode& node, const std::string& port,
                                      const ShadingUse& use);
    std::optional<ShadingValue> vertexColor(const ShadingNode& node, const std::string& port);
    std::optional<ShadingValue> constant(const ShadingNode& node, const ShadingUse& use);
    std::optional<ShadingValue> checker(const ShadingNode& node, const ShadingUse& use);
    std::optional<ShadingValue> noise(const ShadingNode& node, const ShadingUse& use);
    std::optional<ShadingValue> ramp(const ShadingNode& node, const ShadingUse& use);
    std::optional<ShadingValue> mix(const ShadingNode& node, const ShadingUse& use);
    std::optional<ShadingValue> sum(const ShadingNode& node, const ShadingUse& use);
    std::optional<ShadingValue> product(const ShadingNode& node, const ShadingUse& use);
    std::optional<ShadingValue> inverse(const ShadingNode& node, const ShadingUse& use);

    /// The value with its components replaced by those that have connections of their own.
    ShadingValue withComponents(const ShadingNode& node, const std::string& input,
                                const ShadingValue& value, const ShadingUse& use);
    bool readTexture(const ShadingNode& image, const std::string& port, const ShadingUse& use,
                     Texture& texture) const;
    Coordinates coordinatesOf(const ShadingNode& node);
    ShadingValue coordinateAlong(const ShadingNode& node);
    void readCoordinates(const ShadingNode& node, ShadingStep& step);
    void warnOfTooManySteps();

    const ShadingNetwork& network;
    const TextureFileOf& textureFileOf;
    const WarnOfMaterial& warn;
    std::set<std::string> open; // the nodes that are being compiled
    using Key = std::tuple<std::string, std::string, std::string, bool, bool>;
    std::map<Key, std::optional<ShadingValue>> known;
    std::set<std::string> unknownTypes;
    bool isFull = false;
};

} // namespace lantern

#endif
