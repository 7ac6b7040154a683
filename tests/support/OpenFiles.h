#ifndef TELLAR_TEST_OPENFILES_H
#define TELLAR_TEST_OPENFILES_H

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

/// The number of open descriptors of this process on a file. A deleted file counts too.
inline int NumberOfOpenings(const std::string& path) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored; // the loop's own descriptor
        count += std::filesystem::read_symlink(entry, ignored).string().rfind(path, 0) == 0;
    }
    return count;
}

inline bool IsOpen(const std::string& path) {
    return NumberOfOpenings(path) > 0;
}

/// Whether the file is mapped into the memory of this process.
inline bool IsMapped(const std::string& path) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find(path) != std::string::npos) return true;
    return false;
}

#endif
