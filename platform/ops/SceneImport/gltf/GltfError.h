#ifndef SCENEIMPORT_GLTFERROR_H
#define SCENEIMPORT_GLTFERROR_H

#include <string>

namespace TellarSceneImport {

/// Throws std::runtime_error "damaged glTF: <what>".
[[noreturn]] void GltfError(const std::string& what);

} // namespace TellarSceneImport

#endif
