#include "Selection.h"

#include <exception>

#include <OxTellarSDK/TellarError.h>

namespace TellarPython {

namespace {

using TELLAR::VisitedLocation;
using TELLAR::VisitWish;

/// The levels before the first one that is no plain name.
std::string_view PlainPart(std::string_view pattern) {
    const std::size_t special = pattern.find_first_of("*?[");
    return special == std::string_view::npos ? pattern
                                             : pattern.substr(0, pattern.rfind('/', special));
}

} // namespace

Selection::Selection(const std::string& where, const std::vector<std::string>& types,
                     std::optional<std::size_t> maxDepth)
    : types(types.begin(), types.end()), maxDepth(maxDepth) {
    if (where.empty() || where[0] != '/')
        throw TellarError(kOxErrorBadCall, "\"" + where + "\" is not an absolute path");
    start = std::string(PlainPart(where));
    const std::string_view rest = std::string_view(where).substr(start.size());
    hasPattern = !rest.empty();
    // "/root/world/**" is all of /root/world, as the path alone is.
    if (!hasPattern || (rest == "/**" && !start.empty())) return;
    try {
        patterns = OxLocationPath::Patterns({where});
    } catch (const std::exception& error) {
        throw TellarError(kOxErrorBadCall, error.what());
    }
    if (start.empty()) start = "/root"; // the only location without a parent
}

bool Selection::has(const VisitedLocation& visited) const {
    return has(visited, hasTypes() ? visited.location->getType() : std::string());
}

bool Selection::has(const VisitedLocation& visited, std::string_view type) const {
    if (!types.empty() && types.find(type) == types.end()) return false;
    return patterns.isEmpty() || patterns.matches(visited.getPath());
}

VisitWish Selection::wishAt(const VisitedLocation& visited) const {
    if (maxDepth && visited.getDepth() >= *maxDepth) return VisitWish::Prune;
    const bool isRelevant = patterns.isEmpty() || patterns.mayMatchBelow(visited.getPath());
    return isRelevant ? VisitWish::GoOn : VisitWish::Prune;
}

} // namespace TellarPython
