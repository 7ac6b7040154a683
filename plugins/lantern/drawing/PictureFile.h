#ifndef LANTERN_DRAWING_PICTUREFILE_H
#define LANTERN_DRAWING_PICTUREFILE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "drawing/Picture.h"

namespace lantern {

enum class PictureFormat {
    Exr, ///< four half floats a pixel
    Png  ///< four bytes a pixel, colours not multiplied by alpha
};

/// A picture as it is in its file.
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

/// Throws RenderError naming a path that ends neither in ".exr" nor in ".png".
PictureFormat FormatOf(const std::string& path);

StoredPicture ToStored(const Picture& picture, PictureFormat format);
/// Throws RenderError when there is no way from one to the other.
StoredPicture ToFormat(const StoredPicture& picture, PictureFormat format);

// Both throw RenderError naming the path. The reader checks that what the file says can be.
void WriteStored(const std::string& path, const StoredPicture& picture);
StoredPicture ReadStored(const std::string& path);

} // namespace lantern

#endif
