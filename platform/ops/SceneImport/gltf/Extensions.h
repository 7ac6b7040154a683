#ifndef SCENEIMPORT_EXTENSIONS_H
#define SCENEIMPORT_EXTENSIONS_H

#include <string>
#include <vector>

#include "GltfJson.h"

namespace TellarSceneImport {

/// Throws std::runtime_error, which names them, when the document requires extensions that this
/// reader does not understand. Returns the ones that it uses without requiring them and that are
/// not understood, in the order of the file.
std::vector<std::string> CheckExtensions(const Json& document);

} // namespace TellarSceneImport

#endif
