#include "TextureUse.h"

#include <cmath>
#include <utility>

#include "ExtensionValues.h"

namespace TellarSceneImport {

using tinygltf::Value;

namespace {

constexpr const char* kTransform = "KHR_texture_transform";
constexpr int kLastUvSet = 99;

std::pair<double, double> PairOf(const Value& object, const char* name, double fallback) {
    const Value* value = FindMember(object, name);
    if (!value || value->ArrayLen() != 2 || !value->Get(0).IsNumber() || !value->Get(1).IsNumber())
        return {fallback, fallback};
    const double first = value->Get(0).GetNumberAsDouble();
    const double second = value->Get(1).GetNumberAsDouble();
    if (!std::isfinite(first) || !std::isfinite(second)) return {fallback, fallback};
    return {first, second};
}

void SetUvSet(TextureUse& use, int uvSet) {
    use.uvSet = uvSet >= 0 && uvSet <= kLastUvSet ? uvSet : 0;
}

// The file has texture coordinates that grow downwards, v = 1 - V, and turns them counter-clockwise
// as they are seen on the picture:
//
//     u' =  cos * scaleU * u + sin * scaleV * v + offsetU
//     v' = -sin * scaleU * u + cos * scaleV * v + offsetV
//
// Replacing v and v' by V and V' gives a turn by the same angle and another translation.
void SetTransform(TextureUse& use, const Value& transform) {
    const auto [offsetU, offsetV] = PairOf(transform, "offset", 0);
    const auto [scaleU, scaleV] = PairOf(transform, "scale", 1);
    const double turn = NumberOf(transform, "rotation", 0);
    const double moveU = offsetU + std::sin(turn) * scaleV;
    const double moveV = 1 - offsetV - std::cos(turn) * scaleV;
    std::vector<float> values;
    for (const double value : {moveU, moveV, scaleU, scaleV, turn})
        values.push_back(static_cast<float>(value));
    if (values != std::vector<float>{0, 0, 1, 1, 0}) use.uvTransform = std::move(values);
    if (const int uvSet = IndexOf(transform, "texCoord"); uvSet >= 0) SetUvSet(use, uvSet);
}

template <typename Info>
TextureUse CommonUse(const Info& info) {
    TextureUse use;
    use.texture = info.index;
    SetUvSet(use, info.texCoord);
    if (const Value* transform = FindExtension(info.extensions, kTransform))
        SetTransform(use, *transform);
    return use;
}

} // namespace

TextureUse UseOf(const tinygltf::TextureInfo& info) {
    return CommonUse(info);
}

TextureUse UseOf(const tinygltf::NormalTextureInfo& info) {
    TextureUse use = CommonUse(info);
    use.amount = info.scale;
    return use;
}

TextureUse UseOf(const tinygltf::OcclusionTextureInfo& info) {
    TextureUse use = CommonUse(info);
    use.amount = info.strength;
    return use;
}

TextureUse UseOf(const Value& extension, const char* member) {
    TextureUse use;
    const Value* info = FindMember(extension, member);
    if (!info || !info->IsObject()) return use;
    use.texture = IndexOf(*info, "index");
    SetUvSet(use, IndexOf(*info, "texCoord"));
    use.amount = NumberOf(*info, "scale", 1);
    const Value* extensions = FindMember(*info, "extensions");
    const Value* transform = extensions ? FindMember(*extensions, kTransform) : nullptr;
    if (transform && transform->IsObject()) SetTransform(use, *transform);
    return use;
}

} // namespace TellarSceneImport
