#ifndef SCENEIMPORT_NODES_H
#define SCENEIMPORT_NODES_H

#include <string>
#include <vector>

#include "model/Space.h"

namespace tinygltf {
class Model;
class Node;
} // namespace tinygltf

namespace TellarSceneImport {

/// The scenes of a glTF file and the transforms of its nodes.

/// The index of the scene with this name, or else with this number. Throws std::runtime_error,
/// which lists the scenes, when there is none.
int FindScene(const tinygltf::Model& model, const std::string& nameOrIndex);

/// The nodes at the top of a scene, in its order and each once; of a file without scenes (-1), all
/// nodes without a parent.
std::vector<int> RootsOf(const tinygltf::Model& model, int scene);

/// The local transform of a node, without motion.
Matrix MatrixOf(const tinygltf::Node& node);
/// The same transform in parts; shear is lost.
Transform TransformOf(const tinygltf::Node& node);

} // namespace TellarSceneImport

#endif
