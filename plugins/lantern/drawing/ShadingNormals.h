#ifndef LANTERN_DRAWING_SHADINGNORMALS_H
#define LANTERN_DRAWING_SHADINGNORMALS_H

#include <algorithm>
#include <cmath>

#include "SceneData.h"
#include "drawing/Numbers.h"

namespace lantern {

/// The shading normal or, if the mirror direction of `wo` about it would not be above the geometric
/// surface, the nearest normal for which it is. Interpolated normals and normal maps would
/// otherwise leave dark rims where a surface turns away. Keller et al., "The Iray Light Transport
/// Simulation and Rendering System", 2017, appendix A.3. All have length 1; `wo` is above the
/// surface.
inline V3f BentTowards(const V3f& wo, const V3f& geometricNormal, const V3f& normal) {
    constexpr float kMinCosine = 1e-3f;
    constexpr float kMinHeight = 0.01f; // a ray along the surface could hit it again
    const float cosine = wo ^ normal;
    const V3f mirrored = normal * (2 * cosine) - wo;
    const float height = mirrored ^ geometricNormal;
    const float least = std::min(kMinHeight, 0.9f * (wo ^ geometricNormal));
    if (cosine >= kMinCosine && height >= least) return normal;
    const V3f along = Normalized(mirrored - geometricNormal * height, geometricNormal);
    const V3f bent = wo + along * std::sqrt(1 - least * least) + geometricNormal * least;
    const V3f result = Normalized(bent, geometricNormal);
    return (result ^ wo) >= kMinCosine ? result : Normalized(geometricNormal + wo, geometricNormal);
}

} // namespace lantern

#endif
