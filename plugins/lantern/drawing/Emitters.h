#ifndef LANTERN_DRAWING_EMITTERS_H
#define LANTERN_DRAWING_EMITTERS_H

#include <vector>

#include "SceneData.h"
#include "drawing/Distribution.h"
#include "drawing/Materials.h"

namespace lantern {

/// The triangles of the scene's meshes that shine by themselves. Those of the first meshes, when
/// there are very many; spheres are not among them. Any number of threads.
class Emitters {
public:
    /// Both are kept.
    Emitters(const SceneData& scene, const Materials& materials);

    std::size_t size() const { return powers.size(); }
    /// In proportion to which each one should be chosen.
    const std::vector<float>& weights() const { return powers; }
    /// Which one a hit is on; kNone: it is none of them.
    Index at(const RayHit& hit) const;

    struct Point {
        V3f position;
        V3f normal;
        float area = 0; ///< of the triangle
        Color radiance; ///< towards where it was asked for
    };
    Point sample(Index emitter, float time, const V2f& u, const V3f& towards) const;
    float area(const RayHit& hit, float time) const;

private:
    struct Range {
        Index instance = 0;
        Index first = 0; // the emitter that is the first triangle
    };

    RayHit hitOf(Index emitter) const;
    void corners(const RayHit& hit, float time, V3f corners[3]) const;
    float powerOf(RayHit hit) const;

    const SceneData& scene;
    const Materials& materials;
    std::vector<Range> ranges;  // ascending
    std::vector<Index> firstOf; // of each instance, or kNone
    std::vector<float> powers;
};

} // namespace lantern

#endif
