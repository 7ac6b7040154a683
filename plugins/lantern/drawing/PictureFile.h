#ifndef LANTERN_DRAWING_PICTUREFILE_H
#define LANTERN_DRAWING_PICTUREFILE_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "drawing/Picture.h"

namespace lantern {

enum class PictureFormat {
    Exr,  ///< half floats, colors multiplied by alpha; layers of 32 bits
    Png,  ///< eight bits in sRGB, colors not multiplied by alpha
    Tiff, ///< sixteen bits in sRGB, colors not multiplied by alpha
    Jpeg  ///< eight bits in sRGB, over black and without alpha
};

/// A picture with its pixels in the format of its file.
struct StoredPicture {
    /// A channel of a layer, of four bytes.
    struct LayerChannel {
        std::string name;
        bool isInteger = false; ///< false: a float
        bool operator==(const LayerChannel& other) const {
            return name == other.name && isInteger == other.isInteger;
        }
    };

    PictureFormat format = PictureFormat::Exr;
    int width = 0; ///< width of the whole picture
    int height = 0;
    Window window;
    std::optional<M44f> worldToCamera;
    std::optional<M44f> worldToNdc;
    std::vector<LayerChannel> layers; ///< only in EXR
    std::map<std::string, Manifest> manifests;
    PictureFacts facts;
    std::vector<unsigned char> bytes; ///< row by row from the top, the layers after the colors

    std::size_t bytesPerPixel() const;
};

/// The format of a path's extension. Throws a RenderError that names the path if it is none of
/// ".exr", ".png", ".tif", ".tiff", ".jpg" and ".jpeg".
PictureFormat FormatOf(const std::string& path);

StoredPicture ToStored(const Picture& picture, PictureFormat format);
/// Converts the pixels of an EXR picture to another format, which leaves its layers out. Returns
/// any other picture as it is; its format must be the wanted one.
StoredPicture ToFormat(const StoredPicture& picture, PictureFormat format);

/// Throws a RenderError that names the path.
void WriteStored(const std::string& path, const StoredPicture& picture);
/// Reads a file that WriteStored wrote, but no JPEG. Throws a RenderError that names the path;
/// checks the sizes that the file states.
StoredPicture ReadStored(const std::string& path);

} // namespace lantern

#endif
