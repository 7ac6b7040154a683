#ifndef SCENEIMPORT_PLYCHECK_H
#define SCENEIMPORT_PLYCHECK_H

#include <string_view>

namespace TellarSceneImport {

/// Throws std::runtime_error saying what is wrong when a PLY file's header is damaged, or the
/// file ends before all is there that the header promises. Assimp never comes back from some
/// cut headers, makes room for whatever a header promises, and takes what is missing for zeros.
void CheckPly(std::string_view content);

} // namespace TellarSceneImport

#endif
