#ifndef TELLAR_TOOL_STUDIO_H
#define TELLAR_TOOL_STUDIO_H

#include <string>

#include <OxTellarSDK/Attribute.h>

#include "Framing.h"

namespace TellarTool {

// The camera and the lights that the command brings to a scene without them. Each is a group of the
// form that the op type StaticScene takes as a location.

OxAttribute::GroupAttribute CameraLocation(const FramingCamera& camera);

/// A group of lights: a gray environment that is lighter above, and two soft boxes whose distance
/// and size are in proportion to the framed points.
OxAttribute::GroupAttribute LightsLocation(const Framing& framing);

/// A group that holds the children, in world space wherever it is.
OxAttribute::GroupAttribute
WorldLocation(const std::vector<OxAttribute::GroupAttribute::Child>& children);

} // namespace TellarTool

#endif
