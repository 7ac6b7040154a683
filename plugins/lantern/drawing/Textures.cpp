#include "drawing/Textures.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <OpenImageIO/imagecache.h>

#include "drawing/FileKind.h"
#include "drawing/MipPyramid.h"
#include "drawing/Numbers.h"
#include "drawing/TextureCache.h"
#include "drawing/TextureImage.h"

namespace lantern {
namespace {

using OIIO::ImageCache;
using OIIO::TypeDesc;
using Image = TextureImage;
using Level = TextureLevel;

constexpr int kFirstUdim = 1001;
constexpr int kUdimColumns = 10;

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

/// "material "NAME": " for the first material whose network has the texture; "" if there is none.
std::string MaterialUsing(const SceneData& scene, Index texture) {
    for (const Material& material : scene.materials)
        for (const ShadingStep& step : material.steps)
            if (step.kind == ShadingStep::Kind::Image && step.texture == texture)
                return "material \"" + material.name + "\": ";
    return {};
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
    ~Library() { NoteTextureMemory(*cache); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    void open(Image& image) const;
    void openFile(Image& image) const;
    void openTiles(Image& image) const;
    /// The image at these coordinates; changes them to coordinates within its square. Returns null,
    /// after a warning, if there is no image.
    const Image* imageAt(Index texture, V2f& place) const;
    /// The image of a texture that is not a set. Null if it cannot be read.
    const Image* whole(Index texture) const;
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
    // A material may use the same file several times in different ways, and the image library
    // reports an error in the file only the first time.
    const auto texture = static_cast<Index>(image.texture - scene.textures.data());
    const std::string what =
        MaterialUsing(scene, texture) + "cannot read the texture \"" + image.file + "\"";
    const std::lock_guard<std::mutex> guard(lock);
    if (reported.insert(what).second) report.warn(what + ": " + why);
}

void Textures::Library::open(Image& image) const {
    image.file = image.texture->file;
    image.wrapU = image.texture->wrapU;
    image.wrapV = image.texture->wrapV;
    if (IsUdim(image.file))
        openTiles(image);
    else
        openFile(image);
}

void Textures::Library::openTiles(Image& image) const {
    for (const auto& [number, file] : UdimFiles(image.file)) {
        const auto index = static_cast<std::size_t>(number - kFirstUdim);
        if (index >= image.tiles.size()) image.tiles.resize(index + 1);
        auto tile = std::make_unique<Image>();
        tile->texture = image.texture;
        tile->file = file;
        tile->wrapU = tile->wrapV = Texture::Wrap::Clamp;
        openFile(*tile);
        image.isReadable = image.isReadable || tile->isReadable;
        image.tiles[index] = std::move(tile);
    }
    if (image.tiles.empty()) warn(image, "there are no files of that name");
}

const Image* Textures::Library::imageAt(Index texture, V2f& place) const {
    if (texture >= images.size() || !images[texture].isReadable) return nullptr;
    const Image& image = images[texture];
    if (image.tiles.empty()) return &image;
    const V2f square(std::floor(place.x), std::floor(place.y));
    const std::size_t rows = image.tiles.size() / kUdimColumns + 1;
    const bool isNumbered = square.x >= 0 && square.x < float(kUdimColumns) && square.y >= 0;
    place -= square;
    if (!isNumbered || !(square.y < static_cast<float>(rows))) {
        warn(image, "it has no tiles for some texture coordinates");
        return nullptr;
    }
    const int index = static_cast<int>(square.x) + kUdimColumns * static_cast<int>(square.y);
    const auto tile = static_cast<std::size_t>(index);
    if (tile < image.tiles.size() && image.tiles[tile])
        return image.tiles[tile]->isReadable ? image.tiles[tile].get() : nullptr;
    warn(image, "its tile " + std::to_string(kFirstUdim + index) + " is missing");
    return nullptr;
}

const Image* Textures::Library::whole(Index texture) const {
    const bool isWhole =
        texture < images.size() && images[texture].isReadable && images[texture].tiles.empty();
    return isWhole ? &images[texture] : nullptr;
}

void Textures::Library::openFile(Image& image) const {
    if (IsOtherThanFile(image.file)) return warn(image, "it is not a regular file");
    auto* const handle = cache->get_image_handle(OIIO::ustring(image.file));
    const bool isGood = handle && cache->good(handle);
    const OIIO::ImageSpec* const spec = isGood ? cache->imagespec(handle, nullptr) : nullptr;
    if (!spec || spec->width < 1 || spec->height < 1 || spec->nchannels < 1 || spec->depth > 1)
        return warn(image);
    if (!IsPieceSound(*spec))
        return warn(image, "it has " + std::to_string(spec->width) + " x " +
                               std::to_string(spec->height) + " pixels in one piece");
    if (!IsPlausible(*spec, image.file))
        return warn(image, "it is too small for " + std::to_string(spec->width) + " x " +
                               std::to_string(spec->height) + " pixels");
    AddTexturePiece(*cache, image.file, static_cast<std::uint64_t>(PieceBytes(*spec)));
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
        if (!isHalf || !IsPieceSound(*spec)) return;
        Level level = LevelOf(finest.handle, i, *spec);
        level.isSrgb = finest.isSrgb;
        image.levels.push_back(level);
    }
    if (inFile > 1) return;
    const std::vector<MipPlace> places = MipPlaces(finest.width, finest.height);
    if (places.empty()) return;
    auto* const pyramid = AddMipPyramid(*cache, image.file, image.texture->isSrgb);
    const OIIO::ImageSpec* const spec = pyramid ? cache->imagespec(pyramid, nullptr) : nullptr;
    if (!spec || spec->nchannels != image.channelCount) return;
    AddTexturePiece(*cache, "mipmaps of " + image.file,
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
    NoteTextureUse(*cache);
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
    const auto at = [&](std::size_t level, Color& found) {
        return blend(image, image.levels[level], st, image.wrapU, image.wrapV, found);
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
    NoteTextureUse(*cache);
    const HeldTile tile(*cache, image, level, std::max(columns.first, 0), std::max(rows.first, 0));
    Color sum(0, 0, 0);
    const auto add = [&](int x, int y, float share) {
        Color found(0, 0, 0);
        if (x >= 0 && y >= 0) { // outside it is black
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
    V2f place = library->images[texture].texture->uvTransform(st);
    const Image* const image = library->imageAt(texture, place);
    if (!image) return false;
    const float texels = width > 0 ? width * TexelsPerUnit(*image) : 0;
    return library->filter(*image, {place.x, 1 - place.y}, texels, value);
}

bool Textures::around(Index texture, const V2f& st, Color& value) const {
    const Image* const image = library->whole(texture);
    return image && library->blend(*image, image->levels[0], st, Texture::Wrap::Repeat,
                                   Texture::Wrap::Clamp, value);
}

bool Textures::size(Index texture, int& width, int& height) const {
    const Image* const image = library->whole(texture);
    if (!image) return false;
    width = image->width();
    height = image->height();
    return true;
}

void Textures::eachTexel(Index texture, const TexelFunction& function) const {
    const Image* const found = library->whole(texture);
    if (!found) return;
    const Image& image = *found;
    const Level& level = image.levels[0];
    // Columns of tiles that cannot be read are skipped, so that not every row tries again.
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
