#include "Materials.h"

#include <cmath>

#include "ExtensionValues.h"
#include "MaterialExtensions.h"
#include "Variants.h"

namespace TellarSceneImport {

using tinygltf::Value;

namespace {

float Finite(double value, double fallback) {
    const auto number = static_cast<float>(value);
    return std::isfinite(number) ? number : static_cast<float>(fallback);
}

// The number at an index; the fallback beyond the end of the list, or if it is not finite.
float NumberAt(const std::vector<double>& numbers, std::size_t index, double fallback) {
    return index < numbers.size() ? Finite(numbers[index], fallback) : Finite(fallback, 0);
}

Color Color3(const std::vector<double>& numbers, double fallback) {
    return {NumberAt(numbers, 0, fallback), NumberAt(numbers, 1, fallback),
            NumberAt(numbers, 2, fallback)};
}

// Alpha matters in two of the three modes only. `alpha` is the factor; the texture is that of the
// base color, if there is one.
void AddAlpha(MaterialDraft& draft, float alpha, bool hasTexture) {
    const std::string& mode = draft.material.alphaMode;
    const bool isCutOut = mode == "MASK" || mode == "BLEND";
    draft.network.set("opacity", isCutOut ? alpha : 1.0f);
    if (mode == "MASK") draft.network.set("alphaCutoff", Finite(draft.material.alphaCutoff, 0.5));
    if (isCutOut && hasTexture) draft.network.connect("opacity", "a", "baseColorImage");
}

void AddMetalnessAndRoughness(MaterialDraft& draft) {
    const tinygltf::PbrMetallicRoughness& pbr = draft.material.pbrMetallicRoughness;
    const float metalness = Finite(pbr.metallicFactor, 1);
    const float roughness = Finite(pbr.roughnessFactor, 1);
    draft.network.set("metalness", metalness);
    draft.network.set("roughness", roughness);
    draft.network.set("specular", 1.0f);
    draft.network.set("specularColor", Color{1, 1, 1});
    const char* const image = "metalnessRoughnessImage";
    if (!draft.addImage(image, UseOf(pbr.metallicRoughnessTexture), false,
                        {1, roughness, metalness}))
        return;
    draft.network.connect("metalness", "b", image);
    draft.network.connect("roughness", "g", image);
}

void AddMetallicRoughness(MaterialDraft& draft) {
    const tinygltf::PbrMetallicRoughness& pbr = draft.material.pbrMetallicRoughness;
    const Color color = Color3(pbr.baseColorFactor, 1);
    draft.network.set("baseColor", color);
    const bool hasTexture = draft.addTexture("baseColor", "out", UseOf(pbr.baseColorTexture), true,
                                             {color.begin(), color.end()});
    AddAlpha(draft, NumberAt(pbr.baseColorFactor, 3, 1), hasTexture);

    AddMetalnessAndRoughness(draft);
}

void AddEmission(MaterialDraft& draft) {
    const Color color = Color3(draft.material.emissiveFactor, 0);
    draft.network.set("emission", color);
    draft.addTexture("emission", "out", UseOf(draft.material.emissiveTexture), true,
                     {color.begin(), color.end()});
}

void AddNormalAndOcclusion(MaterialDraft& draft) {
    const TextureUse normal = UseOf(draft.material.normalTexture);
    if (draft.addTexture("normal", "out", normal, false, {}))
        draft.network.set("normalScale", Finite(normal.amount, 1));
    const TextureUse occlusion = UseOf(draft.material.occlusionTexture);
    if (draft.addTexture("occlusion", "r", occlusion, false, {}) && occlusion.amount != 1)
        draft.network.set("occlusionStrength", Finite(occlusion.amount, 1));
}

// The extension replaces the usual model.
void AddColorModel(MaterialDraft& draft) {
    const Value* glossy =
        FindExtension(draft.material.extensions, "KHR_materials_pbrSpecularGlossiness");
    if (!glossy) return AddMetallicRoughness(draft);
    const bool hasTexture = AddSpecularGlossiness(draft, *glossy);
    const Value* diffuse = FindMember(*glossy, "diffuseFactor");
    const bool hasAlpha = diffuse && diffuse->ArrayLen() > 3 && diffuse->Get(3).IsNumber();
    AddAlpha(draft, hasAlpha ? Finite(diffuse->Get(3).GetNumberAsDouble(), 1) : 1.0f, hasTexture);
}

} // namespace

OxAttribute::GroupAttribute MakeGltfMaterial(const tinygltf::Model& model,
                                             const tinygltf::Material& material,
                                             bool hasVertexColors, const ImagePath& pathOf,
                                             const MaterialWarning& warn) {
    MaterialDraft draft(model, material, pathOf, warn);
    AddColorModel(draft);
    AddEmission(draft);
    AddNormalAndOcclusion(draft);
    if (material.doubleSided) draft.network.set("doubleSided", 1);
    if (hasVertexColors) draft.network.set("vertexColor", 1);
    AddMaterialExtensions(draft);
    return draft.network.build();
}

std::vector<bool> FindMaterialsWithColors(const tinygltf::Model& model) {
    std::vector<bool> haveColors(model.materials.size(), false);
    for (const tinygltf::Mesh& mesh : model.meshes)
        for (const tinygltf::Primitive& primitive : mesh.primitives) {
            if (primitive.attributes.count("COLOR_0") == 0) continue;
            for (const int material : AllMaterialsOf(primitive))
                if (material >= 0 && static_cast<std::size_t>(material) < haveColors.size())
                    haveColors[material] = true;
        }
    return haveColors;
}

} // namespace TellarSceneImport
