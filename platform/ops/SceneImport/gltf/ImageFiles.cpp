#include "ImageFiles.h"

#include <stdexcept>
#include <string_view>

#include "TinyGltf.h"
#include "Uri.h"

namespace TellarSceneImport {

// Some writers do not encode the characters of names, so a name with "%" can also be meant as it
// is written.
std::string ImageFiles::pathOf(int image, const std::string& material) {
    const std::string& uri = document.model().images.at(image).uri;
    if (uri.empty()) return pathOfEmbedded(image);
    const std::string decoded = PercentDecoded(uri);
    return files.pathOf(!files.exists(decoded) && files.exists(uri) ? uri : decoded, material);
}

std::string ImageFiles::pathOfEmbedded(int image) {
    std::string reason = "it is empty";
    try {
        const std::string_view bytes = document.imageBytes(image);
        if (!bytes.empty())
            return files.pathOfEmbedded(bytes, document.model().images[image].mimeType);
    } catch (const std::runtime_error& error) {
        reason = error.what();
    }
    warn("image " + std::to_string(image) + " is left out: " + reason);
    return {};
}

} // namespace TellarSceneImport
