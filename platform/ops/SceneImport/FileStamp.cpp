#include "FileStamp.h"

#include <system_error>

namespace TellarSceneImport {

FileStamp StampOf(const std::string& path) {
    FileStamp stamp;
    stamp.path = path;
    std::error_code ignored; // leaves zeros in the stamp
    stamp.kind = std::filesystem::status(path, ignored).type();
    if (!stamp.isRegularFile()) return stamp;
    const auto size = std::filesystem::file_size(path, ignored);
    stamp.size = ignored ? 0 : size;
    const auto modified = std::filesystem::last_write_time(path, ignored);
    if (!ignored) stamp.modified = modified;
    return stamp;
}

} // namespace TellarSceneImport
