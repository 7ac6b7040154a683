#ifndef SCENEIMPORT_MATERIALNETWORK_H
#define SCENEIMPORT_MATERIALNETWORK_H

#include <filesystem>

#include <assimp/material.h>

#include <OxTellarSDK/Attribute.h>

namespace TellarSceneImport {

/// The "material" group of a material location: one standard_surface node named "surface",
/// and an image node for each texture. Relative texture paths start at `folder`.
OxAttribute::GroupAttribute MakeMaterialNetwork(const aiMaterial& material,
                                                const std::filesystem::path& folder);

} // namespace TellarSceneImport

#endif
