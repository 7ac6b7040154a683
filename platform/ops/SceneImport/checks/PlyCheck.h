#ifndef SCENEIMPORT_PLYCHECK_H
#define SCENEIMPORT_PLYCHECK_H

#include <string_view>

namespace TellarSceneImport {

/// Throws std::runtime_error with the reason when the header of a PLY file is damaged or the file
/// is shorter than the header says. Assimp hangs on some truncated headers, allocates as much as
/// any header says, and reads missing data as zeros.
void CheckPly(std::string_view content);

} // namespace TellarSceneImport

#endif
