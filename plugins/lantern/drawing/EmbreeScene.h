#ifndef LANTERN_DRAWING_EMBREESCENE_H
#define LANTERN_DRAWING_EMBREESCENE_H

#include <cstdint>
#include <memory>

#include "Report.h"
#include "SceneData.h"
#include "drawing/CameraRays.h"

namespace lantern {

/// What a ray meets.
struct RayHit {
    Index instance = kNone; ///< kNone: nothing
    Index primitive = 0;    ///< the triangle or sphere
    float u = 0, v = 0;     ///< shares of the triangle's second and third point
    V3f outward{0, 0, 0};   ///< from the surface, in the shape's space; of any length
    float distance = 0;

    explicit operator bool() const { return instance != kNone; }
};

/// Tells what light passes through. Any number of threads.
class Openings {
public:
    virtual ~Openings() = default;
    /// Everything of the instance stops all light from both sides.
    virtual bool isSolid(const Instance& instance) const = 0;
    /// From 0 to 1, for a ray that comes from inside or outside.
    virtual float opacity(const RayHit& hit, bool isFromInside) const = 0;
};

/// Finds what rays meet. Any number of threads.
class EmbreeScene {
public:
    /// Both are kept. Throws RenderError and Cancelled.
    EmbreeScene(const SceneData& scene, const Openings& openings, int threads,
                const Report& report);
    ~EmbreeScene();
    EmbreeScene(const EmbreeScene&) = delete;
    EmbreeScene& operator=(const EmbreeScene&) = delete;

    /// The nearest hit. A surface that is partly transparent is met, or not, in proportion to its
    /// opacity: which of the two, is up to `seed`.
    RayHit intersect(const Ray& ray, std::uint32_t seed) const;
    /// The share of light that comes through.
    float transmittance(const Ray& ray) const;

private:
    struct Trees;
    std::unique_ptr<Trees> trees;
};

} // namespace lantern

#endif
