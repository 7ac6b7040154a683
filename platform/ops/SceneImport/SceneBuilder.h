#ifndef SCENEIMPORT_SCENEBUILDER_H
#define SCENEIMPORT_SCENEBUILDER_H

#include <filesystem>
#include <memory>

#include <assimp/scene.h>

#include "GltfFile.h"
#include "Scene.h"

namespace TellarSceneImport {

/// Throws std::runtime_error unless every index in `scene` refers to something, counts fit
/// 32-bit integers, and nodes are nested at most `maxDepth` deep.
void CheckScene(const aiScene& scene, int maxDepth);

/// Turns a scene that passed CheckScene into locations. `gltf` is the file that it was read from if
/// that was glTF 2, else null. Relative texture paths start at `folder`.
std::shared_ptr<const Scene> BuildScene(const aiScene& scene, const GltfFile* gltf,
                                        const std::filesystem::path& folder);

} // namespace TellarSceneImport

#endif
