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
    V3f direction{0, 0, 0};  ///< direction from the lit point to the light; unit length
    float distance = 0;      ///< length of the shadow ray
    Color radiance{0, 0, 0}; ///< for a delta light, irradiance of a surface that faces it
    float pdf = 0;           ///< per solid angle; for a delta light, probability of choosing it
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

/// Shadow rays end a little before the light, so that an emissive surface does not shadow itself.
constexpr float kShadowRayShare = 1 - 0x1p-12f;

/// 1 - cos of the half angle that a sphere subtends; 0 for a point inside of it. With the sine
/// s = radius / distance this is 1 - sqrt(1 - s^2), written without cancellation.
inline float OneMinusCosOfSphere(float radius, float distance) {
    if (!(distance > radius)) return 0;
    const float sine = radius / distance;
    const float sine2 = sine * sine;
    return sine2 / (1 + std::sqrt(1 - sine2));
}

/// The distance in a direction to the front of a sphere that the direction meets: to the foot of
/// the perpendicular from the center, and back by half of the chord.
inline float DistanceToSphere(const V3f& toCenter, float radius, const V3f& direction) {
    const float toFoot = direction ^ toCenter;
    const float offAxis2 = std::max(0.0f, toCenter.length2() - toFoot * toFoot);
    return toFoot - std::sqrt(std::max(0.0f, radius * radius - offAxis2));
}

} // namespace lantern

#endif
