#include "TextureFiles.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

#include "NamedLogger.h"
#include "files/FolderFiles.h"

namespace TellarSceneImport {

namespace {

namespace fs = std::filesystem;

const NamedLogger kLogger("SceneImport");

bool Exists(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

bool HasDriveOrScheme(const std::string& path) {
    return (path.size() > 1 && path[1] == ':') || path.find("://") != std::string::npos;
}

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// Returns an empty path if there is none.
std::string FindInFolder(const fs::path& folder, const std::string& name) {
    if (Exists(folder / name)) return (folder / name).generic_string();
    std::error_code ignored;
    std::vector<std::string> paths = TellarInternal::FolderFiles(folder.string(), ignored);
    std::sort(paths.begin(), paths.end()); // the choice does not depend on the file system
    for (const std::string& path : paths)
        if (Lower(fs::path(path).filename().string()) == Lower(name) && Exists(path)) return path;
    return {};
}

} // namespace

TextureFiles::TextureFiles(std::string scenePath) : scenePath(std::move(scenePath)) {}

std::string TextureFiles::findElsewhere(const std::string& path) const {
    const fs::path wanted = path;
    const fs::path folder = fs::path(scenePath).parent_path();
    const std::string name = wanted.filename().string();
    if (name.empty() || name == "." || name == "..") return {};
    for (const fs::path& place : {wanted.parent_path(), folder, folder / "textures"})
        if (std::string found = FindInFolder(place, name); !found.empty()) return found;
    return {};
}

std::string TextureFiles::asWritten(const std::string& reference) const {
    std::string path = reference;
    std::replace(path.begin(), path.end(), '\\', '/');
    if (HasDriveOrScheme(path)) return path;
    return (fs::path(scenePath).parent_path() / path).lexically_normal().generic_string();
}

bool TextureFiles::exists(const std::string& reference) const {
    return Exists(asWritten(reference));
}

std::string TextureFiles::pathOf(const std::string& reference, const std::string& material) {
    const auto [entry, isNew] = known.try_emplace(reference);
    std::string& path = entry->second;
    if (!isNew) return path;
    path = asWritten(reference);
    if (Exists(path)) return path;
    if (std::string found = findElsewhere(path); !found.empty()) return path = found;
    warn("the texture \"" + path + "\" of the material \"" + material + "\" does not exist");
    return path;
}

std::string TextureFiles::pathOfEmbedded(std::string_view bytes, std::string_view hint) {
    if (isCacheBroken) return {};
    try {
        // The constructor's argument is the result itself, because a cache cannot be moved.
        if (!cache) cache = ConfiguredImageCache();
        return cache->pathOf(bytes, hint);
    } catch (const std::exception& error) {
        isCacheBroken = true;
        warn(std::string("the textures inside it are left out: ") + error.what());
        return {};
    }
}

void TextureFiles::warn(const std::string& about) const {
    kLogger.warn("Scene file \"{}\": {}", scenePath, about);
}

} // namespace TellarSceneImport
