#ifndef SCENEIMPORT_RESOLVETEXTURES_H
#define SCENEIMPORT_RESOLVETEXTURES_H

#include <string>

#include "model/SceneContent.h"

namespace TellarSceneImport {

/// Replaces the files of all image nodes by paths that can be opened. Readers leave them as the
/// scene file has them, and call its embedded image 3, for example, "*3". A texture that cannot be
/// had is left out of its material, after a warning. `path` is that of the scene file.
void ResolveTextures(SceneContent& content, const std::string& path);

} // namespace TellarSceneImport

#endif
