#ifndef SCENEIMPORT_SCENE_H
#define SCENEIMPORT_SCENE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "NodeMotion.h"

namespace TellarSceneImport {

/// One location of an imported scene: a node of the file, or a mesh, camera or light of one.
struct SceneNode {
    std::string name;
    /// All but what depends on an Op's arguments: the motion and the material's path.
    OxAttribute::GroupAttribute attrs;
    /// Invalid without children.
    OxAttribute::StringAttribute childNames;
    /// Null for a node that stands still. Takes the place of attrs' "xform.matrix".
    std::shared_ptr<const NodeMotion> motion;
    /// Index of the mesh's material, or -1.
    int material = -1;
};

struct SceneMaterial {
    std::string name;
    /// What stands as "material" on the material's own location and on its meshes.
    OxAttribute::GroupAttribute network;
};

/// A scene file as locations, ready to be cooked. Immutable.
class Scene {
public:
    /// `parents` holds the index of each node's parent; node 0 is the root, and every parent
    /// precedes its children. Sibling names and material names are unique.
    Scene(std::vector<SceneNode> nodes, const std::vector<std::uint32_t>& parents,
          std::vector<SceneMaterial> materials);
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    const std::string& rootName() const { return nodes.front().name; }
    /// By path from above the root: "garden/trees/oak". Null when there is none.
    const SceneNode* findNode(std::string_view path) const;
    const SceneMaterial& material(int index) const { return materials[index]; }
    const SceneMaterial* findMaterial(std::string_view name) const;
    /// Invalid without materials.
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
    const std::vector<SceneMaterial> materials;
    std::unordered_map<ChildKey, std::uint32_t, ChildKeyHash> children; // names lie in nodes
    std::unordered_map<std::string_view, std::uint32_t> materialIndex;  // names lie in materials
    OxAttribute::StringAttribute namesOfMaterials;
};

} // namespace TellarSceneImport

#endif
