#include "drawing/Picture.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>

#include "drawing/PictureFile.h"

namespace lantern {
namespace {

struct Tile {
    std::string path;
    StoredPicture picture;
};

[[noreturn]] void Fail(const std::string& path, const std::string& what) {
    throw RenderError("the tile \"" + path + "\" " + what);
}

std::string TextOf(const Window& window) {
    return "[" + std::to_string(window.x0) + ", " + std::to_string(window.x1) + ") by [" +
           std::to_string(window.y0) + ", " + std::to_string(window.y1) + ")";
}

bool Overlap(const Window& a, const Window& b) {
    return a.x0 < b.x1 && b.x0 < a.x1 && a.y0 < b.y1 && b.y0 < a.y1;
}

std::int64_t AreaOf(const Window& window) {
    return std::int64_t(window.width()) * window.height();
}

/// Tiles of one picture have bit-equal matrices, because they come from the same scene.
void CheckSamePicture(const Tile& first, const Tile& tile) {
    const StoredPicture& a = first.picture;
    const StoredPicture& b = tile.picture;
    const std::string than = " than \"" + first.path + "\"";
    if (a.format != b.format) Fail(tile.path, "is of another format" + than);
    if (a.width != b.width || a.height != b.height)
        Fail(tile.path, "is of a picture of another size" + than);
    if (a.worldToCamera != b.worldToCamera || a.worldToNdc != b.worldToNdc)
        Fail(tile.path, "is of a picture of another camera" + than);
    if (a.layers != b.layers) Fail(tile.path, "has other layers" + than);
}

void CheckApart(const std::vector<Tile>& tiles) {
    for (std::size_t i = 1; i < tiles.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (Overlap(tiles[i].picture.window, tiles[j].picture.window))
                Fail(tiles[i].path, "lies over \"" + tiles[j].path + "\"");
}

Window BoundsOf(const std::vector<Tile>& tiles) {
    Window bounds = tiles.front().picture.window;
    for (const Tile& tile : tiles) {
        const Window& window = tile.picture.window;
        bounds.x0 = std::min(bounds.x0, window.x0);
        bounds.y0 = std::min(bounds.y0, window.y0);
        bounds.x1 = std::max(bounds.x1, window.x1);
        bounds.y1 = std::max(bounds.y1, window.y1);
    }
    return bounds;
}

/// The coordinates at which tiles begin or end along one axis, ascending.
std::vector<int> Borders(const std::vector<Tile>& tiles, int Window::*low, int Window::*high) {
    std::set<int> borders;
    for (const Tile& tile : tiles) {
        borders.insert(tile.picture.window.*low);
        borders.insert(tile.picture.window.*high);
    }
    return {borders.begin(), borders.end()};
}

/// The first rectangle in row order that no tile covers. There must be a gap.
Window FindGap(const std::vector<Tile>& tiles) {
    const std::vector<int> xs = Borders(tiles, &Window::x0, &Window::x1);
    const std::vector<int> ys = Borders(tiles, &Window::y0, &Window::y1);
    const auto isFree = [&](const Window& cell) {
        return std::none_of(tiles.begin(), tiles.end(),
                            [&](const Tile& tile) { return Overlap(tile.picture.window, cell); });
    };
    for (std::size_t y = 0; y + 1 < ys.size(); ++y) {
        for (std::size_t x = 0; x + 1 < xs.size(); ++x) {
            Window gap{xs[x], ys[y], xs[x + 1], ys[y + 1]};
            if (!isFree(gap)) continue;
            for (std::size_t i = x + 2; i < xs.size() && isFree({gap.x1, gap.y0, xs[i], gap.y1});
                 ++i)
                gap.x1 = xs[i];
            for (std::size_t i = y + 2; i < ys.size() && isFree({gap.x0, gap.y1, gap.x1, ys[i]});
                 ++i)
                gap.y1 = ys[i];
            return gap;
        }
    }
    return {};
}

void CheckNoGaps(const std::vector<Tile>& tiles, const Window& bounds) {
    std::int64_t covered = 0;
    for (const Tile& tile : tiles)
        covered += AreaOf(tile.picture.window);
    if (covered == AreaOf(bounds)) return; // since tiles do not overlap
    throw RenderError("a tile is missing: nothing covers the pixels " + TextOf(FindGap(tiles)));
}

std::vector<Tile> ReadTiles(const std::vector<std::string>& paths, Report& report) {
    std::vector<Tile> tiles;
    for (const std::string& path : paths) {
        report.throwIfCancelled();
        tiles.push_back({path, ReadStored(path)});
        CheckSamePicture(tiles.front(), tiles.back());
        report.progress(0.9 * double(tiles.size()) / double(paths.size()), "reading tiles");
    }
    return tiles;
}

/// Adds the names and facts of another tile of the picture.
void AddHeaderOf(const StoredPicture& tile, StoredPicture& whole) {
    for (const auto& [matte, manifest] : tile.manifests)
        whole.manifests[matte].insert(manifest.begin(), manifest.end());
    PictureFacts& facts = whole.facts;
    facts.date = std::max(facts.date, tile.facts.date);
    if (facts.seconds) *facts.seconds += tile.facts.seconds.value_or(0);
}

StoredPicture PutTogether(const std::vector<Tile>& tiles, const Window& bounds) {
    const StoredPicture& first = tiles.front().picture;
    const std::size_t perPixel = first.bytesPerPixel();
    StoredPicture whole;
    whole.format = first.format;
    whole.width = first.width;
    whole.height = first.height;
    whole.window = bounds;
    whole.worldToCamera = first.worldToCamera;
    whole.worldToNdc = first.worldToNdc;
    whole.layers = first.layers;
    whole.manifests = first.manifests;
    whole.facts = first.facts;
    for (std::size_t i = 1; i < tiles.size(); ++i)
        AddHeaderOf(tiles[i].picture, whole);
    whole.bytes.resize(static_cast<std::size_t>(AreaOf(bounds)) * perPixel);
    for (const Tile& tile : tiles) {
        const Window& window = tile.picture.window;
        const std::size_t rowBytes = window.width() * perPixel;
        for (int y = window.y0; y < window.y1; ++y) {
            const std::size_t to =
                std::size_t(y - bounds.y0) * bounds.width() + window.x0 - bounds.x0;
            std::memcpy(&whole.bytes[to * perPixel],
                        &tile.picture.bytes[std::size_t(y - window.y0) * rowBytes], rowBytes);
        }
    }
    return whole;
}

} // namespace

void StitchPictures(const std::vector<std::string>& tiles, const std::string& path,
                    Report& report) {
    const PictureFormat format = FormatOf(path);
    if (tiles.empty()) throw RenderError("there are no tiles for the picture \"" + path + "\"");
    for (const std::string& tile : tiles) {
        const PictureFormat ofTile = FormatOf(tile);
        if (ofTile != format && ofTile != PictureFormat::Exr && ofTile == FormatOf(tiles.front()))
            Fail(tile, "of whole numbers makes only pictures of its own format");
    }
    const std::vector<Tile> read = ReadTiles(tiles, report);
    const Window bounds = BoundsOf(read);
    CheckApart(read);
    CheckNoGaps(read, bounds);
    const StoredPicture whole = PutTogether(read, bounds);
    report.throwIfCancelled();
    WriteStored(path, ToFormat(whole, format));
    report.progress(1, "writing");
}

} // namespace lantern
