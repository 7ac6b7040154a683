#ifndef SCENEIMPORT_FBXSPACE_H
#define SCENEIMPORT_FBXSPACE_H

#include "model/SceneContent.h"

struct aiScene;

namespace TellarSceneImport {

/// Turns the content of an FBX file to +Y up and scales it to metres, by the matrix of its root
/// node, as the settings of the file tell. Lights are attenuated as in the file's units. Axes that
/// are no right-handed frame are left as they are.
void ConvertFbxSpace(const aiScene& scene, SceneContent& content);

} // namespace TellarSceneImport

#endif
