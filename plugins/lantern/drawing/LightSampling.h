#ifndef LANTERN_DRAWING_LIGHTSAMPLING_H
#define LANTERN_DRAWING_LIGHTSAMPLING_H

#include <algorithm>
#include <cmath>

#include "SceneData.h"
#include "drawing/Numbers.h"

/// The parts that infinite and local lights share: samples, their weights, and cones of directions.
namespace lantern {

/// A direction towards a light, chosen at random, and the light that arrives from there if nothing
/// is in the way. There is no light if the pdf is 0.
struct LightSample {
    V3f direction{0, 0, 0};  ///< from the lit point to the light; of length 1
    float distance = 0;      ///< length of the shadow ray
    Color radiance{0, 0, 0}; ///< of a delta light: irradiance on a surface that faces it
    float pdf = 0;           ///< per solid angle; of a delta light: probability of choosing it
    bool isDelta = false;    ///< rays in directions that a BSDF chose never hit the light
};

/// Whether a light of this color emits anything; colors that are not finite are ignored.
inline bool IsSource(const Color& color) {
    return !IsBlack(color) && IsFinite(color);
}

/// The direction in world space, not normalized.
inline V3f DirectionToWorld(const M44d& toWorld, const V3f& direction) {
    V3f result;
    M44f(toWorld).multDirMatrix(direction, result);
    return result;
}

/// The weight, in multiple importance sampling, of light that a ray found whose direction was
/// sampled from a BSDF. `lightPdf` is the density with which light sampling chooses that direction.
/// The weight is 1 if `bsdfPdf` is 0, which means a specular bounce: light sampling is not used
/// there.
inline float WeightOfBsdfSample(float bsdfPdf, float lightPdf) {
    return bsdfPdf > 0 ? PowerHeuristic(bsdfPdf, lightPdf) : 1;
}

/// 1 - cos(angle) as 2 sin^2(angle / 2), which stays exact for small angles.
inline float OneMinusCos(float angle) {
    const float s = std::sin(angle / 2);
    return 2 * s * s;
}

/// Samples directions in a cone uniformly by solid angle: 1 - cos is uniform in
/// [0, oneMinusCosHalfAngle].
inline V3f SampleCone(const V3f& axis, float oneMinusCosHalfAngle, const V2f& u) {
    const float oneMinusCos = u.x * oneMinusCosHalfAngle;
    const float sine = std::sqrt(std::max(0.0f, oneMinusCos * (2 - oneMinusCos)));
    const float phi = 2 * kPi * u.y;
    return FrameAround(axis).toWorld({sine * std::cos(phi), sine * std::sin(phi), 1 - oneMinusCos});
}

inline float SolidAngleOfCone(float oneMinusCosHalfAngle) {
    return 2 * kPi * oneMinusCosHalfAngle;
}

} // namespace lantern

#endif
