#ifndef SCENEIMPORT_MATERIALNETWORK_H
#define SCENEIMPORT_MATERIALNETWORK_H

#include <assimp/material.h>

#include <OxTellarSDK/Attribute.h>

struct aiScene;

namespace TellarSceneImport {

/// The "material" group of a material location: one standard_surface node named "surface",
/// and an image node for each texture. Texture paths are as ResolveTextures() takes them.
OxAttribute::GroupAttribute MakeMaterialNetwork(const aiMaterial& material, const aiScene& scene);

} // namespace TellarSceneImport

#endif
