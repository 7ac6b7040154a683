#ifndef TELLAR_TOOL_PACK_H
#define TELLAR_TOOL_PACK_H

#include <string>

#include "Scene.h"
#include "SceneFiles.h"
#include "StopSignals.h"

namespace TellarTool {

/// The files of a scene. Throws std::runtime_error naming a file that cannot be packed. A missing
/// file is an error unless `allowMissing`.
SceneFiles FindFilesToPack(const Scene& scene, bool allowMissing);

/// Copies a scene and its files to a folder that can be moved anywhere. Opens the packed scene to
/// check that it needs no other file. Returns the path of its description. Throws
/// std::runtime_error naming a file that cannot be packed, and Stopped after a signal.
std::string WritePack(const Scene& scene, const SceneFiles& files, const std::string& folder,
                      const StopSignals& signals);

} // namespace TellarTool

#endif
