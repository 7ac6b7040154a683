#ifndef LANTERN_DRAWING_PICTURE_H
#define LANTERN_DRAWING_PICTURE_H

#include <optional>
#include <string>
#include <vector>

#include "Report.h"
#include "SceneData.h"

namespace lantern {

/// Scene-linear red, green, blue and alpha, colours multiplied by alpha: what was drawn of a
/// picture.
struct Picture {
    int width = 0; ///< of the whole picture
    int height = 0;
    Window window;             ///< what `pixels` holds, row by row from the top
    std::vector<float> pixels; ///< four a pixel
    /// World to camera, and world to -1..1 across the whole picture; not known of pictures that
    /// were read from files without them.
    std::optional<M44f> worldToCamera;
    std::optional<M44f> worldToNdc;
};

/// Throws RenderError naming the path when WritePicture could not write there: its format is none
/// of the two, or its folder is not there.
void CheckPicturePath(const std::string& path);

/// Writes ".exr" (half floats, the window as the data window, the matrices as "worldToCamera" and
/// "worldToNDC") or ".png" (sRGB of eight bits). The file is replaced in one go: it is complete or
/// as it was before. Throws RenderError naming the path.
void WritePicture(const std::string& path, const Picture& picture);

/// Puts tiles of one picture together and writes it; pictures of eight bits stay as they are to
/// the bit, and so do half floats. Throws RenderError naming the tile that cannot be read, is of
/// another picture, lies over another one, or is missing.
void StitchPictures(const std::vector<std::string>& tiles, const std::string& path, Report& report);

} // namespace lantern

#endif
