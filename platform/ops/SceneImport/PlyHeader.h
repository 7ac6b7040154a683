#ifndef SCENEIMPORT_PLYHEADER_H
#define SCENEIMPORT_PLYHEADER_H

#include <cstdint>
#include <istream>

namespace TellarSceneImport {

/// Throws std::runtime_error saying what is wrong when a PLY file's header is damaged, or
/// promises more than `fileSize` bytes can hold. Assimp never comes back from some cut headers,
/// and makes room for whatever a header promises.
void CheckPlyHeader(std::istream& file, std::uint64_t fileSize);

} // namespace TellarSceneImport

#endif
