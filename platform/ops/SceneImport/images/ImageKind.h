#ifndef SCENEIMPORT_IMAGEKIND_H
#define SCENEIMPORT_IMAGEKIND_H

#include <cstdint>
#include <string>
#include <string_view>

namespace TellarSceneImport {

/// The usual extension of a picture file with this content: ".png", for example. `hint` decides
/// where the content does not: a MIME type, an extension or a file name. ".img" if nothing does.
std::string ImageExtension(std::string_view bytes, std::string_view hint);

/// A TGA file of an image without compression. `texels` holds blue, green, red and alpha of
/// `width` times `height` texels, the top row first. Throws std::runtime_error when TGA does not
/// allow the size or the number of bytes is another one.
std::string TgaFile(std::uint32_t width, std::uint32_t height, std::string_view texels);

} // namespace TellarSceneImport

#endif
