#ifndef TELLAR_CHECK_BOUNDRULES_H
#define TELLAR_CHECK_BOUNDRULES_H

#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include <Imath/ImathMatrix.h>

#include <OxTellarProducers/VisitLocations.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Bounds.h>

#include "Drafts.h"
#include "Findings.h"

namespace TELLAR {

/// The box of a "bound" over all of its time samples. Nothing, after a draft, if it is no box.
std::optional<OxXFormUtil::Bounds> ReadBound(const OxAttribute::Attribute& bound, Drafts& drafts);

/// The box of a location's own points over all time samples, or of its sphere; empty if it has
/// neither.
OxXFormUtil::Bounds PointBound(std::string_view type, const OxAttribute::GroupAttribute& geometry);

/// Whether the box encloses the other one, up to rounding errors. It encloses every empty one.
bool Encloses(const OxXFormUtil::Bounds& box, const OxXFormUtil::Bounds& other);

/// The bound of a location, to be held against the points of the locations below. Threads: any.
class BoundAbove {
public:
    BoundAbove(const OxXFormUtil::Bounds& box, GeometryProducer::Ptr location, Place place,
               Findings& findings)
        : box(box), location(std::move(location)), place(std::move(place)), findings(findings) {}

    const OxXFormUtil::Bounds& getBox() const { return box; }

    /// Whether a finding at this place would be told: it is the first one, or before the one so
    /// far.
    bool isWorthKnowing(const Place& below) const;
    /// The points of the location at `below` are not enclosed.
    void report(const VisitedLocation& below);

private:
    const OxXFormUtil::Bounds box;
    const GeometryProducer::Ptr location;
    const Place place;
    Findings& findings;
    mutable std::mutex lock;
    std::optional<Place> first; // where points are not enclosed; guarded by lock
};

/// The bounds of the locations above one. Each step down leaves out those that certainly enclose
/// everything that the step's own bound encloses.
class BoundsAbove {
public:
    struct Above {
        std::shared_ptr<BoundAbove> bound;
        Imath::M44d toAbove; ///< from the space of the location, before its transform
    };

    /// Holds the location's points at time 0 against the bounds. `own` is its own bound.
    void check(const VisitedLocation& visited, std::string_view type,
               const OxAttribute::GroupAttribute& geometry,
               const std::optional<OxXFormUtil::Bounds>& own) const;

    /// Those bounds, and the location's own one, for the locations below.
    BoundsAbove below(const VisitedLocation& visited, const std::optional<OxXFormUtil::Bounds>& own,
                      Findings& findings) const;

    /// The bounds with a location's "xform" between them and what follows. None where it moves,
    /// because the bounds of imported models are those without motion, nor where it does not lead
    /// to the parent's space.
    BoundsAbove through(const OxAttribute::GroupAttribute& xform) const;

    bool isEmpty() const { return above.empty(); }

private:
    std::vector<Above> above;
};

} // namespace TELLAR

#endif
