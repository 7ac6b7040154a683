#ifndef SCENEIMPORT_INSTANCING_H
#define SCENEIMPORT_INSTANCING_H

#include <vector>

#include "model/Space.h"

namespace tinygltf {
class Node;
}

namespace TellarSceneImport {

class Document;

/// The matrices of the instances of a node's mesh, in the space of the node, if the node has the
/// extension for instances: then the mesh itself is not shown. Throws std::runtime_error when the
/// attributes do not fit each other.
struct Instances {
    bool areUsed = false;
    std::vector<Matrix> matrices;
};
Instances InstancesOf(const Document& document, const tinygltf::Node& node);

} // namespace TellarSceneImport

#endif
