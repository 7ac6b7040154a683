#include "files/ReplacingFile.h"

#include <cerrno>
#include <random>
#include <stdexcept>
#include <utility>

namespace TellarInternal {

namespace {

constexpr int kTries = 100; // to find a name that is not taken

} // namespace

ReplacingFile::ReplacingFile(std::string path, std::string complaint)
    : path(std::move(path)), complaint(std::move(complaint)) {
    // Random names keep two writers of one file out of each other's new files.
    std::random_device random;
    for (int i = 0; i < kTries && !file; ++i) {
        newPath = this->path + '.' + std::to_string(random()) + ".tmp";
        file.reset(std::fopen(newPath.c_str(), "wbx")); // x: fails if the file exists
        if (!file && errno != EEXIST) break;
    }
    if (!file) fail(errno);
}

ReplacingFile::~ReplacingFile() {
    file.reset();
    if (!isInPlace) std::remove(newPath.c_str());
}

void ReplacingFile::write(const void* data, std::size_t bytes) {
    if (std::fwrite(data, 1, bytes, file.get()) != bytes) fail(errno);
}

void ReplacingFile::replace() {
    if (std::fclose(file.release()) != 0) fail(errno);
    if (std::rename(newPath.c_str(), path.c_str()) != 0) fail(errno);
    isInPlace = true;
}

void ReplacingFile::fail(int error) const {
    throw std::runtime_error(complaint + ": " + RegularFile::ReasonOf(error));
}

} // namespace TellarInternal
