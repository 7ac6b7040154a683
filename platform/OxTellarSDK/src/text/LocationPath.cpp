#include <OxTellarSDK/LocationPath.h>

#include "PatternLevels.h"

namespace OxLocationPath {

std::string_view Parent(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

std::string_view Name(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
}

bool IsSelfOrBelow(std::string_view path, std::string_view ancestor) {
    return path.substr(0, ancestor.size()) == ancestor &&
           (path.size() == ancestor.size() || path[ancestor.size()] == '/');
}

std::string PatternOf(std::string_view path) {
    std::string pattern;
    while (!path.empty())
        pattern += '/' + EscapedLevel(TakeLevel(path));
    return pattern;
}

Patterns::Patterns(const std::vector<std::string>& patterns) {
    this->patterns.reserve(patterns.size());
    for (const std::string& pattern : patterns)
        this->patterns.push_back(SplitPattern(pattern));
}

bool Patterns::matches(std::string_view path) const {
    if (path.empty() || path[0] != '/') return false;
    for (const std::vector<std::string>& pattern : patterns)
        if (PathMatches(pattern, Levels(path))) return true;
    return false;
}

bool Patterns::mayMatchBelow(std::string_view path) const {
    if (!path.empty() && path[0] != '/') return false;
    for (const std::vector<std::string>& pattern : patterns)
        if (MayMatchBelow(pattern, Levels(path))) return true;
    return false;
}

} // namespace OxLocationPath
