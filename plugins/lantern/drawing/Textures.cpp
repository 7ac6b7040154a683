#include "drawing/Textures.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include <Imath/half.h>
#include <OpenImageIO/imagecache.h>

#include "drawing/FileKind.h"
#include "drawing/MipPyramid.h"
#include "drawing/Numbers.h"
#include "drawing/TextureCache.h"
#include "drawing/ToneCurve.h"

namespace lantern {
namespace {

using OIIO::ImageCache;
using OIIO::TypeDesc;

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

/// The texels of an image at one resolution.
struct Level {
    ImageCache::ImageHandle* handle = nullptr;
    int mipLevel = 0; // in the file
    int width = 0, height = 0;
    int gridX = 0, gridY = 0;     // where the texels begin in the grid of tiles
    int originX = 0, originY = 0; // of the grid of tiles
    int tileWidth = 0, tileHeight = 0;
    bool isSrgb = false; // never for alpha
};

/// An open texture file.
struct Image {
    const Texture* texture = nullptr;
    bool isReadable = false;
    int channelCount = 0;
    Channels channels;
    std::vector<Level> levels; // the first one is the finest, each next one has half of its sides
    mutable std::atomic<bool> isReported{false};

    int width() const { return levels[0].width; }
    int height() const { return levels[0].height; }
};

/// A tile of an image, which stays in the cache as long as this object lives.
class HeldTile {
public:
    HeldTile(ImageCache& cache, const Image& image, const Level& level, int x, int y)
        : cache(cache), image(image), level(level),
          left((level.gridX + x) / level.tileWidth * level.tileWidth - level.gridX),
          top((level.gridY + y) / level.tileHeight * level.tileHeight - level.gridY),
          tile(cache.get_tile(level.handle, nullptr, 0, level.mipLevel,
                              level.originX + level.gridX + x, level.originY + level.gridY + y, 0)),
          pixels(tile ? cache.tile_pixels(tile, format) : nullptr) {}
    ~HeldTile() {
        if (tile) cache.release_tile(tile);
    }
    HeldTile(const HeldTile&) = delete;
    HeldTile& operator=(const HeldTile&) = delete;

    bool isLoaded() const { return pixels; }
    bool has(int x, int y) const {
        return x >= left && y >= top && x < left + level.tileWidth && y < top + level.tileHeight;
    }
    /// The texel at a place for which has() is true.
    Color texel(int x, int y) const {
        const std::size_t place = std::size_t(y - top) * level.tileWidth + x - left;
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
            return level.isSrgb ? linearBytes[byte] : static_cast<float>(byte) / 255;
        }
        const float number = wide(at);
        return level.isSrgb ? LinearFromSrgb(number) : number;
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
    const Level& level;
    const int left, top;
    TypeDesc format;
    ImageCache::Tile* const tile;
    const void* const pixels;
};

/// "material "NAME": " for the first material whose network has the texture; "" if there is none.
std::string MaterialUsing(const SceneData& scene, Index texture) {
    for (const Material& material : scene.materials)
        for (const ShadingStep& step : material.steps)
            if (step.kind == ShadingStep::Kind::Image && step.texture == texture)
                return "material \"" + material.name + "\": ";
    return {};
}

/// The size in the cache of a tile, or of the whole image without tiles. The sides are positive.
double PieceBytes(const OIIO::ImageSpec& spec) {
    const double width = spec.tile_width > 0 ? spec.tile_width : spec.width;
    const double height = spec.tile_height > 0 ? spec.tile_height : spec.height;
    const bool isKept = spec.format == TypeDesc::UINT8 || spec.format == TypeDesc::UINT16 ||
                        spec.format == TypeDesc::HALF; // the cache makes floats of all others
    return width * height * spec.nchannels * double(isKept ? spec.format.size() : sizeof(float));
}

/// Whether the cache can take a piece of this size.
bool IsTileSound(const OIIO::ImageSpec& spec) {
    return PieceBytes(spec) <= 0x7fffffff;
}

/// Whether a file of this size can hold the image. No format makes pictures this much smaller, so
/// that the header of a small file cannot ask for all memory.
bool IsPlausible(const OIIO::ImageSpec& spec, const std::string& file) {
    constexpr double kAnyFile = double(std::uint64_t(1) << 26);
    constexpr double kMostBytesPerByte = 8192;
    if (PieceBytes(spec) <= kAnyFile) return true;
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    return error || PieceBytes(spec) <= kMostBytesPerByte * double(size);
}

Level LevelOf(ImageCache::ImageHandle* handle, int mipLevel, const OIIO::ImageSpec& spec) {
    Level level;
    level.handle = handle;
    level.mipLevel = mipLevel;
    level.width = spec.width;
    level.height = spec.height;
    level.originX = spec.x;
    level.originY = spec.y;
    level.tileWidth = spec.tile_width > 0 ? spec.tile_width : spec.width;
    level.tileHeight = spec.tile_height > 0 ? spec.tile_height : spec.height;
    return level;
}

/// The texels of an image that a unit of texture coordinates covers, as the side of a square.
float TexelsPerUnit(const Image& image) {
    const UvTransform& map = image.texture->uvTransform;
    const float scale = std::abs(map.alongS.cross(map.alongT));
    return std::sqrt(scale * static_cast<float>(image.width()) *
                     static_cast<float>(image.height()));
}

} // namespace

struct Textures::Library {
    Library(const SceneData& scene, Report& report)
        : report(report), scene(scene), shared(SharedTextureCache()), cache(shared.get()) {
        LimitTextureMemory(*cache, TextureMemoryLimit(scene.quality.textureMemory));
    }

