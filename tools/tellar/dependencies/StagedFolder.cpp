#include "StagedFolder.h"

#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>

namespace TellarTool {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& folder, const std::string& reason) {
    throw std::runtime_error(folder + ": cannot be written: " + reason);
}

} // namespace

StagedFolder::StagedFolder(const std::string& name)
    : folder(fs::absolute(name).lexically_normal().string()) {
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    std::error_code error;
    if (fs::exists(folder, error)) {
        if (!fs::is_directory(folder, error)) throw std::runtime_error(name + ": is no folder");
        if (!fs::is_empty(folder, error))
            throw std::runtime_error(name + ": is there already, and is not empty");
    }
    const fs::path parent = fs::path(folder).parent_path();
    const std::string hidden =
        '.' + fs::path(folder).filename().string() + '.' + std::to_string(std::random_device()());
    if (!fs::create_directory(parent / hidden, error))
        Fail(name, error ? error.message() : "a folder of a temporary name is there");
    path = (parent / hidden).string();
}

StagedFolder::~StagedFolder() {
    std::error_code ignored;
    if (!path.empty()) fs::remove_all(path, ignored);
}

void StagedFolder::putInPlace() {
    std::error_code error;
    fs::rename(path, folder, error);
    if (error) Fail(folder, error.message());
    path.clear();
}

} // namespace TellarTool
