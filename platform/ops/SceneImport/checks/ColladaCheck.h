#ifndef SCENEIMPORT_COLLADACHECK_H
#define SCENEIMPORT_COLLADACHECK_H

#include <string_view>

namespace TellarSceneImport {

/// Checks what Assimp does not check in a Collada file. Throws std::runtime_error with the reason
/// when an accessor refers to more numbers than its array has, a list of indices holds something
/// else, or nodes hold themselves or make too large a tree.
void CheckCollada(std::string_view xml, int maxDepth);

} // namespace TellarSceneImport

#endif
