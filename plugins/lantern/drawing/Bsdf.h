#ifndef LANTERN_DRAWING_BSDF_H
#define LANTERN_DRAWING_BSDF_H

#include <array>

#include "SceneData.h"
#include "drawing/Microfacets.h"

namespace lantern {

/// What a surface is made of at one point. Weights and colours are from 0 to 1.
struct Surfacing {
    Color baseColor{0.8f, 0.8f, 0.8f};
    Color reflection{1, 1, 1}; ///< weight of what a dielectric's border reflects
    float metalness = 0;
    float width = 0.25f; ///< of the facets' distribution
    float ior = 1.5f;
    float transmission = 0;
    float coat = 0;
    float coatWidth = 0.01f;
};

/// How light is scattered where it meets a surface. Directions are in local space, away from the
/// surface; +Z is its normal on the side of `out`.
///
/// From top to bottom: a coat; then metal or dielectric; below the border of the dielectric there
/// is either a matt ground or its clear inside, which is entered from outside and left from
/// inside: what is transparent should be a closed shape. What one layer reflects does not reach
/// the next. Radiance is not scaled as it enters a denser medium, since it is scaled back when it
/// leaves; so nothing ever gets brighter.
class Bsdf {
public:
    /// What comes in from a direction: its share that goes `out`, times the cosine; and how densely
    /// sample() takes such directions, per solid angle. Leaves out what mirrors do.
    struct Value {
        Color share{0, 0, 0};
        float pdf = 0;
    };
    struct Sample {
        V3f in{0, 0, 0};
        Color weight{0, 0, 0}; ///< share divided by pdf; black: nothing was found
        float pdf = 0;         ///< 0: of a mirror
    };

    /// `isInside`: `out` is in the clear inside of a dielectric.
    Bsdf(const Surfacing& surfacing, const V3f& out, bool isInside);

    Value evaluate(const V3f& in) const;
    /// `choice` and `u` are from 0 to 1.
    Sample sample(float choice, const V2f& u) const;

    /// There are only mirrors: evaluate() finds nothing.
    bool isMirror() const;

private:
    enum Lobe { Coat, Metal, Border, Ground, Lobes };

    Value evaluateReflection(const Facets& mirrors, const V3f& in, const Color& weight) const;
    Value evaluateMetal(const V3f& in) const;
    Value evaluateBorder(const V3f& in) const;
    Value evaluatePassage(const V3f& in) const;
    Value evaluateGround(const V3f& in) const;

    Sample sampleMirror(Lobe lobe, float choice) const;
    V3f sampleDirection(Lobe lobe, float choice, const V2f& u) const;

    bool isMirror(Lobe lobe) const;
    float coatFresnel(float cosine) const;
    Color metalFresnel(float cosine) const;
    float borderFresnel(float cosine) const;
    /// How likely what meets the border is taken to be reflected, not let through.
    float reflectionProbability(float fresnel) const;

    Surfacing surfacing;
    V3f out;
    float ior; // of the other side of the border, relative to this one
    Facets facets;
    Facets coatFacets;
    // What the lobes are multiplied by.
    float coat = 0;
    float metal = 0;
    float border = 0;
    Color passage{0, 0, 0}; // of what the border does not reflect
    Color ground{0, 0, 0};
    std::array<float, Lobes> probabilities{};
};

} // namespace lantern

#endif
