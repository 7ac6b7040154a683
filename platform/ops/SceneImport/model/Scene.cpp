#include "Scene.h"

namespace TellarSceneImport {

Scene::Scene(std::vector<SceneNode> sceneNodes, std::vector<std::uint32_t> parentsOfNodes,
             std::vector<ContentMaterial> sceneMaterials)
    : nodes(std::move(sceneNodes)), parents(std::move(parentsOfNodes)),
      materials(std::move(sceneMaterials)) {
    children.reserve(nodes.size());
    for (std::uint32_t i = 1; i < nodes.size(); ++i)
        children.emplace(ChildKey{parents[i], nodes[i].name}, i);
    std::vector<std::string_view> names;
    for (std::uint32_t i = 0; i < materials.size(); ++i) {
        materialIndex.emplace(materials[i].name, i);
        names.push_back(materials[i].name);
    }
    if (!names.empty())
        namesOfMaterials =
            OxAttribute::StringAttribute(names.data(), static_cast<std::int64_t>(names.size()), 1);
}

const SceneNode* Scene::findNode(std::string_view path) const {
    std::size_t slash = path.find('/');
    if (path.substr(0, slash) != rootName()) return nullptr;
    std::uint32_t index = 0;
    while (slash != std::string_view::npos) {
        path.remove_prefix(slash + 1);
        slash = path.find('/');
        const auto child = children.find({index, path.substr(0, slash)});
        if (child == children.end()) return nullptr;
        index = child->second;
    }
    return &nodes[index];
}

const ContentMaterial* Scene::findMaterial(std::string_view name) const {
    const auto found = materialIndex.find(name);
    return found == materialIndex.end() ? nullptr : &materials[found->second];
}

} // namespace TellarSceneImport
