#ifndef TELLAR_TOOL_FOLDERLOCK_H
#define TELLAR_TOOL_FOLDERLOCK_H

#include <string>

namespace TellarTool {

/// A lock on a folder that one process has at a time, and that ends with the process however it
/// ends. Nothing is written into the folder. Some network file systems, and systems other than
/// POSIX, have no such locks.
class FolderLock {
public:
    /// Nothing is locked.
    FolderLock() = default;
    /// Locks the folder unless another process has done so, or it has no locks. Never waits.
    explicit FolderLock(const std::string& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    FolderLock(FolderLock&& other) noexcept;
    FolderLock& operator=(FolderLock&& other) noexcept;

    bool isHeld() const { return descriptor >= 0; }

private:
    int descriptor = -1;
};

} // namespace TellarTool

#endif
