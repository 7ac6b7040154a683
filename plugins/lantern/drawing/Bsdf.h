#ifndef LANTERN_DRAWING_BSDF_H
#define LANTERN_DRAWING_BSDF_H

#include <array>
#include <optional>

#include "SceneData.h"
#include "drawing/Albedos.h"
#include "drawing/Microfacets.h"
#include "drawing/Numbers.h"
#include "drawing/Sheen.h"

namespace lantern {

/// The material at one point of a surface. Weights and colors are from 0 to 1.
struct SurfaceProperties {
    Color baseColor{0.8f, 0.8f, 0.8f};
    float specular = 1;           ///< weight of the reflection of a dielectric
    Color specularColor{1, 1, 1}; ///< color of that reflection at normal incidence; may exceed 1
    float metalness = 0;
    float alpha = 0.25f;  ///< the GGX parameter
    float anisotropy = 0; ///< makes alpha larger along X
    float ior = 1.5f;
    float transmission = 0;
    bool isThin = false; ///< a sheet that does not refract
    float coat = 0;
    float coatAlpha = 0.01f;
    Color sheenColor{0, 0, 0};
    float sheenAlpha = 0.09f;
    Color extinction{0, 0, 0}; ///< extinction of the inside, per unit of length

    /// Whether refracted light travels inside of the shape.
    bool hasInside() const { return transmission > 0 && !isThin; }
};

/// The directions at a point, in local space: +Z is the shading normal and X the tangent. All
/// normals are on the side of `wo`.
struct ShadingDirections {
    V3f wo{0, 0, 1};
    V3f geometricNormal{0, 0, 1};
    V3f coatNormal{0, 0, 1};
};

/// The scattering at one point for one outgoing direction. Directions are in local space and point
/// away from the surface.
///
/// The layers from top to bottom: a clear coat; sheen; a metal or a dielectric; below the interface
/// of the dielectric a diffuse base or its clear inside. Rays enter the clear inside where they
/// meet the shape from outside and leave it where they meet the shape from inside, so a transparent
/// shape should be closed. Lower layers are scaled by one minus the albedo of the upper ones for
/// `wo`: each lobe is reciprocal, but the layering is not. Radiance is not scaled by the squared
/// index of refraction where a path enters a medium, because the scaling would be undone where it
/// leaves.
///
/// Microfacets lose the light that hits several of them. It is added as a lobe of its own: Kulla
/// and Conty, "Revisiting Physically Based Shading at Imageworks", SIGGRAPH 2017 course "Physically
/// Based Shading".
///
/// Where the shading normal differs from the geometric one, some light would be reflected into the
/// surface. The geometric surface mirrors it back, much as the tangent facets in Schuessler et al.,
/// "Microfacet-based Normal Mapping for Robust Monte Carlo Path Tracing", SIGGRAPH Asia 2017.
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
    Bsdf(const SurfaceProperties& surface, const ShadingDirections& directions, bool isInside);

    Value evaluate(const V3f& wi) const;
    /// `choice` and `u` are uniform in [0, 1).
    Sample sample(float choice, const V2f& u) const;

    /// Whether all lobes are specular, so that evaluate() always returns black.
    bool isSpecular() const;
    /// The probability that sample() chooses a rough lobe.
    float roughShare() const;

private:
    /// Dielectric: reflected or transmitted by single facets. Upper and Lower: in proportion to the
    /// cosine on the side of `wo` and on the other one.
    enum Lobe { Coat, Sheens, Metal, Dielectric, Upper, Lower, Lobes };

    struct Direction {
        V3f wi{0, 0, 0};
        bool isReflected = true;
    };

    float setCoat(const V3f& normal);
    void setUpper();
    void setClear();
    void setProbabilities();

    Value evaluateSide(const V3f& wi, bool isReflected) const;
    Value evaluateCoat(const V3f& wi) const;
    Value evaluateMetal(const V3f& wi) const;
    Value evaluateReflection(const V3f& wi) const;
    Value evaluateTransmission(const V3f& wi) const;
    Value evaluateUpper(const V3f& wi) const;
    Value evaluateLower(const V3f& wi) const;

    Sample sampleSpecular(Lobe lobe, float choice, Direction& direction) const;
    Direction sampleDirection(Lobe lobe, float choice, const V2f& u) const;
    Direction sampleDielectric(float choice, const V2f& u) const;
    /// Mirrors a direction that is on the wrong side of the geometric surface.
    V3f onItsSide(const Direction& direction) const;

    bool isSpecular(Lobe lobe) const;
    bool isMatched() const;
    float dielectricFresnel(float cosine) const;
    Color dielectricReflectance(float fresnel) const;
    float reflectionProbability(const Color& reflectance) const;
    Color dielectricAlbedo(float cosine) const;
    Color meanDielectricAlbedo() const;
    Color coloredAlbedo(const FacetAlbedos::Value& own) const;
    float clearAlbedo(float cosine, bool isOtherSide) const;

    static constexpr float kCoatIor = 1.5f;

    /// The share of the light that hits several microfacets.
    static float lossOf(float albedo) { return albedo < 1 ? 1 - albedo : 0; }

    SurfaceProperties surface;
    V3f wo;
    V3f geometricNormal;
    bool isInside;
    bool isTilted; // the shading normal differs from the geometric one
    float ior;     // index of the far side of the interface relative to the near side
    float facing;  // the Fresnel reflectance at normal incidence
    GgxFacets facets;
    GgxFacets coatFacets;
    Sheen sheen;
    Frame coatFrame;
    V3f coatOut{0, 0, 0};                // wo in the coat's frame
    float coatAlbedo = 0;                // albedo of the coat for wo
    std::optional<FacetAlbedos> albedos; // albedos of the dielectric, from outside
    Color albedoOut{0, 0, 0};            // albedo of the dielectric for wo
    // The weights of the lobes.
    float coat = 0;
    Color sheenWeight{0, 0, 0};
    float metal = 0;
    float dielectric = 0;
    Color transmitted{0, 0, 0};   // weight of the refracted light
    Color diffuse{0, 0, 0};       // to be multiplied by the share of light from wi that enters
    Color metalMultiple{0, 0, 0}; // to be multiplied by the loss for wi, as are the next two
    float clearMultiple = 0;
    Color clearMultipleBelow{0, 0, 0};
    std::array<float, Lobes> probabilities{};
};

} // namespace lantern

#endif
