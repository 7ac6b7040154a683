#ifndef SCENEIMPORT_IMAGEFILES_H
#define SCENEIMPORT_IMAGEFILES_H

#include <string>

#include "Document.h"
#include "materials/TextureFiles.h"

namespace TellarSceneImport {

/// The files of the images of a glTF document. For one thread.
class ImageFiles {
public:
    /// `path` is that of the glTF file.
    ImageFiles(const Document& document, const std::string& path)
        : document(document), files(path) {}

    /// The path of an image; empty, after a warning, if it cannot be had. `material` is for the
    /// warning.
    std::string pathOf(int image, const std::string& material);

    void warn(const std::string& about) const { files.warn(about); }

private:
    std::string pathOfEmbedded(int image);

    const Document& document;
    TextureFiles files;
};

} // namespace TellarSceneImport

#endif
