#ifndef SCENEIMPORT_MESHOPT_H
#define SCENEIMPORT_MESHOPT_H

#include <string>
#include <string_view>

#include "GltfJson.h"
#include "MemoryBudget.h"

namespace TellarSceneImport {

/// The extension of a buffer view whose data is compressed by meshoptimizer, or null.
const Json* MeshoptOf(const Json& bufferView);

/// The number of bytes from one element of the decoded view to the next.
std::size_t MeshoptStride(const Json& extension);

/// Decodes a view. `source` is the whole buffer that `extension` names. Throws std::runtime_error
/// for damaged data and for more elements than the data can hold.
std::string DecodeMeshopt(const Json& extension, std::string_view source, MemoryBudget& budget);

} // namespace TellarSceneImport

#endif
