#include "drawing/Lights.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr float kFar = std::numeric_limits<float>::max();
/// Rays to a light end a little before it.
constexpr float kBefore = 1 - 0x1p-12f;

float Radians(float degrees) {
    return degrees * (kPi / 180);
}

V3f DirectionOf(const Light& light, const V3f& axis) {
    V3f direction;
    M44f(light.toWorld).multDirMatrix(axis, direction);
    return direction;
}

V3f PositionOf(const Light& light) {
    return V3f(light.toWorld.translation());
}

/// 1 - cos, also for small angles.
float LessThanOne(float angle) {
    const float s = std::sin(angle / 2);
    return 2 * s * s;
}

/// A direction around an axis whose cosine differs from 1 by no more than that.
V3f InCone(const V3f& axis, float lessThanOne, const V2f& u) {
    const float less = u.x * lessThanOne;
    const float around = std::sqrt(std::max(0.0f, less * (2 - less)));
    const float phi = 2 * kPi * u.y;
    return FrameAround(axis).toWorld({around * std::cos(phi), around * std::sin(phi), 1 - less});
}

float SmoothStep(float from, float to, float value) {
    if (!(to > from)) return value >= to ? 1.0f : 0.0f;
    const float share = Clamp01((value - from) / (to - from));
    return share * share * (3 - 2 * share);
}

/// How a light of one intensity is dimmed by distance.
float DimmedBy(const V3f& decay, float distance) {
    const float divisor = decay.x + distance * (decay.y + distance * decay.z);
    return divisor > 0 && std::isfinite(divisor) ? 1 / divisor : 0;
}

/// Per solid angle, of a point chosen evenly on a flat area.
float PdfOfArea(float area, float distance, float cosine) {
    const float facing = area * std::abs(cosine);
    return facing > 0 ? distance * distance / facing : 0;
}

/// 1 - cos of the half angle at which a ball is seen; 0 from inside of it.
float BallLessThanOne(float radius, float distance) {
    if (!(distance > radius)) return 0;
    const float sine = radius / distance;
    const float sine2 = sine * sine;
    return sine2 / (1 + std::sqrt(1 - sine2));
}

} // namespace

Lights::Lights(const SceneData& scene, const Materials& materials, const Textures& textures)
    : scene(scene), emitters(scene, materials) {
    for (const Light& light : scene.lights)
        add(light);
    for (const Light* light : environmentLights)
        environments.emplace_back(*light, textures);
    shapes = std::make_unique<LightShapes>(balls, panels);
    distant = Distribution(distantWeights());
    near = Distribution(nearWeights());
}

/// By how bright an open place is made.
std::vector<float> Lights::distantWeights() const {
    std::vector<float> weights;
    for (const Environment& environment : environments)
        weights.push_back(environment.meanLuminance() * kPi);
    for (const Sun& sun : suns) {
        const float less = sun.lessThanOne;
        const float extent = less > 0 ? kPi * less * (2 - less) : 1;
        weights.push_back(Luminance(sun.color) * extent);
    }
    return weights;
}

/// By power.
std::vector<float> Lights::nearWeights() const {
    std::vector<float> weights;
    for (const Lamp& lamp : lamps)
        weights.push_back(Luminance(lamp.light->color) * 2 * kPi * (1 - lamp.cosineOuter));
    for (const LightPanel& panel : panels)
        weights.push_back(Luminance(scene.lights[panel.light].color) * panel.area * kPi);
    weights.insert(weights.end(), emitters.weights().begin(), emitters.weights().end());
    return weights;
}

void Lights::add(const Light& light) {
    if (IsBlack(light.color) || !IsFinite(light.color)) return;
    switch (light.kind) {
    case Light::Kind::Directional:
        return addSun(light);
    case Light::Kind::Point:
    case Light::Kind::Spot:
        return addLamp(light);
    case Light::Kind::Area:
        return addPanel(light);
    case Light::Kind::Environment:
        environmentLights.push_back(&light);
    }
}

void Lights::addSun(const Light& light) {
    Sun sun;
    sun.direction = Normalized(DirectionOf(light, {0, 0, 1}), V3f(0, 0, 1));
    const float half = Radians(std::min(light.angle, 180.0f)) / 2;
    sun.lessThanOne = half > 0 ? LessThanOne(half) : 0;
    // The cosine over the disc adds up to pi times the sine's square.
    const float extent = kPi * sun.lessThanOne * (2 - sun.lessThanOne);
    sun.color = extent > 0 ? light.color / extent : light.color;
    suns.push_back(sun);
}

