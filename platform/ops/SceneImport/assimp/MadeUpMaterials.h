#ifndef SCENEIMPORT_MADEUPMATERIALS_H
#define SCENEIMPORT_MADEUPMATERIALS_H

#include <string>
#include <vector>

#include "model/SceneContent.h"

namespace TellarSceneImport {

/// Assimp gives a material of its own to meshes without one, for which each of its importers has
/// other values. In the formats where such materials can be told from those of the file, they are
/// taken away, so that such meshes look the same in all formats. Those that show the colors of
/// points stay. `extension` is that of the file, `ofFile` the materials that an OBJ file refers to.
void RemoveMadeUpMaterials(const std::string& extension, const std::vector<ContentMaterial>& ofFile,
                           SceneContent& content);

} // namespace TellarSceneImport

#endif
