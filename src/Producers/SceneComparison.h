#ifndef OXTELLARPRODUCERS_SCENECOMPARISON_H
#define OXTELLARPRODUCERS_SCENECOMPARISON_H

#include <exception>
#include <functional>
#include <memory>
#include <string>

#include <OxTellarProducers/VisitLocations.h>
#include <OxTellarSDK/LocationSet.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// A location in one of two scenes, or why it cannot be cooked.
struct LocationSide {
    TellarRuntime::LocationData data;
    std::exception_ptr error;

    bool exists() const { return error || data.doesLocationExist(); }
};

/// A location that at least one of two scenes has.
struct ComparedLocation {
    const std::string& path;
    const LocationSide& before;
    const LocationSide& after;
    /// Children that both scenes have are in another order.
    bool isReordered = false;
    /// Children of any name may be visited, not only those towards members of `touched`.
    bool areAllChildrenTouched = false;

    bool areBothCooked() const {
        return before.data.doesLocationExist() && after.data.doesLocationExist() && !before.error &&
               !after.error;
    }
};

using ComparisonVisitor = std::function<VisitWish(const ComparedLocation&)>;

/// Calls the visitor for the location `start` and for those below it that one of the scenes has and
/// that are in `touched` or above members of it: parents first, of siblings first those that only
/// the old scene has. Goes below locations of one scene alone, too, unless the visitor prunes, but
/// not below one with an error. A null client has no locations.
///
/// Returns false when the visitor stopped it. Throws std::bad_alloc and what the visitor throws.
bool VisitBothScenes(const std::shared_ptr<TellarRuntime::Client>& oldClient,
                     const std::shared_ptr<TellarRuntime::Client>& newClient,
                     const std::string& start, const OxLocationPath::LocationSet& touched,
                     const ComparisonVisitor& visitor);

/// Called while an exception is handled that reading both locations has thrown, such as one about
/// damage in a file: gives it to the side, or the sides, that cannot be read.
void NoteReadErrors(LocationSide& before, LocationSide& after);

/// The text of an error. Empty for what is no std::exception.
std::string TextOfError(const std::exception_ptr& error);

} // namespace TELLAR

#endif
