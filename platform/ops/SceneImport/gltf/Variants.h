#ifndef SCENEIMPORT_VARIANTS_H
#define SCENEIMPORT_VARIANTS_H

#include <string>
#include <vector>

#include "TinyGltf.h"

namespace TellarSceneImport {

/// Sets of materials that a glTF file offers for its meshes (KHR_materials_variants).

/// The index of the variant of this name. Throws std::runtime_error, which lists the variants, when
/// there is none.
int FindVariant(const tinygltf::Model& model, const std::string& name);

/// The index of the material that a primitive has in a variant; of the usual material when it has
/// no other in that variant or `variant` is -1; -1 for none. Throws std::runtime_error when it
/// refers to a material that does not exist.
int MaterialOf(const tinygltf::Model& model, const tinygltf::Primitive& primitive, int variant);

/// The usual material of a primitive and those of its variants, as the file has them.
std::vector<int> AllMaterialsOf(const tinygltf::Primitive& primitive);

} // namespace TellarSceneImport

#endif
