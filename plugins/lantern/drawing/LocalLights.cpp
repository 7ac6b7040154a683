#include "drawing/LocalLights.h"

#include <algorithm>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

/// Smooth Hermite interpolation from 0 to 1.
float SmoothStep(float from, float to, float value) {
    if (!(to > from)) return value >= to ? 1.0f : 0.0f;
    const float t = Clamp01((value - from) / (to - from));
    return t * t * (3 - 2 * t);
}

float Attenuation(const V3f& decay, float distance) {
    const float divisor = decay.x + distance * (decay.y + distance * decay.z);
    return divisor > 0 && std::isfinite(divisor) ? 1 / divisor : 0;
}

/// The density per solid angle of a point that is uniform on a flat area: distance^2 over the
/// projected area.
float SolidAnglePdf(float area, float distance, float cosine) {
    const float projectedArea = area * std::abs(cosine);
    return projectedArea > 0 ? distance * distance / projectedArea : 0;
}

} // namespace

LocalLights::LocalLights(const SceneData& scene, const Materials& materials)
    : triangles(scene, materials), emissiveSpheres(scene, materials) {
    for (const Light& light : scene.lights) {
        if (const auto* point = std::get_if<PointLight>(&light)) addLamp(*point);
        if (const auto* area = std::get_if<AreaLight>(&light)) addPanel(*area);
    }
    shapes = std::make_unique<LightShapes>(spheres, panels);
    choices = Distribution(powers());
}

void LocalLights::addLamp(const PointLight& light) {
    if (!IsSource(light.intensity)) return;
    Lamp lamp;
    lamp.light = light;
    lamp.position = V3f(light.toWorld.translation());
    lamp.axis = Normalized(DirectionToWorld(light.toWorld, {0, 0, -1}), V3f(0, 0, -1));
    lamp.radius = light.radius > 0 && std::isfinite(light.radius) ? light.radius : 0;
    if (light.cone) {
        lamp.cosInner = std::cos(Radians(light.cone->inner) / 2);
        lamp.cosOuter = std::cos(Radians(light.cone->outer) / 2);
    }
    if (!lamp.isDelta())
        spheres.push_back({static_cast<Index>(lamps.size()), lamp.position, lamp.radius});
    lamps.push_back(lamp);
}

void LocalLights::addPanel(const AreaLight& light) {
    if (!IsSource(light.radiance)) return;
    LightPanel panel;
    panel.radiance = light.radiance;
    panel.edgeX = DirectionToWorld(light.toWorld, {light.size.x, 0, 0});
    panel.edgeY = DirectionToWorld(light.toWorld, {0, light.size.y, 0});
    panel.corner = V3f(light.toWorld.translation()) - (panel.edgeX + panel.edgeY) / 2;
    const V3f cross = panel.edgeX % panel.edgeY;
    panel.area = cross.length();
    panel.normal = Normalized(cross, V3f(0));
    const V3f axis = DirectionToWorld(light.toWorld, {0, 0, -1});
    if ((panel.normal ^ axis) < 0) panel.normal = -panel.normal;
    if (panel.area > 0 && std::isfinite(panel.area)) panels.push_back(panel);
}

std::vector<float> LocalLights::powers() const {
    std::vector<float> powers;
    for (const Lamp& lamp : lamps)
        powers.push_back(Luminance(lamp.light.intensity) * 2 * kPi * (1 - lamp.cosOuter));
    for (const LightPanel& panel : panels)
        powers.push_back(Luminance(panel.radiance) * panel.area * kPi);
    powers.insert(powers.end(), triangles.powers().begin(), triangles.powers().end());
    powers.insert(powers.end(), emissiveSpheres.powers().begin(), emissiveSpheres.powers().end());
    return powers;
}

// Sampling ----------------------------------------------------------------------------------------

LightSample LocalLights::sample(const V3f& from, float time, float choice, const V2f& u) const {
    if (choices.isEmpty()) return {};
    float rest = 0;
    std::size_t chosen = choices.pick(choice, rest);
    const float probability = choices.probability(chosen);
    LightSample sample;
    if (chosen < lamps.size()) {
        sample = sampleLamp(lamps[chosen], from, u);
    } else if ((chosen -= lamps.size()) < panels.size()) {
        sample = samplePanel(panels[chosen], from, u);
    } else if ((chosen -= panels.size()) < triangles.powers().size()) {
        sample = sampleTriangle(static_cast<Index>(chosen), from, time, u);
    } else {
        const auto sphere = static_cast<Index>(chosen - triangles.powers().size());
        sample = emissiveSpheres.sample(sphere, from, time, u);
    }
    sample.pdf *= probability;
    return sample;
}

/// A spot light fades smoothly between the cosines of its cones.
Color LocalLights::intensityTowards(const Lamp& lamp, const V3f& point) {
    const V3f toPoint = point - lamp.position;
    const float distance = toPoint.length();
    const float cosine = Normalized(toPoint, lamp.axis) ^ lamp.axis;
    const float falloff = lamp.light.cone ? SmoothStep(lamp.cosOuter, lamp.cosInner, cosine) : 1;
    return lamp.light.intensity * (falloff * Attenuation(lamp.light.decay, distance));
}

