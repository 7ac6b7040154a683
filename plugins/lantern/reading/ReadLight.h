#ifndef LANTERN_READING_READLIGHT_H
#define LANTERN_READING_READLIGHT_H

#include <functional>
#include <optional>
#include <string>

#include "SceneData.h"
#include "reading/Attribute.h"

namespace lantern {

/// A light whose texture is its file: its index is kNone.
struct LightDraft {
    Light values;
    std::string textureFile; ///< empty for none
};

/// From a location's "light" group:
///
///     type               directional, point, spot, area, ambient or environment
///     color              three numbers; 1, 1, 1
///     intensity          1; the light is color * intensity * 2^exposure
///     exposure           0
///     decay              points and spots: it is divided by x + y d + z d^2; 0, 0, 1
///     radius             points and spots: of the ball that shines; 0
///     coneInner          spots: whole angles in degrees; 30
///     coneOuter          spots; 40
///     angle              directional: how wide it is seen, in degrees; 0
///     size               areas: width and height; 1, 1
///     texture            environments: an image by longitude and latitude, +Y up
///     horizon, zenith, ground  environments: colours where there is no texture; 1, 1, 1
///     seen               environments: 0 hides them from the camera; 1
///
/// An ambient light is an environment of one colour that the camera does not see. Nothing comes
/// back for a type that is not known; `warn` is told.
std::optional<LightDraft> ReadLight(const Attribute& light, const M44d& toWorld,
                                    const std::function<void(const std::string& what)>& warn);

} // namespace lantern

#endif
