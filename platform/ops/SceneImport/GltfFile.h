#ifndef SCENEIMPORT_GLTFFILE_H
#define SCENEIMPORT_GLTFFILE_H

#include <optional>
#include <string>
#include <vector>

#include "CameraAndLight.h"

namespace TellarSceneImport {

/// The parts of a glTF 2 file that Assimp loses, read from the file itself.
///
/// Assimp tells nodes apart by name alone, which glTF does not promise to be unique: nodes of
/// one name get each other's motion, and a camera or light that several nodes share reaches
/// one of them. It also gets a perspective camera's angle wrong. So Assimp is given the same
/// file with every node named by its index, and names, cameras and lights come from here.
struct GltfFile {
    struct Node {
        std::string name;
        int camera = -1; ///< index, or -1
        int light = -1;
    };

    /// The whole file, text or binary as it was, with nodes named "0", "1", ...
    std::string renamed;
    std::vector<Node> nodes;
    std::vector<ImportedCamera> cameras;
    std::vector<ImportedLight> lights;

    /// The node that Assimp's node of this name is; null for one that Assimp made itself.
    const Node* findNode(const std::string& assimpName) const;
};

/// `content` is a whole file, JSON or binary glTF. Empty for anything but glTF 2. Throws
/// std::runtime_error saying what is wrong with a damaged one; node indices, camera and light
/// indices, and the depth of the node tree (at most `maxDepth`) are sound in what it returns.
std::optional<GltfFile> ReadGltf(const std::string& content, int maxDepth);

} // namespace TellarSceneImport

#endif
