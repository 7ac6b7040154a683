#ifndef LANTERN_DRAWING_SHEEN_H
#define LANTERN_DRAWING_SHEEN_H

#include "SceneData.h"

namespace lantern {

/// The soft reflection of fibres that stand up from a cloth, in local space, where +Z is the
/// normal. Estevez and Kulla, "Production Friendly Microfacet Sheen BRDF", SIGGRAPH 2017 course
/// "Physically Based Shading".
class Sheen {
public:
    explicit Sheen(float alpha);

    /// The BRDF times the cosine of `wi`; both directions are above the surface.
    float timesCosine(const V3f& wo, const V3f& wi) const;

private:
    float lambda(float cosine) const;

    float alpha;
};

} // namespace lantern

#endif
