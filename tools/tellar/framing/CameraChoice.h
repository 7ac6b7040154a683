#ifndef TELLAR_TOOL_CAMERACHOICE_H
#define TELLAR_TOOL_CAMERACHOICE_H

#include <string>

#include "Scene.h"

namespace TellarTool {

/// The path of the camera that the value of --camera means: a path as it is; otherwise the only
/// camera whose path matches a pattern such as "/root/**/shot_*", or whose name matches one such as
/// "shot_*". Throws std::runtime_error naming the scene and its cameras when none or several do.
std::string ChooseCamera(const Scene& scene, const std::string& wanted);

} // namespace TellarTool

#endif
