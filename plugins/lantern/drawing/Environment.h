#ifndef LANTERN_DRAWING_ENVIRONMENT_H
#define LANTERN_DRAWING_ENVIRONMENT_H

#include "SceneData.h"
#include "drawing/Distribution.h"
#include "drawing/Textures.h"

namespace lantern {

/// Light from all around. Directions are those of the world, towards where the light comes from.
///
/// Without a texture the colour goes from the one at the horizon to that above or below in
/// proportion to the height of the direction, the sine of its elevation.
class Environment {
public:
    /// Both are kept.
    Environment(const Light& light, const Textures& textures);

    Color radiance(const V3f& direction) const;
    /// Brighter directions more often.
    V3f sample(const V2f& u) const;
    /// Of sample(), per solid angle.
    float pdf(const V3f& direction) const;

    /// Of all that comes in: the mean radiance over all directions.
    float meanLuminance() const { return mean; }

private:
    Color gradient(float height) const;
    Color towards(const V3f& local) const;
    void tabulate();

    const Light& light;
    const Textures& textures;
    M44f toLocal;
    M44f toWorld;
    Distribution2D table; // longitude by latitude, as in a texture
    float mean = 0;
};

} // namespace lantern

#endif
