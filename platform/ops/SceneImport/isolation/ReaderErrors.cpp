#include "ReaderErrors.h"

#include <algorithm>

namespace TellarSceneImport {

namespace {

constexpr std::string_view kFile = "tellar-scene-reader opens: ";

} // namespace

std::string LineOfFile(const std::string& path) {
    if (path.find('\n') != std::string::npos) return {};
    return std::string(kFile) + path + '\n';
}

ReaderErrors ErrorsIn(std::string_view standardError) {
    ReaderErrors errors;
    while (!standardError.empty()) {
        const std::size_t end = standardError.find('\n');
        const std::string_view line = standardError.substr(0, end);
        const bool namesFile = line.substr(0, kFile.size()) == kFile;
        if (namesFile && end != std::string_view::npos)
            errors.files.emplace_back(line.substr(kFile.size()));
        if (!namesFile && errors.text.empty()) errors.text = std::string(line);
        standardError.remove_prefix(std::min(line.size() + 1, standardError.size()));
    }
    return errors;
}

} // namespace TellarSceneImport
