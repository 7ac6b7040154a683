#ifndef LANTERN_DRAWING_MATERIALS_H
#define LANTERN_DRAWING_MATERIALS_H

#include <vector>

#include "SceneData.h"
#include "drawing/Bsdf.h"
#include "drawing/EmbreeScene.h"
#include "drawing/HitGeometry.h"
#include "drawing/Textures.h"

namespace lantern {

/// What surfaces are made of, with their textures. Any number of threads.
class Materials : public Openings {
public:
    /// Both are kept.
    Materials(const SceneData& scene, const Textures& textures);

    bool isSolid(const Instance& instance) const override;
    float opacity(const RayHit& hit, bool isFromInside) const override;

    /// The hit's smooth normal is bent as the material's map of normals says.
    void bendNormal(const RayHit& hit, float time, HitGeometry& geometry) const;
    Surfacing surfacing(const RayHit& hit) const;
    /// The radiance that goes out.
    Color emission(const RayHit& hit) const;

    const Material& materialAt(Index instance, Index primitive) const;

private:
    const SceneData& scene;
    const Textures& textures;
    std::vector<bool> solidSurfaces;
};

} // namespace lantern

#endif
