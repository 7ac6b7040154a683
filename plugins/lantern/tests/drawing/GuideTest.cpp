#include "drawing/Guide.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "drawing/Numbers.h"

namespace {

using namespace lantern;

/// Directions that cover the sphere evenly: a spiral.
std::vector<V3f> Sphere(int count) {
    std::vector<V3f> directions;
    for (int i = 0; i < count; ++i) {
        const float z = 2 * (float(i) + 0.5f) / float(count) - 1;
        const float phi = float(i) * 2.39996323f;
        const float radius = std::sqrt(1 - z * z);
        directions.push_back({radius * std::cos(phi), radius * std::sin(phi), z});
    }
    return directions;
}

Guide::Visit VisitAt(const V3f& position, const V3f& direction) {
    Guide::Visit visit;
    visit.position = position;
    visit.direction = direction;
    visit.cosine = 1;
    visit.pdf = 1 / (4 * kPi);
    visit.weight = 0.5f;
    return visit;
}

/// Paths from two places, where all light comes from above and from the right.
std::vector<Guide::Visit> TwoPlaces() {
    std::vector<Guide::Visit> visits;
    for (const V3f& direction : Sphere(1000)) {
        visits.push_back(VisitAt({0, 0, 0}, direction));
        visits.back().found = direction.z > 0.9f ? 5.0f : 0;
        visits.push_back(VisitAt({10, 0, 0}, direction));
        visits.back().found = direction.x > 0.9f ? 5.0f : 0;
    }
    return visits;
}

TEST(Guide, KnowsNothingWithoutVisits) {
    EXPECT_EQ(Guide().at({0, 0, 0}), nullptr);
    EXPECT_EQ(Guide({VisitAt({0, 0, 0}, {0, 0, 1})}).at({0, 0, 0}), nullptr);
}

TEST(Guide, HasADensityThatIntegratesToOne) {
    const Guide guide(TwoPlaces());
    double sum = 0;
    for (const V3f& direction : Sphere(20000))
        sum += guide.at({0, 0, 0})->directions.pdf(direction);
    EXPECT_NEAR(sum / 20000 * 4 * double(kPi), 1, 0.01);
}

TEST(Guide, SamplesDirectionsWithItsDensity) {
    const Guide guide(TwoPlaces());
    const Guide::Directions& directions = guide.at({0, 0, 0})->directions;
    double solidAngle = 0; // estimated solid angle of the directions of nonzero density
    for (int i = 0; i < 10000; ++i) {
        const V3f direction =
            directions.sample({(float(i % 100) + 0.5f) / 100, (float(i) + 0.5f) / 10000});
        ASSERT_NEAR(direction.length(), 1, 1e-4);
        ASSERT_GT(directions.pdf(direction), 0);
        solidAngle += 1 / double(directions.pdf(direction)) / 10000;
    }
    double counted = 0;
    for (const V3f& direction : Sphere(20000))
        if (directions.pdf(direction) > 0) counted += 4 * double(kPi) / 20000;
    EXPECT_NEAR(solidAngle, counted, 0.03 * counted);
}

TEST(Guide, TellsPlacesApart) {
    const Guide guide(TwoPlaces());
    const V3f up(0.1f, 0, 0.995f), right(0.995f, 0.1f, 0);
    EXPECT_GT(guide.at({0, 0, 0})->directions.pdf(up), 0.5f);
    EXPECT_EQ(guide.at({0, 0, 0})->directions.pdf(right), 0);
    EXPECT_GT(guide.at({10, 0, 0})->directions.pdf(right), 0.5f);
    EXPECT_EQ(guide.at({10, 0, 0})->directions.pdf(up), 0);
}

TEST(Guide, IsOfNoUseWhereLightComesFromEverywhere) {
    std::vector<Guide::Visit> visits = TwoPlaces();
    EXPECT_GT(Guide(visits).at({0, 0, 0})->use, 0.9f);
    for (Guide::Visit& visit : visits)
        visit.found = 1;
    EXPECT_EQ(Guide(visits).at({0, 0, 0})->use, 0);
}

TEST(Guide, FollowsLightThatASurfaceReflects) {
    std::vector<Guide::Visit> visits;
    for (const V3f& direction : Sphere(1000)) {
        visits.push_back(VisitAt({0, 0, 0}, direction));
        if (direction.z < 0.9f) continue;
        visits.back().goesOn = true; // the path goes on to a lit surface above
        visits.push_back(VisitAt({0, 0, 10}, {0, 0, 1}));
        visits.back().reflected = 2;
    }
    const Guide guide(visits);
    EXPECT_GT(guide.at({0, 0, 0})->directions.pdf({0.1f, 0, 0.995f}), 0.5f);
    EXPECT_EQ(guide.at({0, 0, 0})->directions.pdf({0, 0, -1}), 0);
}

TEST(Guide, SeldomSamplesLightsThatHaveNotBeenSeen) {
    std::vector<Guide::Visit> visits = TwoPlaces();
    for (Guide::Visit& visit : visits)
        visit.squares = {0, 1, 1e-8f};
    const Guide guide(visits);
    EXPECT_NEAR(guide.at({0, 0, 0})->sampling[Guide::Environments], 0.3f, 1e-6f);
    EXPECT_EQ(guide.at({0, 0, 0})->sampling[Guide::Suns], 1);
    EXPECT_NEAR(guide.at({0, 0, 0})->sampling[Guide::LocalOnes], 0.3f, 1e-6f);
}

TEST(Guide, ComparesTheNoiseOfPlacesWithWhatTheCameraSees) {
    std::vector<Guide::Visit> visits = TwoPlaces();
    for (Guide::Visit& visit : visits) {
        visit.isFirst = visit.position.x == 0;
        visit.found *= visit.isFirst ? 1 : 10;
    }
    const Guide guide(visits);
    EXPECT_NEAR(guide.at({0, 0, 0})->noise, 1, 1e-5f);
    EXPECT_NEAR(guide.at({10, 0, 0})->noise, 10, 0.5f);
}

TEST(Guide, MeasuresNoiseOfRareLightThatIsReflected) {
    std::vector<Guide::Visit> visits;
    for (const V3f& direction : Sphere(1000)) {
        visits.push_back(VisitAt({0, 0, 0}, direction));
        visits.back().isFirst = true;
        visits.back().goesOn = true;
        visits.push_back(VisitAt({0, 0, 10}, direction));
        visits.back().found = direction.z > 0.98f ? 100.0f : 0; // 1 in 100
    }
    // A bounce reflects half of the light, and so half of its root mean square.
    const Guide guide(visits);
    EXPECT_NEAR(guide.at({0, 0, 10})->noise, 2, 0.01f);
    EXPECT_NEAR(guide.at({0, 0, 10})->reflected, 0.5f, 0.01f);
}

TEST(Guide, IgnoresLightThatIsNotFinite) {
    std::vector<Guide::Visit> visits = TwoPlaces();
    visits[0].found = INFINITY;
    visits[2].found = NAN;
    visits[4].squares = {INFINITY, NAN, 0};
    const Guide guide(visits);
    EXPECT_GT(guide.at({0, 0, 0})->directions.pdf({0.1f, 0, 0.995f}), 0.5f);
    EXPECT_EQ(guide.at({0, 0, 0})->sampling[Guide::Suns], 1);
}

} // namespace
