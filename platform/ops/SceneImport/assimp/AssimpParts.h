#ifndef SCENEIMPORT_ASSIMPPARTS_H
#define SCENEIMPORT_ASSIMPPARTS_H

#include <memory>

#include <assimp/anim.h>
#include <assimp/camera.h>
#include <assimp/light.h>
#include <assimp/matrix4x4.h>
#include <assimp/scene.h>

#include "model/CameraAndLight.h"
#include "model/Motion.h"
#include "model/SceneContent.h"
#include "model/Space.h"

namespace TellarSceneImport {

/// Assimp's matrices are for column vectors: this transposes.
Matrix ToMatrix(const aiMatrix4x4& matrix);

ImportedCamera CameraOf(const aiCamera& source);
ImportedLight LightOf(const aiLight& source);

/// The file of an embedded texture. Texels without a format become a TGA file. Empty for a texture
/// that is damaged.
ContentImage ImageOf(const aiTexture& texture);

/// Returns the number of ticks in a second of an animation, or a default if the file gives none.
double TicksPerSecond(const aiAnimation& animation);

/// A component without keys stays as in the transformation of the node.
std::shared_ptr<const Motion> MotionOf(const aiNodeAnim& channel, double ticksPerSecond,
                                       const aiNode& node);

} // namespace TellarSceneImport

#endif
