#ifndef LANTERN_DRAWING_PATHTRACER_H
#define LANTERN_DRAWING_PATHTRACER_H

#include <optional>

#include "SceneData.h"
#include "drawing/CameraRays.h"
#include "drawing/EmbreeScene.h"
#include "drawing/FirstHit.h"
#include "drawing/Guide.h"
#include "drawing/InfiniteLights.h"
#include "drawing/LocalLights.h"
#include "drawing/Materials.h"
#include "drawing/Sampler.h"
#include "drawing/Textures.h"

namespace lantern {

/// A unidirectional path tracer. At each vertex of a path it samples lights (an environment, a sun
/// and a local light) and one direction, and combines them by multiple importance sampling. The
/// direction is sampled from the BSDF or from a guide, which the constructor trains with a few
/// paths. Safe from several threads at once.
class PathTracer {
public:
    /// Refers to the scene and the report. Throws RenderError and Cancelled.
    /// `samples` is the number of paths per pixel: with more paths, each filters textures over a
    /// smaller part of the pixel.
    /// `earlier` is null or the geometry of a scene whose shapes are in this one.
    PathTracer(const SceneData& scene, int threads, Report& report, int samples = 64,
               const EarlierGeometry* earlier = nullptr);

    struct Traced {
        Color color{0, 0, 0};
        float alpha = 0;
    };
    /// The light that one path brings to a pixel. x counts from the left and y from the top of the
    /// whole picture; `number` is that of the path among those of its pixel. Assigns the first hit
    /// of the path unless that is null.
    Traced trace(int x, int y, int number, FirstHit* first) const;

    const EmbreeScene& embreeScene() const { return geometry; }

private:
    struct Vertex;
    struct Path;

    void traceToLearn(const Sampler& sampler, std::vector<Guide::Visit>& visits) const;
    Traced tracePath(Path& path, const Sampler& sampler, FirstHit* first) const;
    void follow(std::optional<Vertex>& vertex, const Sampler& sampler, Path& path) const;
    static int waysFrom(const Vertex& vertex, const Path& path);
    void branch(const Vertex& vertex, int count, const Sampler& sampler, Path& path) const;
    bool advance(const Vertex& vertex, const Sampler& sampler, Path& path,
                 std::optional<Vertex>& next) const;
    RayHit meet(const Sampler& sampler, Path& path) const;
    bool arrive(const RayHit& hit, const Sampler& sampler, Path& path, Vertex& vertex) const;
    bool leave(const Vertex& vertex, const Sampler& sampler, Path& path) const;
    Traced background(const V3f& direction) const;
    void describe(const Ray& ray, const RayHit& hit, const Vertex& vertex, FirstHit& first) const;
    V2f motionOf(const Ray& ray, const RayHit& hit) const;
    bool makeVertex(const Ray& ray, const RayHit& hit, bool isLast, Vertex& vertex) const;
    bool survives(const Vertex& vertex, const Sampler& sampler, Path& path) const;
    bool bounce(const Vertex& vertex, const Sampler& sampler, Path& path) const;
    static bool scatter(const Vertex& vertex, float choice, const V2f& u, Path& path);
    Color directLight(const Vertex& vertex, float time, int depth, const Sampler& sampler,
                      Guide::OfEachKind& squares) const;
    bool hasLights(Guide::LightKind kind) const;
    LightSample sampleLight(Guide::LightKind kind, const Vertex& vertex, float time, float choice,
                            const V2f& u) const;
    Color reflectedLight(const LightSample& light, const Vertex& vertex, float time) const;

    const SceneData& scene;
    CameraRays camera;
    const bool isMoving;   // whether the camera or anything in the scene moves
    RayCone pathCone;      // cone of a camera ray
    const float pathShare; // width of a path's cone, in widths of the pixel's cone
    Textures textures;
    Materials materials;
    EmbreeScene geometry;
    InfiniteLights infiniteLights;
    LocalLights localLights;
    Guide guide;
};

} // namespace lantern

#endif
