#include "drawing/Bsdf.h"

#include <algorithm>
#include <cmath>

namespace lantern {
namespace {

constexpr float kMinIorDifference = 1e-3f; // a smaller difference does not refract
constexpr float kRoughAlpha = 0.2f;        // from this alpha on a lobe counts as rough
const V3f kUp(0, 0, 1);

V3f Mirrored(const V3f& direction, const V3f& normal) {
    return direction - normal * (2 * (direction ^ normal));
}

/// Applies the function to each component; calls it once for a grey color.
template <typename Function>
Color ByComponent(const Color& color, Function function) {
    const float x = function(color.x);
    if (color.y == color.x && color.z == color.x) return Color(x);
    return {x, function(color.y), function(color.z)};
}

/// The facet that reflects one direction to another one.
struct HalfVector {
    HalfVector(const V3f& wo, const V3f& wi)
        : facet(Normalized(wo + wi, kUp)), cosine(wo ^ facet) {}
    V3f facet;
    float cosine; // cosine of the angle between the facet and either direction
};

/// The Torrance-Sparrow model: D G F / (4 cos cos), times the cosine of wi, where `weight` holds F.
Bsdf::Value Reflection(const GgxFacets& facets, const V3f& wo, const V3f& wi,
                       const HalfVector& half, const Color& weight) {
    if (!(half.cosine > 0)) return {};
    const GgxFacets::Reflection perfect = facets.reflection(wo, wi, half.facet, half.cosine);
    return {weight * perfect.model, perfect.pdf};
}

V3f SampleCosine(const V2f& u) {
    const float r = std::sqrt(u.x);
    const float phi = 2 * kPi * u.y;
    return {r * std::cos(phi), r * std::sin(phi), std::sqrt(std::max(0.0f, 1 - u.x))};
}

V3f SampleHemisphere(const V2f& u) {
    const float r = std::sqrt(std::max(0.0f, 1 - u.x * u.x));
    const float phi = 2 * kPi * u.y;
    return {r * std::cos(phi), r * std::sin(phi), u.x};
}

} // namespace

// Fresnel and albedos -----------------------------------------------------------------------------

float Bsdf::dielectricFresnel(float cosine) const {
    return isMatched() ? 0 : FresnelDielectric(cosine, ior);
}

/// Changes the Fresnel reflectance of the dielectric at normal incidence by specularColor, and the
/// whole by specular. Total internal reflection has nowhere else to go and stays as it is.
Color Bsdf::dielectricReflectance(float fresnel) const {
    if (fresnel >= 1 || facing >= 1) return Color(fresnel);
    const float towardsGrazing = (fresnel - facing) / (1 - facing);
    return ByComponent(surface.specularColor, [&](float color) {
        return surface.specular * Clamp01(Mix(std::min(color * facing, 1.0f), 1, towardsGrazing));
    });
}

/// The probability of sampling the reflection, not the transmission, of the dielectric.
float Bsdf::reflectionProbability(const Color& reflectance) const {
    if (IsBlack(transmitted)) return 1;
    const float reflected = Luminance(reflectance);
    const float through = (1 - Largest(reflectance)) * Luminance(transmitted);
    return reflected + through > 0 ? reflected / (reflected + through) : 1;
}

/// The albedo of the reflection of single facets. The reflectance is linear in that of
/// FresnelDielectric(), and so is the albedo.
Color Bsdf::dielectricAlbedo(float cosine) const {
    if (isInside) return Color(dielectricFresnel(cosine)); // only chooses lobes
    return albedos ? coloredAlbedo(albedos->at(cosine)) : Color(0, 0, 0);
}

/// The mean of all directions outside.
Color Bsdf::meanDielectricAlbedo() const {
    return albedos ? coloredAlbedo(albedos->mean()) : Color(0, 0, 0);
}

Color Bsdf::coloredAlbedo(const FacetAlbedos::Value& own) const {
    const float perfect = facets.isSpecular() ? 1 : own.perfect;
    const float towardsGrazing =
        facing < 1 ? (own.dielectric - facing * perfect) / (1 - facing) : 0;
    return ByComponent(surface.specularColor, [&](float color) {
        const float least = std::min(color * facing, 1.0f);
        return surface.specular * Clamp01(least * perfect + (1 - least) * towardsGrazing);
    });
}

/// The albedo of single facets of the clear dielectric, reflection and transmission together, for
/// light on the side of `wo` or on the other one.
float Bsdf::clearAlbedo(float cosine, bool isOtherSide) const {
    const float alpha = facets.meanAlpha();
    if (surface.isThin) return AlbedoOfPerfectFacets(cosine, alpha);
    return TotalAlbedoOfDielectric(cosine, alpha, isOtherSide ? 1 / ior : ior);
}

bool Bsdf::isMatched() const {
    return std::abs(ior - 1) < kMinIorDifference;
}

bool Bsdf::isSpecular(Lobe lobe) const {
    switch (lobe) {
    case Coat:
        return coatFacets.isSpecular();
    case Metal:
        return facets.isSpecular();
    case Dielectric:
        return facets.isSpecular() || isMatched();
    default:
        return false;
    }
}

bool Bsdf::isSpecular() const {
    for (const Lobe lobe : {Coat, Sheens, Metal, Dielectric, Upper, Lower})
        if (probabilities[lobe] > 0 && !isSpecular(lobe)) return false;
    return true;
}

float Bsdf::roughShare() const {
    float share = probabilities[Sheens] + probabilities[Upper] + probabilities[Lower];
    if (facets.meanAlpha() > kRoughAlpha) share += probabilities[Metal] + probabilities[Dielectric];
    return std::min(share, 1.0f);
}

// Evaluating --------------------------------------------------------------------------------------

Bsdf::Value Bsdf::evaluate(const V3f& wi) const {
    if (!(wo.z > 0) || wi.z == 0) return {};
    const bool isReflected = (wi ^ geometricNormal) > 0;
    Value sum = evaluateSide(wi, isReflected);
    if (!isTilted) return sum;
    // The light that the shading normal sends through the geometric surface is mirrored by it.
    const Value mirrored = evaluateSide(Mirrored(wi, geometricNormal), isReflected);
    sum.timesCosine += mirrored.timesCosine;
    sum.pdf += mirrored.pdf;
    return sum;
}

/// The lobes that reflect or those that transmit.
Bsdf::Value Bsdf::evaluateSide(const V3f& wi, bool isReflected) const {
    Value sum;
    const auto add = [&](Lobe lobe, const Value& value) {
        sum.timesCosine += value.timesCosine;
        sum.pdf += value.pdf * probabilities[lobe];
    };
    if (!isReflected) {
        if (!(wi.z < 0) || IsBlack(transmitted)) return sum;
        if (!isSpecular(Dielectric)) add(Dielectric, evaluateTransmission(wi));
        if (probabilities[Lower] > 0) add(Lower, evaluateLower(wi));
        return sum;
    }
    if (coat > 0 && !isSpecular(Coat)) add(Coat, evaluateCoat(coatFrame.toLocal(wi)));
    if (!(wi.z > 0)) return sum;
    if (!IsBlack(sheenWeight))
        add(Sheens, {sheenWeight * sheen.timesCosine(wo, wi), 1 / (2 * kPi)});
    if (metal > 0 && !isSpecular(Metal)) add(Metal, evaluateMetal(wi));
    if (dielectric > 0 && !isSpecular(Dielectric)) add(Dielectric, evaluateReflection(wi));
    if (probabilities[Upper] > 0) add(Upper, evaluateUpper(wi));
    return sum;
}

/// `wi` is in the coat's frame.
Bsdf::Value Bsdf::evaluateCoat(const V3f& wi) const {
    if (!(wi.z > 0)) return {};
    const HalfVector half(coatOut, wi);
    const float fresnel = FresnelDielectric(half.cosine, kCoatIor);
    return Reflection(coatFacets, coatOut, wi, half, Color(coat * fresnel));
}

Bsdf::Value Bsdf::evaluateMetal(const V3f& wi) const {
    const HalfVector half(wo, wi);
    const Color fresnel = FresnelMetal(half.cosine, surface.baseColor);
    return Reflection(facets, wo, wi, half, fresnel * metal);
}

Bsdf::Value Bsdf::evaluateReflection(const V3f& wi) const {
    const HalfVector half(wo, wi);
    const Color reflectance = dielectricReflectance(dielectricFresnel(half.cosine));
    Value value = Reflection(facets, wo, wi, half, reflectance * dielectric);
    value.pdf *= reflectionProbability(reflectance);
    return value;
}

/// Walter et al., "Microfacet Models for Refraction through Rough Surfaces", EGSR 2007. A thin
/// sheet transmits as it reflects, to the other side.
Bsdf::Value Bsdf::evaluateTransmission(const V3f& wi) const {
    if (surface.isThin) {
        const V3f above(wi.x, wi.y, -wi.z);
        const HalfVector half(wo, above);
        const Color reflectance = dielectricReflectance(dielectricFresnel(half.cosine));
        Value value = Reflection(facets, wo, above, half,
                                 transmitted * (dielectric * (1 - Largest(reflectance))));
        value.pdf *= 1 - reflectionProbability(reflectance);
        return value;
    }
    V3f facet = Normalized(wo + wi * ior, kUp);
    if (facet.z < 0) facet = -facet;
    const float cosineOut = wo ^ facet;
    const float cosineIn = wi ^ facet;
    if (!(cosineOut > 0) || !(cosineIn < 0)) return {};
    const Color reflectance = dielectricReflectance(dielectricFresnel(cosineOut));
    const float denominator = cosineOut + ior * cosineIn;
    // The Jacobian from normals of facets to refracted directions.
    const float jacobian = -cosineIn * ior * ior / (denominator * denominator);
    const float model =
        facets.density(facet) * facets.maskingShadowing(wo, wi) * cosineOut * jacobian / wo.z;
    return {transmitted * ((1 - Largest(reflectance)) * dielectric * model),
            facets.visiblePdf(wo, facet) * jacobian * (1 - reflectionProbability(reflectance))};
}

Bsdf::Value Bsdf::evaluateUpper(const V3f& wi) const {
    const float cosine = wi.z / kPi;
    Color sum(0, 0, 0);
    if (!IsBlack(diffuse)) sum += diffuse * lossOf(Largest(dielectricAlbedo(wi.z)));
    if (!IsBlack(metalMultiple))
        sum += metalMultiple * lossOf(AlbedoOfPerfectFacets(wi.z, facets.meanAlpha()));
    if (clearMultiple > 0) sum += Color(clearMultiple * lossOf(clearAlbedo(wi.z, false)));
    return {sum * cosine, cosine};
}

Bsdf::Value Bsdf::evaluateLower(const V3f& wi) const {
    const float cosine = -wi.z / kPi;
    return {clearMultipleBelow * (lossOf(clearAlbedo(-wi.z, true)) * cosine), cosine};
}

// Sampling ----------------------------------------------------------------------------------------

Bsdf::Sample Bsdf::sample(float choice, const V2f& u) const {
    int lobe = 0;
    while (lobe < Lobes - 1 && choice >= probabilities[lobe])
        choice -= probabilities[lobe++];
    while (lobe > 0 && !(probabilities[lobe] > 0))
        --lobe; // rounding may leave a rest behind the last lobe
    const float probability = probabilities[lobe];
    if (!(probability > 0)) return {};
    const float rest = std::clamp(choice / probability, 0.0f, 0x1.fffffep-1f);
    Sample sample;
    if (isSpecular(Lobe(lobe))) {
        Direction direction;
        sample = sampleSpecular(Lobe(lobe), rest, direction);
        sample.wi = onItsSide(direction);
        sample.weight /= probability;
    } else {
        const Direction direction = sampleDirection(Lobe(lobe), rest, u);
        if (direction.wi == V3f(0)) return {};
        sample.wi = onItsSide(direction);
        const Value value = evaluate(sample.wi);
        if (!(value.pdf > 0) || !std::isfinite(value.pdf)) return {};
        sample.weight = value.timesCosine / value.pdf;
        sample.pdf = value.pdf;
    }
    return IsFinite(sample.weight) ? sample : Sample{};
}

V3f Bsdf::onItsSide(const Direction& direction) const {
    const bool isAbove = (direction.wi ^ geometricNormal) > 0;
    if (!isTilted || isAbove == direction.isReflected) return direction.wi;
    return Mirrored(direction.wi, geometricNormal);
}

/// Samples a specular lobe. The weight is not yet divided by the probability of the lobe.
Bsdf::Sample Bsdf::sampleSpecular(Lobe lobe, float choice, Direction& direction) const {
    Sample sample;
    direction.wi = Reflected(wo, kUp);
    if (lobe == Coat) {
        direction.wi = coatFrame.toWorld(Reflected(coatOut, kUp));
        sample.weight = Color(coat * FresnelDielectric(coatOut.z, kCoatIor));
    } else if (lobe == Metal) {
        sample.weight = FresnelMetal(wo.z, surface.baseColor) * metal;
    } else {
        const Color reflectance = dielectricReflectance(dielectricFresnel(wo.z));
        const float probability = reflectionProbability(reflectance);
        direction.isReflected = choice < probability;
        if (direction.isReflected) {
            sample.weight = reflectance * (dielectric / probability);
        } else {
            sample.weight =
                transmitted * (dielectric * (1 - Largest(reflectance)) / (1 - probability));
            direction.wi = surface.isThin || isMatched() ? V3f(0) - wo : Refracted(wo, kUp, ior);
        }
    }
    return sample;
}

/// Samples a lobe that is not specular. The null vector if the sample is invalid.
Bsdf::Direction Bsdf::sampleDirection(Lobe lobe, float choice, const V2f& u) const {
    switch (lobe) {
    case Coat: {
        const V3f wi = Reflected(coatOut, coatFacets.sampleVisible(coatOut, u));
        return {wi.z > 0 ? coatFrame.toWorld(wi) : V3f(0), true};
    }
    case Sheens:
        return {SampleHemisphere(u), true};
    case Metal: {
        const V3f wi = Reflected(wo, facets.sampleVisible(wo, u));
        return {wi.z > 0 ? wi : V3f(0), true};
    }
    case Dielectric:
        return sampleDielectric(choice, u);
    case Upper:
        return {SampleCosine(u), true};
    default:
        return {SampleCosine(u) * V3f(1, 1, -1), false};
    }
}

Bsdf::Direction Bsdf::sampleDielectric(float choice, const V2f& u) const {
    const V3f facet = facets.sampleVisible(wo, u);
    const Color reflectance = dielectricReflectance(dielectricFresnel(wo ^ facet));
    const bool isReflected = choice < reflectionProbability(reflectance);
    V3f wi = Reflected(wo, facet);
    if (!isReflected) wi = surface.isThin ? wi * V3f(1, 1, -1) : Refracted(wo, facet, ior);
    return {(wi.z > 0) == isReflected && wi.z != 0 ? wi : V3f(0), isReflected};
}

} // namespace lantern
