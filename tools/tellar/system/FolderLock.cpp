#include "FolderLock.h"

#include <utility>

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace TellarTool {

#if defined(_WIN32)

FolderLock::FolderLock(const std::string&) {}
FolderLock::~FolderLock() = default;

#else

FolderLock::FolderLock(const std::string& folder)
    : descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)) {
    if (descriptor < 0 || flock(descriptor, LOCK_EX | LOCK_NB) == 0) return;
    close(descriptor);
    descriptor = -1;
}

FolderLock::~FolderLock() {
    if (descriptor >= 0) close(descriptor);
}

#endif

FolderLock::FolderLock(FolderLock&& other) noexcept
    : descriptor(std::exchange(other.descriptor, -1)) {}

FolderLock& FolderLock::operator=(FolderLock&& other) noexcept {
    std::swap(descriptor, other.descriptor);
    return *this;
}

} // namespace TellarTool
