#ifndef LANTERN_READING_READMATERIAL_H
#define LANTERN_READING_READMATERIAL_H

#include <array>
#include <functional>
#include <optional>
#include <string>

#include "SceneData.h"
#include "reading/ShadingNetwork.h"

namespace lantern {

/// A material together with its textures, before these have indices: those of `values` are kNone.
struct MaterialDraft {
    struct Slot {
        const char* input;      ///< of the shader
        Index Material::*index; ///< where the texture's number goes
        bool isColor;
    };
    static constexpr std::size_t kSlots = 8;
    static const Slot slots[kSlots];

    Material values;
    std::array<std::optional<Texture>, kSlots> textures; ///< in the order of `slots`

    /// A text that is equal exactly for equal drafts.
    std::string key() const;
};

/// A text that is equal exactly for equal textures.
std::string KeyOf(const Texture& texture);

/// Returns the texture file of a name in the location's "textures"; nothing for an unknown name.
using TextureFileOf = std::function<std::optional<std::string>(const std::string& name)>;

/// Reads the surface of a material. Its shader has the parameters of a standard surface:
///
///     baseColor (or color, Kd, diffuse), emission, specularColor           colours
///     specular, metalness, roughness, ior, transmission, coat, coatRoughness, opacity,
///     alphaCutoff, normalScale                                             numbers
///     doubleSided                                                          0 or 1
///
/// The shaders standard_surface, matte, plastic, metal, glass and emitter differ in their defaults.
/// Any other shader is read as standard_surface, with a warning. An input may be connected to a
/// node "constant" ("value" or "color"), or to the port out, r, g, b or a of a node "image":
///
///     file                     or "attribute": a name among the location's textures
///     uvSet, wrapU, wrapV (repeat, clamp, mirror, decal), colorSpace (srgb, linear),
///     multiply, uvTransform (move, scale, turn in radians)
///
/// An input without a connection uses the location's texture of the same name, if there is one.
MaterialDraft ReadMaterial(const ShadingNetwork& network, const std::string& name,
                           const TextureFileOf& textureFileOf,
                           const std::function<void(const std::string& what)>& warn);

} // namespace lantern

#endif
