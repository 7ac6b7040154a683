#include "drawing/Bsdf.h"

#include <algorithm>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr float kCoatIor = 1.5f;
constexpr float kMinIorDifference = 1e-3f; // a smaller difference does not refract
const V3f kUp(0, 0, 1);

V3f Reflected(const V3f& wo, const V3f& facet) {
    return facet * (2 * (wo ^ facet)) - wo;
}

/// The refracted direction; the null vector for total internal reflection.
V3f Refracted(const V3f& wo, const V3f& facet, float ior) {
    const float cosine = wo ^ facet;
    const float cosine2 = 1 - (1 - cosine * cosine) / (ior * ior);
    if (cosine2 <= 0) return V3f(0);
    return facet * (cosine / ior - std::sqrt(cosine2)) - wo / ior;
}

/// The color of one interface of a clear medium: light passes two of them.
Color PerInterface(const Color& color) {
    return {std::sqrt(color.x), std::sqrt(color.y), std::sqrt(color.z)};
}

} // namespace

Bsdf::Bsdf(const SurfaceProperties& surface, const V3f& wo, bool isInside)
    : surface(surface), wo(wo), ior(isInside ? 1 / surface.ior : surface.ior),
      facets(surface.alpha), coatFacets(surface.coatAlpha) {
    if (!(wo.z > 0)) return;
    coat = isInside ? 0 : surface.coat;
    const float coatAlbedo = coat * AlbedoOfDielectric(wo.z, surface.coatAlpha, kCoatIor);
    metal = (1 - coatAlbedo) * surface.metalness;
    dielectric = (1 - coatAlbedo) * (1 - surface.metalness);
    transmitted = PerInterface(surface.baseColor) * surface.transmission;
    // The diffuse base is not visible from inside.
    const float dielectricAlbedo = isInside ? 1 : AlbedoOfDielectric(wo.z, surface.alpha, ior);
    const float diffuseShare = 1 - dielectricAlbedo * Largest(surface.specular);
    if (!isInside)
        diffuse = surface.baseColor * (dielectric * (1 - surface.transmission) * diffuseShare);

    probabilities[Coat] = coatAlbedo;
    probabilities[Metal] = metal * Luminance(metalFresnel(wo.z));
    probabilities[Dielectric] =
        dielectric * (dielectricAlbedo * Luminance(surface.specular) +
                      (isInside ? 1 : 1 - dielectricAlbedo) * Luminance(transmitted));
    probabilities[Diffuse] = Luminance(diffuse);
    float sum = 0;
    for (const float probability : probabilities)
        sum += probability;
    for (float& probability : probabilities)
        probability = sum > 0 ? probability / sum : 0;
}

float Bsdf::coatFresnel(float cosine) const {
    return FresnelDielectric(cosine, kCoatIor);
}

/// The single-scattering model loses the light that hits several facets. It is given back as in
/// Turquin, "Practical multiple scattering compensation for microfacet models", 2019.
Color Bsdf::metalFresnel(float cosine) const {
    const float singleScattering = std::max(AlbedoOfPerfectFacets(wo.z, surface.alpha), 1e-3f);
    const Color compensation =
        Color(1, 1, 1) + surface.baseColor * ((1 - singleScattering) / singleScattering);
    return FresnelMetal(cosine, surface.baseColor) * compensation;
}

float Bsdf::dielectricFresnel(float cosine) const {
    return std::abs(ior - 1) < kMinIorDifference ? 0 : FresnelDielectric(cosine, ior);
}

/// The probability of sampling the reflection, not the transmission, of the dielectric.
float Bsdf::reflectionProbability(float fresnel) const {
    const float reflected = fresnel * Luminance(surface.specular);
    const float through = (1 - fresnel) * Luminance(transmitted);
    return reflected + through > 0 ? reflected / (reflected + through) : 1;
}

bool Bsdf::isSpecular(Lobe lobe) const {
    switch (lobe) {
    case Coat:
        return coatFacets.isSpecular();
    case Metal:
        return facets.isSpecular();
    case Dielectric:
        return facets.isSpecular() || std::abs(ior - 1) < kMinIorDifference;
    default:
        return false;
    }
}

bool Bsdf::isSpecular() const {
    for (const Lobe lobe : {Coat, Metal, Dielectric, Diffuse})
        if (probabilities[lobe] > 0 && !isSpecular(lobe)) return false;
    return true;
}

// Evaluating --------------------------------------------------------------------------------------

Bsdf::Value Bsdf::evaluate(const V3f& wi) const {
    Value sum;
    const auto add = [&](Lobe lobe, const Value& value) {
        sum.timesCosine += value.timesCosine;
        sum.pdf += value.pdf * probabilities[lobe];
    };
    if (!(wo.z > 0) || wi.z == 0) return sum;
    if (wi.z > 0 && coat > 0 && !isSpecular(Coat)) {
        const float cosine = wo ^ Normalized(wo + wi, kUp);
        add(Coat, evaluateReflection(coatFacets, wi, Color(coat * coatFresnel(cosine))));
    }
    if (wi.z > 0 && metal > 0 && !isSpecular(Metal)) add(Metal, evaluateMetal(wi));
    if (dielectric > 0 && !isSpecular(Dielectric)) add(Dielectric, evaluateDielectric(wi));
    if (wi.z > 0) add(Diffuse, evaluateDiffuse(wi));
    return sum;
}

