#ifndef TELLAR_TOOL_STAGEDFOLDER_H
#define TELLAR_TOOL_STAGEDFOLDER_H

#include <string>

#include "FolderLock.h"

namespace TellarTool {

/// A folder that is filled under another name, so that its content appears complete or not at
/// all. The other name is ".tellar-pack.", the name of the folder, a dot and a random number. While
/// the object lives, the folder of that name is locked, which tells it from one that a killed
/// process has left.
class StagedFolder {
public:
    /// Removes the remains of killed processes beside the folder. Throws std::runtime_error unless
    /// the folder can be created, or exists and is empty.
    static void check(const std::string& name);

    /// The folder of this name must not exist, or be empty. Throws std::runtime_error naming it and
    /// the reason.
    explicit StagedFolder(const std::string& name);
    /// Removes everything unless putInPlace() has been called.
    ~StagedFolder();
    StagedFolder(const StagedFolder&) = delete;
    StagedFolder& operator=(const StagedFolder&) = delete;

    /// The folder to write to before putInPlace().
    const std::string& getPath() const { return path; }

    void putInPlace();

private:
    std::string folder;
    bool isNew = true; // false: an empty folder of that name exists and is kept
    std::string path;  // empty after putInPlace()
    FolderLock lock;
};

} // namespace TellarTool

#endif
