#ifndef LANTERN_DRAWING_TEXTURECACHE_H
#define LANTERN_DRAWING_TEXTURECACHE_H

#include <memory>
#include <string>

#include <OpenImageIO/imagecache.h>

namespace lantern {

/// The cache of image tiles for all renders of the process, which therefore share one limit of
/// memory. It lives as long as somebody uses it; after that, files are read again.
std::shared_ptr<OIIO::ImageCache> SharedTextureCache();

/// The limit in megabytes: the one asked for or, if that is 0, the environment variable
/// LANTERN_TEXTURE_MEMORY or else 1024.
int TextureMemoryLimit(int asked);

} // namespace lantern

#endif
