#include "drawing/Bsdf.h"

#include <cmath>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "drawing/Numbers.h"

namespace {

using namespace lantern;

struct BsdfCase {
    std::string name;
    SurfaceProperties surface;
    bool isInside = false;
};

void PrintTo(const BsdfCase& one, std::ostream* out) {
    *out << one.name;
}

SurfaceProperties White() {
    SurfaceProperties surface;
    surface.baseColor = Color(1, 1, 1);
    return surface;
}

std::vector<BsdfCase> Cases() {
    std::vector<BsdfCase> cases;
    const auto add = [&](const char* name, auto change, bool isInside = false) {
        SurfaceProperties surface = White();
        change(surface);
        cases.push_back({name, surface, isInside});
    };
    add("Matt", [](SurfaceProperties& s) { s.specular = Color(0, 0, 0); });
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
    return cases;
}

class BsdfTest : public testing::TestWithParam<BsdfCase> {
protected:
    Bsdf at(float cosine) const {
        return {GetParam().surface, V3f(std::sqrt(1 - cosine * cosine), 0, cosine),
                GetParam().isInside};
    }
};

struct Sums {
    double pdf = 0;
    double share = 0;
};

/// Integrates over the sphere of directions on a uniform grid.
Sums Integrated(const Bsdf& bsdf) {
    constexpr int kRows = 600, kColumns = 600;
    Sums sums;
    for (int row = 0; row < kRows; ++row) {
        const float z = 1 - 2 * (float(row) + 0.5f) / kRows;
        const float around = std::sqrt(1 - z * z);
        for (int column = 0; column < kColumns; ++column) {
            const float phi = 2 * kPi * (float(column) + 0.5f) / kColumns;
            const Bsdf::Value value =
                bsdf.evaluate({around * std::cos(phi), around * std::sin(phi), z});
            sums.pdf += value.pdf;
            sums.share += value.timesCosine.y;
        }
    }
    const double perDirection = 4 * kPi / (double(kRows) * kColumns);
    return {sums.pdf * perDirection, sums.share * perDirection};
}

/// Estimates the albedo by sample(). `pdf` is the share of valid samples.
Sums Sampled(const Bsdf& bsdf) {
    constexpr int kSide = 128;
    Sums sums;
    for (int i = 0; i < kSide * kSide; ++i) {
        const V2f u((float(i % kSide) + 0.5f) / kSide, (float(i / kSide) + 0.5f) / kSide);
        const float choice = std::fmod(float(i) * 0.61803398f, 1.0f);
        const Bsdf::Sample sample = bsdf.sample(choice, u);
        if (sample.wi == V3f(0)) continue;
        sums.share += sample.weight.y;
        sums.pdf += 1;
    }
    const double count = double(kSide) * kSide;
    return {sums.pdf / count, sums.share / count};
}

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

TEST(Bsdf, ReflectsAllLightInWhiteMetalOfAnyRoughness) {
    for (const float width : {0.0f, 0.04f, 0.25f, 1.0f}) {
        SurfaceProperties surface = White();
        surface.metalness = 1;
        surface.alpha = width;
        EXPECT_NEAR(Sampled(Bsdf(surface, kOut, false)).share, 1, 0.01) << width;
    }
}

TEST(Bsdf, ReflectsAllLightInWhitePlasticOfAnyRoughness) {
    for (const float width : {0.0f, 0.04f, 0.25f, 1.0f}) {
        SurfaceProperties surface = White();
        surface.alpha = width;
        EXPECT_NEAR(Sampled(Bsdf(surface, kOut, false)).share, 1, 0.01) << width;
    }
}

TEST(Bsdf, IsLambertianWithoutReflection) {
    SurfaceProperties surface;
    surface.baseColor = {0.2f, 0.5f, 0.8f};
    surface.specular = Color(0, 0, 0);
    const Bsdf::Value value = Bsdf(surface, kOut, false).evaluate({0, 0.8f, 0.6f});
    EXPECT_FLOAT_EQ(value.timesCosine.x, 0.2f * 0.6f / kPi);
    EXPECT_FLOAT_EQ(value.timesCosine.z, 0.8f * 0.6f / kPi);
    EXPECT_FLOAT_EQ(value.pdf, 0.6f / kPi);
}

TEST(Bsdf, RefractsInSmoothGlassBySnellsLaw) {
    SurfaceProperties surface = White();
    surface.transmission = 1;
    surface.alpha = 0;
    const Bsdf::Sample entering = Bsdf(surface, kOut, false).sample(0.99f, {0, 0});
    EXPECT_NEAR(entering.wi.x, -0.6f / 1.5f, 1e-6f);
    EXPECT_LT(entering.wi.z, 0);
    const Bsdf::Sample leaving = Bsdf(surface, kOut, true).sample(0.99f, {0, 0});
    EXPECT_NEAR(leaving.wi.x, -0.6f * 1.5f, 1e-6f);
}

TEST(Bsdf, HasTotalInternalReflectionInGlass) {
    SurfaceProperties surface = White();
    surface.transmission = 1;
    surface.alpha = 0;
    const Bsdf::Sample sample = Bsdf(surface, {0.8f, 0, 0.6f}, true).sample(0.99f, {0, 0});
    EXPECT_EQ(sample.wi, V3f(-0.8f, 0, 0.6f));
    EXPECT_FLOAT_EQ(sample.weight.y, 1);
}

TEST(Bsdf, DoesNotRefractAtAnIorOfOne) {
    SurfaceProperties surface = White();
    surface.transmission = 1;
    surface.ior = 1;
    const Bsdf::Sample sample = Bsdf(surface, kOut, false).sample(0.3f, {0.5f, 0.5f});
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
                        const V3f wo(std::sqrt(1 - cosine * cosine), 0, cosine);
                        for (const bool isInside : {false, true}) {
                            const Bsdf bsdf(surface, wo, isInside);
                            for (const float u : {0.0f, 0.5f, 0.99999994f}) {
                                const Bsdf::Sample sample = bsdf.sample(u, {u, u});
                                ASSERT_TRUE(IsFinite(sample.weight));
                                ASSERT_GE(sample.weight.x, 0);
                                ASSERT_LT(sample.weight.x, 20);
                                ASSERT_FALSE(std::isnan(sample.pdf));
                            }
                        }
                    }
}

} // namespace
