#ifndef SCENEIMPORT_COLLADACHECK_H
#define SCENEIMPORT_COLLADACHECK_H

#include <string_view>

namespace TellarSceneImport {

/// Throws std::runtime_error saying what is wrong when an accessor of a Collada file refers to
/// more numbers than its array has, a list of indices holds something else, or nodes hold
/// themselves or make too large a tree: Assimp checks none of it. Says nothing about what else
/// may be wrong.
void CheckCollada(std::string_view xml, int maxDepth);

} // namespace TellarSceneImport

#endif
