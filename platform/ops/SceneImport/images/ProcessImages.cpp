#include "ProcessImages.h"

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <memory>
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

/// A new folder for the files of one process, in the system's folder for temporary files.
class ProcessFolder {
public:
    ProcessFolder() : owner(getpid()) {
        std::error_code error;
        path = (fs::temp_directory_path(error) / "tellar-images-XXXXXX").string();
        if (error || !mkdtemp(path.data()))
            throw std::runtime_error("Cannot create a temporary folder for images: " +
                                     (error ? error.message() : RegularFile::ReasonOf(errno)));
    }
    /// A forked process ends without removing the folder of its parent.
    ~ProcessFolder() {
        std::error_code ignored;
        if (owner == getpid()) fs::remove_all(path, ignored);
    }
    ProcessFolder(const ProcessFolder&) = delete;
    ProcessFolder& operator=(const ProcessFolder&) = delete;

    const std::string& getPath() const { return path; }

private:
    const pid_t owner;
    std::string path;
};

struct Images {
    std::mutex lock; // of the pointer; the cache itself may be shared by threads
    std::unique_ptr<const ProcessFolder> folder;
    std::shared_ptr<const ImageCache> cache;
};

/// Destroyed at the end of the process, with the folder.
Images& GetImages() {
    static Images instance;
    return instance;
}

} // namespace

std::string PathOfProcessImage(std::string_view bytes, std::string_view hint) {
    Images& images = GetImages();
    std::shared_ptr<const ImageCache> cache;
    {
        const std::lock_guard<std::mutex> guard(images.lock);
        if (!images.folder) {
            images.folder = std::make_unique<ProcessFolder>();
            images.cache = std::make_shared<ImageCache>(images.folder->getPath(), UINT64_MAX);
        }
        cache = images.cache;
    }
    return cache->pathOf(bytes, hint);
}

std::string ProcessImageFolder() {
    Images& images = GetImages();
    const std::lock_guard<std::mutex> guard(images.lock);
    return images.folder ? images.folder->getPath() : std::string();
}

} // namespace TellarSceneImport
