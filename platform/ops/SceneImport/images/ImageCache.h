#ifndef SCENEIMPORT_IMAGECACHE_H
#define SCENEIMPORT_IMAGECACHE_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace TellarSceneImport {

/// A folder of images that were inside scene files, so that renderers can open them by a path.
///
/// A file is named after a hash of its content. It appears under its name when it is complete, so
/// any number of threads and processes can share the folder without locks. When the files take
/// more than the limit, those that were requested the longest time ago are deleted; files that were
/// requested during the last day stay, because a renderer may still need them. Other files in
/// the folder are never touched.
class ImageCache {
public:
    /// The folder is created when it is first needed. `limit` is in bytes.
    ImageCache(std::string folder, std::uint64_t limit);

    /// The path of a file with this content. `hint` is what ImageExtension() takes. Throws
    /// std::runtime_error, with the path and the system's reason, when it cannot be written.
    std::string pathOf(std::string_view bytes, std::string_view hint) const;

    /// The folder of the files.
    const std::string& directory() const { return folder; }

private:
    void write(const std::string& path, std::string_view bytes) const;
    void noteWritten(std::uint64_t bytes) const;
    std::uint64_t evict() const;

    const std::string folder;
    const std::uint64_t limit;
    mutable std::mutex lock;
    // The size of all files when the folder was last listed, plus the files written since.
    mutable std::optional<std::uint64_t> total;
};

/// The cache that the configuration asks for: the key IMAGE_CACHE names its folder and
/// IMAGE_CACHE_LIMIT its limit in MiB. The folder is otherwise "tellar/images" in $XDG_CACHE_HOME
/// or
/// ~/.cache. Throws std::runtime_error when there is no such folder or the limit is not a number.
std::unique_ptr<ImageCache> ConfiguredImageCache();

/// The folder of that cache; empty if there is none.
std::string ImageCacheFolder();

} // namespace TellarSceneImport

#endif
