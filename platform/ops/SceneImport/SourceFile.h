#ifndef SCENEIMPORT_SOURCEFILE_H
#define SCENEIMPORT_SOURCEFILE_H

#include <cstdint>
#include <string>

#include "FileStamp.h"

namespace TellarSceneImport {

/// The limits and the access that all readers of scene files share.

/// Deepest nesting of nodes that is read.
constexpr int kMaxNodeDepth = 1000;

/// The limit for nodes. Instancing can make more of them from a small file.
constexpr std::uint64_t kMaxNodes = 10'000'000;

/// In bytes, of each file.
constexpr std::uintmax_t kMaxFileSize = std::uintmax_t(4) << 30;

/// With its dot, in lower case; empty if there is none.
std::string LowerExtension(const std::string& path);

/// The content of the file. Throws std::runtime_error when it is not a regular file, too large or
/// cannot be read.
std::string ReadWhole(const FileStamp& stamp);

} // namespace TellarSceneImport

#endif
