#ifndef SCENEIMPORT_PLYREADER_H
#define SCENEIMPORT_PLYREADER_H

#include <string_view>

#include "model/SceneContent.h"

namespace TellarSceneImport {

/// The content of a PLY file: a node with a mesh or a point cloud, and a material if it has colours
/// or a texture. Texture paths are as ResolveTextures() takes them. Throws std::runtime_error with
/// the reason when the file is damaged.
SceneContent ReadPly(std::string_view content);

} // namespace TellarSceneImport

#endif
