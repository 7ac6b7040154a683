#include "MaterialExtensions.h"

#include <algorithm>
#include <cmath>

#include <OxTellarSDK/GroupBuilder.h>

#include "ExtensionValues.h"

namespace TellarSceneImport {

using OxAttribute::GroupBuilder;
using OxAttribute::StringAttribute;
using tinygltf::Value;

namespace {

constexpr Color kWhite = {1, 1, 1};

// The reflection that an index of refraction is found for. A perfect mirror has none.
constexpr float kMostReflection = 0.99f;

float ToFloat(double value) {
    return static_cast<float>(value);
}

// The index of refraction of a surface in air that reflects this part of the light that comes at
// right angles.
float IorOfReflection(float reflection) {
    const float root = std::sqrt(std::clamp(reflection, 0.0f, kMostReflection));
    return (1 + root) / (1 - root);
}

void AddUnlit(MaterialDraft& draft, const Value&) {
    draft.network.set("unlit", 1);
}

void AddEmissiveStrength(MaterialDraft& draft, const Value& extension) {
    draft.network.set("emissionStrength", ToFloat(NumberOf(extension, "emissiveStrength", 1)));
}

void AddSpecular(MaterialDraft& draft, const Value& extension) {
    draft.addNumber("specular", extension, "specularFactor", 1, "specularTexture", "a");
    draft.addColor("specularColor", extension, "specularColorFactor", kWhite,
                   "specularColorTexture");
}

// An index of 0 asks for a reflection of everything, and one below 1 is not allowed.
void AddIor(MaterialDraft& draft, const Value& extension) {
    const float ior = ToFloat(NumberOf(extension, "ior", 1.5));
    draft.network.set("ior", ior == 0 ? IorOfReflection(1) : std::max(ior, 1.0f));
}

// Without a volume, which is read after this, the surface is a thin sheet.
void AddTransmission(MaterialDraft& draft, const Value& extension) {
    draft.network.set("thickness", 0.0f);
    draft.addNumber("transmission", extension, "transmissionFactor", 0, "transmissionTexture", "r");
}

// Without a distance nothing is absorbed.
void AddVolume(MaterialDraft& draft, const Value& extension) {
    draft.addNumber("thickness", extension, "thicknessFactor", 0, "thicknessTexture", "g");
    const float distance = ToFloat(NumberOf(extension, "attenuationDistance", 0));
    if (distance <= 0) return;
    draft.network.set("attenuationDistance", distance);
    draft.network.set("attenuationColor", ColorOf(extension, "attenuationColor", kWhite));
}

void AddClearcoat(MaterialDraft& draft, const Value& extension) {
    draft.addNumber("coat", extension, "clearcoatFactor", 0, "clearcoatTexture", "r");
    draft.addNumber("coatRoughness", extension, "clearcoatRoughnessFactor", 0,
                    "clearcoatRoughnessTexture", "g");
    const TextureUse normal = UseOf(extension, "clearcoatNormalTexture");
    if (draft.addTexture("coatNormal", "out", normal, false, {}) && normal.amount != 1)
        draft.network.set("coatNormalScale", ToFloat(normal.amount));
}

void AddSheen(MaterialDraft& draft, const Value& extension) {
    draft.addColor("sheenColor", extension, "sheenColorFactor", {0, 0, 0}, "sheenColorTexture");
    draft.addNumber("sheenRoughness", extension, "sheenRoughnessFactor", 0, "sheenRoughnessTexture",
                    "a");
}

// Red and green of the texture are a direction around the one that the rotation gives.
void AddAnisotropy(MaterialDraft& draft, const Value& extension) {
    draft.addNumber("anisotropy", extension, "anisotropyStrength", 0, "anisotropyTexture", "b");
    draft.network.set("anisotropyRotation", ToFloat(NumberOf(extension, "anisotropyRotation", 0)));
    const TextureUse use = UseOf(extension, "anisotropyTexture");
    if (use.texture >= 0) draft.addTexture("anisotropyDirection", "out", use, false, {});
}

struct Extension {
    const char* name;
    void (*add)(MaterialDraft& draft, const Value& extension);
};

constexpr Extension kExtensions[] = {
    {"KHR_materials_unlit", AddUnlit},
    {"KHR_materials_emissive_strength", AddEmissiveStrength},
    {"KHR_materials_specular", AddSpecular},
    {"KHR_materials_ior", AddIor},
    {"KHR_materials_transmission", AddTransmission},
    {"KHR_materials_volume", AddVolume},
    {"KHR_materials_clearcoat", AddClearcoat},
    {"KHR_materials_sheen", AddSheen},
    {"KHR_materials_anisotropy", AddAnisotropy},
};

// Glossiness is one minus roughness.
void AddGlossiness(MaterialDraft& draft, const TextureUse& texture, float glossiness) {
    draft.network.set("roughness", 1 - glossiness);
    if (!draft.addImage("glossinessImage", texture, false, {glossiness})) return;
    GroupBuilder inputs;
    inputs.set("a", StringAttribute("a@glossinessImage"));
    draft.network.addNode("roughnessOfGlossiness", "invert", inputs.build());
    draft.network.connect("roughness", "out", "roughnessOfGlossiness");
}

} // namespace

void AddMaterialExtensions(MaterialDraft& draft) {
    for (const Extension& extension : kExtensions)
        if (const Value* value = FindExtension(draft.material.extensions, extension.name))
            extension.add(draft, *value);
}

bool AddSpecularGlossiness(MaterialDraft& draft, const Value& extension) {
    SurfaceNetwork& network = draft.network;
    const bool hasTexture =
        draft.addColor("baseColor", extension, "diffuseFactor", kWhite, "diffuseTexture");
    network.set("metalness", 0.0f);

    const Color reflection = ColorOf(extension, "specularFactor", kWhite);
    const float largest = Largest(reflection);
    const Color hue = largest > 0 ? Scaled(reflection, 1 / largest) : kWhite;
    network.set("ior", IorOfReflection(largest));
    network.set("specular", largest > 0 ? 1.0f : 0.0f);
    network.set("specularColor", hue);
    const TextureUse texture = UseOf(extension, "specularGlossinessTexture");
    draft.addTexture("specularColor", "out", texture, true, {hue.begin(), hue.end()});
    AddGlossiness(draft, texture, ToFloat(NumberOf(extension, "glossinessFactor", 1)));
    return hasTexture;
}

} // namespace TellarSceneImport
