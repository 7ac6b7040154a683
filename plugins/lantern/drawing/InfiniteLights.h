#ifndef LANTERN_DRAWING_INFINITELIGHTS_H
#define LANTERN_DRAWING_INFINITELIGHTS_H

#include <optional>
#include <vector>

#include "SceneData.h"
#include "drawing/Distribution.h"
#include "drawing/EnvironmentMap.h"
#include "drawing/LightSampling.h"
#include "drawing/Textures.h"

namespace lantern {

/// Environments and directional lights: the lights outside of the scene. A ray meets them when it
/// meets nothing else. Safe from several threads at once.
class InfiniteLights {
public:
    /// Takes the infinite ones of the scene's lights. Refers to the textures.
    InfiniteLights(const std::vector<Light>& lights, const Textures& textures);

    /// Whether there are lights for sampleEnvironments(), and for sampleSuns().
    bool hasSampledEnvironments() const { return !environmentChoices.isEmpty(); }
    bool hasSuns() const { return !sunChoices.isEmpty(); }
    /// Chooses a textured environment in proportion to the irradiance that it gives in the open,
    /// then a direction towards it. `choice` and `u` are uniform in [0, 1).
    LightSample sampleEnvironments(float choice, const V2f& u) const;
    /// Chooses a directional light, then a direction towards it.
    LightSample sampleSuns(float choice, const V2f& u) const;

    /// The radiance along a ray that leaves the scene after a bounce, weighted against
    /// sampleEnvironments() and sampleSuns().
    /// `bsdfPdf` is the density of the direction, or 0 after a specular bounce.
    Color radiance(const V3f& direction, float bsdfPdf) const;

    /// The radiance along a camera ray that leaves the scene: only of environments that the camera
    /// sees, and nothing if there is no such environment.
    std::optional<Color> seenByCamera(const V3f& direction) const;

private:
    /// A directional light: a disc in the sky, or a delta light.
    struct Sun {
        V3f direction;                  // direction towards the light
        float oneMinusCosHalfAngle = 0; // size of its disc in the sky; 0 for a delta light
        Color irradiance;               // irradiance of a surface that faces the light
        Color radiance{0, 0, 0};        // radiance of the disc

        bool isDelta() const { return !(oneMinusCosHalfAngle > 0); }
        float luminousIrradiance() const;
    };

    static Sun makeSun(const DirectionalLight& light);

    std::vector<EnvironmentMap> environments;
    std::vector<Sun> suns;
    Distribution environmentChoices;
    Distribution sunChoices;
};

} // namespace lantern

#endif
