#ifndef LANTERN_READING_READLIGHT_H
#define LANTERN_READING_READLIGHT_H

#include <functional>
#include <optional>
#include <string>

#include "SceneData.h"
#include "reading/Attribute.h"

namespace lantern {

/// A light before its texture has an index.
struct LightDraft {
    Light light;
    std::string textureFile; ///< only for an EnvironmentLight; empty without a texture
};

/// Reads a location's "light" group. The defaults are in parentheses:
///
///     type               directional, point, spot, area, ambient or environment
///     color              three numbers (1, 1, 1)
///     intensity          the light is color * intensity * 2^exposure (1)
///     exposure           in stops (0)
///     decay              points and spots: light is divided by x + y d + z d^2 (0, 0, 1)
///     radius             points and spots: radius of the sphere that shines (0)
///     coneInner          spots: full angle in degrees (30)
///     coneOuter          spots: full angle in degrees (40)
///     angle              directional: apparent diameter in degrees (0)
///     size               areas: width and height (1, 1)
///     texture            environments: an image by longitude and latitude, +Y up (none)
///     horizon, zenith, ground  environments: colours without a texture (1, 1, 1)
///     seen               environments: 0 hides them from the camera (1)
///
/// An ambient light is an environment of one colour that the camera does not see. Returns nothing,
/// and calls `warn`, for an unknown type and for a light that is not finite.
std::optional<LightDraft> ReadLight(const Attribute& light, const M44d& toWorld,
                                    const std::function<void(const std::string& what)>& warn);

} // namespace lantern

#endif
