#ifndef LANTERN_DRAWING_FILEKIND_H
#define LANTERN_DRAWING_FILEKIND_H

#include <filesystem>
#include <string>
#include <system_error>

namespace lantern {

/// Whether something other than a file lies under the path. The image library would wait for the
/// other end of a named pipe.
inline bool IsOtherThanFile(const std::string& path) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

} // namespace lantern

#endif
