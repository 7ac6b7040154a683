#include "drawing/Bsdf.h"

#include <algorithm>
#include <cmath>

// The lobes that a material has for one outgoing direction: their weights, and the probabilities of
// sampling them.

namespace lantern {
namespace {

constexpr float kMinLoss = 1e-6f;     // a smaller loss of single scattering is ignored
constexpr float kMinEntering = 0.02f; // with less light than this there is no diffuse base

/// The color of one interface of a clear medium; light passes two interfaces on its way through.
Color PerInterface(const Color& color) {
    return {std::sqrt(color.x), std::sqrt(color.y), std::sqrt(color.z)};
}

/// The color of light that several facets of a metal have reflected. `facing` is the reflectance at
/// normal incidence and `meanAlbedo` the mean albedo of single scattering.
Color MultipleReflections(const Color& facing, float meanAlbedo) {
    Color result;
    for (int i = 0; i < 3; ++i) {
        const float fresnel = (1 + 20 * facing[i]) / 21; // the mean of Schlick's reflectance
        result[i] = fresnel * fresnel * meanAlbedo / (1 - fresnel * (1 - meanAlbedo));
    }
    return result;
}

} // namespace

Bsdf::Bsdf(const SurfaceProperties& surface, const ShadingDirections& directions, bool isInside)
    : surface(surface), wo(directions.wo), geometricNormal(directions.geometricNormal),
      isInside(isInside), isTilted(directions.geometricNormal.z < 1),
      ior(isInside ? 1 / surface.ior : surface.ior), facing(FresnelDielectric(1, surface.ior)),
      facets(Mix(surface.alpha, 1, surface.anisotropy * surface.anisotropy), surface.alpha),
      coatFacets(surface.coatAlpha), sheen(surface.sheenAlpha) {
    if (!(wo.z > 0)) return;
    float rest = 1;
    if (!isInside && surface.coat > 0) rest -= setCoat(directions.coatNormal);
    if (!isInside && !IsBlack(surface.sheenColor)) {
        sheenWeight = surface.sheenColor * rest;
        rest *= 1 - Largest(surface.sheenColor) * AlbedoOfSheen(wo.z, surface.sheenAlpha);
    }
    metal = rest * surface.metalness;
    dielectric = rest * (1 - surface.metalness);
    if (dielectric > 0 && !isMatched()) {
        if (!isInside) albedos.emplace(facets.meanAlpha(), ior);
        albedoOut = dielectricAlbedo(wo.z);
    }
    setUpper();
    setClear();
    setProbabilities();
}

/// Returns the share of light that the coat reflects.
float Bsdf::setCoat(const V3f& normal) {
    coatFrame = FrameAround(normal);
    coatOut = coatFrame.toLocal(wo);
    if (!(coatOut.z > 0)) return 0;
    coat = surface.coat;
    coatAlbedo = AlbedoOfDielectric(coatOut.z, surface.coatAlpha, kCoatIor);
    return coat * coatAlbedo;
}

/// Sets the weights of the diffuse base, which is invisible from inside, and of multiple
/// reflections.
void Bsdf::setUpper() {
    if (!isInside && dielectric > 0) {
        const float mean = Largest(meanDielectricAlbedo());
        const float entering = lossOf(Largest(albedoOut));
        if (1 - mean > kMinEntering)
            diffuse = surface.baseColor *
                      (dielectric * (1 - surface.transmission) * entering / (1 - mean));
    }
    if (metal > 0 && !facets.isSpecular()) {
        const float alpha = facets.meanAlpha();
        const float mean = MeanAlbedoOfPerfectFacets(alpha);
        if (lossOf(mean) > kMinLoss)
            metalMultiple = MultipleReflections(surface.baseColor, mean) *
                            (metal * lossOf(AlbedoOfPerfectFacets(wo.z, alpha)) / lossOf(mean));
    }
}

/// Sets the weights of the clear inside. Multiple scattering leaves on both sides, in the shares of
/// the mean Fresnel reflectance, limited so that the lobe is reciprocal.
void Bsdf::setClear() {
    if (!(surface.transmission > 0) || !(dielectric > 0)) return;
    const Color color = surface.isThin ? surface.baseColor : PerInterface(surface.baseColor);
    transmitted = color * surface.transmission;
    if (isSpecular(Dielectric)) return;
    const float alpha = facets.meanAlpha();
    const bool isThin = surface.isThin;
    const float loss =
        lossOf(isThin ? MeanAlbedoOfPerfectFacets(alpha) : MeanTotalAlbedoOfDielectric(alpha, ior));
    const float lossBelow = isThin ? loss : lossOf(MeanTotalAlbedoOfDielectric(alpha, 1 / ior));
    if (loss < kMinLoss || lossBelow < kMinLoss) return;
    const float below = (1 - MeanFresnelDielectric(ior)) * std::min(loss, lossBelow) / loss;
    const float lost = dielectric * lossOf(clearAlbedo(wo.z, false));
    clearMultiple = surface.transmission * lost * (1 - below) / loss;
    clearMultipleBelow = transmitted * (lost * below / lossBelow);
    probabilities[Upper] = surface.transmission * lost * (1 - below);
    probabilities[Lower] = Luminance(transmitted) * lost * below;
}

/// Makes the probabilities about the albedos of the lobes. setClear() has set those of multiple
/// scattering.
void Bsdf::setProbabilities() {
    const float reflected = Luminance(albedoOut);
    const float inside = 1 - reflected;
    const float lossOfMetal = metal > 0 ? lossOf(MeanAlbedoOfPerfectFacets(facets.meanAlpha())) : 0;
    probabilities[Coat] = coat * coatAlbedo;
    if (!IsBlack(sheenWeight))
        probabilities[Sheens] = Luminance(sheenWeight) * AlbedoOfSheen(wo.z, surface.sheenAlpha);
    if (metal > 0) probabilities[Metal] = metal * Luminance(FresnelMetal(wo.z, surface.baseColor));
    probabilities[Dielectric] =
        dielectric * (reflected + std::max(0.0f, inside) * Luminance(transmitted));
    probabilities[Upper] += Luminance(diffuse) + Luminance(metalMultiple) * lossOfMetal;
    float sum = 0;
    for (const float probability : probabilities)
        sum += probability;
    for (float& probability : probabilities)
        probability = sum > 0 ? probability / sum : 0;
}

} // namespace lantern
