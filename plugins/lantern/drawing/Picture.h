#ifndef LANTERN_DRAWING_PICTURE_H
#define LANTERN_DRAWING_PICTURE_H

#include <optional>
#include <string>
#include <vector>

#include "Report.h"
#include "SceneData.h"

namespace lantern {

/// The drawn part of a picture: scene-linear red, green, blue and alpha, with the colors multiplied
/// by alpha.
struct Picture {
    int width = 0; ///< of the whole picture
    int height = 0;
    Window window;             ///< the drawn part
    std::vector<float> pixels; ///< four per pixel, row by row from the top
    /// World to camera, and world to -1..1 across the whole picture. Files may lack them.
    std::optional<M44f> worldToCamera;
    std::optional<M44f> worldToNdc;
};

/// Throws a RenderError that names the path if WritePicture could not write it: because of its
/// extension, or because its folder does not exist.
void CheckPicturePath(const std::string& path);

/// Writes ".exr" (half floats, the window as the data window, the matrices as "worldToCamera" and
/// "worldToNDC") or ".png" (8-bit sRGB). The file is replaced atomically. Throws a RenderError that
/// names the path.
void WritePicture(const std::string& path, const Picture& picture);

/// Stitches the tiles of a picture and writes it, without a change of any pixel if the formats are
/// the same. Throws a RenderError that names a tile which cannot be read, belongs to another
/// picture or overlaps another tile, or that names the pixels which no tile covers.
void StitchPictures(const std::vector<std::string>& tiles, const std::string& path, Report& report);

} // namespace lantern

#endif
