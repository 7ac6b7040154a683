#ifndef LANTERN_READING_READMATERIAL_H
#define LANTERN_READING_READMATERIAL_H

#include <functional>
#include <optional>
#include <string>

#include "SceneData.h"
#include "reading/ShadingNetwork.h"

namespace lantern {

/// A material with its textures in it: the indices of `values` are all kNone.
struct MaterialDraft {
    struct Slot {
        const char* input;      ///< of the shader
        Index Material::*index; ///< where the texture's number goes
        bool isColor;
    };
    static constexpr int kSlots = 8;
    static const Slot slots[kSlots];

    Material values;
    std::optional<Texture> textures[kSlots]; ///< in the order of `slots`

    /// Equal for equal drafts.
    std::string key() const;
};

/// Equal for equal textures.
std::string KeyOf(const Texture& texture);

/// The files of a location's "textures" by name; nothing for a name that it does not have.
using TextureFileOf = std::function<std::optional<std::string>(const std::string& name)>;

/// What a material's surface is. Its shader's parameters are those of a standard surface:
///
///     baseColor (or color, Kd, diffuse), emission, specularColor           colours
///     specular, metalness, roughness, ior, transmission, coat, coatRoughness, opacity,
///     alphaCutoff, normalScale                                             numbers
///     doubleSided                                                          0 or 1
///
/// of the shaders standard_surface, matte, plastic, metal, glass and emitter, which have defaults
/// of their own; others are read likewise, with a warning. An input may be fed by a node "constant"
/// ("value" or "color"), or by the port out, r, g, b or a of a node "image":
///
///     file                     or "attribute": a name among the location's textures
///     uvSet, wrapU, wrapV (repeat, clamp, mirror, decal), colorSpace (srgb, linear),
///     multiply, uvTransform (move, scale, turn in radians)
///
/// An input that nothing feeds takes the location's texture of its own name.
MaterialDraft ReadMaterial(const ShadingNetwork& network, const std::string& name,
                           const TextureFileOf& textureFileOf,
                           const std::function<void(const std::string& what)>& warn);

} // namespace lantern

#endif
