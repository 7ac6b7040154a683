#include "drawing/EmissiveSpheres.h"

#include <cmath>

#include "drawing/HitGeometry.h"
#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr std::size_t kMostSpheres = std::size_t(1) << 20;

std::size_t CountOf(const Shape& shape) {
    return shape.spheres.radii.size();
}

V3f DirectionThrough(const M44f& matrix, const V3f& direction) {
    V3f result;
    matrix.multDirMatrix(direction, result);
    return result;
}

float Determinant(const M44f& m) {
    const V3f x(m[0][0], m[0][1], m[0][2]), y(m[1][0], m[1][1], m[1][2]),
        z(m[2][0], m[2][1], m[2][2]);
    return std::abs(x ^ (y % z));
}

/// The solid angle in the world of a unit of that around a direction of length 1, through a linear
/// map.
float SolidAngleScale(const M44f& toWorld, const V3f& direction) {
    const float length = DirectionThrough(toWorld, direction).length();
    return length > 0 ? Determinant(toWorld) / (length * length * length) : 0;
}

} // namespace

EmissiveSpheres::EmissiveSpheres(const SceneData& scene, const Materials& materials)
    : scene(scene), materials(materials),
      primitives(scene, materials,
                 {kMostSpheres, CountOf, [this](const RayHit& hit) { return powerOf(hit); }}) {}

/// The radiance is the mean of those towards the corners of a cube.
float EmissiveSpheres::powerOf(RayHit hit) const {
    float sum = 0;
    for (int corner = 0; corner < 8; ++corner) {
        hit.outward =
            V3f(corner & 1 ? 1.0f : -1.0f, corner & 2 ? 1.0f : -1.0f, corner & 4 ? 1.0f : -1.0f);
        sum += Luminance(materials.emission(hit));
    }
    const Instance& instance = scene.instances[hit.instance];
    const float radius = scene.shapes[instance.shape].spheres.radii[hit.primitive];
    const float scale = std::cbrt(Determinant(TransformAt(scene, instance, 0)));
    const float area = 4 * kPi * radius * radius * scale * scale;
    return std::isfinite(area) ? sum / 8 * area * kPi : 0;
}

EmissiveSpheres::View EmissiveSpheres::viewOf(const RayHit& hit, const V3f& from,
                                              float time) const {
    const Instance& instance = scene.instances[hit.instance];
    const Spheres& spheres = scene.shapes[instance.shape].spheres;
    const StepPosition at = PositionAmongSteps(spheres.centers.size(), time);
    View view;
    view.toWorld = TransformAt(scene, instance, time);
    view.radius = spheres.radii[hit.primitive];
    const V3f center = Mix(spheres.centers[at.first][hit.primitive],
                           spheres.centers[at.second][hit.primitive], at.share);
    view.toCenter = center - from * view.toWorld.inverse();
    view.oneMinusCos = OneMinusCosOfSphere(view.radius, view.toCenter.length());
    return view;
}

LightSample EmissiveSpheres::sample(Index sphere, const V3f& from, float time, const V2f& u) const {
    RayHit hit = primitives.hitOf(sphere);
    const View view = viewOf(hit, from, time);
    LightSample sample;
    if (!(view.oneMinusCos > 0)) return sample;
    const V3f direction = SampleCone(Normalized(view.toCenter, V3f(0, 0, 1)), view.oneMinusCos, u);
    const float distance = DistanceToSphere(view.toCenter, view.radius, direction);
    hit.outward = direction * distance - view.toCenter;
    const V3f toPoint = DirectionThrough(view.toWorld, direction * distance);
    const float scale = SolidAngleScale(view.toWorld, direction);
    if (!(scale > 0) || !IsFinite(toPoint)) return sample;
    sample.direction = Normalized(toPoint, V3f(0, 0, 1));
    sample.distance = toPoint.length() * kShadowRayShare;
    sample.radiance = materials.emission(hit) * materials.opacity(hit, false);
    sample.pdf = 1 / (SolidAngleOfCone(view.oneMinusCos) * scale);
    return sample;
}

float EmissiveSpheres::pdf(const Ray& ray, const RayHit& hit) const {
    const View view = viewOf(hit, ray.origin, ray.time);
    if (!(view.oneMinusCos > 0)) return 0;
    const V3f direction =
        Normalized(DirectionThrough(view.toWorld.inverse(), ray.direction), V3f(0, 0, 1));
    const float scale = SolidAngleScale(view.toWorld, direction);
    return scale > 0 ? 1 / (SolidAngleOfCone(view.oneMinusCos) * scale) : 0;
}

} // namespace lantern
