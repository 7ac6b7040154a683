#include "drawing/Textures.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <Imath/half.h>
#include <OpenImageIO/imagecache.h>

#include "drawing/FileKind.h"
#include "drawing/Numbers.h"
#include "drawing/ToneCurve.h"

namespace lantern {
namespace {

using OIIO::ImageCache;
using OIIO::TypeDesc;

constexpr float kMegabytesInMemory = 1024;

std::array<float, 256> LinearBytes() {
    std::array<float, 256> values{};
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = LinearFromSrgb(static_cast<float>(i) / 255);
    return values;
}

/// The texel at a place that may be outside of the image; -1 for black.
int Wrapped(std::int64_t place, int size, Texture::Wrap wrap) {
    const auto modulo = [](std::int64_t value, std::int64_t by) { return (value % by + by) % by; };
    switch (wrap) {
    case Texture::Wrap::Clamp:
        return static_cast<int>(std::max<std::int64_t>(0, std::min<std::int64_t>(place, size - 1)));
    case Texture::Wrap::Mirror: {
        const std::int64_t there = modulo(place, 2 * std::int64_t(size));
        return static_cast<int>(there < size ? there : 2 * std::int64_t(size) - 1 - there);
    }
    case Texture::Wrap::Black:
        return place >= 0 && place < size ? static_cast<int>(place) : -1;
    case Texture::Wrap::Repeat:
        break;
    }
    return static_cast<int>(modulo(place, size));
}

/// The two texels around a place; `share` is the weight of the second one.
struct Neighbours {
    Neighbours(float place, int size, Texture::Wrap wrap) {
        const double at = double(place) * size - 0.5;
        const auto index = static_cast<std::int64_t>(std::floor(at));
        first = Wrapped(index, size, wrap);
        second = Wrapped(index + 1, size, wrap);
        share = static_cast<float>(at - double(index));
    }
    int first, second;
    float share;
};

/// The channels of a file that are read.
struct Channels {
    int first = 0;
    int count = 0; ///< 3; 1 for a value that is used three times; 0 for a constant 1
};

/// A file with less than three channels is grey. A file without alpha is opaque.
Channels ChannelsOf(const Texture& texture, int channels) {
    const bool isGrey = channels < 3;
    if (texture.channel < 0) return {0, isGrey ? 1 : 3};
    if (texture.channel < 3) return {isGrey ? 0 : texture.channel, 1};
    const int alpha = isGrey ? 1 : 3;
    return alpha < channels ? Channels{alpha, 1} : Channels{};
}

/// An open texture file.
struct Image {
    const Texture* texture = nullptr;
    ImageCache::ImageHandle* handle = nullptr; // null if the file cannot be read
    int width = 0, height = 0;
    int x = 0, y = 0; // the data window's origin
    int tileWidth = 0, tileHeight = 0;
    int channelCount = 0;
    Channels channels;
    bool isSrgb = false; // never for alpha
    mutable std::atomic<bool> isReported{false};
};

/// A tile of an image, which stays in the cache as long as this object lives.
class HeldTile {
public:
    HeldTile(ImageCache& cache, const Image& image, int x, int y)
        : cache(cache), image(image), left(x - x % image.tileWidth), top(y - y % image.tileHeight),
          tile(cache.get_tile(image.handle, nullptr, 0, 0, image.x + x, image.y + y, 0)),
          pixels(tile ? cache.tile_pixels(tile, format) : nullptr) {}
    ~HeldTile() {
        if (tile) cache.release_tile(tile);
    }
    HeldTile(const HeldTile&) = delete;
    HeldTile& operator=(const HeldTile&) = delete;

    bool isLoaded() const { return pixels; }
    bool has(int x, int y) const {
        return x >= left && y >= top && x < left + image.tileWidth && y < top + image.tileHeight;
    }
    /// The texel at a place for which has() is true.
    Color texel(int x, int y) const {
        const std::size_t place = std::size_t(y - top) * image.tileWidth + x - left;
        const std::size_t first = place * image.channelCount + image.channels.first;
        if (image.channels.count == 0) return {1, 1, 1};
        if (image.channels.count == 1) return Color(value(first));
        return {value(first), value(first + 1), value(first + 2)};
    }

private:
    float value(std::size_t at) const {
        static const std::array<float, 256> linearBytes = LinearBytes();
        if (format.basetype == TypeDesc::UINT8) {
            const std::uint8_t byte = static_cast<const std::uint8_t*>(pixels)[at];
            return image.isSrgb ? linearBytes[byte] : static_cast<float>(byte) / 255;
        }
        const float number = wide(at);
        return image.isSrgb ? LinearFromSrgb(number) : number;
    }
    float wide(std::size_t at) const {
        switch (format.basetype) {
        case TypeDesc::UINT16:
            return static_cast<float>(static_cast<const std::uint16_t*>(pixels)[at]) / 65535;
        case TypeDesc::HALF:
            return static_cast<const Imath::half*>(pixels)[at];
        default: // the cache converts all other types to floats
            return static_cast<const float*>(pixels)[at];
        }
    }

