#include "SourceFile.h"

#include <cctype>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>

#include "files/RegularFile.h"

namespace TellarSceneImport {

std::string LowerExtension(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

std::string ReadWhole(const FileStamp& stamp) {
    std::string reason;
    std::optional<std::string> content = RegularFile::Read(stamp.path, kMaxFileSize, reason);
    if (!content) throw std::runtime_error("it cannot be read: " + reason);
    return *std::move(content);
}

} // namespace TellarSceneImport
