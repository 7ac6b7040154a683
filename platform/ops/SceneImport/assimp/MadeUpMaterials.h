#ifndef SCENEIMPORT_MADEUPMATERIALS_H
#define SCENEIMPORT_MADEUPMATERIALS_H

#include <string>
#include <vector>

#include "model/SceneContent.h"

namespace TellarSceneImport {

/// Removes the materials that Assimp gives to meshes without one, so that such meshes look the same
/// in all formats. Their values differ between Assimp's importers. Formats in which they cannot be
/// distinguished from the file's own materials, and materials that show the colors of points, are
/// left alone. `extension` is the file's; `ofFile` are the materials that an OBJ file refers to.
void RemoveMadeUpMaterials(const std::string& extension, const std::vector<ContentMaterial>& ofFile,
                           SceneContent& content);

} // namespace TellarSceneImport

#endif
