#ifndef SCENEIMPORT_GLTFMOTION_H
#define SCENEIMPORT_GLTFMOTION_H

#include <vector>

#include "model/SceneContent.h"

namespace TellarSceneImport {

class Document;

/// Adds the motion of a glTF file to the nodes of `content`, which are already there. `sources`
/// holds the index of each one's node in the file, or -1 for a node that was added.
void AddMotion(const Document& document, const std::vector<int>& sources, SceneContent& content);

} // namespace TellarSceneImport

#endif