    void open(Image& image) const;
    void addLevels(Image& image) const;
    bool texel(const Image& image, const Level& level, int x, int y, Color& value) const;
    /// Bilinear interpolation; coordinates are from 0 to 1 with `t` from the top.
    bool blend(const Image& image, const Level& level, const V2f& st, Texture::Wrap wrapU,
               Texture::Wrap wrapV, Color& value) const;
    /// Trilinear interpolation; the width of the footprint is in texels of the finest level.
    bool filter(const Image& image, const V2f& st, float texels, Color& value) const;
    /// Warns with the image library's error message.
    void warn(const Image& image) const;
    /// Warns once per file and material.
    void warn(const Image& image, const std::string& why) const;

    Report& report;
    const SceneData& scene;
    std::shared_ptr<ImageCache> shared;
    ImageCache* cache;
    std::vector<Image> images;
    mutable std::mutex lock; // guards the member below
    mutable std::set<std::string> reported;
};

void Textures::Library::warn(const Image& image) const {
    std::string why = cache->geterror(); // always fetched, or the library would keep it
    while (!why.empty() && std::isspace(static_cast<unsigned char>(why.back())))
        why.pop_back();
    warn(image, why.empty() ? "it is no image" : why);
}

void Textures::Library::warn(const Image& image, const std::string& why) const {
    if (image.isReported.exchange(true)) return;
    // A material may use the same file more than once, in different ways, and the image library
    // tells only the first time what is wrong with it.
    const auto texture = static_cast<Index>(image.texture - scene.textures.data());
    const std::string what =
        MaterialUsing(scene, texture) + "cannot read the texture \"" + image.texture->file + "\"";
    const std::lock_guard<std::mutex> guard(lock);
    if (reported.insert(what).second) report.warn(what + ": " + why);
}

void Textures::Library::open(Image& image) const {
    if (IsOtherThanFile(image.texture->file)) return warn(image, "it is not a regular file");
    auto* const handle = cache->get_image_handle(OIIO::ustring(image.texture->file));
    const bool isGood = handle && cache->good(handle);
    const OIIO::ImageSpec* const spec = isGood ? cache->imagespec(handle, nullptr) : nullptr;
    if (!spec || spec->width < 1 || spec->height < 1 || spec->nchannels < 1 || spec->depth > 1)
        return warn(image);
    if (!IsTileSound(*spec))
        return warn(image, "it has " + std::to_string(spec->width) + " x " +
                               std::to_string(spec->height) + " pixels in one piece");
    if (!IsPlausible(*spec, image.texture->file))
        return warn(image, "it is too small for " + std::to_string(spec->width) + " x " +
                               std::to_string(spec->height) + " pixels");
    AddTexturePiece(*cache, image.texture->file, static_cast<std::uint64_t>(PieceBytes(*spec)));
    image.channelCount = spec->nchannels;
    image.channels = ChannelsOf(*image.texture, spec->nchannels);
    image.levels = {LevelOf(handle, 0, *spec)};
    image.levels[0].isSrgb = image.texture->isSrgb && image.texture->channel < 3;
    // The header may be intact and the pixels not: read one in the middle as a test.
    Color value;
    image.isReadable = texel(image, image.levels[0], image.width() / 2, image.height() / 2, value);
    if (image.isReadable) addLevels(image);
}

/// Adds the coarser levels: those of the file, or else those of a pyramid that is made of it.
void Textures::Library::addLevels(Image& image) const {
    const Level finest = image.levels[0];
    int inFile = 1;
    cache->get_image_info(finest.handle, nullptr, 0, 0, OIIO::ustring("miplevels"), TypeDesc::INT,
                          &inFile);
    for (int i = 1; i < inFile; ++i) {
        const OIIO::ImageSpec* const spec = cache->imagespec(finest.handle, nullptr, 0, i);
        const bool isHalf = spec && spec->width == std::max(image.levels.back().width / 2, 1) &&
                            spec->height == std::max(image.levels.back().height / 2, 1);
        if (!isHalf || !IsTileSound(*spec)) return;
        Level level = LevelOf(finest.handle, i, *spec);
        level.isSrgb = finest.isSrgb;
        image.levels.push_back(level);
    }
    if (inFile > 1) return;
    const std::vector<MipPlace> places = MipPlaces(finest.width, finest.height);
    if (places.empty()) return;
    auto* const pyramid = AddMipPyramid(*cache, image.texture->file, image.texture->isSrgb);
    const OIIO::ImageSpec* const spec = pyramid ? cache->imagespec(pyramid, nullptr) : nullptr;
    if (!spec || spec->nchannels != image.channelCount) return;
    AddTexturePiece(*cache, "mipmaps of " + image.texture->file,
                    static_cast<std::uint64_t>(PieceBytes(*spec)));
    // Levels that the pyramid leaves out are taken from the finest one.
    image.levels.resize(static_cast<std::size_t>(places[0].level), finest);
    for (const MipPlace& place : places) {
        Level level = LevelOf(pyramid, 0, *spec);
        level.width = place.width;
        level.height = place.height;
        level.gridX = place.x;
        level.gridY = place.y;
        image.levels.push_back(level);
    }
}

bool Textures::Library::texel(const Image& image, const Level& level, int x, int y,
                              Color& value) const {
    const HeldTile tile(*cache, image, level, x, y);
    if (!tile.isLoaded()) {
        warn(image);
        return false;
    }
    value = tile.texel(x, y);
    return true;
}

bool Textures::Library::filter(const Image& image, const V2f& st, float texels,
                               Color& value) const {
    const Texture& texture = *image.texture;
    const auto at = [&](std::size_t level, Color& found) {
        return blend(image, image.levels[level], st, texture.wrapU, texture.wrapV, found);
    };
    const auto coarsest = static_cast<float>(image.levels.size() - 1);
    const float place = texels > 1 ? std::min(std::log2(texels), coarsest) : 0;
    const auto finer = static_cast<std::size_t>(place);
    const float share = place - static_cast<float>(finer);
    if (!(share > 0)) return at(finer, value);
    Color fine, coarse;
    if (!at(finer, fine) || !at(finer + 1, coarse)) return at(0, value);
    value = Mix(fine, coarse, share);
    return true;
}

bool Textures::Library::blend(const Image& image, const Level& level, const V2f& st,
                              Texture::Wrap wrapU, Texture::Wrap wrapV, Color& value) const {
    constexpr float kMost = 1e6f; // larger coordinates have no fractional precision left
    if (!(std::abs(st.x) < kMost) || !(std::abs(st.y) < kMost)) return false;
    const Neighbours columns(st.x, level.width, wrapU);
    const Neighbours rows(st.y, level.height, wrapV);
    const HeldTile tile(*cache, image, level, std::max(columns.first, 0), std::max(rows.first, 0));
    Color sum(0, 0, 0);
    const auto add = [&](int x, int y, float share) {
        Color found(0, 0, 0);
        if (x >= 0 && y >= 0) { // else black
            if (tile.isLoaded() && tile.has(x, y))
                found = tile.texel(x, y);
            else if (!texel(image, level, x, y, found))
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
    : library(std::make_unique<Library>(scene, report)) {
    library->images = std::vector<Image>(scene.textures.size());
    for (std::size_t i = 0; i < scene.textures.size(); ++i) {
        library->images[i].texture = &scene.textures[i];
        library->open(library->images[i]);
    }
}

Textures::~Textures() = default;

bool Textures::has(Index texture) const {
    return texture < library->images.size() && library->images[texture].isReadable;
}

bool Textures::color(Index texture, const V2f& st, float width, Color& value) const {
    if (!has(texture)) return false;
    const Image& image = library->images[texture];
    const V2f place = image.texture->uvTransform(st);
    const float texels = width > 0 ? width * TexelsPerUnit(image) : 0;
    return library->filter(image, {place.x, 1 - place.y}, texels, value);
}

bool Textures::around(Index texture, const V2f& st, Color& value) const {
    if (!has(texture)) return false;
    const Image& image = library->images[texture];
    return library->blend(image, image.levels[0], st, Texture::Wrap::Repeat, Texture::Wrap::Clamp,
                          value);
}

bool Textures::size(Index texture, int& width, int& height) const {
    if (!has(texture)) return false;
    width = library->images[texture].width();
    height = library->images[texture].height();
    return true;
}

void Textures::eachTexel(Index texture, const TexelFunction& function) const {
    if (!has(texture)) return;
    const Image& image = library->images[texture];
    const Level& level = image.levels[0];
    // The columns of tiles that cannot be read, so that not every row tries again.
    std::vector<bool> isBroken(static_cast<std::size_t>(image.width() / level.tileWidth) + 1);
    for (int y = 0; y < image.height(); ++y) {
        if (y % level.tileHeight == 0) isBroken.assign(isBroken.size(), false);
        for (int left = 0; left < image.width(); left += level.tileWidth) {
            const auto column = static_cast<std::size_t>(left / level.tileWidth);
            if (isBroken[column]) continue;
            const HeldTile tile(*library->cache, image, level, left, y);
            isBroken[column] = !tile.isLoaded();
            const int right = std::min(left + level.tileWidth, image.width());
            for (int x = left; tile.isLoaded() && x < right; ++x)
                function(x, y, tile.texel(x, y) * image.texture->multiply);
        }
    }
}

} // namespace lantern
