#ifndef LANTERN_MATERIALDATA_H
#define LANTERN_MATERIALDATA_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "SceneTypes.h"

/// Materials with their shading networks and textures.
namespace lantern {

/// An affine map of texture coordinates.
struct UvTransform {
    V2f alongS{1, 0}; ///< what (1, 0) becomes, without the offset
    V2f alongT{0, 1};
    V2f offset{0, 0};

    V2f operator()(const V2f& st) const { return alongS * st.x + alongT * st.y + offset; }
};

/// An image that replaces a value of a material, or gives the radiance of an environment light.
struct Texture {
    enum class Wrap { Repeat, Clamp, Mirror, Black };
    std::string file;
    std::string uvSet = "st";
    Wrap wrapU = Wrap::Repeat;
    Wrap wrapV = Wrap::Repeat;
    bool isSrgb = false;     ///< else its values are linear
    int channel = -1;        ///< 0 to 3 for a single channel; -1 for the first three
    Color multiply{1, 1, 1}; ///< a single channel is multiplied by the first component
    UvTransform uvTransform; ///< of the coordinates before the lookup
};

/// A value in a shading network: the result of a step, or a constant.
struct ShadingValue {
    Color constant{0, 0, 0}; ///< also if the step has no result, as an image that cannot be read
    Index step = kNone;      ///< index into Material::steps
    int channel = -1;        ///< 0 to 2: that component of the step's result, three times
};

/// One operation of a shading network. Its inputs are earlier steps or constants.
struct ShadingStep {
    enum class Kind {
        Image,       ///< `texture`; no result if it cannot be read
        VertexColor, ///< of the color set `set`; no result if the shape has none of that name
        VertexAlpha, ///< its alpha
        Checker,     ///< input 0 or 1, alternating between unit squares or cubes
        Noise,       ///< from input 0 to input 1, gradient noise with `octaves`
        Ramp,        ///< `stops` at the red component of input 0
        CoordinateS, ///< the first texture coordinate
        CoordinateT, ///< the second one
        Mix,         ///< from input 0 to input 1 by input 2
        Add,         ///< input 0 + input 1
        Multiply,    ///< input 0 * input 1
        Invert,      ///< 1 - input 0
        Combine,     ///< the first components of inputs 0, 1 and 2
    };
    struct Stop {
        float place = 0;
        Color color;
    };

    Kind kind = Kind::Image;
    std::array<ShadingValue, 3> inputs;
    Index texture = kNone;
    std::string set = "st"; ///< of texture coordinates or of colors
    UvTransform uvTransform;
    bool isInObjectSpace = false; ///< a pattern of the position in the shape's space
    V3f scale{1, 1, 1};           ///< of that position
    int octaves = 1;
    bool isStepped = false;  ///< a ramp keeps the color of the last stop
    std::vector<Stop> stops; ///< ascending, at least one for a ramp
};

constexpr std::size_t kMostShadingSteps = 64; ///< of one material

/// The values of a material that a shading network can feed.
enum class MaterialInput {
    BaseColor,
    Emission,
    Specular,
    SpecularColor,
    Metalness,
    Roughness,
    Ior,
    Opacity,
    Transmission,
    Thickness,
    AttenuationDistance,
    AttenuationColor,
    Coat,
    CoatRoughness,
    SheenColor,
    SheenRoughness,
    Anisotropy,
    AnisotropyRotation,
    Normal,
    CoatNormal,
    Count
};
constexpr std::size_t kMaterialInputs = static_cast<std::size_t>(MaterialInput::Count);

/// A standard surface. Numbers are from 0 to 1 unless a comment says otherwise.
struct Material {
    std::string name; ///< the path of the assigned material, or else the name of its shader
    Color baseColor{0.8f, 0.8f, 0.8f};
    Color emission{0, 0, 0};      ///< radiance
    Color specularColor{1, 1, 1}; ///< of the reflection of a dielectric at normal incidence
    float specular = 1;           ///< weight of the reflection of a dielectric
    float metalness = 0;
    float roughness = 0.5f; ///< the GGX parameter alpha is its square
    float ior = 1.5f;       ///< 1 or more
    float transmission = 0;
    float thickness = -1; ///< 0: a thin sheet that does not refract; else the shape is solid
    float attenuationDistance = 0; ///< where the inside has attenuationColor; 0: it is clear
    Color attenuationColor{1, 1, 1};
    float coat = 0;
    float coatRoughness = 0.1f;
    Color sheenColor{0, 0, 0};
    float sheenRoughness = 0.3f;
    float anisotropy = 0;
    float anisotropyRotation = 0; ///< radians, from the direction of growing s
    float opacity = 1;
    float alphaCutoff = -1; ///< from 0 on: opacity is 1 from this value on, else 0
    float normalScale = 1;
    float coatNormalScale = 1;
    bool isDoubleSided = true; ///< else invisible from inside
    bool isUnlit = false;      ///< the base color has become the emission

    /// The network that replaces values above. A normal is a color of a normal map in tangent
    /// space; its constant is unused.
    std::vector<ShadingStep> steps;
    std::array<ShadingValue, kMaterialInputs> fed;
    std::string normalUvSet = "st"; ///< of the tangent space of the normal map
    std::string coatNormalUvSet = "st";

    bool isEmissive() const {
        return emission != Color(0) || (*this)[MaterialInput::Emission].step != kNone;
    }
    ShadingValue& operator[](MaterialInput input) { return fed[static_cast<std::size_t>(input)]; }
    const ShadingValue& operator[](MaterialInput input) const {
        return fed[static_cast<std::size_t>(input)];
    }
};

} // namespace lantern

#endif
