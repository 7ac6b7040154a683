#ifndef SCENEIMPORT_FILESTAMP_H
#define SCENEIMPORT_FILESTAMP_H

#include <cstdint>
#include <filesystem>
#include <string>

namespace TellarSceneImport {

/// Tells versions of a file apart without reading it.
struct FileStamp {
    std::string path;
    std::filesystem::file_type kind = std::filesystem::file_type::not_found;
    std::uintmax_t size = 0; ///< size of a regular file
    std::filesystem::file_time_type modified{};

    bool isRegularFile() const { return kind == std::filesystem::file_type::regular; }

    friend bool operator==(const FileStamp& a, const FileStamp& b) {
        return a.path == b.path && a.kind == b.kind && a.size == b.size && a.modified == b.modified;
    }
    friend bool operator!=(const FileStamp& a, const FileStamp& b) { return !(a == b); }
};

/// The stamp of the file as it is now. Does not throw: a file that cannot be examined is not_found
/// or unknown.
FileStamp StampOf(const std::string& path);

} // namespace TellarSceneImport

#endif
