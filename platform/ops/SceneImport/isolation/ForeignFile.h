#ifndef SCENEIMPORT_FOREIGNFILE_H
#define SCENEIMPORT_FOREIGNFILE_H

#include <functional>
#include <string>
#include <vector>

#include "FileStamp.h"
#include "ReadOptions.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

/// Reads a scene file of any format of Assimp in this process, which some damaged files crash.
/// Throws std::runtime_error with the reason when it cannot be read. `files` receives the stamp of
/// every file that was accessed.
SceneContent ReadForeignFile(const FileStamp& stamp, const ReadOptions& options,
                             std::vector<FileStamp>& files);
/// Overload that calls `onAccess` with the path of each file before it is read.
SceneContent ReadForeignFile(const FileStamp& stamp, const ReadOptions& options,
                             std::vector<FileStamp>& files,
                             const std::function<void(const std::string& path)>& onAccess);

} // namespace TellarSceneImport

#endif
