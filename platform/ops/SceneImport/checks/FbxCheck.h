#ifndef SCENEIMPORT_FBXCHECK_H
#define SCENEIMPORT_FBXCHECK_H

#include <string_view>

namespace TellarSceneImport {

/// Checks what Assimp does not check in an FBX file, text or binary. Throws std::runtime_error with
/// the reason when objects hold themselves or make too large a tree, an array claims more than the
/// file can hold, or records are nested too deep.
void CheckFbx(std::string_view content, int maxDepth);

} // namespace TellarSceneImport

#endif
