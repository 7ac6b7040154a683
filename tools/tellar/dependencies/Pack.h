#ifndef TELLAR_TOOL_PACK_H
#define TELLAR_TOOL_PACK_H

#include <string>

#include "Scene.h"
#include "SceneFiles.h"
#include "StopSignals.h"

namespace TellarTool {

/// The files of a scene. Throws std::runtime_error naming a file that cannot be packed, also a
/// missing one unless `allowMissing`.
SceneFiles FindFilesToPack(const Scene& scene, bool allowMissing);

/// Gathers a scene and its files in a folder, which can be moved anywhere. The packed scene is
/// opened to see that it needs nothing else. Returns the path of its description. Throws
/// std::runtime_error naming a file that cannot be packed, and Stopped after a signal.
std::string WritePack(const Scene& scene, const SceneFiles& files, const std::string& folder,
                      const StopSignals& signals);

} // namespace TellarTool

#endif
