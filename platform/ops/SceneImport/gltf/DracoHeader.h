#ifndef SCENEIMPORT_DRACOHEADER_H
#define SCENEIMPORT_DRACOHEADER_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace TellarSceneImport {

/// The number of faces in the header of a mesh that Draco compressed by its edgebreaker method. The
/// decoder allocates memory for all of them before it reads the first one. Returns nothing for
/// other and for damaged data. Throws std::runtime_error for metadata that is nested too deeply.
std::optional<std::uint32_t> DracoFaceCount(std::string_view data);

} // namespace TellarSceneImport

#endif
