#include "drawing/EmissiveTriangles.h"

#include <algorithm>
#include <cmath>

#include "drawing/HitGeometry.h"
#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr std::size_t kMostTriangles = std::size_t(1) << 22;

bool IsEmissive(const Surface& surface, const std::vector<Material>& materials) {
    return materials[surface.material].isEmissive() ||
           std::any_of(surface.faceMaterials.begin(), surface.faceMaterials.end(),
                       [&](Index i) { return i != kNone && materials[i].isEmissive(); });
}

} // namespace

EmissiveTriangles::EmissiveTriangles(const SceneData& scene, const Materials& materials)
    : scene(scene), materials(materials) {
    std::vector<bool> isEmissive; // of each surface
    for (const Surface& surface : scene.surfaces)
        isEmissive.push_back(IsEmissive(surface, scene.materials));
    if (std::find(isEmissive.begin(), isEmissive.end(), true) == isEmissive.end()) return;
    firstOfInstance.assign(scene.instances.size(), kNone);
    for (Index i = 0; i < scene.instances.size(); ++i) {
        const Mesh& mesh = scene.shapes[scene.instances[i].shape].mesh;
        const std::size_t count = mesh.triangles.size() / 3;
        if (count == 0 || !isEmissive[scene.instances[i].surface]) continue;
        if (powerOfEach.size() + count > kMostTriangles) continue;
        firstOfInstance[i] = static_cast<Index>(powerOfEach.size());
        ranges.push_back({i, firstOfInstance[i]});
        RayHit hit;
        hit.instance = i;
        for (hit.primitive = 0; hit.primitive < count; ++hit.primitive)
            powerOfEach.push_back(powerOf(hit));
    }
}

/// The radiance is the mean at four points: the centroid and one towards each corner.
float EmissiveTriangles::powerOf(RayHit hit) const {
    if (!materials.materialAt(hit.instance, hit.primitive).isEmissive()) return 0;
    float sum = 0;
    for (const V2f& at : {V2f(1, 1) / 3.0f, V2f(1, 1) / 6.0f, V2f(4, 1) / 6.0f, V2f(1, 4) / 6.0f}) {
        hit.u = at.x;
        hit.v = at.y;
        sum += Luminance(materials.emission(hit));
    }
    return sum / 4 * area(hit, 0) * kPi;
}

Index EmissiveTriangles::indexOf(const RayHit& hit) const {
    if (hit.instance >= firstOfInstance.size() || firstOfInstance[hit.instance] == kNone)
        return kNone;
    return firstOfInstance[hit.instance] + hit.primitive;
}

RayHit EmissiveTriangles::hitOf(Index triangle) const {
    const auto after =
        std::upper_bound(ranges.begin(), ranges.end(), triangle,
                         [](Index value, const Range& range) { return value < range.first; });
    const Range& range = *(after - 1);
    RayHit hit;
    hit.instance = range.instance;
    hit.primitive = triangle - range.first;
    return hit;
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
    RayHit hit = hitOf(triangle);
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
