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
/// A tile without column and row gives the path itself, an unusable template the name above, each
/// with a message of the logger "RenderOutputUtils". Threads: any.
TELLAR_API std::string ProcessTilePath(const std::string& path, const std::vector<int>& tile);

} // namespace TELLAR::RenderOutputUtilsHost

#endif
