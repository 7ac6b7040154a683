#include "ColladaOpacity.h"

#include <algorithm>
#include <vector>

#include <assimp/material.h>
#include <assimp/scene.h>

namespace TellarSceneImport {

namespace {

void TurnAround(aiMaterial& material) {
    float opacity = 1;
    if (material.Get(AI_MATKEY_OPACITY, opacity) != AI_SUCCESS) return;
    opacity = 1 - opacity;
    material.AddProperty(&opacity, 1, AI_MATKEY_OPACITY);
}

} // namespace

void RepairColladaOpacity(const aiScene& scene, std::string_view content) {
    // Assimp turns these around itself.
    for (const std::string_view mode : {"A_ZERO", "RGB_ZERO", "RGB_ONE"})
        if (content.find(mode) != std::string_view::npos) return;
    std::vector<float> opacities;
    for (unsigned i = 0; i < scene.mNumMaterials; ++i)
        if (float opacity = 1; scene.mMaterials[i]->Get(AI_MATKEY_OPACITY, opacity) == AI_SUCCESS)
            opacities.push_back(opacity);
    const auto has = [&opacities](float value) {
        return std::find(opacities.begin(), opacities.end(), value) != opacities.end();
    };
    if (!has(0) || has(1)) return;
    for (unsigned i = 0; i < scene.mNumMaterials; ++i)
        TurnAround(*scene.mMaterials[i]);
}

} // namespace TellarSceneImport
