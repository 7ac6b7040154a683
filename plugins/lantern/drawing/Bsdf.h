#ifndef LANTERN_DRAWING_BSDF_H
#define LANTERN_DRAWING_BSDF_H

#include <array>

#include "SceneData.h"
#include "drawing/Microfacets.h"

namespace lantern {

/// The material at one point of a surface. Weights and colors are from 0 to 1.
struct SurfaceProperties {
    Color baseColor{0.8f, 0.8f, 0.8f};
    Color specular{1, 1, 1}; ///< weight of the reflection of a dielectric
    float metalness = 0;
    float alpha = 0.25f; ///< the GGX parameter
    float ior = 1.5f;
    float transmission = 0;
    float coat = 0;
    float coatAlpha = 0.01f;
};

/// The scattering at one point for one outgoing direction. Directions are in local space and point
/// away from the surface; +Z is the normal on the side of `wo`.
///
/// The layers from top to bottom: a clear coat; a metal or a dielectric; below the interface of the
/// dielectric a diffuse base, or its clear inside, which rays enter from outside and leave from
/// inside, so that a transparent shape should be closed. The albedo of an upper layer is what the
/// lower ones lose. Radiance is not scaled by the squared index of refraction where a path enters a
/// medium, because the scaling would be undone where it leaves.
class Bsdf {
public:
    /// The BSDF times the cosine of `wi`, and the density with which sample() chooses `wi`, per
    /// solid angle. Specular lobes are left out.
    struct Value {
        Color timesCosine{0, 0, 0};
        float pdf = 0;
    };
    struct Sample {
        V3f wi{0, 0, 0};
        Color weight{0, 0, 0}; ///< Value::timesCosine over pdf; black if there is no sample
        float pdf = 0;         ///< 0 for specular lobes
    };

    /// `isInside`: `wo` is inside of the dielectric.
    Bsdf(const SurfaceProperties& surface, const V3f& wo, bool isInside);

    Value evaluate(const V3f& wi) const;
    /// `choice` and `u` are uniform in [0, 1).
    Sample sample(float choice, const V2f& u) const;

    /// Whether all lobes are specular, so that evaluate() always returns black.
    bool isSpecular() const;

private:
    enum Lobe { Coat, Metal, Dielectric, Diffuse, Lobes }; // Dielectric: reflected or transmitted

    Value evaluateReflection(const GgxFacets& ggx, const V3f& wi, const Color& weight) const;
    Value evaluateMetal(const V3f& wi) const;
    Value evaluateDielectric(const V3f& wi) const;
    Value evaluateTransmission(const V3f& wi) const;
    Value evaluateDiffuse(const V3f& wi) const;

    Sample sampleSpecular(Lobe lobe, float choice) const;
    V3f sampleDirection(Lobe lobe, float choice, const V2f& u) const;

    bool isSpecular(Lobe lobe) const;
    float coatFresnel(float cosine) const;
    Color metalFresnel(float cosine) const;
    float dielectricFresnel(float cosine) const;
    float reflectionProbability(float fresnel) const;

    SurfaceProperties surface;
    V3f wo;
    float ior; // of the other side of the interface, relative to this one
    GgxFacets facets;
    GgxFacets coatFacets;
    // The weights of the lobes.
    float coat = 0;
    float metal = 0;
    float dielectric = 0;
    Color transmitted{0, 0, 0}; // of the part that the dielectric does not reflect
    Color diffuse{0, 0, 0};
    std::array<float, Lobes> probabilities{};
};

} // namespace lantern

#endif
