#ifndef SCENEIMPORT_SCENECONTENT_H
#define SCENEIMPORT_SCENECONTENT_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "CameraAndLight.h"
#include "Motion.h"
#include "Space.h"

namespace TellarSceneImport {

/// Geometry that any number of nodes show: a mesh, curves or points.
struct ContentShape {
    std::string name; ///< may be empty
    /// The type of its locations, such as "polymesh"; empty for a shape that is not imported.
    std::string type;
    OxAttribute::GroupAttribute geometry;
    Box bound;
    int material = -1; ///< index, or -1
    /// Null for a shape that keeps its form.
    std::shared_ptr<const Motion> motion;
    /// For readers: the element of the file's data that each point comes from. Empty if point i is
    /// element i.
    std::vector<std::uint32_t> sourcePoints;
};

/// A camera or a light of a node.
struct ContentDevice {
    enum class Kind { Camera, Light };
    Kind kind = Kind::Camera;
    std::uint32_t index = 0; ///< into the cameras or the lights
    /// Set for one that the file gives to no node: it becomes a location below the root.
    std::string name;
};

struct ContentNode {
    std::string name; ///< may be empty
    std::uint32_t parent = 0;
    Matrix matrix = kIdentity;
    /// Null for a node that does not move.
    std::shared_ptr<const Motion> motion;
    std::vector<std::uint32_t> shapes; ///< indices
    std::vector<ContentDevice> devices;
};

struct ContentMaterial {
    std::string name; ///< may be empty
    /// The "material" group of the material's location and of its meshes.
    OxAttribute::GroupAttribute network;
};

/// A picture inside the scene file, as bytes of a file of its own.
struct ContentImage {
    std::string bytes;
    std::string hint; ///< hint at its format for ImageExtension()
};

/// The content of a scene file, whatever its format: readers fill it, BuildScene makes locations of
/// it. All indices refer to existing items.
struct SceneContent {
    /// Node 0 is the root. Parents precede their children; siblings are in the file's order.
    std::vector<ContentNode> nodes;
    std::vector<ContentShape> shapes;
    std::vector<ContentMaterial> materials;
    /// ResolveTextures() moves them into the image cache.
    std::vector<ContentImage> images;
    std::vector<ImportedCamera> cameras;
    std::vector<ImportedLight> lights;
};

} // namespace TellarSceneImport

#endif
