#include "drawing/Bsdf.h"

#include <functional>

#include <gtest/gtest.h>

#include "BsdfSums.h"
#include "drawing/Numbers.h"

// White surfaces reflect and transmit all light at any roughness, and lobes are reciprocal.

namespace {

using namespace LanternTest;

const float kRoughnesses[] = {0,    0.01f, 0.05f, 0.1f, 0.2f, 0.3f, 0.4f,
                              0.5f, 0.6f,  0.7f,  0.8f, 0.9f, 1};

/// Compares the albedo of a white surface with 1 at every roughness and several directions.
void ExpectWhite(SurfaceProperties surface, bool isInside = false) {
    for (const float roughness : kRoughnesses) {
        for (const float cosine : {0.05f, 0.2f, 0.4f, 0.6f, 0.8f, 1.0f}) {
            surface.alpha = surface.sheenAlpha = roughness * roughness;
            EXPECT_NEAR(Sampled(BsdfOf(surface, DirectionOf(cosine), isInside)).share, 1, 0.02)
                << "roughness " << roughness << ", cosine " << cosine;
        }
    }
}

TEST(Furnace, LosesNoLightOnMetal) {
    SurfaceProperties surface = White();
    surface.metalness = 1;
    ExpectWhite(surface);
}

TEST(Furnace, LosesNoLightOnPlastic) {
    for (const float ior : {1.1f, 1.5f, 2.4f}) {
        SCOPED_TRACE(ior);
        SurfaceProperties surface = White();
        surface.ior = ior;
        ExpectWhite(surface);
    }
}

TEST(Furnace, LosesNoLightInGlassFromEitherSide) {
    for (const float ior : {1.1f, 1.33f, 1.5f, 2.4f}) {
        SCOPED_TRACE(ior);
        SurfaceProperties surface = White();
        surface.transmission = 1;
        surface.ior = ior;
        ExpectWhite(surface);
        ExpectWhite(surface, true);
    }
}

TEST(Furnace, LosesNoLightInThinGlass) {
    SurfaceProperties surface = White();
    surface.transmission = 1;
    surface.isThin = true;
    ExpectWhite(surface);
}

TEST(Furnace, LosesNoLightBelowACoatOrSheen) {
    SurfaceProperties surface = White();
    surface.coat = 1;
    surface.coatAlpha = 0.3f;
    ExpectWhite(surface);
    surface.coat = 0;
    surface.sheenColor = Color(1, 1, 1);
    ExpectWhite(surface);
}

TEST(Furnace, LosesNoLightWhereTheNormalIsTilted) {
    for (const float roughness : kRoughnesses) {
        SurfaceProperties surface = White();
        surface.metalness = 1;
        surface.alpha = roughness * roughness;
        ShadingDirections directions;
        directions.wo = DirectionOf(0.5f);
        directions.geometricNormal = V3f(-0.5f, 0.5f, 1).normalized();
        EXPECT_NEAR(Sampled(Bsdf(surface, directions, false)).share, 1, 0.02) << roughness;
    }
}

// Reciprocity -------------------------------------------------------------------------------------

/// The BSDF without the cosine.
Color Scattering(const SurfaceProperties& surface, const V3f& wo, const V3f& wi) {
    return BsdfOf(surface, wo).evaluate(wi).timesCosine / std::abs(wi.z);
}

/// Compares pairs of directions above the surface.
void ExpectReciprocal(const SurfaceProperties& surface) {
    for (const float alpha : {0.05f, 0.3f, 1.0f}) {
        SurfaceProperties one = surface;
        one.alpha = one.coatAlpha = one.sheenAlpha = alpha;
        for (const float cosine : {0.1f, 0.5f, 0.9f}) {
            const V3f wo = DirectionOf(0.7f, 0.5f), wi = DirectionOf(cosine, 2.5f);
            const Color there = Scattering(one, wo, wi), back = Scattering(one, wi, wo);
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(there[i], back[i], 1e-4 * (1 + there[i])) << alpha << ", " << cosine;
        }
    }
}

TEST(Reciprocity, HoldsOnMetal) {
    SurfaceProperties surface;
    surface.baseColor = {1, 0.6f, 0.2f};
    surface.metalness = 1;
    ExpectReciprocal(surface);
    surface.anisotropy = 0.7f;
    ExpectReciprocal(surface);
}

TEST(Reciprocity, HoldsOnPlasticWithItsDiffuseBase) {
    SurfaceProperties surface;
    surface.baseColor = {0.9f, 0.5f, 0.1f};
    surface.specularColor = {2, 1, 0.5f};
    ExpectReciprocal(surface);
}

TEST(Reciprocity, HoldsOnCoatAndSheenAlone) {
    SurfaceProperties surface;
    surface.baseColor = Color(0, 0, 0);
    surface.specular = 0;
    surface.coat = 0.8f;
    ExpectReciprocal(surface);
    surface.coat = 0;
    surface.sheenColor = {1, 0.5f, 0.25f};
    ExpectReciprocal(surface);
}

TEST(Reciprocity, HoldsForReflectionAndTransmissionOfThinGlass) {
    SurfaceProperties surface = White();
    surface.transmission = 1;
    surface.isThin = true;
    ExpectReciprocal(surface);
    surface.alpha = 0.4f;
    const V3f above = DirectionOf(0.7f, 0.5f), below = DirectionOf(0.4f, 1) * V3f(1, 1, -1);
    const float there = Scattering(surface, above, below).x;
    // From below, in a frame whose +Z is on that side.
    const float back = Scattering(surface, below * V3f(1, 1, -1), above * V3f(1, 1, -1)).x;
    EXPECT_NEAR(there, back, 1e-4 * there);
}

/// Without the scaling of radiance the ratio is the square of the index of refraction.
TEST(Reciprocity, HoldsForRefraction) {
    SurfaceProperties surface = White();
    surface.transmission = 1;
    for (const float alpha : {0.1f, 0.5f, 1.0f}) {
        surface.alpha = alpha;
        const V3f above = DirectionOf(0.7f, 0.5f), below = DirectionOf(0.8f, 3.4f) * V3f(1, 1, -1);
        const V3f flip(1, 1, -1);
        const float in = Scattering(surface, above, below).x;
        const Bsdf inside = BsdfOf(surface, below * flip, true);
        const float out = inside.evaluate(above * flip).timesCosine.x / above.z;
        EXPECT_NEAR(in, out * surface.ior * surface.ior, 2e-3 * in) << alpha;
        EXPECT_GT(in, 0);
    }
}

} // namespace
