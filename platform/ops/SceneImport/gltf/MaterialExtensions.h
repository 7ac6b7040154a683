#ifndef SCENEIMPORT_MATERIALEXTENSIONS_H
#define SCENEIMPORT_MATERIALEXTENSIONS_H

#include "MaterialDraft.h"

namespace TellarSceneImport {

/// Adds all extensions of the draft's material, except for the specular-glossiness model.
void AddMaterialExtensions(MaterialDraft& draft);

/// Adds the parameters and textures of the specular-glossiness model, in place of the metallic
/// one. The color of the reflection at right angles becomes an index of refraction and
/// `specularColor`, which describe it for metals too. Returns whether the base color has a texture.
bool AddSpecularGlossiness(MaterialDraft& draft, const tinygltf::Value& extension);

} // namespace TellarSceneImport

#endif