    ImageCache& cache;
    const Image& image;
    const int left, top;
    TypeDesc format;
    ImageCache::Tile* const tile;
    const void* const pixels;
};

} // namespace

struct Textures::Library {
    explicit Library(Report& report) : report(report), cache(ImageCache::create(false)) {
        cache->attribute("max_memory_MB", kMegabytesInMemory);
        cache->attribute("unassociatedalpha", 1); // do not multiply colors by alpha
    }
    ~Library() { ImageCache::destroy(cache); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    void open(Image& image) const;
    bool texel(const Image& image, int x, int y, Color& value) const;
    /// Bilinear interpolation; coordinates are from 0 to 1 with `t` from the top.
    bool blend(const Image& image, const V2f& st, Texture::Wrap wrapU, Texture::Wrap wrapV,
               Color& value) const;
    /// Warns with the image library's error message.
    void warn(const Image& image) const;
    /// Warns once per image.
    void warn(const Image& image, const std::string& why) const;

    Report& report;
    ImageCache* cache;
    std::vector<Image> images;
};

void Textures::Library::warn(const Image& image) const {
    std::string why = cache->geterror(); // always fetched, or the library would keep it
    while (!why.empty() && std::isspace(static_cast<unsigned char>(why.back())))
        why.pop_back();
    warn(image, why.empty() ? "it is no image" : why);
}

void Textures::Library::warn(const Image& image, const std::string& why) const {
    if (image.isReported.exchange(true)) return;
    report.warn("cannot read the texture \"" + image.texture->file + "\": " + why);
}

void Textures::Library::open(Image& image) const {
    if (IsOtherThanFile(image.texture->file)) return warn(image, "it is not a regular file");
    auto* const handle = cache->get_image_handle(OIIO::ustring(image.texture->file));
    const bool isGood = handle && cache->good(handle);
    const OIIO::ImageSpec* const spec = isGood ? cache->imagespec(handle, nullptr) : nullptr;
    if (!spec || spec->width < 1 || spec->height < 1 || spec->nchannels < 1 || spec->depth > 1)
        return warn(image);
    image.width = spec->width;
    image.height = spec->height;
    image.x = spec->x;
    image.y = spec->y;
    image.tileWidth = spec->tile_width > 0 ? spec->tile_width : spec->width;
    image.tileHeight = spec->tile_height > 0 ? spec->tile_height : spec->height;
    image.channelCount = spec->nchannels;
    image.channels = ChannelsOf(*image.texture, spec->nchannels);
    image.isSrgb = image.texture->isSrgb && image.texture->channel < 3;
    image.handle = handle;
    // The header may be intact and the pixels not: read one in the middle as a test.
    Color value;
    if (!texel(image, image.width / 2, image.height / 2, value)) image.handle = nullptr;
}

bool Textures::Library::texel(const Image& image, int x, int y, Color& value) const {
    const HeldTile tile(*cache, image, x, y);
    if (!tile.isLoaded()) {
        warn(image);
        return false;
    }
    value = tile.texel(x, y);
    return true;
}

bool Textures::Library::blend(const Image& image, const V2f& st, Texture::Wrap wrapU,
                              Texture::Wrap wrapV, Color& value) const {
    constexpr float kMost = 1e6f; // larger coordinates have no fractional precision left
    if (!(std::abs(st.x) < kMost) || !(std::abs(st.y) < kMost)) return false;
    const Neighbours columns(st.x, image.width, wrapU);
    const Neighbours rows(st.y, image.height, wrapV);
    const HeldTile tile(*cache, image, std::max(columns.first, 0), std::max(rows.first, 0));
    Color sum(0, 0, 0);
    const auto add = [&](int x, int y, float share) {
        Color found(0, 0, 0);
        if (x >= 0 && y >= 0) { // else black
            if (tile.isLoaded() && tile.has(x, y))
                found = tile.texel(x, y);
            else if (!texel(image, x, y, found))
                return false;
        }
        sum += found * share;
        return true;
    };
    const bool isRead = add(columns.first, rows.first, (1 - columns.share) * (1 - rows.share)) &&
                        add(columns.second, rows.first, columns.share * (1 - rows.share)) &&
                        add(columns.first, rows.second, (1 - columns.share) * rows.share) &&
                        add(columns.second, rows.second, columns.share * rows.share);
    if (!isRead || !IsFinite(sum)) return false;
    value = sum * image.texture->multiply;
    return true;
}

Textures::Textures(const SceneData& scene, Report& report)
    : library(std::make_unique<Library>(report)) {
    library->images = std::vector<Image>(scene.textures.size());
    for (std::size_t i = 0; i < scene.textures.size(); ++i) {
        library->images[i].texture = &scene.textures[i];
        library->open(library->images[i]);
    }
}

Textures::~Textures() = default;

bool Textures::has(Index texture) const {
    return texture < library->images.size() && library->images[texture].handle;
}

bool Textures::color(Index texture, const V2f& st, Color& value) const {
    if (!has(texture)) return false;
    const Image& image = library->images[texture];
    const V2f place = image.texture->uvTransform(st);
    return library->blend(image, {place.x, 1 - place.y}, image.texture->wrapU, image.texture->wrapV,
                          value);
}

bool Textures::around(Index texture, const V2f& st, Color& value) const {
    if (!has(texture)) return false;
    return library->blend(library->images[texture], st, Texture::Wrap::Repeat, Texture::Wrap::Clamp,
                          value);
}

bool Textures::size(Index texture, int& width, int& height) const {
    if (!has(texture)) return false;
    width = library->images[texture].width;
    height = library->images[texture].height;
    return true;
}

void Textures::eachTexel(Index texture, const TexelFunction& function) const {
    if (!has(texture)) return;
    const Image& image = library->images[texture];
    for (int y = 0; y < image.height; ++y) {
        for (int left = 0; left < image.width; left += image.tileWidth) {
            const HeldTile tile(*library->cache, image, left, y);
            const int right = std::min(left + image.tileWidth, image.width);
            for (int x = left; tile.isLoaded() && x < right; ++x)
                function(x, y, tile.texel(x, y) * image.texture->multiply);
        }
    }
}

} // namespace lantern
