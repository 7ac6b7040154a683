#ifndef LANTERN_READING_MATERIALDRAFT_H
#define LANTERN_READING_MATERIALDRAFT_H

#include <array>
#include <string>
#include <vector>

#include "SceneData.h"

namespace lantern {

/// A material together with its textures, before these have indices in the scene: the steps of
/// `values` have indices into `textures`.
struct MaterialDraft {
    Material values;
    std::vector<Texture> textures;

    /// A text that is equal exactly for equal drafts.
    std::string key() const;
};

/// A text that is equal exactly for equal textures.
std::string KeyOf(const Texture& texture);

/// A parameter of a standard surface that a network can feed. One of the two members is not null,
/// except for normals.
struct MaterialInputInfo {
    const char* name;
    MaterialInput input;
    Color Material::*color;
    float Material::*number;
    float least, most; ///< range of the number, or of each component of the color
};
extern const std::array<MaterialInputInfo, kMaterialInputs> kInputInfos;

/// The value that the material has where nothing feeds the input.
Color OwnValueOf(const Material& material, const MaterialInputInfo& info);
void SetOwnValue(Material& material, const MaterialInputInfo& info, const Color& value);

} // namespace lantern

#endif
