#ifndef SCENEIMPORT_FBXCHECK_H
#define SCENEIMPORT_FBXCHECK_H

#include <string_view>

namespace TellarSceneImport {

/// Throws std::runtime_error saying what is wrong when the objects of an FBX file, text or
/// binary, hold themselves or make too large a tree, or its records are nested absurdly deep:
/// Assimp checks none of it. Says nothing about what else may be wrong with the file.
void CheckFbx(std::string_view content, int maxDepth);

} // namespace TellarSceneImport

#endif
