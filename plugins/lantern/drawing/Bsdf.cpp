#include "drawing/Bsdf.h"

#include <algorithm>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr float kCoatIor = 1.5f;
constexpr float kSameIor = 1e-3f; // borders with less difference do not bend light
const V3f kUp(0, 0, 1);

V3f Reflected(const V3f& out, const V3f& facet) {
    return facet * (2 * (out ^ facet)) - out;
}

/// The null vector when all is reflected.
V3f Refracted(const V3f& out, const V3f& facet, float ior) {
    const float cosine = out ^ facet;
    const float cosine2 = 1 - (1 - cosine * cosine) / (ior * ior);
    if (cosine2 <= 0) return V3f(0);
    return facet * (cosine / ior - std::sqrt(cosine2)) - out / ior;
}

/// What is clear colours light as it enters and as it leaves.
Color HalfWay(const Color& color) {
    return {std::sqrt(color.x), std::sqrt(color.y), std::sqrt(color.z)};
}

} // namespace

Bsdf::Bsdf(const Surfacing& surfacing, const V3f& out, bool isInside)
    : surfacing(surfacing), out(out), ior(isInside ? 1 / surfacing.ior : surfacing.ior),
      facets(surfacing.width), coatFacets(surfacing.coatWidth) {
    if (!(out.z > 0)) return;
    coat = isInside ? 0 : surfacing.coat;
    const float byCoat = coat * AlbedoOfDielectric(out.z, surfacing.coatWidth, kCoatIor);
    metal = (1 - byCoat) * surfacing.metalness;
    border = (1 - byCoat) * (1 - surfacing.metalness);
    passage = HalfWay(surfacing.baseColor) * surfacing.transmission;
    // There is no ground to be seen from inside.
    const float byBorder = isInside ? 1 : AlbedoOfDielectric(out.z, surfacing.width, ior);
    const float groundShare = 1 - byBorder * Largest(surfacing.reflection);
    if (!isInside)
        ground = surfacing.baseColor * (border * (1 - surfacing.transmission) * groundShare);

    probabilities[Coat] = byCoat;
    probabilities[Metal] = metal * Luminance(metalFresnel(out.z));
    probabilities[Border] = border * (byBorder * Luminance(surfacing.reflection) +
                                      (isInside ? 1 : 1 - byBorder) * Luminance(passage));
    probabilities[Ground] = Luminance(ground);
    float sum = 0;
    for (const float probability : probabilities)
        sum += probability;
    for (float& probability : probabilities)
        probability = sum > 0 ? probability / sum : 0;
}

float Bsdf::coatFresnel(float cosine) const {
    return FresnelDielectric(cosine, kCoatIor);
}

/// With what light loses in the model between the facets given back: Turquin, "Practical multiple
/// scattering compensation for microfacet models", 2019.
Color Bsdf::metalFresnel(float cosine) const {
    const float once = std::max(AlbedoOfMirrors(out.z, surfacing.width), 1e-3f);
    const Color again = Color(1, 1, 1) + surfacing.baseColor * ((1 - once) / once);
    return FresnelMetal(cosine, surfacing.baseColor) * again;
}

float Bsdf::borderFresnel(float cosine) const {
    return std::abs(ior - 1) < kSameIor ? 0 : FresnelDielectric(cosine, ior);
}

float Bsdf::reflectionProbability(float fresnel) const {
    const float back = fresnel * Luminance(surfacing.reflection);
    const float through = (1 - fresnel) * Luminance(passage);
    return back + through > 0 ? back / (back + through) : 1;
}

bool Bsdf::isMirror(Lobe lobe) const {
    switch (lobe) {
    case Coat:
        return coatFacets.isMirror();
    case Metal:
        return facets.isMirror();
    case Border:
        return facets.isMirror() || std::abs(ior - 1) < kSameIor;
    default:
        return false;
    }
}

bool Bsdf::isMirror() const {
    for (const Lobe lobe : {Coat, Metal, Border, Ground})
        if (probabilities[lobe] > 0 && !isMirror(lobe)) return false;
    return true;
}

// Evaluating --------------------------------------------------------------------------------------

Bsdf::Value Bsdf::evaluate(const V3f& in) const {
    Value sum;
    const auto add = [&](Lobe lobe, const Value& value) {
        sum.share += value.share;
        sum.pdf += value.pdf * probabilities[lobe];
    };
    if (!(out.z > 0) || in.z == 0) return sum;
    if (in.z > 0 && coat > 0 && !isMirror(Coat)) {
        const float cosine = out ^ Normalized(out + in, kUp);
        add(Coat, evaluateReflection(coatFacets, in, Color(coat * coatFresnel(cosine))));
    }
    if (in.z > 0 && metal > 0 && !isMirror(Metal)) add(Metal, evaluateMetal(in));
    if (border > 0 && !isMirror(Border)) add(Border, evaluateBorder(in));
    if (in.z > 0) add(Ground, evaluateGround(in));
    return sum;
}

