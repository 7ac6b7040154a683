#include "files/ReplacingFile.h"

#include <cerrno>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace TellarInternal {

namespace {

namespace fs = std::filesystem;

constexpr int kTries = 100;    // attempts to find an unused name
constexpr int kMostLinks = 40; // Linux follows as many links

} // namespace

bool IsDeviceOrPipe(const std::string& path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

std::string BehindLinks(const std::string& path) {
    fs::path place = path;
    std::error_code error;
    for (int i = 0; i < kMostLinks; ++i) {
        if (!fs::is_symlink(fs::symlink_status(place, error))) return place.string();
        const fs::path target = fs::read_symlink(place, error);
        if (error) break;
        place = place.parent_path() / target; // the target alone if it is absolute
    }
    return {};
}

ReplacingFile::ReplacingFile(std::string path, std::string complaint)
    : path(std::move(path)), complaint(std::move(complaint)) {
    if (IsDeviceOrPipe(this->path)) {
        file.reset(std::fopen(this->path.c_str(), "wb"));
        if (!file) fail(errno);
        return;
    }
    this->path = BehindLinks(this->path);
    if (this->path.empty()) fail(ELOOP);
    createBeside();
}

ReplacingFile::~ReplacingFile() {
    file.reset();
    if (!newPath.empty()) std::remove(newPath.c_str());
}

void ReplacingFile::write(const void* data, std::size_t bytes) {
    if (std::fwrite(data, 1, bytes, file.get()) != bytes) fail(errno);
}

void ReplacingFile::replace() {
    if (std::fclose(file.release()) != 0) fail(errno);
    if (newPath.empty()) return;
    if (std::rename(newPath.c_str(), path.c_str()) != 0) fail(errno);
    newPath.clear();
}

/// Random names keep two writers of one file out of each other's new files.
void ReplacingFile::createBeside() {
    std::random_device random;
    for (int i = 0; i < kTries; ++i) {
        const std::string name = path + '.' + std::to_string(random()) + ".tmp";
        file.reset(std::fopen(name.c_str(), "wbx")); // x: fails if the file exists
        if (file) {
            newPath = name;
            return;
        }
        if (errno != EEXIST) break;
    }
    fail(errno);
}

void ReplacingFile::fail(int error) const {
    throw std::runtime_error(complaint + ": " + RegularFile::ReasonOf(error));
}

} // namespace TellarInternal
