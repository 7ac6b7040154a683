#ifndef LANTERN_DRAWING_FILEKIND_H
#define LANTERN_DRAWING_FILEKIND_H

#include <filesystem>
#include <string>
#include <system_error>

namespace lantern {

/// Whether the path is something other than a regular file. The image library would block on a
/// named pipe.
inline bool IsOtherThanFile(const std::string& path) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

} // namespace lantern

#endif