/// The Torrance-Sparrow model: D G F / (4 cos cos), times the cosine of wi, where `weight` holds F.
Bsdf::Value Bsdf::evaluateReflection(const GgxFacets& ggx, const V3f& wi,
                                     const Color& weight) const {
    const V3f facet = Normalized(wo + wi, kUp);
    const float cosine = wo ^ facet;
    if (!(cosine > 0)) return {};
    const float model = ggx.density(facet) * ggx.maskingShadowing(wo, wi) / (4 * wo.z);
    return {weight * model, ggx.visiblePdf(wo, facet) / (4 * cosine)};
}

Bsdf::Value Bsdf::evaluateMetal(const V3f& wi) const {
    const float cosine = wo ^ Normalized(wo + wi, kUp);
    return evaluateReflection(facets, wi, metalFresnel(cosine) * metal);
}

Bsdf::Value Bsdf::evaluateDielectric(const V3f& wi) const {
    if (wi.z < 0) return evaluateTransmission(wi);
    const float fresnel = dielectricFresnel(wo ^ Normalized(wo + wi, kUp));
    Value value = evaluateReflection(facets, wi, surface.specular * (fresnel * dielectric));
    value.pdf *= reflectionProbability(fresnel);
    return value;
}

/// Walter et al., "Microfacet Models for Refraction through Rough Surfaces", EGSR 2007.
Bsdf::Value Bsdf::evaluateTransmission(const V3f& wi) const {
    if (IsBlack(transmitted)) return {};
    V3f facet = Normalized(wo + wi * ior, kUp);
    if (facet.z < 0) facet = -facet;
    const float cosineOut = wo ^ facet;
    const float cosineIn = wi ^ facet;
    if (!(cosineOut > 0) || !(cosineIn < 0)) return {};
    const float fresnel = dielectricFresnel(cosineOut);
    const float denominator = cosineOut + ior * cosineIn;
    // The Jacobian from normals of facets to refracted directions.
    const float jacobian = -cosineIn * ior * ior / (denominator * denominator);
    const float model =
        facets.density(facet) * facets.maskingShadowing(wo, wi) * cosineOut * jacobian / wo.z;
    return {transmitted * ((1 - fresnel) * dielectric * model),
            facets.visiblePdf(wo, facet) * jacobian * (1 - reflectionProbability(fresnel))};
}

Bsdf::Value Bsdf::evaluateDiffuse(const V3f& wi) const {
    return {diffuse * (wi.z / kPi), wi.z / kPi};
}

// Sampling ----------------------------------------------------------------------------------------

Bsdf::Sample Bsdf::sample(float choice, const V2f& u) const {
    int lobe = 0;
    while (lobe < Diffuse && choice >= probabilities[lobe])
        choice -= probabilities[lobe++];
    const float probability = probabilities[lobe];
    if (!(probability > 0)) return {};
    const float rest = std::min(choice / probability, 0x1.fffffep-1f);
    Sample sample;
    if (isSpecular(Lobe(lobe))) {
        sample = sampleSpecular(Lobe(lobe), rest);
        sample.weight /= probability;
    } else {
        sample.wi = sampleDirection(Lobe(lobe), rest, u);
        const Value value = evaluate(sample.wi);
        if (!(value.pdf > 0) || !std::isfinite(value.pdf)) return {};
        sample.weight = value.timesCosine / value.pdf;
        sample.pdf = value.pdf;
    }
    return IsFinite(sample.weight) ? sample : Sample{};
}

/// Samples a specular lobe. The weight is not yet divided by the probability of the lobe.
Bsdf::Sample Bsdf::sampleSpecular(Lobe lobe, float choice) const {
    Sample sample;
    sample.wi = Reflected(wo, kUp);
    if (lobe == Coat) {
        sample.weight = Color(coat * coatFresnel(wo.z));
    } else if (lobe == Metal) {
        sample.weight = metalFresnel(wo.z) * metal;
    } else {
        const float fresnel = dielectricFresnel(wo.z);
        const float probability = reflectionProbability(fresnel);
        const bool isReflected = choice < probability;
        sample.weight = isReflected
                            ? surface.specular * (dielectric * fresnel / probability)
                            : transmitted * (dielectric * (1 - fresnel) / (1 - probability));
        const float refractiveIor = std::abs(ior - 1) < kMinIorDifference ? 1 : ior;
        if (!isReflected) sample.wi = Refracted(wo, kUp, refractiveIor);
    }
    return sample;
}

/// Samples a lobe that is not specular: the diffuse one in proportion to the cosine (Malley's
/// method), the others by GGX visible normals. The null vector if the sample is invalid.
V3f Bsdf::sampleDirection(Lobe lobe, float choice, const V2f& u) const {
    if (lobe == Diffuse) {
        const float r = std::sqrt(u.x);
        const float phi = 2 * kPi * u.y;
        return {r * std::cos(phi), r * std::sin(phi), std::sqrt(std::max(0.0f, 1 - u.x))};
    }
    const V3f facet = (lobe == Coat ? coatFacets : facets).sampleVisible(wo, u);
    const bool isReflected =
        lobe != Dielectric || choice < reflectionProbability(dielectricFresnel(wo ^ facet));
    const V3f wi = isReflected ? Reflected(wo, facet) : Refracted(wo, facet, ior);
    return (wi.z > 0) == isReflected ? wi : V3f(0);
}

} // namespace lantern
