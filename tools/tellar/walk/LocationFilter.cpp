#include "LocationFilter.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace TellarTool {

namespace {

OxLocationPath::Patterns PatternsFrom(const std::vector<std::string>& texts) {
    std::vector<std::string> patterns;
    patterns.reserve(texts.size());
    for (const std::string& text : texts)
        patterns.push_back(!text.empty() && text.front() == '/' ? text : "/**/" + text);
    return OxLocationPath::Patterns(patterns);
}

bool IsMesh(const std::string& type) {
    return std::find(std::begin(kMeshTypes), std::end(kMeshTypes), type) != std::end(kMeshTypes);
}

} // namespace

LocationFilter::LocationFilter(std::vector<std::string> types,
                               const std::vector<std::string>& patterns)
    : types(std::move(types)), patterns(PatternsFrom(patterns)) {}

bool LocationFilter::matchesPath(TELLAR::GeometryProducer& location) const {
    return patterns.isEmpty() || patterns.matches(location.getFullName());
}

bool LocationFilter::matchesType(const std::string& type) const {
    return types.empty() ||
           std::any_of(types.begin(), types.end(), [&type](const std::string& wanted) {
               return wanted == type || (wanted == kAnyMesh && IsMesh(type));
           });
}

bool LocationFilter::matchesAnyOf(const std::set<std::string>& presentTypes) const {
    return std::any_of(presentTypes.begin(), presentTypes.end(),
                       [this](const std::string& type) { return matchesType(type); });
}

} // namespace TellarTool
