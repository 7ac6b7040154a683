#include "drawing/Materials.h"

#include <algorithm>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

bool IsOpaque(const Material& material, const Textures& textures) {
    const bool isOpaque = material.alphaCutoff >= 0 ? material.opacity >= material.alphaCutoff
                                                    : material.opacity >= 1;
    return material.isDoubleSided && isOpaque && !textures.has(material.opacityTexture);
}

/// Looks up textures at a hit. A value without a texture stays as it is.
class TexturedHit {
public:
    TexturedHit(const SceneData& scene, const Textures& textures, const RayHit& hit)
        : scene(scene), textures(textures), hit(hit) {}

    Color color(const Color& value, Index texture) const {
        Color result = value;
        V2f st;
        if (coordinates(texture, st)) textures.color(texture, st, result);
        return result;
    }
    float number(float value, Index texture) const { return color(Color(value), texture).x; }
    float share(float value, Index texture) const { return Clamp01(number(value, texture)); }

private:
    bool coordinates(Index texture, V2f& st) const {
        return textures.has(texture) &&
               CoordinatesAt(scene, hit, scene.textures[texture].uvSet, st);
    }

    const SceneData& scene;
    const Textures& textures;
    const RayHit& hit;
};

/// Negative components and those that are not finite become 0.
Color NonNegative(const Color& color) {
    const auto nonNegative = [](float value) {
        return std::isfinite(value) ? std::max(value, 0.0f) : 0;
    };
    return {nonNegative(color.x), nonNegative(color.y), nonNegative(color.z)};
}

} // namespace

Materials::Materials(const SceneData& scene, const Textures& textures)
    : scene(scene), textures(textures) {
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

Index Materials::indexAt(Index instance, Index primitive) const {
    const Instance& at = scene.instances[instance];
    const std::vector<Index>& faces = scene.shapes[at.shape].mesh.faces;
    const Index face = primitive < faces.size() ? faces[primitive] : primitive;
    return scene.surfaces[at.surface].materialOf(face);
}

float Materials::opacity(const RayHit& hit, bool isFromInside) const {
    const Material& material = materialAt(hit.instance, hit.primitive);
    if (isFromInside && !material.isDoubleSided) return 0;
    const float opacity =
        TexturedHit(scene, textures, hit).share(material.opacity, material.opacityTexture);
    if (material.alphaCutoff >= 0) return opacity >= material.alphaCutoff ? 1 : 0;
    return opacity;
}

void Materials::applyNormalMap(const RayHit& hit, float time, HitGeometry& geometry) const {
    const Material& material = materialAt(hit.instance, hit.primitive);
    if (!textures.has(material.normalTexture)) return;
    V3f alongS, alongT;
    if (!TangentsAt(scene, hit, time, scene.textures[material.normalTexture].uvSet, geometry.normal,
                    alongS, alongT))
        return;
    const Color encoded =
        TexturedHit(scene, textures, hit).color({0.5f, 0.5f, 1}, material.normalTexture);
    const V3f bent = encoded * 2.0f - V3f(1);
    const V3f normal = geometry.shadingNormal;
    const V3f s = Normalized(alongS - normal * (alongS ^ normal), V3f(0));
    const V3f t = Normalized(alongT - normal * (alongT ^ normal), V3f(0));
    geometry.shadingNormal =
        Normalized((s * bent.x + t * bent.y) * material.normalScale + normal * bent.z, normal);
}

SurfaceProperties Materials::surfaceAt(const RayHit& hit) const {
    const Material& m = materialAt(hit.instance, hit.primitive);
    const TexturedHit place(scene, textures, hit);
    const float roughness = place.share(m.roughness, m.roughnessTexture);
    const float coatRoughness = Clamp01(m.coatRoughness);
    SurfaceProperties result;
    result.baseColor = Clamp01(place.color(m.baseColor, m.baseColorTexture));
    result.specular = Clamp01(m.specularColor) * place.share(m.specular, m.specularTexture);
    result.metalness = place.share(m.metalness, m.metalnessTexture);
    result.alpha = roughness * roughness;
    result.ior = m.ior >= 1 && std::isfinite(m.ior) ? m.ior : 1;
    result.transmission = place.share(m.transmission, m.transmissionTexture);
    result.coat = Clamp01(m.coat);
    result.coatAlpha = coatRoughness * coatRoughness;
    return result;
}

Color Materials::emission(const RayHit& hit) const {
    const Material& material = materialAt(hit.instance, hit.primitive);
    return NonNegative(
        TexturedHit(scene, textures, hit).color(material.emission, material.emissionTexture));
}

} // namespace lantern
