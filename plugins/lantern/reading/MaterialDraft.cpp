#include "reading/MaterialDraft.h"

#include <limits>

namespace lantern {

namespace {

constexpr float kHuge = std::numeric_limits<float>::max();

using Input = MaterialInput;

template <typename Value>
void Append(std::string& key, const Value& value) {
    key.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void Append(std::string& key, const Color& color) {
    for (int i = 0; i < 3; ++i)
        Append(key, color[i]);
}

void Append(std::string& key, const UvTransform& transform) {
    for (const V2f& value : {transform.alongS, transform.alongT, transform.offset}) {
        Append(key, value.x);
        Append(key, value.y);
    }
}

void Append(std::string& key, const ShadingValue& value) {
    Append(key, value.constant);
    Append(key, value.step);
    Append(key, value.channel);
}

void AppendText(std::string& key, const std::string& text) {
    Append(key, text.size());
    key += text;
}

void Append(std::string& key, const ShadingStep& step) {
    Append(key, step.kind);
    for (const ShadingValue& input : step.inputs)
        Append(key, input);
    Append(key, step.texture);
    AppendText(key, step.set);
    Append(key, step.uvTransform);
    Append(key, step.isInObjectSpace);
    Append(key, step.scale);
    Append(key, step.octaves);
    Append(key, step.isStepped);
    Append(key, step.stops.size());
    for (const ShadingStep::Stop& stop : step.stops) {
        Append(key, stop.place);
        Append(key, stop.color);
    }
}

} // namespace

const std::array<MaterialInputInfo, kMaterialInputs> kInputInfos = {{
    {"baseColor", Input::BaseColor, &Material::baseColor, nullptr, 0, 1},
    {"emission", Input::Emission, &Material::emission, nullptr, 0, kHuge},
    {"specular", Input::Specular, nullptr, &Material::specular, 0, 1},
    {"specularColor", Input::SpecularColor, &Material::specularColor, nullptr, 0, kHuge},
    {"metalness", Input::Metalness, nullptr, &Material::metalness, 0, 1},
    {"roughness", Input::Roughness, nullptr, &Material::roughness, 0, 1},
    {"ior", Input::Ior, nullptr, &Material::ior, 1, 1000},
    {"opacity", Input::Opacity, nullptr, &Material::opacity, 0, 1},
    {"transmission", Input::Transmission, nullptr, &Material::transmission, 0, 1},
    {"thickness", Input::Thickness, nullptr, &Material::thickness, 0, kHuge},
    {"attenuationDistance", Input::AttenuationDistance, nullptr, &Material::attenuationDistance, 0,
     kHuge},
    {"attenuationColor", Input::AttenuationColor, &Material::attenuationColor, nullptr, 0, 1},
    {"coat", Input::Coat, nullptr, &Material::coat, 0, 1},
    {"coatRoughness", Input::CoatRoughness, nullptr, &Material::coatRoughness, 0, 1},
    {"sheenColor", Input::SheenColor, &Material::sheenColor, nullptr, 0, 1},
    {"sheenRoughness", Input::SheenRoughness, nullptr, &Material::sheenRoughness, 0, 1},
    {"anisotropy", Input::Anisotropy, nullptr, &Material::anisotropy, 0, 1},
    {"anisotropyRotation", Input::AnisotropyRotation, nullptr, &Material::anisotropyRotation,
     -kHuge, kHuge},
    {"normal", Input::Normal, nullptr, nullptr, 0, 1},
    {"coatNormal", Input::CoatNormal, nullptr, nullptr, 0, 1},
}};

Color OwnValueOf(const Material& material, const MaterialInputInfo& info) {
    if (info.color) return material.*info.color;
    return info.number ? Color(material.*info.number) : Color(0.5f, 0.5f, 1);
}

void SetOwnValue(Material& material, const MaterialInputInfo& info, const Color& value) {
    if (info.color) material.*info.color = value;
    if (info.number) material.*info.number = value.x;
}

std::string KeyOf(const Texture& texture) {
    std::string key;
    AppendText(key, texture.file);
    AppendText(key, texture.uvSet);
    Append(key, texture.wrapU);
    Append(key, texture.wrapV);
    Append(key, texture.isSrgb);
    Append(key, texture.channel);
    Append(key, texture.multiply);
    Append(key, texture.uvTransform);
    return key;
}

std::string MaterialDraft::key() const {
    std::string key;
    AppendText(key, values.name);
    for (const MaterialInputInfo& info : kInputInfos) {
        Append(key, OwnValueOf(values, info));
        Append(key, values[info.input]);
    }
    Append(key, values.alphaCutoff);
    Append(key, values.normalScale);
    Append(key, values.coatNormalScale);
    Append(key, values.isDoubleSided);
    Append(key, values.isUnlit);
    AppendText(key, values.normalUvSet);
    AppendText(key, values.coatNormalUvSet);
    Append(key, values.steps.size());
    for (const ShadingStep& step : values.steps)
        Append(key, step);
    for (const Texture& texture : textures)
        AppendText(key, KeyOf(texture));
    return key;
}

} // namespace lantern
