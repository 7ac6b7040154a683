#ifndef SCENEIMPORT_OBJCHECK_H
#define SCENEIMPORT_OBJCHECK_H

#include <string_view>

namespace TellarSceneImport {

/// Throws std::runtime_error when an OBJ file of this name gives itself as its materials.
void CheckObj(std::string_view content, std::string_view fileName);

/// Throws std::runtime_error when a material file has a statement before the first material,
/// because some of these crash Assimp.
void CheckMtl(std::string_view content);

} // namespace TellarSceneImport

#endif
