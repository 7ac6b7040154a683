#include "drawing/ShadingPoint.h"

#include <algorithm>

#include "drawing/HitGeometry.h"
#include "drawing/Numbers.h"
#include "drawing/Patterns.h"

namespace lantern {
namespace {

Color RampAt(const ShadingStep& step, float place) {
    const auto& stops = step.stops;
    if (stops.empty()) return {0, 0, 0};
    const auto after = std::upper_bound(
        stops.begin(), stops.end(), place,
        [](float value, const ShadingStep::Stop& stop) { return value < stop.place; });
    if (after == stops.begin()) return stops.front().color;
    const ShadingStep::Stop& before = *(after - 1);
    if (after == stops.end() || step.isStepped) return before.color;
    const float share = (place - before.place) / (after->place - before.place);
    return Mix(before.color, after->color, Clamp01(share));
}

} // namespace

ShadingPoint::ShadingPoint(const SceneData& scene, const Textures& textures, const RayHit& hit,
                           const Material& material)
    : scene(scene), textures(textures), hit(hit), material(material) {}

Color ShadingPoint::color(MaterialInput input, const Color& own) {
    ShadingValue value = material[input];
    value.constant = own;
    return resultOf(value);
}

float ShadingPoint::share(MaterialInput input, float own) {
    return Clamp01(number(input, own));
}

Color ShadingPoint::resultOf(const ShadingValue& value) {
    if (value.step == kNone || !evaluate(value.step)) return value.constant;
    const Color& result = values[value.step];
    return value.channel < 0 ? result : Color(result[value.channel]);
}

bool ShadingPoint::evaluate(Index step) {
    const std::uint64_t bit = std::uint64_t(1) << step;
    if ((known & bit) == 0) {
        known |= bit;
        Color result;
        if (compute(material.steps[step], result) && IsFinite(result)) {
            values[step] = result;
            valid |= bit;
        }
    }
    return (valid & bit) != 0;
}

bool ShadingPoint::compute(const ShadingStep& step, Color& result) {
    using Kind = ShadingStep::Kind;
    const auto input = [&](std::size_t which) { return resultOf(step.inputs[which]); };
    switch (step.kind) {
    case Kind::Image:
        return image(step, result);
    case Kind::VertexColor:
    case Kind::VertexAlpha: {
        Imath::C4f color;
        if (!ColorAt(scene, hit, step.set, color)) return false;
        result = step.kind == Kind::VertexAlpha ? Color(color.a) : Color(color.r, color.g, color.b);
        return true;
    }
    case Kind::Checker:
        result = input(IsOddCell(patternPlace(step)) ? 1 : 0);
        return true;
    case Kind::Noise:
        result = Mix(input(0), input(1), Noise(patternPlace(step), step.octaves));
        return true;
    case Kind::Ramp:
        result = RampAt(step, input(0).x);
        return true;
    case Kind::CoordinateS:
        result = Color(coordinates(step).x);
        return true;
    case Kind::CoordinateT:
        result = Color(coordinates(step).y);
        return true;
    case Kind::Mix: {
        const Color share = input(2);
        const Color from = input(0);
        result = from + (input(1) - from) * share;
        return true;
    }
    case Kind::Add:
        result = input(0) + input(1);
        return true;
    case Kind::Multiply:
        result = input(0) * input(1);
        return true;
    case Kind::Invert:
        result = Color(1, 1, 1) - input(0);
        return true;
    case Kind::Combine:
        result = {input(0).x, input(1).x, input(2).x};
        return true;
    }
    return false;
}

bool ShadingPoint::image(const ShadingStep& step, Color& result) const {
    V2f st;
    if (!textures.has(step.texture)) return false;
    const std::string& uvSet = scene.textures[step.texture].uvSet;
    if (!CoordinatesAt(scene, hit, uvSet, st)) return false;
    const float width =
        hit.footprint > 0 ? hit.footprint * CoordinateScaleAt(scene, hit, uvSet) : 0;
    return textures.color(step.texture, st, width, result);
}

V3f ShadingPoint::patternPlace(const ShadingStep& step) const {
    if (step.isInObjectSpace) return ObjectPositionAt(scene, hit) * step.scale;
    const V2f st = coordinates(step);
    return {st.x, st.y, 0};
}

V2f ShadingPoint::coordinates(const ShadingStep& step) const {
    V2f st(0, 0);
    CoordinatesAt(scene, hit, step.set, st);
    return step.uvTransform(st);
}

} // namespace lantern
