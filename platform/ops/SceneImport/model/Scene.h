#ifndef SCENEIMPORT_SCENE_H
#define SCENEIMPORT_SCENE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "Motion.h"
#include "SceneContent.h"

namespace TellarSceneImport {

/// One location of an imported scene: a node of the file, or a shape, camera or light of one.
struct SceneNode {
    std::string name;
    /// All attributes except the motion and the path of the material, which depend on arguments.
    OxAttribute::GroupAttribute attrs;
    /// Invalid when there are no children.
    OxAttribute::StringAttribute childNames;
    /// Null for a location that does not move. Replaces some of attrs.
    std::shared_ptr<const Motion> motion;
    /// Index of the shape's material, or -1.
    int material = -1;
};

/// A scene file as locations, ready to be cooked. Immutable.
class Scene {
public:
    /// `parents` holds the index of each node's parent; node 0 is the root, and every parent
    /// precedes its children. Sibling names and material names are unique.
    Scene(std::vector<SceneNode> nodes, std::vector<std::uint32_t> parents,
          std::vector<ContentMaterial> materials);
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    const std::string& rootName() const { return nodes.front().name; }
    /// Node 0 is the root, and every parent precedes its children.
    const std::vector<SceneNode>& allNodes() const { return nodes; }
    /// The index of a node's parent; 0 for the root.
    std::uint32_t parentOf(std::uint32_t node) const { return parents[node]; }
    /// Finds a node by its path, which begins with the name of the root: "garden/trees/oak".
    /// Returns null when there is none.
    const SceneNode* findNode(std::string_view path) const;
    const ContentMaterial& material(int index) const { return materials[index]; }
    const std::vector<ContentMaterial>& allMaterials() const { return materials; }
    const ContentMaterial* findMaterial(std::string_view name) const;
    /// Invalid when there are no materials.
    const OxAttribute::StringAttribute& materialNames() const { return namesOfMaterials; }

private:
    struct ChildKey {
        std::uint32_t parent;
        std::string_view name;
        bool operator==(const ChildKey& other) const {
            return parent == other.parent && name == other.name;
        }
    };
    struct ChildKeyHash {
        std::size_t operator()(const ChildKey& key) const noexcept {
            return std::hash<std::string_view>()(key.name) ^
                   (key.parent + 1) * std::size_t(0x9e3779b97f4a7c15);
        }
    };

    const std::vector<SceneNode> nodes;
    const std::vector<std::uint32_t> parents;
    const std::vector<ContentMaterial> materials;
    std::unordered_map<ChildKey, std::uint32_t, ChildKeyHash> children; // names lie in nodes
    std::unordered_map<std::string_view, std::uint32_t> materialIndex;  // names lie in materials
    OxAttribute::StringAttribute namesOfMaterials;
};

} // namespace TellarSceneImport

#endif
