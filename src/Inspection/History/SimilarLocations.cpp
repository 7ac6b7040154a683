#include <OxTellarProducers/LocationHistory.h>

#include <string_view>
#include <utility>

#include <OxTellarSDK/StringUtil.h>

#include "text/SimilarNames.h"

namespace TELLAR {

namespace {

using Ptr = GeometryProducer::Ptr;

constexpr std::string_view kRoot = "/root";

std::vector<std::string> LevelsOf(const std::string& path) {
    std::vector<std::string> levels;
    for (std::string& level : OxStringUtil::split(path, "/"))
        if (!level.empty()) levels.push_back(std::move(level));
    return levels;
}

/// The paths of children whose names are similar to a missing one.
std::vector<std::string> SimilarChildren(GeometryProducer& location, const std::string& missing) {
    std::vector<std::string> names;
    for (const std::string_view name : location.getPotentialChildren().getNearestSample(0.0f))
        names.emplace_back(name);
    std::vector<std::string> similar = TellarInternal::SimilarNames(names, missing);
    for (std::string& name : similar)
        name.insert(0, location.getFullName() + '/');
    return similar;
}

} // namespace

std::vector<std::string> SimilarLocations(const Ptr& root, const std::string& path) {
    if (!root) return {};
    const std::vector<std::string> levels = LevelsOf(path);
    if (levels.empty()) return {std::string(kRoot)};
    const std::string whole = std::string(kRoot) + path;
    if (root->getProducerByPath(whole)) return {whole};
    if (levels.front() != kRoot.substr(1))
        return TellarInternal::SimilarNames({std::string(kRoot)}, '/' + levels.front());
    Ptr location = root;
    for (std::size_t i = 1; i < levels.size(); ++i) {
        Ptr child = location->getChildByName(levels[i].c_str());
        if (!child) return SimilarChildren(*location, levels[i]);
        location = std::move(child);
    }
    return {};
}

} // namespace TELLAR
