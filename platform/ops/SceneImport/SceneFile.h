#ifndef SCENEIMPORT_SCENEFILE_H
#define SCENEIMPORT_SCENEFILE_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "FileStamp.h"
#include "ReadOptions.h"
#include "model/Scene.h"

namespace TellarSceneImport {

/// The files that were accessed to read a scene file.
struct FileList {
    std::vector<std::string> paths; ///< all accessed files, existing or not
    std::string failure;            ///< error message; empty if the scene file was read
};

/// The wanted part of one version of a scene file, read when it is first needed and at most once. A
/// failure to read it is remembered too. Safe from many threads.
class SceneFile {
public:
    SceneFile(FileStamp stamp, ReadOptions options);
    ~SceneFile();
    SceneFile(const SceneFile&) = delete;
    SceneFile& operator=(const SceneFile&) = delete;

    /// Waits if another thread is reading the file. Throws std::runtime_error when the file cannot
    /// be read, always with the same reason.
    const Scene& scene() const;

    /// Reads the file if necessary, but does not throw if that fails.
    FileList listFiles() const;

    /// True while this file and every file that it refers to are unchanged since they were read.
    bool isCurrent() const;

    /// The bytes that it counts in the budget of memory: 0 until it is read. They no longer count
    /// afterwards, because the caller is about to free the file.
    std::uint64_t takeCountedBytes() const noexcept {
        return countedBytes.exchange(0, std::memory_order_relaxed);
    }

private:
    void readIfNeeded() const;
    void read() const;
    void count() const;

    const FileStamp stamp;
    const ReadOptions options;
    // Written once, under the flag, so readers see them complete and unchanging.
    mutable std::once_flag readOnce;
    mutable std::shared_ptr<const Scene> result;
    mutable std::string failure;
    mutable std::mutex filesLock;
    mutable std::vector<FileStamp> files; // empty until read
    mutable std::atomic<std::uint64_t> countedBytes{0};
};

/// The present version of the file. All callers get the same object while the file does not change,
/// so a process reads each version once for each set of options. The files requested last are kept
/// even if they are unused, until memory is short (OxTellarSDK/MemoryBudget.h). Safe from many
/// threads.
std::shared_ptr<const SceneFile> OpenSceneFile(const std::string& path,
                                               const ReadOptions& options = {});

/// Frees unused files.
void DropUnusedSceneFiles();

/// How many times a file was read in this process.
std::uint64_t GetNumberOfSceneReads();

} // namespace TellarSceneImport

#endif
