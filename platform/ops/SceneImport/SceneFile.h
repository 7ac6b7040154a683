#ifndef SCENEIMPORT_SCENEFILE_H
#define SCENEIMPORT_SCENEFILE_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "FileStamp.h"
#include "Scene.h"

namespace TellarSceneImport {

/// One version of a scene file, read when it is first needed and at most once. That it could
/// not be read is remembered too. Safe from many threads.
class SceneFile {
public:
    explicit SceneFile(FileStamp stamp);

    /// Waits if another thread is reading just now. Throws std::runtime_error with the reason,
    /// always the same one, when the file cannot be read.
    const Scene& scene() const;

    /// True while this file, and every file that it referred to, is the one that was read.
    bool isCurrent() const;

private:
    void read() const;

    const FileStamp stamp;
    // Written once, under the flag: what a reader sees is complete and never changes.
    mutable std::once_flag readOnce;
    mutable std::shared_ptr<const Scene> result;
    mutable std::string failure;
    mutable std::mutex filesLock;
    mutable std::vector<FileStamp> files; // empty until read
};

/// The file's present version: the same object for all who ask while nothing changes, so that
/// a process reads each version once. Besides those that are in use, the few that were asked
/// for last are kept. Safe from many threads.
std::shared_ptr<const SceneFile> OpenSceneFile(const std::string& path);

/// Lets go of files that nobody uses.
void DropUnusedSceneFiles();

/// How many times a file was read in this process.
std::uint64_t GetNumberOfSceneReads();

} // namespace TellarSceneImport

#endif
