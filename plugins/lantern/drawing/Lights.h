#ifndef LANTERN_DRAWING_LIGHTS_H
#define LANTERN_DRAWING_LIGHTS_H

#include <memory>
#include <vector>

#include "SceneData.h"
#include "drawing/CameraRays.h"
#include "drawing/Distribution.h"
#include "drawing/Emitters.h"
#include "drawing/Environment.h"
#include "drawing/LightShapes.h"
#include "drawing/Materials.h"
#include "drawing/Textures.h"

namespace lantern {

/// Where light comes from, as seen from a point.
struct LightSample {
    V3f direction{0, 0, 0}; ///< to the light; of length 1
    float distance = 0;
    Color radiance{0, 0, 0}; ///< of a light without extent: irradiance on what faces it
    float pdf = 0;           ///< per solid angle; of a light without extent: of choosing it
    bool hasExtent = false;  ///< rays in chosen directions meet it too
};

/// All that shines. Lights are in two groups, since there is no common measure for those that are
/// far away from everything and those that stand among the things. Any number of threads.
class Lights {
public:
    /// All three are kept.
    Lights(const SceneData& scene, const Materials& materials, const Textures& textures);

    // One light of each group, in proportion to how much light it gives; black when there is none.
    LightSample sampleDistant(float choice, const V2f& u) const;
    LightSample sampleNear(const V3f& from, float time, float choice, const V2f& u) const;

    // What a ray brings that went into a direction by chance, of the density `pdf`, or of none
    // when there was no other: weighted against the samples above.
    Color beyondAll(const V3f& direction, float pdf) const;
    Color crossed(const Ray& ray, float pdf) const;
    /// For the emission of the surface that was hit: how much it counts.
    float weightOfEmission(const Ray& ray, const RayHit& hit, const HitGeometry& geometry,
                           float pdf) const;

    /// What the camera sees where there is nothing; `isThere` tells whether it sees anything.
    Color seenByCamera(const V3f& direction, bool& isThere) const;

private:
    /// A disc of the sky.
    struct Sun {
        V3f direction;         // to it
        Color color;           // its radiance or, without extent, its irradiance
        float lessThanOne = 0; // 1 minus the cosine of its half angle
    };
    /// A point or a spot, of which the center of the ball is there.
    struct Lamp {
        V3f axis;
        V3f center;
        float radius = 0;
        float cosineInner = -1;
        float cosineOuter = -1;
        const Light* light = nullptr;
    };

    void add(const Light& light);
    std::vector<float> distantWeights() const;
    std::vector<float> nearWeights() const;
    void addSun(const Light& light);
    void addLamp(const Light& light);
    void addPanel(const Light& light);

    Color lampIntensity(const Lamp& lamp, const V3f& from) const;
    Color lampRadiance(const Lamp& lamp, const V3f& from) const;
    LightSample sampleLamp(const Lamp& lamp, const V3f& from, const V2f& u) const;
    LightSample samplePanel(const LightPanel& panel, const V3f& from, const V2f& u) const;
    LightSample sampleEmitter(Index emitter, const V3f& from, float time, const V2f& u) const;

    const SceneData& scene;
    std::vector<const Light*> environmentLights;
    std::vector<Environment> environments;
    std::vector<Sun> suns;
    Distribution distant; // environments, then suns
    std::vector<Lamp> lamps;
    std::vector<LightBall> balls; // of those lamps that have any
    std::vector<LightPanel> panels;
    Emitters emitters;
    Distribution near; // lamps, panels, then emitters
    std::unique_ptr<LightShapes> shapes;
};

} // namespace lantern

#endif
