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
    Surfacing surfacing;
    bool isInside = false;
};

void PrintTo(const BsdfCase& one, std::ostream* out) {
    *out << one.name;
}

Surfacing White() {
    Surfacing surfacing;
    surfacing.baseColor = Color(1, 1, 1);
    return surfacing;
}

std::vector<BsdfCase> Cases() {
    std::vector<BsdfCase> cases;
    const auto add = [&](const char* name, auto change, bool isInside = false) {
        Surfacing surfacing = White();
        change(surfacing);
        cases.push_back({name, surfacing, isInside});
    };
    add("Matt", [](Surfacing& s) { s.reflection = Color(0, 0, 0); });
    add("Plastic", [](Surfacing& s) { s.width = 0.1f; });
    add("RoughPlastic", [](Surfacing& s) { s.width = 1; });
    add("Metal", [](Surfacing& s) { s.metalness = 1; });
    add("HalfMetal", [](Surfacing& s) { s.metalness = 0.5f; });
    add("RoughMetal", [](Surfacing& s) { s.metalness = s.width = 1; });
    add("Coated", [](Surfacing& s) { s.coat = 1, s.coatWidth = 0.2f; });
    add("RoughGlass", [](Surfacing& s) { s.transmission = 1, s.width = 0.3f; });
    add(
        "RoughGlassInside", [](Surfacing& s) { s.transmission = 1, s.width = 0.3f; }, true);
    add("HalfClear", [](Surfacing& s) { s.transmission = 0.5f, s.width = 0.2f; });
    add("Diamond", [](Surfacing& s) { s.ior = 2.4f, s.width = 0.3f; });
    return cases;
}

class BsdfTest : public testing::TestWithParam<BsdfCase> {
protected:
    Bsdf at(float cosine) const {
        return {GetParam().surfacing, V3f(std::sqrt(1 - cosine * cosine), 0, cosine),
                GetParam().isInside};
    }
};

struct Sums {
    double pdf = 0;
    double share = 0;
};

/// Over all directions, evenly.
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
            sums.share += value.share.y;
        }
    }
    const double perDirection = 4 * kPi / (double(kRows) * kColumns);
    return {sums.pdf * perDirection, sums.share * perDirection};
}

/// By what sample() finds; `pdf` is the share of samples that found anything.
Sums Sampled(const Bsdf& bsdf) {
    constexpr int kSide = 128;
    Sums sums;
    for (int i = 0; i < kSide * kSide; ++i) {
        const V2f u((float(i % kSide) + 0.5f) / kSide, (float(i / kSide) + 0.5f) / kSide);
        const float choice = std::fmod(float(i) * 0.61803398f, 1.0f);
        const Bsdf::Sample sample = bsdf.sample(choice, u);
        if (sample.in == V3f(0)) continue;
        sums.share += sample.weight.y;
        sums.pdf += 1;
    }
    const double count = double(kSide) * kSide;
    return {sums.pdf / count, sums.share / count};
}

TEST_P(BsdfTest, HasADensityThatAddsUpToHowOftenItFindsADirection) {
    for (const float cosine : {0.2f, 0.6f, 0.95f}) {
        SCOPED_TRACE(cosine);
        EXPECT_NEAR(Integrated(at(cosine)).pdf, Sampled(at(cosine)).pdf, 0.01);
    }
}

TEST_P(BsdfTest, ScattersAsMuchBySamplesAsInAllDirectionsTogether) {
    for (const float cosine : {0.2f, 0.6f, 0.95f}) {
        SCOPED_TRACE(cosine);
        const double share = Integrated(at(cosine)).share;
        EXPECT_GT(share, 0.3);
        EXPECT_NEAR(Sampled(at(cosine)).share, share, 0.01);
    }
}

TEST_P(BsdfTest, NeverScattersMoreThanItGets) {
    for (const float cosine : {0.01f, 0.1f, 0.3f, 0.7f, 1.0f}) {
        SCOPED_TRACE(cosine);
        EXPECT_LT(Sampled(at(cosine)).share, 1.01);
    }
}

TEST_P(BsdfTest, WeighsSamplesAsItsValuesSay) {
    const Bsdf bsdf = at(0.5f);
    for (const float choice : {0.05f, 0.3f, 0.6f, 0.95f}) {
        const Bsdf::Sample sample = bsdf.sample(choice, {0.3f, 0.7f});
        if (!(sample.pdf > 0)) continue;
        const Bsdf::Value value = bsdf.evaluate(sample.in);
        EXPECT_FLOAT_EQ(sample.pdf, value.pdf);
        EXPECT_FLOAT_EQ(sample.weight.y * value.pdf, value.share.y);
    }
}

INSTANTIATE_TEST_SUITE_P(, BsdfTest, testing::ValuesIn(Cases()),
                         [](const auto& info) { return info.param.name; });

