#ifndef LANTERN_DRAWING_PICTURE_H
#define LANTERN_DRAWING_PICTURE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Report.h"
#include "SceneData.h"
#include "drawing/Cryptomatte.h"

namespace lantern {

/// A channel of one of a picture's layers.
struct Channel {
    std::string name;                ///< the name of its layer and its own: "N.X"
    bool isInteger = false;          ///< false: the values are floats
    std::vector<std::uint32_t> bits; ///< bits of the values, one per pixel
};

/// Facts about a render, for the header of its file. Files may lack them.
struct PictureFacts {
    std::string scene;  ///< its file
    std::string camera; ///< its path
    std::optional<float> frame;
    std::optional<int> samples;    ///< paths per pixel, on average
    std::optional<double> seconds; ///< time of the render
    std::string date;              ///< time at which it ended: "2024:02:29 18:30:00"
};

/// The drawn part of a picture: scene-linear red, green, blue and alpha, with the colors multiplied
/// by alpha.
struct Picture {
    int width = 0; ///< width of the whole picture
    int height = 0;
    Window window;             ///< the drawn part
    std::vector<float> pixels; ///< four per pixel, row by row from the top
    std::vector<Channel> channels;
    std::map<std::string, Manifest> manifests; ///< keyed by the name of the matte: "CryptoObject"
    PictureFacts facts;
    bool isComplete = true; ///< false: the caller ended the drawing, and pixels may lack paths
    /// World to camera, and world to -1..1 across the whole picture. Files may lack them.
    std::optional<M44f> worldToCamera;
    std::optional<M44f> worldToNdc;
};

/// Throws a RenderError that names the path if WritePicture could not write it: because of its
/// extension, because the format has no layers, or because its folder does not exist.
void CheckPicturePath(const std::string& path, bool hasLayers = false);

/// Writes ".exr" (half floats, layers of 32 bits, the window as the data window), ".png" (8-bit
/// sRGB), ".tif" (16-bit sRGB) or ".jpg" (8-bit sRGB without alpha). The header has the matrices
/// and the facts. The file is replaced atomically. Throws a RenderError that names the path.
void WritePicture(const std::string& path, const Picture& picture);

/// Stitches the tiles of a picture and writes it, without a change of any pixel or layer if the
/// formats are the same. Tiles in EXR may become any format. Throws a RenderError that names a tile
/// which cannot be read, belongs to another picture or overlaps another tile, or that names the
/// pixels which no tile covers.
void StitchPictures(const std::vector<std::string>& tiles, const std::string& path, Report& report);

} // namespace lantern

#endif
