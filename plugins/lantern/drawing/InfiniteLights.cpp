#include "drawing/InfiniteLights.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::max();

/// The integral of the cosine over a disc in the zenith: pi sin^2 of its half angle.
float ProjectedSolidAngle(float oneMinusCosHalfAngle) {
    return kPi * oneMinusCosHalfAngle * (2 - oneMinusCosHalfAngle);
}

} // namespace

InfiniteLights::InfiniteLights(const std::vector<Light>& lights, const Textures& textures) {
    for (const Light& light : lights) {
        if (const auto* environment = std::get_if<EnvironmentLight>(&light)) {
            if (IsSource(environment->scale)) environments.emplace_back(*environment, textures);
        } else if (const auto* directional = std::get_if<DirectionalLight>(&light)) {
            if (IsSource(directional->irradiance)) suns.push_back(makeSun(*directional));
        }
    }
    std::vector<float> weights;
    for (const EnvironmentMap& environment : environments)
        weights.push_back(environment.meanLuminance() * kPi);
    environmentChoices = Distribution(weights);
    weights.clear();
    for (const Sun& sun : suns)
        weights.push_back(sun.luminousIrradiance());
    sunChoices = Distribution(weights);
}

InfiniteLights::Sun InfiniteLights::makeSun(const DirectionalLight& light) {
    Sun sun;
    sun.direction = Normalized(DirectionToWorld(light.toWorld, {0, 0, 1}), V3f(0, 0, 1));
    sun.irradiance = light.irradiance;
    const float halfAngle = Radians(std::min(light.angle, 180.0f)) / 2;
    sun.oneMinusCosHalfAngle = halfAngle > 0 ? OneMinusCos(halfAngle) : 0;
    if (!sun.isDelta())
        sun.radiance = light.irradiance / ProjectedSolidAngle(sun.oneMinusCosHalfAngle);
    return sun;
}

float InfiniteLights::Sun::luminousIrradiance() const {
    if (isDelta()) return Luminance(irradiance);
    return Luminance(radiance) * ProjectedSolidAngle(oneMinusCosHalfAngle);
}

LightSample InfiniteLights::sampleEnvironments(float choice, const V2f& u) const {
    LightSample sample;
    if (environmentChoices.isEmpty()) return sample;
    float rest = 0;
    const std::size_t chosen = environmentChoices.pick(choice, rest);
    const EnvironmentMap& map = environments[chosen];
    sample.distance = kInfinity;
    sample.direction = map.sample(u);
    sample.radiance = map.radiance(sample.direction);
    sample.pdf = environmentChoices.probability(chosen) * map.pdf(sample.direction);
    return sample;
}

LightSample InfiniteLights::sampleSuns(float choice, const V2f& u) const {
    LightSample sample;
    if (sunChoices.isEmpty()) return sample;
    float rest = 0;
    const std::size_t chosen = sunChoices.pick(choice, rest);
    const Sun& sun = suns[chosen];
    sample.distance = kInfinity;
    sample.pdf = sunChoices.probability(chosen);
    if (sun.isDelta()) {
        sample.isDelta = true;
        sample.direction = sun.direction;
        sample.radiance = sun.irradiance;
        return sample;
    }
    sample.direction = SampleCone(sun.direction, sun.oneMinusCosHalfAngle, u);
    sample.radiance = sun.radiance;
    sample.pdf /= SolidAngleOfCone(sun.oneMinusCosHalfAngle);
    return sample;
}

Color InfiniteLights::radiance(const V3f& direction, float bsdfPdf) const {
    Color sum(0, 0, 0);
    for (std::size_t i = 0; i < environments.size(); ++i) {
        const float probability = environmentChoices.probability(i);
        const float lightPdf =
            bsdfPdf > 0 && probability > 0 ? probability * environments[i].pdf(direction) : 0;
        sum += environments[i].radiance(direction) * WeightOfBsdfSample(bsdfPdf, lightPdf);
    }
    for (std::size_t i = 0; i < suns.size(); ++i) {
        const Sun& sun = suns[i];
        // 1 - cos of the angle between two unit vectors is half of the squared length of their
        // difference. Their dot product would lose too many digits for small discs.
        const float oneMinusCos = (direction - sun.direction).length2() / 2;
        if (!(oneMinusCos < sun.oneMinusCosHalfAngle)) continue;
        const float lightPdf =
            sunChoices.probability(i) / SolidAngleOfCone(sun.oneMinusCosHalfAngle);
        sum += sun.radiance * WeightOfBsdfSample(bsdfPdf, lightPdf);
    }
    return sum;
}

std::optional<Color> InfiniteLights::seenByCamera(const V3f& direction) const {
    std::optional<Color> sum;
    for (const EnvironmentMap& environment : environments)
        if (environment.isSeenByCamera())
            sum = sum.value_or(Color(0, 0, 0)) + environment.radiance(direction);
    return sum;
}

} // namespace lantern
