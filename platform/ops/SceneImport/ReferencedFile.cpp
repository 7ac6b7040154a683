#include "ReferencedFile.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "files/FolderFiles.h"

namespace TellarSceneImport {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFileScheme = "file://";

bool IsFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

bool HasDriveOrScheme(const std::string& path) {
    return (path.size() > 1 && path[1] == ':') || path.find("://") != std::string::npos;
}

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The path of a folder's entry, preferably with the same case. Empty if there is none.
fs::path FindEntry(const fs::path& folder, const std::string& name) {
    std::error_code ignored;
    if (fs::exists(folder / name, ignored)) return folder / name;
    std::vector<std::string> paths = TellarInternal::FolderFiles(folder.string(), ignored);
    std::sort(paths.begin(), paths.end()); // makes the choice independent of the file system
    for (const std::string& path : paths)
        if (Lower(fs::path(path).filename().string()) == Lower(name)) return path;
    return {};
}

// Looks for the file of a relative path, part by part. Empty if there is none.
std::string FindBelow(const fs::path& folder, const fs::path& path) {
    fs::path found = folder;
    for (const fs::path& part : path) {
        found = FindEntry(found, part.string());
        if (found.empty()) return {};
    }
    return IsFile(found) ? found.lexically_normal().generic_string() : "";
}

// "file:///C:/a b" and "file://server/a" are the paths "C:/a b" and "/a".
std::string WithoutFileScheme(const std::string& reference) {
    const std::size_t slash = reference.find('/', kFileScheme.size());
    if (slash == std::string::npos) return reference;
    const std::string path = reference.substr(slash);
    return path.size() > 2 && path[2] == ':' ? path.substr(1) : path;
}

} // namespace

std::string PathOfReference(const std::string& folder, const std::string& reference) {
    std::string path = reference;
    std::replace(path.begin(), path.end(), '\\', '/');
    if (path.compare(0, kFileScheme.size(), kFileScheme) == 0) path = WithoutFileScheme(path);
    if (HasDriveOrScheme(path)) return path;
    return (fs::path(folder) / path).lexically_normal().generic_string();
}

std::string FindReferencedFile(const std::string& folder, const std::string& reference) {
    const fs::path said = PathOfReference(folder, reference);
    if (IsFile(said)) return said.generic_string();
    const fs::path relative = said.lexically_relative(folder);
    if (!folder.empty() && !relative.empty())
        if (std::string found = FindBelow(folder, relative); !found.empty()) return found;
    const std::string name = said.filename().string();
    if (name.empty() || name == "." || name == "..") return {};
    for (const char* const place : {"", "textures", "../textures"})
        if (std::string found = FindBelow(folder, fs::path(place) / name); !found.empty())
            return found;
    return {};
}

} // namespace TellarSceneImport