void Lights::addLamp(const Light& light) {
    Lamp lamp;
    lamp.light = &light;
    lamp.center = PositionOf(light);
    lamp.axis = Normalized(DirectionOf(light, {0, 0, -1}), V3f(0, 0, -1));
    lamp.radius = light.radius > 0 && std::isfinite(light.radius) ? light.radius : 0;
    if (light.kind == Light::Kind::Spot) {
        lamp.cosineInner = std::cos(Radians(light.coneInner) / 2);
        lamp.cosineOuter = std::cos(Radians(light.coneOuter) / 2);
    }
    if (lamp.radius > 0)
        balls.push_back({static_cast<Index>(lamps.size()), lamp.center, lamp.radius});
    lamps.push_back(lamp);
}

void Lights::addPanel(const Light& light) {
    LightPanel panel;
    panel.light = static_cast<Index>(&light - scene.lights.data());
    panel.edgeX = DirectionOf(light, {light.size.x, 0, 0});
    panel.edgeY = DirectionOf(light, {0, light.size.y, 0});
    panel.corner = PositionOf(light) - (panel.edgeX + panel.edgeY) / 2;
    const V3f across = panel.edgeX % panel.edgeY;
    panel.area = across.length();
    panel.facing = Normalized(across, V3f(0));
    if ((panel.facing ^ DirectionOf(light, {0, 0, -1})) < 0) panel.facing = -panel.facing;
    if (panel.area > 0 && std::isfinite(panel.area)) panels.push_back(panel);
}

// Distant lights ----------------------------------------------------------------------------------

LightSample Lights::sampleDistant(float choice, const V2f& u) const {
    if (distant.isEmpty()) return {};
    float rest = 0;
    const std::size_t which = distant.pick(choice, rest);
    LightSample sample;
    sample.distance = kFar;
    sample.pdf = distant.probability(which);
    if (which < environments.size()) {
        const Environment& environment = environments[which];
        sample.direction = environment.sample(u);
        sample.radiance = environment.radiance(sample.direction);
        sample.pdf *= environment.pdf(sample.direction);
        sample.hasExtent = true;
        return sample;
    }
    const Sun& sun = suns[which - environments.size()];
    sample.radiance = sun.color;
    sample.hasExtent = sun.lessThanOne > 0;
    sample.direction = sun.direction;
    if (sample.hasExtent) {
        sample.direction = InCone(sun.direction, sun.lessThanOne, u);
        sample.pdf /= 2 * kPi * sun.lessThanOne;
    }
    return sample;
}

Color Lights::beyondAll(const V3f& direction, float pdf) const {
    Color sum(0, 0, 0);
    for (std::size_t i = 0; i < environments.size(); ++i) {
        const float other = pdf > 0 ? distant.probability(i) * environments[i].pdf(direction) : 0;
        sum += environments[i].radiance(direction) * (pdf > 0 ? PowerHeuristic(pdf, other) : 1);
    }
    for (std::size_t i = 0; i < suns.size(); ++i) {
        const Sun& sun = suns[i];
        // By the chord: the cosine alone is not exact enough for small discs.
        const float less = (direction - sun.direction).length2() / 2;
        if (!(less < sun.lessThanOne)) continue;
        const float other =
            distant.probability(environments.size() + i) / (2 * kPi * sun.lessThanOne);
        sum += sun.color * (pdf > 0 ? PowerHeuristic(pdf, other) : 1);
    }
    return sum;
}

Color Lights::seenByCamera(const V3f& direction, bool& isThere) const {
    Color sum(0, 0, 0);
    isThere = false;
    for (std::size_t i = 0; i < environments.size(); ++i) {
        if (!environmentLights[i]->isSeen) continue;
        sum += environments[i].radiance(direction);
        isThere = true;
    }
    return sum;
}

// Lamps and panels --------------------------------------------------------------------------------

/// Towards there, dimmed by the distance.
Color Lights::lampIntensity(const Lamp& lamp, const V3f& from) const {
    const V3f way = from - lamp.center;
    const float distance = way.length();
    const float cosine = (Normalized(way, lamp.axis) ^ lamp.axis);
    const float inCone = lamp.light->kind == Light::Kind::Spot
                             ? SmoothStep(lamp.cosineOuter, lamp.cosineInner, cosine)
                             : 1;
    return lamp.light->color * (inCone * DimmedBy(lamp.light->decay, distance));
}

/// A ball gives pi times the sine's square of its half angle as much irradiance as its radiance.
Color Lights::lampRadiance(const Lamp& lamp, const V3f& from) const {
    const float distance2 = (from - lamp.center).length2();
    return lampIntensity(lamp, from) * (distance2 / (kPi * lamp.radius * lamp.radius));
}

