#include "MadeUpMaterials.h"

#include <algorithm>
#include <utility>

#include <assimp/material.h>

namespace TellarSceneImport {

namespace {

// Files of the other two formats have no materials.
bool IsKnownFormat(const std::string& extension) {
    return extension == ".obj" || extension == ".off" || extension == ".stl";
}

bool ShowsColors(const ContentMaterial& material) {
    return material.network.getChildByName("nodes.surface.parameters.vertexColor").isValid();
}

bool IsMadeUp(const ContentMaterial& material, const std::vector<ContentMaterial>& ofFile) {
    if (!material.name.empty() && material.name != AI_DEFAULT_MATERIAL_NAME) return false;
    return std::none_of(ofFile.begin(), ofFile.end(), [&material](const ContentMaterial& other) {
        return other.name == material.name;
    });
}

} // namespace

void RemoveMadeUpMaterials(const std::string& extension, const std::vector<ContentMaterial>& ofFile,
                           SceneContent& content) {
    if (!IsKnownFormat(extension)) return;
    std::vector<int> indices; // new index of each material; -1 if it is removed
    std::vector<ContentMaterial> kept;
    for (ContentMaterial& material : content.materials) {
        const bool isKept = !IsMadeUp(material, ofFile) || ShowsColors(material);
        indices.push_back(isKept ? static_cast<int>(kept.size()) : -1);
        if (isKept) kept.push_back(std::move(material));
    }
    content.materials = std::move(kept);
    for (ContentShape& shape : content.shapes)
        if (shape.material >= 0) shape.material = indices[shape.material];
}

} // namespace TellarSceneImport
