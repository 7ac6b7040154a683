#include "StagedFolder.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace TellarTool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostNameBytes = 200; // file systems allow 255

[[noreturn]] void Fail(const std::string& folder, const std::string& reason) {
    throw std::runtime_error(folder + ": cannot be written: " + reason);
}

/// The absolute path of the folder, without a slash at its end.
std::string FolderOf(const std::string& name) {
    std::string folder = fs::absolute(name).lexically_normal().string();
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    return folder;
}

/// The folder that holds the new one until it is in place: the folder itself if it exists.
fs::path PlaceOfStage(const std::string& folder) {
    std::error_code ignored;
    return fs::exists(folder, ignored) ? fs::path(folder) : fs::path(folder).parent_path();
}

/// The name of the new folder, up to its random number.
std::string StageName(const std::string& folder) {
    return ".tellar-pack." + fs::path(folder).filename().string().substr(0, kMostNameBytes) + '.';
}

bool IsStageName(const std::string& name, const std::string& begin) {
    return name.size() > begin.size() && name.compare(0, begin.size(), begin) == 0 &&
           name.find_first_not_of("0123456789", begin.size()) == std::string::npos;
}

/// Removes the folders of processes that were killed.
void RemoveRemains(const std::string& folder) {
    std::error_code ignored;
    std::vector<fs::path> remains;
    for (const auto& entry : fs::directory_iterator(PlaceOfStage(folder), ignored))
        if (IsStageName(entry.path().filename().string(), StageName(folder)))
            remains.push_back(entry.path());
    for (const fs::path& path : remains)
        if (const FolderLock lock(path.string()); lock.isHeld()) fs::remove_all(path, ignored);
}

void CheckEmpty(const std::string& folder) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) throw std::runtime_error(folder + ": is no folder");
    if (!fs::is_empty(folder, error))
        throw std::runtime_error(folder + ": is there already, and is not empty");
}

/// Sorts folders first, so that a scene never appears before the files that it needs.
std::vector<fs::path> EntriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    for (const auto& entry : fs::directory_iterator(folder))
        entries.push_back(entry.path());
    std::stable_partition(entries.begin(), entries.end(),
                          [](const fs::path& path) { return fs::is_directory(path); });
    return entries;
}

void Rename(const fs::path& from, const fs::path& to) {
    std::error_code error;
    fs::rename(from, to, error);
    if (error) Fail(to.string(), error.message());
}

} // namespace

void StagedFolder::check(const std::string& name) {
    RemoveRemains(FolderOf(name));
    std::error_code ignored;
    if (fs::exists(name, ignored)) CheckEmpty(name);
}

StagedFolder::StagedFolder(const std::string& name) : folder(FolderOf(name)) {
    std::error_code error;
    isNew = !fs::exists(folder, error);
    if (!isNew) CheckEmpty(name);
    const fs::path stage =
        PlaceOfStage(folder) / (StageName(folder) + std::to_string(std::random_device()()));
    if (!fs::create_directory(stage, error))
        Fail(name, error ? error.message() : "a folder of a temporary name is there");
    path = stage.string();
    lock = FolderLock(path);
}

StagedFolder::~StagedFolder() {
    std::error_code ignored;
    if (!path.empty()) fs::remove_all(path, ignored);
}

void StagedFolder::putInPlace() {
    if (isNew) {
        Rename(path, folder);
    } else {
        // The existing folder is kept, because it can be a program's working directory.
        for (const fs::path& entry : EntriesOf(path))
            Rename(entry, fs::path(folder) / entry.filename());
        std::error_code ignored;
        fs::remove(path, ignored);
    }
    path.clear();
}

} // namespace TellarTool
