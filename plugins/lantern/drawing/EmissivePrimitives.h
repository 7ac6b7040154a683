#ifndef LANTERN_DRAWING_EMISSIVEPRIMITIVES_H
#define LANTERN_DRAWING_EMISSIVEPRIMITIVES_H

#include <functional>
#include <vector>

#include "SceneData.h"
#include "drawing/Materials.h"

namespace lantern {

/// Numbers all primitives of one kind, triangles or spheres, in instances that have an
/// emissive material. Instances beyond a limit are left out: paths find their light only when they
/// hit them.
class EmissivePrimitives {
public:
    struct Kind {
        std::size_t most = 0; ///< limit for the primitives of all instances together
        std::size_t (*count)(const Shape& shape) = nullptr;
        /// Returns about the power that a primitive with an emissive material emits.
        std::function<float(RayHit)> power;
    };

    EmissivePrimitives(const SceneData& scene, const Materials& materials, const Kind& kind);

    /// About the power that each primitive emits, indexed by its number.
    const std::vector<float>& powers() const { return powerOfEach; }
    /// The number of the primitive that was hit; kNone if it is not among them.
    Index indexOf(const RayHit& hit) const;
    /// The instance and the primitive of a number.
    RayHit hitOf(Index number) const;

private:
    /// The primitives of one instance have consecutive numbers.
    struct Range {
        Index instance = 0;
        Index first = 0;
    };

    std::vector<Range> ranges;          // ascending
    std::vector<Index> firstOfInstance; // kNone for instances that are left out
    std::vector<float> powerOfEach;
};

} // namespace lantern

#endif
