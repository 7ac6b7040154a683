#ifndef LANTERN_DRAWING_ENVIRONMENTMAP_H
#define LANTERN_DRAWING_ENVIRONMENTMAP_H

#include "SceneData.h"
#include "drawing/Distribution.h"
#include "drawing/Textures.h"

namespace lantern {

/// The radiance of an environment light, with importance sampling of its directions. Directions are
/// those of the world, towards the light. Safe from several threads at once.
///
/// Without a texture the color changes linearly from the horizon to the zenith and the ground with
/// the height of the direction, the sine of its elevation. Such a smooth light is not sampled:
/// directions of the BSDF meet it with less noise and fewer rays.
class EnvironmentMap {
public:
    /// Refers to the textures.
    EnvironmentMap(const EnvironmentLight& light, const Textures& textures);

    Color radiance(const V3f& direction) const;
    /// A direction in proportion to the luminance.
    V3f sample(const V2f& u) const;
    /// The density of sample(), per solid angle.
    float pdf(const V3f& direction) const;

    bool isSeenByCamera() const { return light.isSeenByCamera; }
    /// The mean over all directions; 0 if the environment is not sampled.
    float meanLuminance() const { return mean; }

private:
    Color gradient(float height) const;
    Color localRadiance(const V3f& local) const;
    void tabulate();

    EnvironmentLight light;
    const Textures& textures;
    M44f toLocal;
    M44f toWorld;
    Distribution2D distribution; // over longitude and latitude, as in a texture
    float mean = 0;
};

} // namespace lantern

#endif
