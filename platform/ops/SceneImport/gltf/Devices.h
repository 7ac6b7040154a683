#ifndef SCENEIMPORT_DEVICES_H
#define SCENEIMPORT_DEVICES_H

#include <vector>

#include "model/SceneContent.h"

namespace tinygltf {
struct Camera;
struct Light;
class Node;
} // namespace tinygltf

namespace TellarSceneImport {

/// The cameras and the lights of a glTF file.

ImportedCamera ReadCamera(const tinygltf::Camera& source);
ImportedLight ReadLight(const tinygltf::Light& source);

/// The camera and the light of a node.
std::vector<ContentDevice> DevicesOf(const tinygltf::Node& node);

} // namespace TellarSceneImport

#endif
