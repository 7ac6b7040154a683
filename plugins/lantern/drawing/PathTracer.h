#ifndef LANTERN_DRAWING_PATHTRACER_H
#define LANTERN_DRAWING_PATHTRACER_H

#include "SceneData.h"
#include "drawing/CameraRays.h"
#include "drawing/EmbreeScene.h"
#include "drawing/Lights.h"
#include "drawing/Materials.h"
#include "drawing/Sampler.h"
#include "drawing/Textures.h"

namespace lantern {

/// Follows paths from the camera to the lights. Any number of threads.
class PathTracer {
public:
    /// The scene and the report are kept. Throws RenderError and Cancelled.
    PathTracer(const SceneData& scene, int threads, Report& report);

    struct Pixel {
        Color color{0, 0, 0};
        float alpha = 0;
    };
    /// The mean of all paths; x from the left of the whole picture, y from its top.
    Pixel pixel(int x, int y, int samples) const;

private:
    struct Vertex;

    Pixel path(const Ray& first, const Sampler& sampler) const;
    /// False when there is no way on.
    bool arrive(const Ray& ray, const RayHit& hit, Vertex& vertex) const;
    Color emitted(const Ray& ray, const RayHit& hit, const Vertex& vertex, float pdf) const;
    Color lit(const Vertex& vertex, float time, int depth, const Sampler& sampler) const;
    Color litBy(const LightSample& light, const Vertex& vertex, float time) const;

    const SceneData& scene;
    const Report& report;
    CameraRays camera;
    Textures textures;
    Materials materials;
    EmbreeScene geometry;
    Lights lights;
};

} // namespace lantern

#endif
