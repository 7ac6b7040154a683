#ifndef LANTERN_DRAWING_LOCALLIGHTS_H
#define LANTERN_DRAWING_LOCALLIGHTS_H

#include <memory>
#include <vector>

#include "SceneData.h"
#include "drawing/CameraRays.h"
#include "drawing/Distribution.h"
#include "drawing/EmissiveSpheres.h"
#include "drawing/EmissiveTriangles.h"
#include "drawing/LightSampling.h"
#include "drawing/LightShapes.h"
#include "drawing/Materials.h"

namespace lantern {

/// The lights at finite distances: point, spot and area lights and emissive surfaces. Safe from
/// several threads at once.
///
/// Spheres and panels of lights are not part of the scene's geometry. A ray that passes through one
/// collects its radiance and goes on.
class LocalLights {
public:
    /// Takes the local ones of the scene's lights. Refers to the scene and the materials.
    LocalLights(const SceneData& scene, const Materials& materials);

    bool isEmpty() const { return choices.isEmpty(); }
    /// Chooses a light in proportion to its power, then a point on it. `choice` and `u` are uniform
    /// in [0, 1).
    LightSample sample(const V3f& from, float time, float choice, const V2f& u) const;

    /// The radiance of the light shapes that a ray passes through after a bounce, weighted against
    /// sample(). `bsdfPdf` is the density of the ray's direction, or 0 after a specular bounce.
    Color radianceAlong(const Ray& ray, float bsdfPdf) const;

    /// The weight, against sample(), of the light that the surface at the hit emits.
    float weightOfEmission(const Ray& ray, const RayHit& hit, const HitGeometry& geometry,
                           float bsdfPdf) const;

private:
    /// A point or spot light, with or without a sphere.
    struct Lamp {
        V3f position;
        V3f axis;            // the direction in which a spot light shines
        float radius = 0;    // radius of the sphere; 0 for a delta light
        float cosInner = -1; // cosines of the half angles of a spot light's cones
        float cosOuter = -1;
        PointLight light;

        bool isDelta() const { return radius <= 0; }
    };

    void addLamp(const PointLight& light);
    void addPanel(const AreaLight& light);
    std::vector<float> powers() const;

    static Color intensityTowards(const Lamp& lamp, const V3f& point);
    static Color sphereRadianceTowards(const Lamp& lamp, const V3f& point);
    static LightSample sampleLamp(const Lamp& lamp, const V3f& from, const V2f& u);
    static LightSample samplePanel(const LightPanel& panel, const V3f& from, const V2f& u);
    LightSample sampleTriangle(Index triangle, const V3f& from, float time, const V2f& u) const;

    Color radianceOfPanel(std::size_t which, const Ray& ray, float distance, float bsdfPdf) const;
    Color radianceOfSphere(std::size_t which, const Ray& ray, float bsdfPdf) const;

    std::vector<Lamp> lamps;
    std::vector<LightSphere> spheres; // the spheres of lamps that have one
    std::vector<LightPanel> panels;
    EmissiveTriangles triangles;
    EmissiveSpheres emissiveSpheres;
    Distribution choices; // the lamps, then the panels, the triangles and the emissive spheres
    std::unique_ptr<LightShapes> shapes;
};

} // namespace lantern

#endif
