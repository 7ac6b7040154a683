#ifndef TELLAR_PYTHON_SELECTION_H
#define TELLAR_PYTHON_SELECTION_H

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarProducers/VisitLocations.h>
#include <OxTellarSDK/LocationPath.h>

namespace TellarPython {

/// The locations that a walk or a table is about. Immutable after construction.
class Selection {
public:
    /// `where` is the path of a location, which stands for it and everything below, or a glob
    /// pattern (OxLocationPath::Patterns). Empty `types` are all types. `maxDepth` counts levels
    /// below the start. Throws TellarError of the kind kOxErrorBadCall naming a bad pattern.
    Selection(const std::string& where, const std::vector<std::string>& types,
              std::optional<std::size_t> maxDepth);

    /// The path of the location where a visit has to start.
    const std::string& getStart() const { return start; }
    bool isPattern() const { return hasPattern; }

    /// True if the location, which was cooked, is one of them.
    bool has(const TELLAR::VisitedLocation& visited) const;
    /// Whether only locations of some types are.
    bool hasTypes() const { return !types.empty(); }
    /// The same as the first, for those who know the location's type. Without types it is not read.
    bool has(const TELLAR::VisitedLocation& visited, std::string_view type) const;
    /// Whether there may be some below a location.
    TELLAR::VisitWish wishAt(const TELLAR::VisitedLocation& visited) const;

private:
    std::string start;
    bool hasPattern = false;
    OxLocationPath::Patterns patterns; // empty: everything from the start on
    std::set<std::string, std::less<>> types;
    std::optional<std::size_t> maxDepth;
};

} // namespace TellarPython

#endif
