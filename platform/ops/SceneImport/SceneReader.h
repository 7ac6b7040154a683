#ifndef SCENEIMPORT_SCENEREADER_H
#define SCENEIMPORT_SCENEREADER_H

#include <memory>
#include <string>
#include <vector>

#include "FileStamp.h"
#include "ReadOptions.h"
#include "isolation/ReaderProcess.h"
#include "model/Scene.h"

namespace TellarSceneImport {

/// Reads a file of any format but glTF. Throws std::runtime_error with the reason when it cannot be
/// read. `files` receives the stamp of every file that was accessed.
using ForeignReader = SceneContent (*)(const FileStamp& stamp, const ReadOptions& options,
                                       std::vector<FileStamp>& files);

/// Reads a scene file; formats other than glTF in a process of their own. Throws std::runtime_error
/// with the reason, one line without the path, when that cannot be done. `files` receives, in
/// either case, the stamp of every file that was accessed, taken before it was read. May be called
/// from any number of threads at once.
std::shared_ptr<const Scene> ReadScene(const std::string& path, const ReadOptions& options,
                                       std::vector<FileStamp>& files,
                                       ForeignReader foreignReader = &ReadInChildProcess);

} // namespace TellarSceneImport

#endif
