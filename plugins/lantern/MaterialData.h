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
    V2f alongS{1, 0}; ///< image of the unit vector along s, without the offset
    V2f alongT{0, 1}; ///< image of the unit vector along t, without the offset
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
    bool isSrgb = false;     ///< true: sRGB values; false: linear values
    int channel = -1;        ///< 0 to 3 for a single channel; -1 for the first three
    Color multiply{1, 1, 1}; ///< a single channel is multiplied by the first component
    UvTransform uvTransform; ///< map of the coordinates before the lookup
};

/// A value in a shading network: the result of a step, or a constant.
struct ShadingValue {
    Color constant{0, 0, 0}; ///< used without a step, and if the step has no result
    Index step = kNone;      ///< index into Material::steps
    int channel = -1;        ///< 0 to 2: one component, used three times; -1: the whole result
};

/// One operation of a shading network. Its inputs are earlier steps or constants.
struct ShadingStep {
    enum class Kind {
        Image,       ///< `texture`; no result if it cannot be read
        VertexColor, ///< the color set `set`; no result if the shape has no such set
        VertexAlpha, ///< the alpha of that color set
        Checker,     ///< input 0 or 1, alternating between unit squares or cubes
        Noise,       ///< gradient noise with `octaves`, between input 0 and input 1
        Ramp,        ///< `stops` at the red component of input 0
        CoordinateS, ///< the first texture coordinate
        CoordinateT, ///< the second one
        Mix,         ///< a mix of inputs 0 and 1 in which input 2 is the share of input 1
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
    std::string set = "st"; ///< name of a set of texture coordinates or colors
    UvTransform uvTransform;
    bool isInObjectSpace = false; ///< a pattern at positions in the shape's space
    V3f scale{1, 1, 1};           ///< factors of that position
    int octaves = 1;
    bool isStepped = false;  ///< a ramp does not interpolate between its stops
    std::vector<Stop> stops; ///< ascending, at least one for a ramp
};

constexpr std::size_t kMostShadingSteps = 64; ///< limit for one material

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
    Color specularColor{1, 1, 1}; ///< color of a dielectric's reflection at normal incidence
    float specular = 1;           ///< weight of the reflection of a dielectric
    float metalness = 0;
    float roughness = 0.5f; ///< the GGX parameter alpha is its square
    float ior = 1.5f;       ///< 1 or more
    float transmission = 0;
    float thickness = -1;          ///< 0: a thin sheet that does not refract; otherwise solid
    float attenuationDistance = 0; ///< depth at which light has attenuationColor; 0: clear
    Color attenuationColor{1, 1, 1};
    float coat = 0;
    float coatRoughness = 0.1f;
    Color sheenColor{0, 0, 0};
    float sheenRoughness = 0.3f;
    float anisotropy = 0;
    float anisotropyRotation = 0; ///< radians, from the direction of growing s
    float opacity = 1;
    float alphaCutoff = -1; ///< opacities from here on become 1, lower ones 0; -1: no cutoff
    float normalScale = 1;
    float coatNormalScale = 1;
    bool isDoubleSided = true; ///< false: invisible from inside
    bool isUnlit = false;      ///< the base color has become the emission

    /// The network that replaces values above. A normal is a color of a normal map in tangent
    /// space; its constant is unused.
    std::vector<ShadingStep> steps;
    std::array<ShadingValue, kMaterialInputs> fed;
    std::string normalUvSet = "st"; ///< texture coordinates that define its tangent space
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
