#ifndef LANTERN_DRAWING_MATERIALS_H
#define LANTERN_DRAWING_MATERIALS_H

#include <vector>

#include "SceneData.h"
#include "drawing/Bsdf.h"
#include "drawing/EmbreeScene.h"
#include "drawing/HitGeometry.h"
#include "drawing/Textures.h"

namespace lantern {

/// The materials of surfaces with their textures applied. Safe from several threads at once.
class Materials : public OpacitySource {
public:
    /// Refers to both.
    Materials(const SceneData& scene, const Textures& textures);

    bool isOpaque(const Instance& instance) const override;
    float opacity(const RayHit& hit, bool isFromInside) const override;
    Color straightThrough(const RayHit& hit, float cosine) const override;

    /// Whether mappedNormal() changes the shading normal of the hit for any input.
    bool hasNormalMap(const RayHit& hit) const {
        return constants[indexAt(hit.instance, hit.primitive)].hasNormalMap;
    }
    /// The shading normal of the hit, changed by the normal map at an input, Normal or CoatNormal.
    V3f mappedNormal(MaterialInput input, const RayHit& hit, float time,
                     const HitGeometry& geometry) const;
    /// A basis around the normal. X is the tangent of an anisotropic material.
    Frame frameAt(const RayHit& hit, float time, const V3f& normal) const;
    SurfaceProperties surfaceAt(const RayHit& hit) const;
    /// The emitted radiance.
    Color emission(const RayHit& hit) const {
        const Constant& constant = constants[indexAt(hit.instance, hit.primitive)];
        return constant.hasNetwork ? emissionOfNetwork(hit) : constant.emission;
    }

    const Material& materialAt(Index instance, Index primitive) const;
    /// The index of the material in SceneData::materials.
    Index indexAt(Index instance, Index primitive) const {
        const Instance& at = scene.instances[instance];
        const Surface& surface = scene.surfaces[at.surface];
        return surface.faceMaterials.empty() ? surface.material
                                             : indexOfFace(at, surface, primitive);
    }

private:
    /// The facts about a material that are the same at all hits.
    struct Constant {
        bool isIsotropic = true;
        bool hasNetwork = false;
        bool hasNormalMap = false;
        SurfaceProperties surface; ///< this and `emission` are set only without a network
        Color emission{0, 0, 0};
    };

    Color emissionOfNetwork(const RayHit& hit) const;
    Index indexOfFace(const Instance& instance, const Surface& surface, Index primitive) const;

    const SceneData& scene;
    const Textures& textures;
    std::vector<Constant> constants; // one per material
    std::vector<bool> opaqueSurfaces;
};

} // namespace lantern

#endif
