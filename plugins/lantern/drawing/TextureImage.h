#ifndef LANTERN_DRAWING_TEXTUREIMAGE_H
#define LANTERN_DRAWING_TEXTUREIMAGE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <Imath/half.h>
#include <OpenImageIO/imagecache.h>

#include "MaterialData.h"
#include "drawing/ToneCurve.h"

/// Open texture files and their tiles in the cache.
namespace lantern {

/// The linear value of an sRGB byte.
float LinearFromByte(std::uint8_t byte);

/// The channels of a file that are read.
struct TextureChannels {
    int first = 0;
    int count = 0; ///< 3 for a color; 1 for a single value used three times; 0 for a constant 1
};

/// The texels of an image at one resolution.
struct TextureLevel {
    OIIO::ImageCache::ImageHandle* handle = nullptr;
    int mipLevel = 0; // mip level in the file
    int width = 0, height = 0;
    int gridX = 0, gridY = 0;     // position of the first texel in the grid of tiles
    int originX = 0, originY = 0; // pixel coordinates of the grid's first tile
    int tileWidth = 0, tileHeight = 0;
    bool isSrgb = false; // false for alpha
};

/// An open texture file, or a set of files that each cover a square of texture coordinates.
struct TextureImage {
    const Texture* texture = nullptr;
    std::string file;
    Texture::Wrap wrapU = Texture::Wrap::Repeat;
    Texture::Wrap wrapV = Texture::Wrap::Repeat;
    /// The files of a set by number, from 1001 on; null where there is no file. A set has no
    /// levels.
    std::vector<std::unique_ptr<TextureImage>> tiles;
    bool isReadable = false; ///< a set is readable if one of its files is
    int channelCount = 0;
    TextureChannels channels;
    std::vector<TextureLevel>
        levels; // the first one is the finest, each next one has half of its sides
    mutable std::atomic<bool> isReported{false};

    int width() const { return levels[0].width; }
    int height() const { return levels[0].height; }
};

/// A tile of an image, which stays in the cache as long as this object lives.
class HeldTile {
public:
    HeldTile(OIIO::ImageCache& cache, const TextureImage& image, const TextureLevel& level, int x,
             int y)
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
        if (format.basetype == OIIO::TypeDesc::UINT8) {
            const std::uint8_t byte = static_cast<const std::uint8_t*>(pixels)[at];
            return level.isSrgb ? LinearFromByte(byte) : static_cast<float>(byte) / 255;
        }
        const float number = wide(at);
        return level.isSrgb ? LinearFromSrgb(number) : number;
    }
    float wide(std::size_t at) const {
        switch (format.basetype) {
        case OIIO::TypeDesc::UINT16:
            return static_cast<float>(static_cast<const std::uint16_t*>(pixels)[at]) / 65535;
        case OIIO::TypeDesc::HALF:
            return static_cast<const Imath::half*>(pixels)[at];
        default: // the cache converts all other types to floats
            return static_cast<const float*>(pixels)[at];
        }
    }

    OIIO::ImageCache& cache;
    const TextureImage& image;
    const TextureLevel& level;
    const int left, top;
    OIIO::TypeDesc format;
    OIIO::ImageCache::Tile* const tile;
    const void* const pixels;
};

/// The size in the cache of a tile, or of the whole image without tiles. The sides are positive.
double PieceBytes(const OIIO::ImageSpec& spec);

/// Whether the cache can take a piece of this size.
bool IsPieceSound(const OIIO::ImageSpec& spec);

/// Whether a file of this size can hold the image: no format compresses more than a fixed factor.
/// This keeps the header of a small file from asking for all memory.
bool IsPlausible(const OIIO::ImageSpec& spec, const std::string& file);

/// The channels to read. A file with fewer than three is grey; a file without alpha is opaque.
TextureChannels ChannelsOf(const Texture& texture, int channels);

TextureLevel LevelOf(OIIO::ImageCache::ImageHandle* handle, int mipLevel,
                     const OIIO::ImageSpec& spec);

/// The files of a set by number. In the name of the set "<UDIM>" stands for the number, from 1001
/// to 9999. Numbers grow by 1 along s, for up to 10 squares, and by 10 along t.
std::map<int, std::string> UdimFiles(const std::string& pattern);
bool IsUdim(const std::string& file);

} // namespace lantern

#endif
