#include "drawing/Materials.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "drawing/Numbers.h"
#include "drawing/ShadingPoint.h"

namespace lantern {
namespace {

/// Whether the input has a value of its own at each hit. An image that cannot be read has none.
bool IsFed(const Material& material, MaterialInput input, const Textures& textures) {
    const Index step = material[input].step;
    if (step == kNone) return false;
    const ShadingStep& source = material.steps[step];
    return source.kind != ShadingStep::Kind::Image || textures.has(source.texture);
}

/// Whether some light may pass straight through the material.
bool IsSheet(const Material& material, const Textures& textures) {
    return material.thickness == 0 &&
           (material.transmission > 0 || IsFed(material, MaterialInput::Transmission, textures));
}

bool IsOpaque(const Material& material, const Textures& textures) {
    const bool isOpaque = material.alphaCutoff >= 0 ? material.opacity >= material.alphaCutoff
                                                    : material.opacity >= 1;
    return material.isDoubleSided && isOpaque &&
           !IsFed(material, MaterialInput::Opacity, textures) && !IsSheet(material, textures);
}

/// Negative components and those that are not finite become 0.
Color NonNegative(const Color& color) {
    const auto nonNegative = [](float value) {
        return std::isfinite(value) ? std::max(value, 0.0f) : 0;
    };
    return {nonNegative(color.x), nonNegative(color.y), nonNegative(color.z)};
}

/// The Beer-Lambert coefficient of a medium that has this color after that distance.
Color Extinction(const Color& color, float distance) {
    constexpr float kLeast = 1e-4f; // black would be infinitely dense
    if (!(distance > 0) || !std::isfinite(distance)) return {0, 0, 0};
    Color result;
    for (int i = 0; i < 3; ++i)
        result[i] = -std::log(std::clamp(color[i], kLeast, 1.0f)) / distance;
    return result;
}

bool HasNetwork(const Material& material) {
    return std::any_of(material.fed.begin(), material.fed.end(),
                       [](const ShadingValue& value) { return value.step != kNone; });
}

SurfaceProperties SurfaceOf(ShadingPoint& at, const Material& m) {
    using Input = MaterialInput;
    const float roughness = at.share(Input::Roughness, m.roughness);
    const float coatRoughness = at.share(Input::CoatRoughness, m.coatRoughness);
    const float ior = at.number(Input::Ior, m.ior);
    const float sheenRoughness = at.share(Input::SheenRoughness, m.sheenRoughness);
    SurfaceProperties result;
    result.baseColor = Clamp01(at.color(Input::BaseColor, m.baseColor));
    result.specular = at.share(Input::Specular, m.specular);
    result.specularColor = NonNegative(at.color(Input::SpecularColor, m.specularColor));
    result.metalness = at.share(Input::Metalness, m.metalness);
    result.alpha = roughness * roughness;
    result.anisotropy = at.share(Input::Anisotropy, m.anisotropy);
    result.ior = ior >= 1 && std::isfinite(ior) ? ior : 1;
    result.transmission = at.share(Input::Transmission, m.transmission);
    result.isThin = m.thickness == 0; // a texture only tells rasterizers how thick a solid is
    result.coat = at.share(Input::Coat, m.coat);
    result.coatAlpha = coatRoughness * coatRoughness;
    result.sheenColor = Clamp01(at.color(Input::SheenColor, m.sheenColor));
    result.sheenAlpha = sheenRoughness * sheenRoughness;
    if (result.hasInside())
        result.extinction =
            Extinction(at.color(Input::AttenuationColor, m.attenuationColor),
                       at.number(Input::AttenuationDistance, m.attenuationDistance));
    return result;
}

Color EmissionOf(ShadingPoint& at, const Material& material) {
    return NonNegative(at.color(MaterialInput::Emission, material.emission));
}

} // namespace

Materials::Materials(const SceneData& scene, const Textures& textures)
    : scene(scene), textures(textures) {
    for (const Material& material : scene.materials) {
        Constant& constant = constants.emplace_back();
        constant.hasNetwork = HasNetwork(material);
        constant.hasNormalMap = IsFed(material, MaterialInput::Normal, textures) ||
                                IsFed(material, MaterialInput::CoatNormal, textures);
        constant.isIsotropic =
            !(material.anisotropy > 0) && material[MaterialInput::Anisotropy].step == kNone;
        if (constant.hasNetwork) continue;
        const RayHit anywhere;
        ShadingPoint at(scene, textures, anywhere, material);
        constant.surface = SurfaceOf(at, material);
        constant.emission = EmissionOf(at, material);
    }
    std::vector<bool> opaque;
    for (const Material& material : scene.materials)
        opaque.push_back(IsOpaque(material, textures));
    for (const Surface& surface : scene.surfaces) {
        const bool areFacesOpaque =
            std::all_of(surface.faceMaterials.begin(), surface.faceMaterials.end(),
                        [&](Index material) { return material == kNone || opaque[material]; });
        opaqueSurfaces.push_back(areFacesOpaque && opaque[surface.material]);
    }
}

bool Materials::isOpaque(const Instance& instance) const {
    return opaqueSurfaces[instance.surface];
}

const Material& Materials::materialAt(Index instance, Index primitive) const {
    return scene.materials[indexAt(instance, primitive)];
}

Index Materials::indexOfFace(const Instance& instance, const Surface& surface,
                             Index primitive) const {
    const std::vector<Index>& faces = scene.shapes[instance.shape].mesh.faces;
    const Index face = primitive < faces.size() ? faces[primitive] : primitive;
    return surface.materialOf(face);
}

float Materials::opacity(const RayHit& hit, bool isFromInside) const {
    const Material& material = materialAt(hit.instance, hit.primitive);
    if (isFromInside && !material.isDoubleSided) return 0;
    const float opacity = ShadingPoint(scene, textures, hit, material)
                              .share(MaterialInput::Opacity, material.opacity);
    if (material.alphaCutoff >= 0) return opacity >= material.alphaCutoff ? 1 : 0;
    return opacity;
}

Color Materials::straightThrough(const RayHit& hit, float cosine) const {
    if (materialAt(hit.instance, hit.primitive).thickness != 0) return Color(0);
    const SurfaceProperties surface = surfaceAt(hit);
    const bool isClear =
        surface.isThin && surface.transmission > 0 && GgxFacets(surface.alpha).isSpecular();
    if (!isClear) return Color(0);
    const float reflected = surface.specular * FresnelDielectric(cosine, surface.ior);
    return surface.baseColor * (surface.transmission * (1 - surface.metalness) * (1 - reflected));
}

V3f Materials::mappedNormal(MaterialInput input, const RayHit& hit, float time,
                            const HitGeometry& geometry) const {
    const V3f normal = geometry.shadingNormal;
    const Material& material = materialAt(hit.instance, hit.primitive);
    if (!IsFed(material, input, textures)) return normal;
    const bool isCoat = input == MaterialInput::CoatNormal;
    const std::string& uvSet = isCoat ? material.coatNormalUvSet : material.normalUvSet;
    V3f alongS, alongT;
    if (!TangentsAt(scene, hit, time, uvSet, geometry.normal, alongS, alongT)) return normal;
    const Color encoded =
        ShadingPoint(scene, textures, hit, material).color(input, {0.5f, 0.5f, 1});
    const V3f bent = encoded * 2.0f - V3f(1);
    const float scale = isCoat ? material.coatNormalScale : material.normalScale;
    const V3f s = Normalized(alongS - normal * (alongS ^ normal), V3f(0));
    const V3f t = Normalized(alongT - normal * (alongT ^ normal), V3f(0));
    return Normalized((s * bent.x + t * bent.y) * scale + normal * bent.z, normal);
}

Frame Materials::frameAt(const RayHit& hit, float time, const V3f& normal) const {
    using Input = MaterialInput;
    const Index index = indexAt(hit.instance, hit.primitive);
    if (constants[index].isIsotropic) return FrameAround(normal);
    const Material& material = scene.materials[index];
    V3f alongS, alongT;
    if (!TangentsAt(scene, hit, time, material.normalUvSet, normal, alongS, alongT))
        return FrameAround(normal);
    const float turn = ShadingPoint(scene, textures, hit, material)
                           .number(Input::AnisotropyRotation, material.anisotropyRotation);
    const V3f s = Normalized(alongS - normal * (alongS ^ normal), FrameAround(normal).x);
    const V3f t = alongT - normal * (alongT ^ normal);
    const V3f up = (normal % s) * ((normal % s ^ t) < 0 ? -1.0f : 1.0f); // mirrored coordinates
    const V3f x = s * std::cos(turn) + up * std::sin(turn);
    return {x, normal % x, normal};
}

SurfaceProperties Materials::surfaceAt(const RayHit& hit) const {
    const Index index = indexAt(hit.instance, hit.primitive);
    if (!constants[index].hasNetwork) return constants[index].surface;
    ShadingPoint at(scene, textures, hit, scene.materials[index]);
    return SurfaceOf(at, scene.materials[index]);
}

Color Materials::emissionOfNetwork(const RayHit& hit) const {
    const Material& material = materialAt(hit.instance, hit.primitive);
    ShadingPoint at(scene, textures, hit, material);
    return EmissionOf(at, material);
}

} // namespace lantern
