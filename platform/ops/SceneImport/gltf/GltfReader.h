#ifndef SCENEIMPORT_GLTFREADER_H
#define SCENEIMPORT_GLTFREADER_H

#include <string>
#include <vector>

#include "FileStamp.h"
#include "ReadOptions.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

/// Reads a glTF 2 file, text or binary, with the whole file as `content`. Throws std::runtime_error
/// with the reason when that cannot be done. `files` receives the stamps of the files that the
/// file refers to and that were read. Recursive: needs a stack of many megabytes.
SceneContent ReadGltf(std::string content, const std::string& path, const ReadOptions& options,
                      std::vector<FileStamp>& files);

} // namespace TellarSceneImport

#endif
