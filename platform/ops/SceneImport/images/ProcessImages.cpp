#include "ProcessImages.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <system_error>

#include <stdlib.h>
#include <unistd.h>

#include "ImageCache.h"
#include "files/RegularFile.h"

namespace TellarSceneImport {

namespace {

namespace fs = std::filesystem;

/// A new folder for the files of one process, in the system's folder for temporary files, and the
/// cache in it.
struct ProcessFolder {
    ProcessFolder() : path(Make()), cache(path, UINT64_MAX) {}

    static std::string Make() {
        std::error_code error;
        std::string path = (fs::temp_directory_path(error) / "tellar-images-XXXXXX").string();
        if (error || !mkdtemp(path.data()))
            throw std::runtime_error("Cannot create a temporary folder for images: " +
                                     (error ? error.message() : RegularFile::ReasonOf(errno)));
        return path;
    }

    const pid_t owner = getpid();
    const std::string path;
    const ImageCache cache; // may be shared by threads
};

std::atomic<const ProcessFolder*> processFolder{nullptr}; // never destroyed

/// Removes the folder at the end of the process that made it. A forked process leaves it alone.
struct Remover {
    ~Remover() {
        const ProcessFolder* const folder = processFolder;
        std::error_code ignored;
        if (folder && folder->owner == getpid()) fs::remove_all(folder->path, ignored);
    }
};

const ProcessFolder& GetProcessFolder() {
    static std::mutex lock;
    const std::lock_guard<std::mutex> guard(lock);
    if (!processFolder) {
        static const Remover remover;
        processFolder = new ProcessFolder;
    }
    return *processFolder;
}

} // namespace

std::string PathOfProcessImage(std::string_view bytes, std::string_view hint) {
    return GetProcessFolder().cache.pathOf(bytes, hint);
}

std::string ProcessImageFolder() {
    const ProcessFolder* const folder = processFolder;
    return folder ? folder->path : std::string();
}

} // namespace TellarSceneImport