Bsdf::Value Bsdf::evaluateReflection(const Facets& mirrors, const V3f& in,
                                     const Color& weight) const {
    const V3f facet = Normalized(out + in, kUp);
    const float cosine = out ^ facet;
    if (!(cosine > 0)) return {};
    const float shared = mirrors.density(facet) * mirrors.seen(out, in) / (4 * out.z);
    return {weight * shared, mirrors.pdf(out, facet) / (4 * cosine)};
}

Bsdf::Value Bsdf::evaluateMetal(const V3f& in) const {
    const float cosine = out ^ Normalized(out + in, kUp);
    return evaluateReflection(facets, in, metalFresnel(cosine) * metal);
}

Bsdf::Value Bsdf::evaluateBorder(const V3f& in) const {
    if (in.z < 0) return evaluatePassage(in);
    const float fresnel = borderFresnel(out ^ Normalized(out + in, kUp));
    Value value = evaluateReflection(facets, in, surfacing.reflection * (fresnel * border));
    value.pdf *= reflectionProbability(fresnel);
    return value;
}

/// Walter et al., "Microfacet Models for Refraction through Rough Surfaces", 2007.
Bsdf::Value Bsdf::evaluatePassage(const V3f& in) const {
    if (IsBlack(passage)) return {};
    V3f facet = Normalized(out + in * ior, kUp);
    if (facet.z < 0) facet = -facet;
    const float cosineOut = out ^ facet;
    const float cosineIn = in ^ facet;
    if (!(cosineOut > 0) || !(cosineIn < 0)) return {};
    const float fresnel = borderFresnel(cosineOut);
    const float bend = cosineOut + ior * cosineIn;
    const float perDirection = -cosineIn * ior * ior / (bend * bend);
    const float shared =
        facets.density(facet) * facets.seen(out, in) * cosineOut * perDirection / out.z;
    return {passage * ((1 - fresnel) * border * shared),
            facets.pdf(out, facet) * perDirection * (1 - reflectionProbability(fresnel))};
}

Bsdf::Value Bsdf::evaluateGround(const V3f& in) const {
    return {ground * (in.z / kPi), in.z / kPi};
}

// Sampling ----------------------------------------------------------------------------------------

Bsdf::Sample Bsdf::sample(float choice, const V2f& u) const {
    int lobe = 0;
    while (lobe < Ground && choice >= probabilities[lobe])
        choice -= probabilities[lobe++];
    const float probability = probabilities[lobe];
    if (!(probability > 0)) return {};
    const float rest = std::min(choice / probability, 0x1.fffffep-1f);
    Sample sample;
    if (isMirror(Lobe(lobe))) {
        sample = sampleMirror(Lobe(lobe), rest);
        sample.weight /= probability;
    } else {
        sample.in = sampleDirection(Lobe(lobe), rest, u);
        const Value value = evaluate(sample.in);
        if (!(value.pdf > 0) || !std::isfinite(value.pdf)) return {};
        sample.weight = value.share / value.pdf;
        sample.pdf = value.pdf;
    }
    return IsFinite(sample.weight) ? sample : Sample{};
}

/// The weight is not yet divided by how likely the lobe is.
Bsdf::Sample Bsdf::sampleMirror(Lobe lobe, float choice) const {
    Sample sample;
    sample.in = Reflected(out, kUp);
    if (lobe == Coat) {
        sample.weight = Color(coat * coatFresnel(out.z));
    } else if (lobe == Metal) {
        sample.weight = metalFresnel(out.z) * metal;
    } else {
        const float fresnel = borderFresnel(out.z);
        const float back = reflectionProbability(fresnel);
        const bool isBack = choice < back;
        sample.weight = isBack ? surfacing.reflection * (border * fresnel / back)
                               : passage * (border * (1 - fresnel) / (1 - back));
        const float bending = std::abs(ior - 1) < kSameIor ? 1 : ior;
        if (!isBack) sample.in = Refracted(out, kUp, bending);
    }
    return sample;
}

/// The null vector when there is none.
V3f Bsdf::sampleDirection(Lobe lobe, float choice, const V2f& u) const {
    if (lobe == Ground) {
        const float r = std::sqrt(u.x);
        const float phi = 2 * kPi * u.y;
        return {r * std::cos(phi), r * std::sin(phi), std::sqrt(std::max(0.0f, 1 - u.x))};
    }
    const V3f facet = (lobe == Coat ? coatFacets : facets).sample(out, u);
    const bool isBack =
        lobe != Border || choice < reflectionProbability(borderFresnel(out ^ facet));
    const V3f in = isBack ? Reflected(out, facet) : Refracted(out, facet, ior);
    return (in.z > 0) == isBack ? in : V3f(0);
}

} // namespace lantern
