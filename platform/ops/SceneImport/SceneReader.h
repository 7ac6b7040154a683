#ifndef SCENEIMPORT_SCENEREADER_H
#define SCENEIMPORT_SCENEREADER_H

#include <memory>
#include <string>
#include <vector>

#include "FileStamp.h"
#include "ReadOptions.h"
#include "model/Scene.h"

namespace TellarSceneImport {

/// Reads a scene file. Throws std::runtime_error with the reason, one line without the path, when
/// that cannot be done. `files` receives, in either case, the stamp of every file that was
/// accessed, taken before it was read. May be called from any number of threads at once.
std::shared_ptr<const Scene> ReadScene(const std::string& path, const ReadOptions& options,
                                       std::vector<FileStamp>& files);

} // namespace TellarSceneImport

#endif
