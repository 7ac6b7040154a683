#ifndef SCENEIMPORT_ASSIMPFILE_H
#define SCENEIMPORT_ASSIMPFILE_H

#include <functional>
#include <string>
#include <vector>

#include "FileStamp.h"
#include "ReadOptions.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

/// True if Assimp reads files with this extension, which begins with a dot and is in lower case.
bool IsAssimpExtension(const std::string& extension);

/// Reads a file of any format of Assimp. Throws std::runtime_error with the reason when that cannot
/// be done. `files` receives the stamp of every file that was accessed, and `onAccess` is called
/// with its path before it is read. Recursive: needs a stack of many megabytes.
SceneContent ReadWithAssimp(const FileStamp& stamp, const std::string& extension,
                            const ReadOptions& options, std::vector<FileStamp>& files,
                            const std::function<void(const std::string&)>& onAccess);

} // namespace TellarSceneImport

#endif
