#include "drawing/TextureCache.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <numeric>
#include <thread>
#include <vector>

#include <OxTellarSDK/MemoryBudget.h>

namespace lantern {
namespace {

constexpr int kDefaultMegabytes = 1024;
constexpr int kMostMegabytes = 1 << 20;
constexpr double kBytesPerMegabyte = 1 << 20;

// The library fails at ten times its limit; a fifth of that is kept in reserve.
constexpr double kMostTimesLimit = 8;

/// The sizes that decide the limit of the shared cache.
struct MemoryNeed {
    /// Each thread can use this many tiles at once: two itself, and two that the library keeps.
    static constexpr std::size_t kTilesOfThread = 4;

    /// The size of the largest pieces that can be in use at once.
    double inUse() const {
        std::vector<std::uint64_t> sizes;
        for (const auto& [file, bytes] : pieces)
            sizes.push_back(bytes);
        const std::size_t threads = std::max(std::thread::hardware_concurrency(), 1u);
        const std::size_t count = std::min(sizes.size(), threads * kTilesOfThread);
        const auto end = sizes.begin() + static_cast<std::ptrdiff_t>(count);
        std::partial_sort(sizes.begin(), end, sizes.end(), std::greater<>());
        return std::accumulate(sizes.begin(), end, 0.0);
    }

    int megabytes = 0;  // the requested limit
    double largest = 0; // the size of the largest pieces when they were last added up
    std::map<std::string, std::uint64_t> pieces; // keyed by file
};

std::mutex& NeedLock() {
    static std::mutex lock;
    return lock;
}

/// Hold NeedLock() while using it.
MemoryNeed& Need() {
    static MemoryNeed need;
    return need;
}

std::uint64_t MemoryOfTiles(OIIO::ImageCache& cache) {
    long long used = 0;
    cache.getattribute("stat:cache_memory_used", OIIO::TypeDesc::INT64, &used);
    return static_cast<std::uint64_t>(std::max(used, 0ll));
}

std::uint64_t NumberOfTiles(OIIO::ImageCache& cache) {
    int tiles = 0;
    cache.getattribute("stat:tiles_current", tiles);
    return static_cast<std::uint64_t>(std::max(tiles, 0));
}

/// What the tiles of the shared cache count.
class TextureMemory final : public OxTellarMemory::Cache {
public:
    TextureMemory() : Cache("textures of lantern") {}

    void note(std::uint64_t nowBytes, std::uint64_t nowTiles) {
        const std::lock_guard<std::mutex> guard(lock);
        nowBytes > bytes ? added(nowBytes - bytes, 0) : removed(bytes - nowBytes, 0);
        nowTiles > tiles ? added(0, nowTiles - tiles) : removed(0, tiles - nowTiles);
        bytes = nowBytes;
        tiles = nowTiles;
    }

    std::uint64_t drop(std::uint32_t, std::uint64_t) override { return 0; }

private:
    std::mutex lock; // guards what was counted last
    std::uint64_t bytes = 0;
    std::uint64_t tiles = 0;
};

/// The cache stays in the list of all caches when the plug-in is closed, so it is never destroyed.
TextureMemory& Memory() {
    static auto* const memory = new TextureMemory;
    return *memory;
}

void Apply(OIIO::ImageCache& cache, const MemoryNeed& need) {
    const auto used = static_cast<double>(MemoryOfTiles(cache));
    const double bytes = std::max(need.largest, used) / kMostTimesLimit;
    cache.attribute("max_memory_MB", static_cast<float>(std::max(double(need.megabytes),
                                                                 bytes / kBytesPerMegabyte)));
}

} // namespace

std::shared_ptr<OIIO::ImageCache> SharedTextureCache() {
    static std::mutex lock;
    static std::weak_ptr<OIIO::ImageCache> current;
    const std::lock_guard<std::mutex> guard(lock);
    std::shared_ptr<OIIO::ImageCache> cache = current.lock();
    if (cache) return cache;
    // Not the one that OpenImageIO shares with the host, whose options are not ours to change.
    cache.reset(OIIO::ImageCache::create(false), [](OIIO::ImageCache* made) {
        OIIO::ImageCache::destroy(made);
        Memory().note(0, 0);
    });
    cache->attribute("unassociatedalpha", 1); // do not multiply colors by alpha
    current = cache;
    const std::lock_guard<std::mutex> needGuard(NeedLock());
    Need() = {};
    return cache;
}

void LimitTextureMemory(OIIO::ImageCache& cache, int megabytes) {
    const std::lock_guard<std::mutex> guard(NeedLock());
    Need().megabytes = megabytes;
    Apply(cache, Need());
}

void AddTexturePiece(OIIO::ImageCache& cache, const std::string& file, std::uint64_t bytes) {
    const std::lock_guard<std::mutex> guard(NeedLock());
    MemoryNeed& need = Need();
    // The sum of small pieces stays far below the limit.
    if (static_cast<double>(bytes) < need.megabytes * kBytesPerMegabyte / 256) return;
    if (!need.pieces.insert_or_assign(file, bytes).second) return;
    need.largest = need.inUse();
    Apply(cache, need);
}

void NoteTextureMemory(OIIO::ImageCache& cache) {
    Memory().note(MemoryOfTiles(cache), NumberOfTiles(cache));
    OxTellarMemory::RelieveMemory();
}

void NoteTextureUse(OIIO::ImageCache& cache) {
    constexpr std::uint32_t kUsesBetween = 1024; // asking takes as long as some tens of uses
    thread_local std::uint32_t uses = 0;
    if (++uses % kUsesBetween == 0) NoteTextureMemory(cache);
}

namespace {

int OwnLimit(int asked) {
    if (asked > 0) return asked;
    const char* const text = std::getenv("LANTERN_TEXTURE_MEMORY");
    const long given = text ? std::strtol(text, nullptr, 10) : 0;
    return given >= 1 && given <= kMostMegabytes ? static_cast<int>(given) : kDefaultMegabytes;
}

} // namespace

int TextureMemoryLimit(int asked) {
    const std::uint64_t half = OxTellarMemory::GetMemoryLimit() / 2 >> 20;
    return static_cast<int>(
        std::min(static_cast<std::uint64_t>(OwnLimit(asked)), std::max(half, std::uint64_t{1})));
}

} // namespace lantern
