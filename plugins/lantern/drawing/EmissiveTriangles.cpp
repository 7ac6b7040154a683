#include "drawing/EmissiveTriangles.h"

#include <cmath>

#include "drawing/HitGeometry.h"
#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr std::size_t kMostTriangles = std::size_t(1) << 22;

std::size_t CountOf(const Shape& shape) {
    return shape.mesh.triangles.size() / 3;
}

} // namespace

EmissiveTriangles::EmissiveTriangles(const SceneData& scene, const Materials& materials)
    : scene(scene), materials(materials),
      primitives(scene, materials,
                 {kMostTriangles, CountOf, [this](const RayHit& hit) { return powerOf(hit); }}) {}

/// The radiance is the mean at four points: the centroid and one towards each corner.
float EmissiveTriangles::powerOf(RayHit hit) const {
    float sum = 0;
    for (const V2f& at : {V2f(1, 1) / 3.0f, V2f(1, 1) / 6.0f, V2f(4, 1) / 6.0f, V2f(1, 4) / 6.0f}) {
        hit.u = at.x;
        hit.v = at.y;
        sum += Luminance(materials.emission(hit));
    }
    return sum / 4 * area(hit, 0) * kPi;
}

void EmissiveTriangles::corners(const RayHit& hit, float time, V3f corners[3]) const {
    const Instance& instance = scene.instances[hit.instance];
    CornersAt(scene.shapes[instance.shape].mesh, hit.primitive, time, corners);
    const M44f toWorld = TransformAt(scene, instance, time);
    for (int i = 0; i < 3; ++i)
        corners[i] = corners[i] * toWorld;
}

EmissiveTriangles::Point EmissiveTriangles::sample(Index triangle, float time, const V2f& u,
                                                   const V3f& towards) const {
    RayHit hit = primitives.hitOf(triangle);
    const float root = std::sqrt(u.x); // uniform on a triangle: Turk, Graphics Gems, 1990
    hit.u = root * (1 - u.y);
    hit.v = root * u.y;
    V3f at[3];
    corners(hit, time, at);
    const V3f cross = (at[1] - at[0]) % (at[2] - at[0]);
    Point point;
    point.position = at[0] * (1 - hit.u - hit.v) + at[1] * hit.u + at[2] * hit.v;
    point.normal = Normalized(cross, V3f(0));
    point.area = cross.length() / 2;
    const M44f toWorld = TransformAt(scene, scene.instances[hit.instance], time);
    if (toWorld.determinant() < 0) point.normal = -point.normal;
    const bool isFromInside = ((point.position - towards) ^ point.normal) > 0;
    point.radiance = materials.emission(hit) * materials.opacity(hit, isFromInside);
    return point;
}

float EmissiveTriangles::area(const RayHit& hit, float time) const {
    V3f at[3];
    corners(hit, time, at);
    return ((at[1] - at[0]) % (at[2] - at[0])).length() / 2;
}

} // namespace lantern
