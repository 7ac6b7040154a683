#include "drawing/Materials.h"

#include <algorithm>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

bool IsSolid(const Material& material, const Textures& textures) {
    const bool isOpaque = material.alphaCutoff >= 0 ? material.opacity >= material.alphaCutoff
                                                    : material.opacity >= 1;
    return material.isDoubleSided && isOpaque && !textures.has(material.opacityTexture);
}

/// Looks up textures where a surface is hit, and keeps what has none.
class TexturedPlace {
public:
    TexturedPlace(const SceneData& scene, const Textures& textures, const RayHit& hit)
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

/// A weight that can be reckoned with, whatever the scene says.
Color Sound(const Color& color) {
    const auto sound = [](float value) { return std::isfinite(value) ? std::max(value, 0.0f) : 0; };
    return {sound(color.x), sound(color.y), sound(color.z)};
}

} // namespace

Materials::Materials(const SceneData& scene, const Textures& textures)
    : scene(scene), textures(textures) {
    std::vector<bool> solid;
    for (const Material& material : scene.materials)
        solid.push_back(IsSolid(material, textures));
    for (const Surface& surface : scene.surfaces) {
        const bool areFacesSolid =
            std::all_of(surface.faceMaterials.begin(), surface.faceMaterials.end(),
                        [&](Index material) { return material == kNone || solid[material]; });
        solidSurfaces.push_back(areFacesSolid && solid[surface.material]);
    }
}

bool Materials::isSolid(const Instance& instance) const {
    return solidSurfaces[instance.surface];
}

const Material& Materials::materialAt(Index instance, Index primitive) const {
    const Instance& at = scene.instances[instance];
    const std::vector<Index>& faces = scene.shapes[at.shape].mesh.faces;
    const Index face = primitive < faces.size() ? faces[primitive] : primitive;
    return scene.materials[scene.surfaces[at.surface].materialOf(face)];
}

float Materials::opacity(const RayHit& hit, bool isFromInside) const {
    const Material& material = materialAt(hit.instance, hit.primitive);
    if (isFromInside && !material.isDoubleSided) return 0;
    const float opacity =
        TexturedPlace(scene, textures, hit).share(material.opacity, material.opacityTexture);
    if (material.alphaCutoff >= 0) return opacity >= material.alphaCutoff ? 1 : 0;
    return opacity;
}

void Materials::bendNormal(const RayHit& hit, float time, HitGeometry& geometry) const {
    const Material& material = materialAt(hit.instance, hit.primitive);
    if (!textures.has(material.normalTexture)) return;
    V3f alongS, alongT;
    if (!TangentsAt(scene, hit, time, scene.textures[material.normalTexture].uvSet, geometry.normal,
                    alongS, alongT))
        return;
    const Color encoded =
        TexturedPlace(scene, textures, hit).color({0.5f, 0.5f, 1}, material.normalTexture);
    const V3f bent = encoded * 2.0f - V3f(1);
    const V3f normal = geometry.smoothNormal;
    const V3f s = Normalized(alongS - normal * (alongS ^ normal), V3f(0));
    const V3f t = Normalized(alongT - normal * (alongT ^ normal), V3f(0));
    geometry.smoothNormal =
        Normalized((s * bent.x + t * bent.y) * material.normalScale + normal * bent.z, normal);
}

Surfacing Materials::surfacing(const RayHit& hit) const {
    const Material& m = materialAt(hit.instance, hit.primitive);
    const TexturedPlace place(scene, textures, hit);
    const float roughness = place.share(m.roughness, m.roughnessTexture);
    const float coatRoughness = Clamp01(m.coatRoughness);
    Surfacing result;
    result.baseColor = Clamp01(place.color(m.baseColor, m.baseColorTexture));
    result.reflection = Clamp01(m.specularColor) * place.share(m.specular, m.specularTexture);
    result.metalness = place.share(m.metalness, m.metalnessTexture);
    result.width = roughness * roughness;
    result.ior = m.ior >= 1 && std::isfinite(m.ior) ? m.ior : 1;
    result.transmission = place.share(m.transmission, m.transmissionTexture);
    result.coat = Clamp01(m.coat);
    result.coatWidth = coatRoughness * coatRoughness;
    return result;
}

Color Materials::emission(const RayHit& hit) const {
    const Material& material = materialAt(hit.instance, hit.primitive);
    return Sound(
        TexturedPlace(scene, textures, hit).color(material.emission, material.emissionTexture));
}

} // namespace lantern
