#include "ImageCache.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <xxhash.h>

#include <OxConfiguration/Configuration.h>

#include "ImageKind.h"
#include "files/FolderFiles.h"
#include "files/HomeFolder.h"
#include "files/RegularFile.h"
#include "files/ReplacingFile.h"

namespace TellarSceneImport {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFolderKey = "IMAGE_CACHE";
constexpr const char* kLimitKey = "IMAGE_CACHE_LIMIT";
constexpr std::uint64_t kLimitMebibytes = 4096;

// Long enough for a render that reads parts of its textures only at its end.
constexpr std::int64_t kSecondsInUse = 24 * 60 * 60;

constexpr std::size_t kHashDigits = 32;

struct CachedFile {
    std::string path;
    std::uint64_t bytes = 0;
    std::int64_t used = 0; // seconds since 1970
};

std::string HashName(std::string_view bytes) {
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes.data(), bytes.size()));
    constexpr char kDigits[] = "0123456789abcdef";
    std::string name;
    for (const unsigned char byte : canonical.digest) {
        name += kDigits[byte >> 4];
        name += kDigits[byte & 15];
    }
    return name;
}

// Whether a file of this cache may have this name, complete or not.
bool IsCacheName(const std::string& name) {
    return name.size() > kHashDigits && name[kHashDigits] == '.' &&
           std::all_of(name.begin(), name.begin() + kHashDigits,
                       [](unsigned char c) { return std::isdigit(c) || (c >= 'a' && c <= 'f'); });
}

// The access time is set by hand, because file systems may be mounted without it.
void NoteUse(const std::string& path) {
    const timespec times[] = {{0, UTIME_NOW}, {0, UTIME_OMIT}};
    utimensat(AT_FDCWD, path.c_str(), times, 0); // a shared folder may be read-only
}

// The bytes are compared, which also finds files that a power failure damaged.
bool HasContent(const std::string& path, std::string_view bytes) {
    std::string ignored;
    const auto state = RegularFile::StateOf(path, ignored);
    if (!state || state->bytes != bytes.size()) return false;
    return RegularFile::Read(path, bytes.size(), ignored) == bytes;
}

// Returns nothing for a file that is gone, and for entries that are not files of the cache.
std::optional<CachedFile> LookAt(const std::string& path) {
    struct stat state = {};
    if (!IsCacheName(fs::path(path).filename().string()) || lstat(path.c_str(), &state) != 0 ||
        !S_ISREG(state.st_mode))
        return std::nullopt;
    return CachedFile{path, static_cast<std::uint64_t>(state.st_size),
                      std::max<std::int64_t>(state.st_atime, state.st_mtime)};
}

std::vector<CachedFile> FilesIn(const std::string& folder) {
    std::error_code ignored;
    std::vector<CachedFile> files;
    for (const std::string& path : TellarInternal::FolderFiles(folder, ignored))
        if (auto file = LookAt(path)) files.push_back(*std::move(file));
    return files;
}

void MakeFolder(const std::string& folder) {
    std::error_code error;
    if (fs::is_directory(folder, error)) return;
    fs::create_directories(fs::path(folder).parent_path(), error);
    // Pictures of a user's scenes are for that user alone.
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        throw std::runtime_error("Cannot create the image cache \"" + folder +
                                 "\": " + RegularFile::ReasonOf(errno));
}

std::string HomeFolder() {
    const char* home = std::getenv("HOME");
    if (home && *home) return home;
    if (auto folder = TellarInternal::HomeFolderOf("")) return *folder;
    throw std::runtime_error(std::string("There is no folder for the image cache; the key ") +
                             kFolderKey + " can name one");
}

std::string ConfiguredFolder() {
    if (const std::string folder = Config()->get(kFolderKey); !folder.empty())
        return fs::absolute(folder).lexically_normal().string();
    const char* cache = std::getenv("XDG_CACHE_HOME");
    // Relative paths in this variable are to be ignored.
    const std::string base = cache && *cache == '/' ? cache : HomeFolder() + "/.cache";
    return (fs::path(base) / "tellar" / "images").string();
}

std::uint64_t ConfiguredLimit() {
    const std::string text = Config()->get(kLimitKey);
    if (text.empty()) return kLimitMebibytes << 20;
    std::uint64_t mebibytes = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, mebibytes);
    if (error == std::errc::result_out_of_range) return UINT64_MAX;
    if (error != std::errc() || rest != end)
        throw std::runtime_error(std::string(kLimitKey) + " is \"" + text +
                                 "\"; it must be a number of MiB");
    return mebibytes > UINT64_MAX >> 20 ? UINT64_MAX : mebibytes << 20;
}

} // namespace

ImageCache::ImageCache(std::string folder, std::uint64_t limit)
    : folder(std::move(folder)), limit(limit) {}

std::string ImageCache::pathOf(std::string_view bytes, std::string_view hint) const {
    std::string path =
        (fs::path(folder) / (HashName(bytes) + ImageExtension(bytes, hint))).string();
    // The time is set first, so that no other process deletes the file after the comparison.
    NoteUse(path);
    if (!HasContent(path, bytes)) write(path, bytes);
    return path;
}

void ImageCache::write(const std::string& path, std::string_view bytes) const {
    MakeFolder(folder);
    TellarInternal::ReplacingFile file(path, "Cannot write \"" + path + "\" of the image cache");
    file.write(bytes.data(), bytes.size());
    file.replace();
    noteWritten(bytes.size());
}

void ImageCache::noteWritten(std::uint64_t bytes) const {
    const std::lock_guard<std::mutex> guard(lock);
    if (total) *total += bytes;
    if (total && *total <= limit) return;
    // When all files are in use, the folder is not looked through again for every one of them.
    const std::uint64_t size = evict();
    total = size > limit ? limit - limit / 16 : size;
}

// Returns the size of the files that stay. Another process may evict the same files at the
// same time: a file that is gone already is no error.
std::uint64_t ImageCache::evict() const {
    std::vector<CachedFile> files = FilesIn(folder);
    std::uint64_t size = 0;
    for (const CachedFile& file : files)
        size += file.bytes;
    std::sort(files.begin(), files.end(),
              [](const CachedFile& a, const CachedFile& b) { return a.used < b.used; });
    const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    const auto isInUse = [&](const CachedFile& file) { return file.used > now - kSecondsInUse; };
    for (const CachedFile& file : files) {
        if (size <= limit || isInUse(file)) break;
        // Another process may have requested the file since the folder was read.
        const auto present = LookAt(file.path);
        if (present && isInUse(*present)) continue;
        std::error_code error;
        fs::remove(file.path, error);
        if (!error) size -= file.bytes;
    }
    return size;
}

std::unique_ptr<ImageCache> ConfiguredImageCache() {
    return std::make_unique<ImageCache>(ConfiguredFolder(), ConfiguredLimit());
}

std::string ImageCacheFolder() {
    try {
        return ConfiguredFolder();
    } catch (const std::runtime_error&) { // there is no home folder
        return {};
    }
}

} // namespace TellarSceneImport
