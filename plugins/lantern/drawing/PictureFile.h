#ifndef LANTERN_DRAWING_PICTUREFILE_H
#define LANTERN_DRAWING_PICTUREFILE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "drawing/Picture.h"

namespace lantern {

enum class PictureFormat {
    Exr, ///< four half floats per pixel, colors multiplied by alpha
    Png  ///< four bytes per pixel, colors not multiplied by alpha
};

/// A picture with its pixels in the format of its file.
struct StoredPicture {
    PictureFormat format = PictureFormat::Exr;
    int width = 0; ///< of the whole picture
    int height = 0;
    Window window;
    std::optional<M44f> worldToCamera;
    std::optional<M44f> worldToNdc;
    std::vector<unsigned char> bytes; ///< row by row from the top

    std::size_t bytesPerPixel() const { return format == PictureFormat::Exr ? 8 : 4; }
};

/// The format of a path's extension. Throws a RenderError that names the path if it is neither
/// ".exr" nor ".png".
PictureFormat FormatOf(const std::string& path);

StoredPicture ToStored(const Picture& picture, PictureFormat format);
/// Converts the pixels. Throws RenderError for ".png" to ".exr".
StoredPicture ToFormat(const StoredPicture& picture, PictureFormat format);

// Both throw a RenderError that names the path. ReadStored checks the sizes that the file states.
void WriteStored(const std::string& path, const StoredPicture& picture);
StoredPicture ReadStored(const std::string& path);

} // namespace lantern

#endif
