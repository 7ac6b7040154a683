#ifndef LANTERN_DRAWING_SHADINGPOINT_H
#define LANTERN_DRAWING_SHADINGPOINT_H

#include <array>
#include <cstdint>

#include "SceneData.h"
#include "drawing/EmbreeScene.h"
#include "drawing/Textures.h"

namespace lantern {

/// Evaluates the shading network of a material at a hit. A step is evaluated when an input needs it
/// and at most once. For one thread; refers to all arguments.
class ShadingPoint {
public:
    ShadingPoint(const SceneData& scene, const Textures& textures, const RayHit& hit,
                 const Material& material);

    /// The value that feeds the input; `own` if no step feeds it or the step has no result.
    Color color(MaterialInput input, const Color& own);
    /// The first component of the same.
    float number(MaterialInput input, float own) { return color(input, Color(own)).x; }
    /// The same, clamped to 0 to 1.
    float share(MaterialInput input, float own);

private:
    /// Returns whether there is a result, which `values` then has.
    bool evaluate(Index step);
    bool compute(const ShadingStep& step, Color& result);
    Color resultOf(const ShadingValue& value);
    bool image(const ShadingStep& step, Color& result) const;
    V2f coordinates(const ShadingStep& step) const;
    V3f patternPlace(const ShadingStep& step) const;

    const SceneData& scene;
    const Textures& textures;
    const RayHit& hit;
    const Material& material;
    std::uint64_t known = 0; // a bit for each step that was evaluated
    std::uint64_t valid = 0; // a bit for each step that has a result
    std::array<Color, kMostShadingSteps> values;
};

} // namespace lantern

#endif
