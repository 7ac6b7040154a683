#ifndef TELLAR_TOOL_TESTSCENES_H
#define TELLAR_TOOL_TESTSCENES_H

#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

// Scenes for checks of renderers, as op-tree descriptions. Pictures of them have 48 by 32 pixels.

/// "/root" and nothing else.
OxAttribute::GroupAttribute EmptyScene();
/// A camera, and nothing that it sees.
OxAttribute::GroupAttribute SceneWithoutShapes();
/// Two shapes, and no camera.
OxAttribute::GroupAttribute SceneWithoutCamera();

/// Every type of location, material and light, values that change over time, instances, inherited
/// and hidden things. The first op is "scene"; kMovedShape is one of its shapes.
OxAttribute::GroupAttribute SceneOfEverything();
constexpr const char* kMovedShape = "/root/world/shapes/mesh";

/// Locations with long, empty-looking and foreign names, and a deep branch.
OxAttribute::GroupAttribute SceneOfOddNames();
/// Shapes whose counts, indices, numbers and types are wrong.
OxAttribute::GroupAttribute SceneOfDamagedShapes();

/// The locations of SceneOfEverything that a check lets fail, one of each kind.
std::vector<std::string> LocationsToFail();

/// The description with one more op behind all others.
OxAttribute::GroupAttribute WithOp(const OxAttribute::GroupAttribute& description,
                                   const std::string& name, const std::string& type,
                                   const OxAttribute::GroupAttribute& args);
/// The description with one more op that merges settings into the render settings.
OxAttribute::GroupAttribute WithSettings(const OxAttribute::GroupAttribute& description,
                                         const OxAttribute::GroupAttribute& settings);

} // namespace TellarTool

#endif
