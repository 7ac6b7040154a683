#include "TextureFiles.h"

#include <exception>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

#include <OxTellarSDK/TextureReferences.h>

#include "ReferencedFile.h"
#include "SceneLog.h"
#include "images/ProcessImages.h"

namespace TellarSceneImport {

namespace {

// The range of tile numbers to try one by one if the name of a set is not found as it is written.
constexpr int kFirstTile = 1001;
constexpr int kLastTile = 1100;
constexpr std::size_t kMarkLength = 6;

// The place of "<UDIM>", which stands for the number of a tile; npos if there is none.
std::size_t FindTileMark(const std::string& reference) {
    const std::size_t upper = reference.find("<UDIM>");
    return upper == std::string::npos ? reference.find("<udim>") : upper;
}

// The path of the existing tiles, with "<UDIM>" for the number. Empty if there are none.
std::string FindTiles(const std::string& folder, const std::string& reference, std::size_t mark) {
    std::string written = reference;
    written = PathOfReference(folder, written.replace(mark, kMarkLength, "<UDIM>"));
    if (!OxAttribute::FindTiles(written).empty()) return written;
    for (int tile = kFirstTile; tile <= kLastTile; ++tile) {
        const std::string number = std::to_string(tile);
        std::string one = reference;
        std::string found = FindReferencedFile(folder, one.replace(mark, kMarkLength, number));
        if (const std::size_t place = found.rfind(number); place != std::string::npos)
            return found.replace(place, number.size(), "<UDIM>");
    }
    return {};
}

/// Whether this is the first failure of the cache in this folder. Scenes may have thousands of
/// files with images.
bool IsFirstFailure(const std::string& cacheFolder) {
    static std::mutex lock;
    static auto& known = *new std::set<std::string>; // threads may import until the process ends
    const std::lock_guard<std::mutex> guard(lock);
    return known.insert(cacheFolder).second;
}

} // namespace

TextureFiles::TextureFiles(std::string path)
    : scenePath(std::move(path)), folder(std::filesystem::path(scenePath).parent_path().string()) {}

bool TextureFiles::exists(const std::string& reference) const {
    std::error_code ignored;
    return std::filesystem::is_regular_file(PathOfReference(folder, reference), ignored);
}

std::string TextureFiles::pathOf(const std::string& reference, const std::string& material) {
    const auto [entry, isNew] = known.try_emplace(reference);
    std::string& path = entry->second;
    if (!isNew) return path;
    const std::size_t mark = FindTileMark(reference);
    path = mark == std::string::npos ? FindReferencedFile(folder, reference)
                                     : FindTiles(folder, reference, mark);
    if (!path.empty()) return path;
    path = PathOfReference(folder, reference);
    warn("the texture \"" + path + "\" of the material \"" + material + "\" does not exist");
    return path;
}

/// Empty if the cache cannot be written.
std::string TextureFiles::pathInCache(std::string_view bytes, std::string_view hint) {
    if (isCacheBroken) return {};
    try {
        // The constructor's argument is the result itself, because a cache cannot be moved.
        if (!cache) cache = ConfiguredImageCache();
        return cache->pathOf(bytes, hint);
    } catch (const std::exception& error) {
        isCacheBroken = true;
        const std::string cacheFolder = ImageCacheFolder();
        if (IsFirstFailure(cacheFolder))
            warn("the images inside scene files are in a temporary folder until the process ends, "
                 "because the image cache \"" +
                 cacheFolder + "\" cannot be used: " + error.what());
        return {};
    }
}

std::string TextureFiles::pathOfEmbedded(std::string_view bytes, std::string_view hint) {
    if (isLeftOut) return {};
    if (std::string path = pathInCache(bytes, hint); !path.empty()) return path;
    try {
        return PathOfProcessImage(bytes, hint);
    } catch (const std::exception& error) {
        isLeftOut = true;
        warn(std::string("the textures inside it are left out: ") + error.what());
        return {};
    }
}

void TextureFiles::warn(const std::string& about) const {
    WarnAboutScene(scenePath, about);
}

} // namespace TellarSceneImport
