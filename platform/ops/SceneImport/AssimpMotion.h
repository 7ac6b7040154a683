#ifndef SCENEIMPORT_ASSIMPMOTION_H
#define SCENEIMPORT_ASSIMPMOTION_H

#include <memory>

#include <assimp/anim.h>
#include <assimp/scene.h>

#include "motion/NodeMotion.h"

namespace TellarSceneImport {

/// The motion of a node as Assimp describes it. A part without keys stays as in the transformation
/// of the node. Keys that are not finite are left out.
std::shared_ptr<const NodeMotion> MakeNodeMotion(const aiNodeAnim& channel, double ticksPerSecond,
                                                 const aiNode& node);

} // namespace TellarSceneImport

#endif
