#include "drawing/TextureCache.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <numeric>
#include <thread>
#include <vector>

#include <OxTellarSDK/MemoryBudget.h>

#include "drawing/SmallTiles.h"

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

/// What the image library tells of a cache.
struct TileCounts {
    std::uint64_t bytes = 0;
    std::uint64_t tiles = 0;
    std::uint64_t asked = 0; // since the cache was made
    std::uint64_t read = 0;  // likewise
};

template <typename Number>
std::uint64_t Told(OIIO::ImageCache& cache, const char* name, OIIO::TypeDesc type) {
    Number value = 0;
    cache.getattribute(name, type, &value);
    return static_cast<std::uint64_t>(std::max(value, Number{0}));
}

TileCounts CountsOf(OIIO::ImageCache& cache) {
    using OIIO::TypeDesc;
    return {Told<std::int64_t>(cache, "stat:cache_memory_used", TypeDesc::INT64),
            Told<int>(cache, "stat:tiles_current", TypeDesc::INT),
            Told<std::int64_t>(cache, "stat:find_tile_calls", TypeDesc::INT64),
            Told<int>(cache, "stat:tiles_created", TypeDesc::INT)};
}

void FreeTiles(OIIO::ImageCache& cache, std::uint64_t wanted);

/// The shared cache in the budget of memory.
class TextureMemory final : public OxTellarMemory::Cache {
public:
    TextureMemory() : Cache("textures of lantern") {}

    /// The present cache; null if nobody uses one.
    std::shared_ptr<OIIO::ImageCache> get() {
        const std::lock_guard<std::mutex> guard(lock);
        return current.lock();
    }

    /// The present cache, or one that `make` returns.
    template <typename Make>
    std::shared_ptr<OIIO::ImageCache> get(Make make) {
        const std::lock_guard<std::mutex> guard(lock);
        std::shared_ptr<OIIO::ImageCache> cache = current.lock();
        if (!cache) current = cache = make();
        return cache;
    }

    void noteUse() { usedIn.store(OxTellarMemory::CurrentTick(), std::memory_order_relaxed); }

    void note(const TileCounts& now) {
        const std::lock_guard<std::mutex> guard(countLock);
        noteQuestions(now);
        now.bytes > known.bytes ? added(now.bytes - known.bytes, 0)
                                : removed(known.bytes - now.bytes, 0);
        now.tiles > known.tiles ? added(0, now.tiles - known.tiles)
                                : removed(0, known.tiles - now.tiles);
        known = now;
    }

    /// Tiles have no ages: they are as old as the last use of any of them. The library itself keeps
    /// those that were used since it looked last.
    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) override {
        const std::shared_ptr<OIIO::ImageCache> cache = get();
        if (!cache || usedIn.load(std::memory_order_relaxed) >= usedBefore) return 0;
        note(CountsOf(*cache));
        FreeTiles(*cache, wanted);
        return noteDropped(CountsOf(*cache));
    }

private:
    /// The lock is held.
    void noteQuestions(const TileCounts& now) {
        const std::uint64_t asked = now.asked - std::min(known.asked, now.asked);
        const std::uint64_t read = now.read - std::min(known.read, now.read);
        miss(read);
        hit(asked - std::min(read, asked));
    }

    std::uint64_t noteDropped(const TileCounts& now) {
        const std::lock_guard<std::mutex> guard(countLock);
        noteQuestions(now);
        const std::uint64_t bytes = known.bytes - std::min(known.bytes, now.bytes);
        const std::uint64_t tiles = known.tiles - std::min(known.tiles, now.tiles);
        dropped(bytes, tiles);
        known.asked = now.asked;
        known.read = now.read;
        known.bytes -= bytes;
        known.tiles -= tiles;
        return bytes;
    }

    std::mutex lock; // guards the cache
    std::weak_ptr<OIIO::ImageCache> current;
    std::mutex countLock; // guards what was counted last
    TileCounts known;
    std::atomic<std::uint32_t> usedIn{0};
};

/// It stays in the list of all caches when the plug-in is closed, so it is never destroyed.
TextureMemory& Memory() {
    static auto* const memory = new TextureMemory;
    return *memory;
}

double LeastLimit(OIIO::ImageCache& cache, const MemoryNeed& need) {
    return std::max(need.largest, double(CountsOf(cache).bytes)) / kMostTimesLimit;
}

void SetLimit(OIIO::ImageCache& cache, double bytes) {
    cache.attribute("max_memory_MB", static_cast<float>(bytes / kBytesPerMegabyte));
}

void Apply(OIIO::ImageCache& cache, const MemoryNeed& need) {
    SetLimit(cache, std::max(need.megabytes * kBytesPerMegabyte, LeastLimit(cache, need)));
}

/// The library frees tiles when it adds one to a cache that is full: here, a tile of one texel to a
/// cache with a low limit.
void FreeTiles(OIIO::ImageCache& cache, std::uint64_t wanted) {
    const std::lock_guard<std::mutex> guard(NeedLock());
    const double rest = double(CountsOf(cache).bytes) - double(wanted);
    SetLimit(cache, std::max(rest, LeastLimit(cache, Need())));
    AddSmallTile(cache);
    Apply(cache, Need());
}

} // namespace

std::shared_ptr<OIIO::ImageCache> SharedTextureCache() {
    Memory().noteUse();
    return Memory().get([] {
        // Not the one that OpenImageIO shares with the host, whose options are not ours to change.
        std::shared_ptr<OIIO::ImageCache> cache(OIIO::ImageCache::create(false),
                                                [](OIIO::ImageCache* made) {
                                                    OIIO::ImageCache::destroy(made);
                                                    Memory().note({});
                                                });
        cache->attribute("unassociatedalpha", 1); // do not multiply colors by alpha
        const std::lock_guard<std::mutex> guard(NeedLock());
        Need() = {};
        return cache;
    });
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
    Memory().noteUse();
    Memory().note(CountsOf(cache));
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
