#ifndef OXTELLARPRODUCERS_TILEPATH_H
#define OXTELLARPRODUCERS_TILEPATH_H

#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>

namespace TELLAR::RenderOutputUtilsHost {

/// The path of the file for a tile of the picture at `path`. `tile` is its column and row and, if
/// known, the numbers of columns and rows.
///
/// "/out/tile_2_3.beauty.exr" for the tile 2, 3 of "/out/beauty.exr", unless the configuration key
/// "OMBRA_TILE_FILENAME" holds a template: "@STEM@_c@COLUMN@_r@ROW@@EXT@" gives
/// "/out/beauty_c2_r3.exr". It must have @COLUMN@, @ROW@, @STEM@ and @EXT@, or @DEFAULT@ (the name
/// above), and may have @COLUMNS@ and @ROWS@. A relative result lies in the picture's folder.
///
/// Returns the path itself if `tile` lacks its column or row, and the path without a template if
/// the template is unusable, and logs a message by "RenderOutputUtils". Threads: any.
TELLAR_API std::string ProcessTilePath(const std::string& path, const std::vector<int>& tile);

} // namespace TELLAR::RenderOutputUtilsHost

#endif