/// The uniform radiance of the sphere that gives the same irradiance as the point light would. The
/// irradiance of a sphere of radiance L is L pi sin^2 of its half angle, L pi (radius /
/// distance)^2.
Color LocalLights::sphereRadianceTowards(const Lamp& lamp, const V3f& point) {
    const float distance2 = (point - lamp.position).length2();
    return intensityTowards(lamp, point) * (distance2 / (kPi * lamp.radius * lamp.radius));
}

/// Solid-angle sampling of a sphere: uniform in the cone that it subtends (Shirley, Wang and
/// Zimmerman, "Monte Carlo Techniques for Direct Lighting Calculations", 1996).
LightSample LocalLights::sampleLamp(const Lamp& lamp, const V3f& from, const V2f& u) {
    const V3f toCenter = lamp.position - from;
    const float distance = toCenter.length();
    LightSample sample;
    if (!(distance > lamp.radius)) return sample;
    sample.direction = toCenter / distance;
    if (lamp.isDelta()) {
        sample.isDelta = true;
        sample.distance = distance * kShadowRayShare;
        sample.radiance = intensityTowards(lamp, from);
        sample.pdf = 1;
        return sample;
    }
    const float oneMinusCos = OneMinusCosOfSphere(lamp.radius, distance);
    sample.direction = SampleCone(sample.direction, oneMinusCos, u);
    sample.distance = DistanceToSphere(toCenter, lamp.radius, sample.direction) * kShadowRayShare;
    sample.radiance = sphereRadianceTowards(lamp, from);
    sample.pdf = 1 / SolidAngleOfCone(oneMinusCos);
    return sample;
}

/// Uniform on the area of the panel.
LightSample LocalLights::samplePanel(const LightPanel& panel, const V3f& from, const V2f& u) {
    LightSample sample;
    const V3f toPoint = panel.corner + panel.edgeX * u.x + panel.edgeY * u.y - from;
    const float distance = toPoint.length();
    sample.direction = Normalized(toPoint, panel.normal);
    const float cosine = -(sample.direction ^ panel.normal);
    if (!(cosine > 0)) return sample;
    sample.distance = distance * kShadowRayShare;
    sample.radiance = panel.radiance;
    sample.pdf = SolidAnglePdf(panel.area, distance, cosine);
    return sample;
}

LightSample LocalLights::sampleTriangle(Index triangle, const V3f& from, float time,
                                        const V2f& u) const {
    const EmissiveTriangles::Point point = triangles.sample(triangle, time, u, from);
    const V3f toPoint = point.position - from;
    const float distance = toPoint.length();
    LightSample sample;
    sample.direction = Normalized(toPoint, point.normal);
    sample.distance = distance * kShadowRayShare;
    sample.radiance = point.radiance;
    sample.pdf = SolidAnglePdf(point.area, distance, sample.direction ^ point.normal);
    return sample;
}

// Lights that a ray meets -------------------------------------------------------------------------

Color LocalLights::radianceAlong(const Ray& ray, float bsdfPdf) const {
    Color sum(0, 0, 0);
    for (const LightShapes::Crossing& crossing : shapes->crossings(ray)) {
        sum += crossing.isPanel ? radianceOfPanel(crossing.index, ray, crossing.distance, bsdfPdf)
                                : radianceOfSphere(spheres[crossing.index].lamp, ray, bsdfPdf);
    }
    return sum;
}

Color LocalLights::radianceOfPanel(std::size_t which, const Ray& ray, float distance,
                                   float bsdfPdf) const {
    const LightPanel& panel = panels[which];
    const float cosine = -(ray.direction ^ panel.normal);
    if (!(cosine > 0)) return {0, 0, 0};
    const float lightPdf =
        SolidAnglePdf(panel.area, distance, cosine) * choices.probability(lamps.size() + which);
    return panel.radiance * WeightOfBsdfSample(bsdfPdf, lightPdf);
}

Color LocalLights::radianceOfSphere(std::size_t which, const Ray& ray, float bsdfPdf) const {
    const Lamp& lamp = lamps[which];
    const float distance = (lamp.position - ray.origin).length();
    const float oneMinusCos = OneMinusCosOfSphere(lamp.radius, distance);
    if (!(oneMinusCos > 0)) return {0, 0, 0};
    const float lightPdf = choices.probability(which) / SolidAngleOfCone(oneMinusCos);
    return sphereRadianceTowards(lamp, ray.origin) * WeightOfBsdfSample(bsdfPdf, lightPdf);
}

float LocalLights::weightOfEmission(const Ray& ray, const RayHit& hit, const HitGeometry& geometry,
                                    float bsdfPdf) const {
    if (!(bsdfPdf > 0)) return 1;
    const std::size_t firstTriangle = lamps.size() + panels.size();
    if (const Index triangle = triangles.indexOf(hit); triangle != kNone) {
        const float area = triangles.area(hit, ray.time);
        const float lightPdf = SolidAnglePdf(area, hit.distance, ray.direction ^ geometry.normal);
        return WeightOfBsdfSample(bsdfPdf,
                                  lightPdf * choices.probability(firstTriangle + triangle));
    }
    if (const Index sphere = emissiveSpheres.indexOf(hit); sphere != kNone) {
        const std::size_t light = firstTriangle + triangles.powers().size() + sphere;
        return WeightOfBsdfSample(bsdfPdf,
                                  emissiveSpheres.pdf(ray, hit) * choices.probability(light));
    }
    return 1;
}

} // namespace lantern
