#include "StagedFolder.h"

#include <algorithm>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace TellarTool {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& folder, const std::string& reason) {
    throw std::runtime_error(folder + ": cannot be written: " + reason);
}

void CheckEmpty(const std::string& folder) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) throw std::runtime_error(folder + ": is no folder");
    if (!fs::is_empty(folder, error))
        throw std::runtime_error(folder + ": is there already, and is not empty");
}

/// Folders first, so that a scene never appears before the files that it needs.
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
    std::error_code ignored;
    if (fs::exists(name, ignored)) CheckEmpty(name);
}

StagedFolder::StagedFolder(const std::string& name)
    : folder(fs::absolute(name).lexically_normal().string()) {
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    std::error_code error;
    isNew = !fs::exists(folder, error);
    if (!isNew) CheckEmpty(name);
    const fs::path parent = isNew ? fs::path(folder).parent_path() : fs::path(folder);
    const std::string hidden = ".tellar-pack." + std::to_string(std::random_device()());
    if (!fs::create_directory(parent / hidden, error))
        Fail(name, error ? error.message() : "a folder of a temporary name is there");
    path = (parent / hidden).string();
}

StagedFolder::~StagedFolder() {
    std::error_code ignored;
    if (!path.empty()) fs::remove_all(path, ignored);
}

void StagedFolder::putInPlace() {
    if (isNew) {
        Rename(path, folder);
    } else {
        // The folder itself stays, because programs may be working in it.
        for (const fs::path& entry : EntriesOf(path))
            Rename(entry, fs::path(folder) / entry.filename());
        std::error_code ignored;
        fs::remove(path, ignored);
    }
    path.clear();
}

} // namespace TellarTool
