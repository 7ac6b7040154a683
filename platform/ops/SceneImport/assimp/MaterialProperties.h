#ifndef SCENEIMPORT_MATERIALPROPERTIES_H
#define SCENEIMPORT_MATERIALPROPERTIES_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <assimp/material.h>

namespace TellarSceneImport {

/// Reads the properties of an Assimp material. Assimp's own getters read past the end of
/// properties that are shorter than their type; these do not.
///
/// A property is named by key, semantic and index, as the AI_MATKEY macros spell out.
class MaterialProperties {
public:
    explicit MaterialProperties(const aiMaterial& material) : material(material) {}

    /// Numbers of any kind, as stored; empty when there is no such property.
    std::vector<float> numbers(const char* key, unsigned semantic = 0, unsigned index = 0) const;
    std::optional<float> number(const char* key, unsigned semantic = 0, unsigned index = 0) const;
    std::optional<std::array<float, 3>> color(const char* key, unsigned semantic = 0,
                                              unsigned index = 0) const;
    /// Empty when there is no such property.
    std::string text(const char* key, unsigned semantic = 0, unsigned index = 0) const;

private:
    const aiMaterialProperty* find(const char* key, unsigned semantic, unsigned index) const;

    const aiMaterial& material;
};

} // namespace TellarSceneImport

#endif
