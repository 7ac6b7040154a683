#ifndef SCENEIMPORT_DOCUMENTCHECK_H
#define SCENEIMPORT_DOCUMENTCHECK_H

#include "GltfJson.h"

namespace TellarSceneImport {

/// Throws std::runtime_error unless the lists of a glTF document hold objects, its indices refer to
/// existing items, its nodes form trees at most `maxDepth` deep, and its numbers are in their
/// ranges.
void CheckGltf(const Json& document, int maxDepth);

} // namespace TellarSceneImport

#endif
