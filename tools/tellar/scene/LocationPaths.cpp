#include "LocationPaths.h"

#include <string_view>
#include <utility>
#include <vector>

#include "text/SimilarNames.h"

namespace TellarTool {

namespace {

using TELLAR::GeometryProducer;
using Ptr = GeometryProducer::Ptr;

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

std::vector<std::string> PotentialChildren(GeometryProducer& location) {
    std::vector<std::string> names;
    for (const std::string_view name : location.getPotentialChildren().getNearestSample(0.0f))
        names.emplace_back(name);
    return names;
}

/// The paths of children whose names are similar to a missing one.
std::vector<std::string> SimilarChildren(GeometryProducer& location, const std::string& missing) {
    std::vector<std::string> similar =
        TellarInternal::SimilarNames(PotentialChildren(location), missing);
    for (std::string& name : similar)
        name.insert(0, location.getFullName() + '/');
    return similar;
}

} // namespace

std::string NormalLocation(const std::string& path) {
    if (path.empty() || path.front() != '/') return path;
    std::string normal;
    for (const std::string& level : LevelsOf(path))
        normal += '/' + level;
    return normal.empty() ? std::string(kRoot) : normal;
}

std::string HintAboutLocation(const Ptr& root, const std::string& path) {
    if (!root) return {};
    std::vector<std::string> levels = LevelsOf(path);
    const std::string whole = std::string(kRoot) + path;
    if (levels.empty() || root->getProducerByPath(whole))
        return TellarInternal::MeantQuestion({levels.empty() ? std::string(kRoot) : whole});
    if (levels.front() != kRoot.substr(1))
        return TellarInternal::DidYouMean({std::string(kRoot)}, '/' + levels.front());
    Ptr location = root;
    for (std::size_t i = 1; i < levels.size(); ++i) {
        Ptr child = location->getChildByName(levels[i].c_str());
        if (!child) return TellarInternal::MeantQuestion(SimilarChildren(*location, levels[i]));
        location = std::move(child);
    }
    return {};
}

} // namespace TellarTool
