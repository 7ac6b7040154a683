#include "TemporaryFolder.h"

#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>

namespace TellarTool {

namespace {

namespace fs = std::filesystem;

constexpr int kTries = 100; // attempts to find an unused name

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    const fs::path parent = fs::temp_directory_path(error);
    std::random_device random;
    for (int i = 0; i < kTries && !error; ++i) {
        const fs::path folder = parent / ("tellar-" + std::to_string(random()));
        if (!fs::create_directory(folder, error)) continue;
        path = folder.string();
        fs::permissions(folder, fs::perms::owner_all, error);
        return;
    }
    throw std::runtime_error("no temporary folder can be made" +
                             (error ? ": " + error.message() : std::string()));
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

} // namespace TellarTool