// What is known exactly ---------------------------------------------------------------------------

const V3f kOut(0.6f, 0, 0.8f);

TEST(Bsdf, ReflectsAllInWhiteMetalOfAnyRoughness) {
    for (const float width : {0.0f, 0.04f, 0.25f, 1.0f}) {
        Surfacing surfacing = White();
        surfacing.metalness = 1;
        surfacing.width = width;
        EXPECT_NEAR(Sampled(Bsdf(surfacing, kOut, false)).share, 1, 0.01) << width;
    }
}

TEST(Bsdf, SharesLightBetweenTheBorderAndTheGroundOfWhitePlastic) {
    for (const float width : {0.0f, 0.04f, 0.25f, 1.0f}) {
        Surfacing surfacing = White();
        surfacing.width = width;
        EXPECT_NEAR(Sampled(Bsdf(surfacing, kOut, false)).share, 1, 0.01) << width;
    }
}

TEST(Bsdf, IsLambertsWithoutReflection) {
    Surfacing surfacing;
    surfacing.baseColor = {0.2f, 0.5f, 0.8f};
    surfacing.reflection = Color(0, 0, 0);
    const Bsdf::Value value = Bsdf(surfacing, kOut, false).evaluate({0, 0.8f, 0.6f});
    EXPECT_FLOAT_EQ(value.share.x, 0.2f * 0.6f / kPi);
    EXPECT_FLOAT_EQ(value.share.z, 0.8f * 0.6f / kPi);
    EXPECT_FLOAT_EQ(value.pdf, 0.6f / kPi);
}

TEST(Bsdf, BendsLightInSmoothGlassBySnelliusLaw) {
    Surfacing surfacing = White();
    surfacing.transmission = 1;
    surfacing.width = 0;
    const Bsdf::Sample entering = Bsdf(surfacing, kOut, false).sample(0.99f, {0, 0});
    EXPECT_NEAR(entering.in.x, -0.6f / 1.5f, 1e-6f);
    EXPECT_LT(entering.in.z, 0);
    const Bsdf::Sample leaving = Bsdf(surfacing, kOut, true).sample(0.99f, {0, 0});
    EXPECT_NEAR(leaving.in.x, -0.6f * 1.5f, 1e-6f);
}

TEST(Bsdf, ReflectsAllInsideOfGlassAtGrazingAngles) {
    Surfacing surfacing = White();
    surfacing.transmission = 1;
    surfacing.width = 0;
    const Bsdf::Sample sample = Bsdf(surfacing, {0.8f, 0, 0.6f}, true).sample(0.99f, {0, 0});
    EXPECT_EQ(sample.in, V3f(-0.8f, 0, 0.6f));
    EXPECT_FLOAT_EQ(sample.weight.y, 1);
}

TEST(Bsdf, LetsLightStraightThroughWhatIsNotDenser) {
    Surfacing surfacing = White();
    surfacing.transmission = 1;
    surfacing.ior = 1;
    const Bsdf::Sample sample = Bsdf(surfacing, kOut, false).sample(0.3f, {0.5f, 0.5f});
    EXPECT_NEAR((sample.in + kOut).length(), 0, 1e-6f);
    EXPECT_EQ(sample.weight, Color(1, 1, 1));
}

TEST(Fresnel, IsThatOfGlassSeenStraightAndAtTheAngleOfNoReturn) {
    EXPECT_NEAR(FresnelDielectric(1, 1.5f), 0.04f, 1e-6f);
    EXPECT_NEAR(FresnelDielectric(0, 1.5f), 1, 1e-6f);
    // At Brewster's angle only half of the light is reflected, sin^2(90 - 2 * 33.69 degrees).
    EXPECT_NEAR(FresnelDielectric(std::cos(std::atan(1.5f)), 1.5f), 0.5 * std::pow(5.0 / 13, 2),
                1e-5);
    EXPECT_EQ(FresnelDielectric(0.5f, 1), 0);
}

TEST(Bsdf, StaysANumberAtTheEndsOfItsValues) {
    for (const float width : {0.0f, 1e-20f, 1e-3f, 1.0f})
        for (const float ior : {1.0f, 1.0001f, 1.5f, 1e30f})
            for (const float cosine : {1e-30f, 1e-6f, 1e-3f, 1.0f})
                for (const float mix : {0.0f, 0.5f, 1.0f})
                    for (const Color& color : {Color(0, 0, 0), Color(1, 1, 1)}) {
                        Surfacing surfacing;
                        surfacing.baseColor = color;
                        surfacing.width = surfacing.coatWidth = width;
                        surfacing.ior = ior;
                        surfacing.metalness = surfacing.coat = surfacing.transmission = mix;
                        const V3f out(std::sqrt(1 - cosine * cosine), 0, cosine);
                        for (const bool isInside : {false, true}) {
                            const Bsdf bsdf(surfacing, out, isInside);
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
