#ifndef SCENEIMPORT_TEXTUREFILES_H
#define SCENEIMPORT_TEXTUREFILES_H

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "images/ImageCache.h"

namespace TellarSceneImport {

/// The files of the textures of one scene file: pictures beside it, and pictures inside it, which
/// are put into the image cache, or into a temporary folder if that cannot be written. Logs one
/// warning for each file that does not exist, and one for each such cache. For one thread.
class TextureFiles {
public:
    /// `scenePath` is absolute.
    explicit TextureFiles(std::string scenePath);

    /// The absolute path of a picture that the scene file refers to, as FindReferencedFile() finds
    /// it. "<UDIM>" in a reference stays in the path. Without such a file, returns the path in the
    /// reference and warns; the warning names `material`.
    std::string pathOf(const std::string& reference, const std::string& material);

    /// Whether pathOf() finds a file exactly where the reference says.
    bool exists(const std::string& reference) const;

    /// The path of a file with a picture that is inside the scene file; empty, with one warning for
    /// the scene file, if it cannot be written. `hint` is what ImageExtension() takes.
    std::string pathOfEmbedded(std::string_view bytes, std::string_view hint);

    /// Logs a warning about this scene file.
    void warn(const std::string& about) const;

private:
    std::string pathInCache(std::string_view bytes, std::string_view hint);

    const std::string scenePath, folder;
    std::map<std::string, std::string> known; // paths, keyed by reference
    std::unique_ptr<ImageCache> cache;        // null until the first embedded picture
    bool isCacheBroken = false;
    bool isLeftOut = false; // the pictures inside the scene file have no place at all
};

} // namespace TellarSceneImport

#endif
