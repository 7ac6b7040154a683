#ifndef SCENEIMPORT_ASSIMPCONTENT_H
#define SCENEIMPORT_ASSIMPCONTENT_H

#include <string>

#include "model/SceneContent.h"

struct aiScene;

namespace TellarSceneImport {

/// Throws std::runtime_error unless every index in `scene` refers to something, counts fit
/// 32-bit integers, and nodes are nested at most `maxDepth` deep.
void CheckScene(const aiScene& scene, int maxDepth);

/// The content of a scene that passed CheckScene. The motion is that of the animation that
/// ChooseAnimation finds, but "first" is the first one of each node, because some exporters write
/// an animation for every node. Texture paths are as ResolveTextures() takes them.
SceneContent ContentOf(const aiScene& scene, const std::string& animation, const std::string& path);

} // namespace TellarSceneImport

#endif
