#ifndef LANTERN_DRAWING_SMALLTILES_H
#define LANTERN_DRAWING_SMALLTILES_H

#include <OpenImageIO/imagecache.h>

namespace lantern {

/// Adds a tile of one texel to the cache, another one each time. Before that, the library removes
/// tiles until the cache is within its limit. Any number of threads may use the cache meanwhile.
void AddSmallTile(OIIO::ImageCache& cache);

} // namespace lantern

#endif
