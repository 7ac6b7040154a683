#ifndef LANTERN_DRAWING_ALBEDOS_H
#define LANTERN_DRAWING_ALBEDOS_H

#include <array>

#include "SceneData.h"

/// Directional albedos: the share of the light from one direction that a lobe scatters under
/// uniform illumination. They are interpolated from tables that the first call fills. A mean albedo
/// is weighted by the cosine. Safe from several threads at once.
namespace lantern {

/// GGX facets that reflect all light. The albedo is less than 1 by the light that hits several
/// facets.
float AlbedoOfPerfectFacets(float cosine, float alpha);
float MeanAlbedoOfPerfectFacets(float alpha);

/// The reflection of GGX facets of a dielectric. `ior`, the index of the far side relative to the
/// side of the light, is 1 or more.
float AlbedoOfDielectric(float cosine, float alpha, float ior);
float MeanAlbedoOfDielectric(float alpha, float ior);

/// The reflection and the refraction together. `ior` is less than 1 for light from inside.
float TotalAlbedoOfDielectric(float cosine, float alpha, float ior);
float MeanTotalAlbedoOfDielectric(float alpha, float ior);

/// Fresnel reflectance of a smooth interface, for light from all directions.
float MeanFresnelDielectric(float ior);

/// AlbedoOfPerfectFacets() and AlbedoOfDielectric() for one surface and many cosines.
class FacetAlbedos {
public:
    struct Value {
        float perfect = 0;
        float dielectric = 0;
    };

    FacetAlbedos(float alpha, float ior);

    Value at(float cosine) const;
    Value mean() const;

private:
    // Index 0 stands for perfect facets, 1 and 2 for the two dielectrics to interpolate.
    std::array<std::array<const float*, 2>, 3> rows{}; // the entries of two alphas, by cosine
    std::array<float, 3> means{};
    float alphaShare = 0; // weight of the second alpha
    float iorShare = 0;   // weight of the second dielectric
    float ior;
    bool isSpecular = false;
};

float AlbedoOfSheen(float cosine, float alpha);

} // namespace lantern

#endif
