#ifndef TELLAR_TOOL_PACK_H
#define TELLAR_TOOL_PACK_H

#include <string>

#include "Scene.h"

namespace TellarTool {

/// Gathers a scene and all files that it needs in a new folder, which can be moved anywhere. The
/// packed scene is opened to see that it needs nothing else. Returns the path of its description.
/// Throws std::runtime_error naming a file that cannot be packed, also a missing one unless
/// `allowMissing`.
std::string WritePack(const Scene& scene, const std::string& folder, bool allowMissing);

} // namespace TellarTool

#endif
