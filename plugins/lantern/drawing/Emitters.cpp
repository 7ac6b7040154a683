#include "drawing/Emitters.h"

#include <algorithm>
#include <cmath>

#include "drawing/HitGeometry.h"
#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr std::size_t kMostEmitters = std::size_t(1) << 22;

bool Shines(const Material& material) {
    return !IsBlack(material.emission) || material.emissionTexture != kNone;
}

bool Shines(const Surface& surface, const std::vector<Material>& materials) {
    return Shines(materials[surface.material]) ||
           std::any_of(surface.faceMaterials.begin(), surface.faceMaterials.end(),
                       [&](Index i) { return i != kNone && Shines(materials[i]); });
}

} // namespace

Emitters::Emitters(const SceneData& scene, const Materials& materials)
    : scene(scene), materials(materials) {
    std::vector<bool> surfaces;
    for (const Surface& surface : scene.surfaces)
        surfaces.push_back(Shines(surface, scene.materials));
    if (std::find(surfaces.begin(), surfaces.end(), true) == surfaces.end()) return;
    firstOf.assign(scene.instances.size(), kNone);
    for (Index i = 0; i < scene.instances.size(); ++i) {
        const Mesh& mesh = scene.shapes[scene.instances[i].shape].mesh;
        const std::size_t count = mesh.triangles.size() / 3;
        if (count == 0 || !surfaces[scene.instances[i].surface]) continue;
        if (powers.size() + count > kMostEmitters) continue;
        firstOf[i] = static_cast<Index>(powers.size());
        ranges.push_back({i, firstOf[i]});
        RayHit hit;
        hit.instance = i;
        for (hit.primitive = 0; hit.primitive < count; ++hit.primitive)
            powers.push_back(powerOf(hit));
    }
}

/// From radiances in the middle and towards the corners.
float Emitters::powerOf(RayHit hit) const {
    if (!Shines(materials.materialAt(hit.instance, hit.primitive))) return 0;
    float sum = 0;
    for (const V2f& at : {V2f(1, 1) / 3.0f, V2f(1, 1) / 6.0f, V2f(4, 1) / 6.0f, V2f(1, 4) / 6.0f}) {
        hit.u = at.x;
        hit.v = at.y;
        sum += Luminance(materials.emission(hit));
    }
    return sum / 4 * area(hit, 0) * kPi;
}

Index Emitters::at(const RayHit& hit) const {
    if (hit.instance >= firstOf.size() || firstOf[hit.instance] == kNone) return kNone;
    return firstOf[hit.instance] + hit.primitive;
}

RayHit Emitters::hitOf(Index emitter) const {
    const auto after =
        std::upper_bound(ranges.begin(), ranges.end(), emitter,
                         [](Index value, const Range& range) { return value < range.first; });
    const Range& range = *(after - 1);
    RayHit hit;
    hit.instance = range.instance;
    hit.primitive = emitter - range.first;
    return hit;
}

void Emitters::corners(const RayHit& hit, float time, V3f corners[3]) const {
    const Instance& instance = scene.instances[hit.instance];
    CornersAt(scene.shapes[instance.shape].mesh, hit.primitive, time, corners);
    const M44f toWorld = TransformAt(scene, instance, time);
    for (int i = 0; i < 3; ++i)
        corners[i] = corners[i] * toWorld;
}

Emitters::Point Emitters::sample(Index emitter, float time, const V2f& u,
                                 const V3f& towards) const {
    RayHit hit = hitOf(emitter);
    const float root = std::sqrt(u.x);
    hit.u = root * (1 - u.y);
    hit.v = root * u.y;
    V3f at[3];
    corners(hit, time, at);
    const V3f across = (at[1] - at[0]) % (at[2] - at[0]);
    Point point;
    point.position = at[0] * (1 - hit.u - hit.v) + at[1] * hit.u + at[2] * hit.v;
    point.normal = Normalized(across, V3f(0));
    point.area = across.length() / 2;
    const M44f toWorld = TransformAt(scene, scene.instances[hit.instance], time);
    if (toWorld.determinant() < 0) point.normal = -point.normal;
    const bool isFromInside = ((point.position - towards) ^ point.normal) > 0;
    point.radiance = materials.emission(hit) * materials.opacity(hit, isFromInside);
    return point;
}

float Emitters::area(const RayHit& hit, float time) const {
    V3f at[3];
    corners(hit, time, at);
    return ((at[1] - at[0]) % (at[2] - at[0])).length() / 2;
}

} // namespace lantern
