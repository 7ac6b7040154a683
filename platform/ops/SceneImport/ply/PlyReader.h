#ifndef SCENEIMPORT_PLYREADER_H
#define SCENEIMPORT_PLYREADER_H

#include <filesystem>
#include <string_view>

#include "model/SceneContent.h"

namespace TellarSceneImport {

/// The content of a PLY file: a node with a mesh or a point cloud, and a material if it has colours
/// or a texture. Relative paths of textures start at `folder`. Throws std::runtime_error with the
/// reason when the file is damaged.
SceneContent ReadPly(std::string_view content, const std::filesystem::path& folder);

} // namespace TellarSceneImport

#endif
