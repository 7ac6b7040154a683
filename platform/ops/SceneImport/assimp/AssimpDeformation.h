#ifndef SCENEIMPORT_ASSIMPDEFORMATION_H
#define SCENEIMPORT_ASSIMPDEFORMATION_H

#include <string>
#include <unordered_map>
#include <vector>

#include "model/SceneContent.h"

struct aiAnimation;
struct aiScene;

namespace TellarSceneImport {

/// Makes the meshes with bones or morph targets move. The nodes, the motion of nodes and the meshes
/// of the content have been read, in the order of the scene; `nodesByName` has their indices. The
/// weights of a morph target come from the first of `animations` that has them. `path` is the path
/// of the scene file.
void DeformAssimpShapes(const aiScene& scene,
                        const std::unordered_map<std::string, int>& nodesByName,
                        const std::vector<const aiAnimation*>& animations, const std::string& path,
                        SceneContent& content);

} // namespace TellarSceneImport

#endif
