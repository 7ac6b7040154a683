#include "LocationPaths.h"

#include <string_view>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>

#include "text/SimilarNames.h"

namespace TellarTool {

namespace {

constexpr std::string_view kRoot = "/root";

std::vector<std::string> LevelsOf(std::string_view path) {
    std::vector<std::string> levels;
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        if (slash != 0) levels.emplace_back(path.substr(0, slash));
        if (slash == std::string_view::npos) break;
        path.remove_prefix(slash + 1);
    }
    return levels;
}

} // namespace

std::string NormalLocation(const std::string& path) {
    if (path.empty() || path.front() != '/') return path;
    std::string normal;
    for (const std::string& level : LevelsOf(path))
        normal += '/' + level;
    return normal.empty() ? std::string(kRoot) : normal;
}

std::string HintAboutLocation(const TELLAR::GeometryProducer::Ptr& root, const std::string& path) {
    return TellarInternal::MeantQuestion(TELLAR::SimilarLocations(root, path));
}

} // namespace TellarTool
