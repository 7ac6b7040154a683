#ifndef SCENEIMPORT_MATERIALS_H
#define SCENEIMPORT_MATERIALS_H

#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "MaterialDraft.h"

namespace TellarSceneImport {

/// The "material" group of the location of a glTF material. `hasVertexColors` says whether meshes
/// that show it have colors, which are multiplied with its base color.
OxAttribute::GroupAttribute MakeGltfMaterial(const tinygltf::Model& model,
                                             const tinygltf::Material& material,
                                             bool hasVertexColors, const ImagePath& pathOf,
                                             const MaterialWarning& warn);

/// For each material of the file, whether a primitive that shows it has colors.
std::vector<bool> FindMaterialsWithColors(const tinygltf::Model& model);

} // namespace TellarSceneImport

#endif
