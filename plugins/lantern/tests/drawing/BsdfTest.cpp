#include "drawing/Bsdf.h"

#include <cmath>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BsdfSums.h"
#include "drawing/Numbers.h"

namespace {

using namespace LanternTest;

struct BsdfCase {
    std::string name;
    SurfaceProperties surface;
    bool isInside = false;
    V3f geometricNormal{0, 0, 1};
    V3f coatNormal{0, 0, 1};
};

void PrintTo(const BsdfCase& one, std::ostream* out) {
    *out << one.name;
}

std::vector<BsdfCase> Cases() {
    std::vector<BsdfCase> cases;
    const auto add = [&](const char* name, auto change, bool isInside = false) {
        SurfaceProperties surface = White();
        change(surface);
        cases.push_back({name, surface, isInside, V3f(0, 0, 1), V3f(0, 0, 1)});
    };
    add("Matt", [](SurfaceProperties& s) { s.specular = 0; });
    add("Plastic", [](SurfaceProperties& s) { s.alpha = 0.1f; });
    add("RoughPlastic", [](SurfaceProperties& s) { s.alpha = 1; });
    add("Metal", [](SurfaceProperties& s) { s.metalness = 1; });
    add("HalfMetal", [](SurfaceProperties& s) { s.metalness = 0.5f; });
    add("RoughMetal", [](SurfaceProperties& s) { s.metalness = s.alpha = 1; });
    add("Coated", [](SurfaceProperties& s) { s.coat = 1, s.coatAlpha = 0.2f; });
    add("RoughGlass", [](SurfaceProperties& s) { s.transmission = 1, s.alpha = 0.3f; });
    add(
        "RoughGlassInside", [](SurfaceProperties& s) { s.transmission = 1, s.alpha = 0.3f; }, true);
    add("HalfClear", [](SurfaceProperties& s) { s.transmission = 0.5f, s.alpha = 0.2f; });
    add("Diamond", [](SurfaceProperties& s) { s.ior = 2.4f, s.alpha = 0.3f; });
    add("SmoothThinGlass",
        [](SurfaceProperties& s) { s.transmission = 1, s.alpha = 0.2f, s.isThin = true; });
    add("ThinGlass",
        [](SurfaceProperties& s) { s.transmission = 1, s.alpha = 0.5f, s.isThin = true; });
    add("Cloth", [](SurfaceProperties& s) { s.sheenColor = Color(1, 1, 1), s.sheenAlpha = 0.2f; });
    add("Velvet", [](SurfaceProperties& s) { s.sheenColor = Color(1, 1, 1), s.sheenAlpha = 0.7f; });
    add("BrushedMetal",
        [](SurfaceProperties& s) { s.metalness = 1, s.alpha = 0.1f, s.anisotropy = 0.8f; });
    add("BrushedPlastic", [](SurfaceProperties& s) { s.anisotropy = 0.8f; });
    add("DyedReflection", [](SurfaceProperties& s) { s.specularColor = Color(4, 2, 1); });
    add("BumpyBelowCoat", [](SurfaceProperties& s) { s.coat = 1, s.coatAlpha = 0.2f; });
    cases.back().coatNormal = V3f(0.3f, 0.2f, 1).normalized();
    // The geometric normal is tilted away from +Z.
    for (const char* const name : {"TiltedPlastic", "TiltedMetal", "TiltedGlass"}) {
        add(name, [&](SurfaceProperties& s) {
            s.metalness = name == std::string("TiltedMetal") ? 1 : 0;
            s.transmission = name == std::string("TiltedGlass") ? 1 : 0;
        });
        cases.back().geometricNormal = V3f(0.4f, 0.3f, 1).normalized();
    }
    return cases;
}

class BsdfTest : public testing::TestWithParam<BsdfCase> {
protected:
    Bsdf at(float cosine) const {
        ShadingDirections directions;
        directions.wo = DirectionOf(cosine);
        directions.geometricNormal = GetParam().geometricNormal;
        directions.coatNormal = GetParam().coatNormal;
        return {GetParam().surface, directions, GetParam().isInside};
    }
};

TEST_P(BsdfTest, HasADensityThatIntegratesToTheShareOfValidSamples) {
    for (const float cosine : {0.2f, 0.6f, 0.95f}) {
        SCOPED_TRACE(cosine);
        EXPECT_NEAR(Integrated(at(cosine)).pdf, Sampled(at(cosine)).pdf, 0.01);
    }
}

TEST_P(BsdfTest, HasTheSameAlbedoBySamplingAsByIntegration) {
    for (const float cosine : {0.2f, 0.6f, 0.95f}) {
        SCOPED_TRACE(cosine);
        const double share = Integrated(at(cosine)).share;
        EXPECT_GT(share, 0.3);
        EXPECT_NEAR(Sampled(at(cosine)).share, share, 0.01);
    }
}

TEST_P(BsdfTest, ConservesEnergy) {
    for (const float cosine : {0.01f, 0.1f, 0.3f, 0.7f, 1.0f}) {
        SCOPED_TRACE(cosine);
        EXPECT_LT(Sampled(at(cosine)).share, 1.01);
    }
}

TEST_P(BsdfTest, WeighsSamplesByValueOverDensity) {
    const Bsdf bsdf = at(0.5f);
    for (const float choice : {0.05f, 0.3f, 0.6f, 0.95f}) {
        const Bsdf::Sample sample = bsdf.sample(choice, {0.3f, 0.7f});
        if (!(sample.pdf > 0)) continue;
        const Bsdf::Value value = bsdf.evaluate(sample.wi);
        EXPECT_FLOAT_EQ(sample.pdf, value.pdf);
        EXPECT_FLOAT_EQ(sample.weight.y * value.pdf, value.timesCosine.y);
    }
}

INSTANTIATE_TEST_SUITE_P(, BsdfTest, testing::ValuesIn(Cases()),
                         [](const auto& test) { return test.param.name; });

// Exact values ------------------------------------------------------------------------------------

const V3f kOut(0.6f, 0, 0.8f);

TEST(Bsdf, IsLambertianWithoutReflection) {
    SurfaceProperties surface;
    surface.baseColor = {0.2f, 0.5f, 0.8f};
    surface.specular = 0;
    const Bsdf::Value value = BsdfOf(surface, kOut, false).evaluate({0, 0.8f, 0.6f});
    EXPECT_FLOAT_EQ(value.timesCosine.x, 0.2f * 0.6f / kPi);
    EXPECT_FLOAT_EQ(value.timesCosine.z, 0.8f * 0.6f / kPi);
    EXPECT_FLOAT_EQ(value.pdf, 0.6f / kPi);
}

TEST(Bsdf, RefractsInSmoothGlassBySnellsLaw) {
    SurfaceProperties surface = White();
    surface.transmission = 1;
    surface.alpha = 0;
    const Bsdf::Sample entering = BsdfOf(surface, kOut, false).sample(0.99f, {0, 0});
    EXPECT_NEAR(entering.wi.x, -0.6f / 1.5f, 1e-6f);
    EXPECT_LT(entering.wi.z, 0);
    const Bsdf::Sample leaving = BsdfOf(surface, kOut, true).sample(0.99f, {0, 0});
    EXPECT_NEAR(leaving.wi.x, -0.6f * 1.5f, 1e-6f);
}

TEST(Bsdf, HasTotalInternalReflectionInGlass) {
    SurfaceProperties surface = White();
    surface.transmission = 1;
    surface.alpha = 0;
    const Bsdf::Sample sample = BsdfOf(surface, {0.8f, 0, 0.6f}, true).sample(0.99f, {0, 0});
    EXPECT_EQ(sample.wi, V3f(-0.8f, 0, 0.6f));
    EXPECT_FLOAT_EQ(sample.weight.y, 1);
}

TEST(Bsdf, DoesNotRefractAtAnIorOfOne) {
    SurfaceProperties surface = White();
    surface.transmission = 1;
    surface.ior = 1;
    const Bsdf::Sample sample = BsdfOf(surface, kOut, false).sample(0.3f, {0.5f, 0.5f});
    EXPECT_NEAR((sample.wi + kOut).length(), 0, 1e-6f);
    EXPECT_EQ(sample.weight, Color(1, 1, 1));
}

TEST(Fresnel, MatchesKnownValuesOfGlass) {
    EXPECT_NEAR(FresnelDielectric(1, 1.5f), 0.04f, 1e-6f);
    EXPECT_NEAR(FresnelDielectric(0, 1.5f), 1, 1e-6f);
    // At Brewster's angle only half of the light is reflected, sin^2(90 - 2 * 33.69 degrees).
    EXPECT_NEAR(FresnelDielectric(std::cos(std::atan(1.5f)), 1.5f), 0.5 * std::pow(5.0 / 13, 2),
                1e-5);
    EXPECT_EQ(FresnelDielectric(0.5f, 1), 0);
}

TEST(Bsdf, IsFiniteAtTheLimitsOfItsParameters) {
    for (const float width : {0.0f, 1e-20f, 1e-3f, 1.0f})
        for (const float ior : {1.0f, 1.0001f, 1.5f, 1e30f})
            for (const float cosine : {1e-30f, 1e-6f, 1e-3f, 1.0f})
                for (const float mix : {0.0f, 0.5f, 1.0f})
                    for (const Color& color : {Color(0, 0, 0), Color(1, 1, 1)}) {
                        SurfaceProperties surface;
                        surface.baseColor = color;
                        surface.alpha = surface.coatAlpha = width;
                        surface.ior = ior;
                        surface.metalness = surface.coat = surface.transmission = mix;
                        surface.sheenColor = Color(mix);
                        surface.sheenAlpha = width;
                        surface.anisotropy = mix;
                        const V3f wo(std::sqrt(1 - cosine * cosine), 0, cosine);
                        for (const bool isInside : {false, true}) {
                            const Bsdf bsdf = BsdfOf(surface, wo, isInside);
                            for (const float u : {0.0f, 0.5f, 0.99999994f}) {
                                const Bsdf::Sample sample = bsdf.sample(u, {u, u});
                                ASSERT_TRUE(IsFinite(sample.weight));
                                ASSERT_GE(sample.weight.x, 0);
                                ASSERT_LT(sample.weight.x, 20)
                                    << "alpha " << width << ", ior " << ior << ", cosine " << cosine
                                    << ", mix " << mix << ", color " << color.x << ", inside "
                                    << isInside << ", u " << u;
                                ASSERT_FALSE(std::isnan(sample.pdf));
                            }
                        }
                    }
}

} // namespace
