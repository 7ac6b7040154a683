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

/// Sets the limit of the memory that tiles take. The image library ends the process when they take
/// ten times the limit, which can happen if the tiles that are in use do, or if the limit drops.
/// The limit is therefore higher than asked for if the largest of all pieces need it.
void LimitTextureMemory(OIIO::ImageCache& cache, int megabytes);

/// Tells the size of the tiles of a file, or of the whole image if it has none, before the first of
/// them is read.
void AddTexturePiece(OIIO::ImageCache& cache, const std::string& file, std::uint64_t bytes);

/// The limit in megabytes: the one asked for or, if that is 0, the environment variable
/// LANTERN_TEXTURE_MEMORY or else 1024.
int TextureMemoryLimit(int asked);

} // namespace lantern

#endif