LightSample Lights::sampleLamp(const Lamp& lamp, const V3f& from, const V2f& u) const {
    const V3f way = lamp.center - from;
    const float distance = way.length();
    LightSample sample;
    if (!(distance > lamp.radius)) return sample;
    sample.direction = way / distance;
    if (lamp.radius <= 0) {
        sample.distance = distance * kBefore;
        sample.radiance = lampIntensity(lamp, from);
        sample.pdf = 1;
        return sample;
    }
    const float less = BallLessThanOne(lamp.radius, distance);
    const V3f axis = sample.direction;
    sample.direction = InCone(axis, less, u);
    const float along = sample.direction ^ way;
    const float beside2 = std::max(0.0f, distance * distance - along * along);
    const float back = std::sqrt(std::max(0.0f, lamp.radius * lamp.radius - beside2));
    sample.distance = (along - back) * kBefore;
    sample.radiance = lampRadiance(lamp, from);
    sample.pdf = 1 / (2 * kPi * less);
    sample.hasExtent = true;
    return sample;
}

LightSample Lights::samplePanel(const LightPanel& panel, const V3f& from, const V2f& u) const {
    LightSample sample;
    const V3f way = panel.corner + panel.edgeX * u.x + panel.edgeY * u.y - from;
    const float distance = way.length();
    sample.direction = Normalized(way, panel.facing);
    const float cosine = -(sample.direction ^ panel.facing);
    if (!(cosine > 0)) return sample;
    sample.distance = distance * kBefore;
    sample.radiance = scene.lights[panel.light].color;
    sample.pdf = PdfOfArea(panel.area, distance, cosine);
    sample.hasExtent = true;
    return sample;
}

LightSample Lights::sampleEmitter(Index emitter, const V3f& from, float time, const V2f& u) const {
    const Emitters::Point point = emitters.sample(emitter, time, u, from);
    const V3f way = point.position - from;
    const float distance = way.length();
    LightSample sample;
    sample.direction = Normalized(way, point.normal);
    sample.distance = distance * kBefore;
    sample.radiance = point.radiance;
    sample.pdf = PdfOfArea(point.area, distance, sample.direction ^ point.normal);
    sample.hasExtent = true;
    return sample;
}

LightSample Lights::sampleNear(const V3f& from, float time, float choice, const V2f& u) const {
    if (near.isEmpty()) return {};
    float rest = 0;
    std::size_t which = near.pick(choice, rest);
    const float probability = near.probability(which);
    LightSample sample;
    if (which < lamps.size()) {
        sample = sampleLamp(lamps[which], from, u);
    } else if ((which -= lamps.size()) < panels.size()) {
        sample = samplePanel(panels[which], from, u);
    } else {
        sample = sampleEmitter(static_cast<Index>(which - panels.size()), from, time, u);
    }
    sample.pdf *= probability;
    return sample;
}

Color Lights::crossed(const Ray& ray, float pdf) const {
    Color sum(0, 0, 0);
    for (const LightShapes::Crossing& crossing : shapes->crossings(ray)) {
        Color radiance(0, 0, 0);
        float other = 0;
        if (crossing.isPanel) {
            const LightPanel& panel = panels[crossing.which];
            const float cosine = -(ray.direction ^ panel.facing);
            if (!(cosine > 0)) continue;
            radiance = scene.lights[panel.light].color;
            other = PdfOfArea(panel.area, crossing.distance, cosine) *
                    near.probability(lamps.size() + crossing.which);
        } else {
            const Index which = balls[crossing.which].lamp;
            const Lamp& lamp = lamps[which];
            const float distance = (lamp.center - ray.origin).length();
            const float less = BallLessThanOne(lamp.radius, distance);
            if (!(less > 0)) continue;
            radiance = lampRadiance(lamp, ray.origin);
            other = near.probability(which) / (2 * kPi * less);
        }
        sum += radiance * (pdf > 0 ? PowerHeuristic(pdf, other) : 1);
    }
    return sum;
}

float Lights::weightOfEmission(const Ray& ray, const RayHit& hit, const HitGeometry& geometry,
                               float pdf) const {
    const Index emitter = emitters.at(hit);
    if (!(pdf > 0) || emitter == kNone) return 1;
    const float area = emitters.area(hit, ray.time);
    const float other = PdfOfArea(area, hit.distance, ray.direction ^ geometry.normal) *
                        near.probability(lamps.size() + panels.size() + emitter);
    return PowerHeuristic(pdf, other);
}

} // namespace lantern
