#ifndef LANTERN_DRAWING_TEXTURECACHE_H
#define LANTERN_DRAWING_TEXTURECACHE_H

#include <cstdint>
#include <memory>
#include <string>

#include <OpenImageIO/imagecache.h>

namespace lantern {

/// The cache of image tiles for all renders of the process, which therefore share one limit of
/// memory. It lives as long as somebody uses it; after that, files are read again.
std::shared_ptr<OIIO::ImageCache> SharedTextureCache();

/// Limits the memory of tiles. The image library ends the process when tiles exceed ten times the
/// limit, which can happen if the tiles in use at once are large, or if the limit drops. The limit
/// is therefore set higher than asked for if the largest pieces need it.
void LimitTextureMemory(OIIO::ImageCache& cache, int megabytes);

/// Registers the size of a file's tiles, or of the whole image if it has none. Call it before the
/// first of them is read.
void AddTexturePiece(OIIO::ImageCache& cache, const std::string& file, std::uint64_t bytes);

/// Tells the statistics of the process (OxTellarSDK/MemoryBudget.h) how much the tiles take by now.
/// When the process is short of memory, tiles are removed after all that was used before them.
void NoteTextureMemory(OIIO::ImageCache& cache);

/// Does that now and then, for a thread that uses a tile.
void NoteTextureUse(OIIO::ImageCache& cache);

/// The limit in megabytes: the one asked for or, if that is 0, the environment variable
/// LANTERN_TEXTURE_MEMORY or else 1024. At most half of the process's limit for all that it keeps.
int TextureMemoryLimit(int asked);

} // namespace lantern

#endif
