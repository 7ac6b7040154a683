#include "drawing/TextureCache.h"

#include <cstdlib>
#include <mutex>

namespace lantern {
namespace {

constexpr int kDefaultMegabytes = 1024;
constexpr int kMostMegabytes = 1 << 20;

} // namespace

std::shared_ptr<OIIO::ImageCache> SharedTextureCache() {
    static std::mutex lock;
    static std::weak_ptr<OIIO::ImageCache> current;
    const std::lock_guard<std::mutex> guard(lock);
    std::shared_ptr<OIIO::ImageCache> cache = current.lock();
    if (cache) return cache;
    // Not the one that OpenImageIO shares with the host, whose options are not ours to change.
    cache.reset(OIIO::ImageCache::create(false),
                [](OIIO::ImageCache* made) { OIIO::ImageCache::destroy(made); });
    cache->attribute("unassociatedalpha", 1); // do not multiply colors by alpha
    current = cache;
    return cache;
}

int TextureMemoryLimit(int asked) {
    if (asked > 0) return asked;
    const char* const text = std::getenv("LANTERN_TEXTURE_MEMORY");
    const long given = text ? std::strtol(text, nullptr, 10) : 0;
    return given >= 1 && given <= kMostMegabytes ? static_cast<int>(given) : kDefaultMegabytes;
}

} // namespace lantern
