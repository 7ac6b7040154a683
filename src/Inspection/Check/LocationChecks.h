#ifndef TELLAR_CHECK_LOCATIONCHECKS_H
#define TELLAR_CHECK_LOCATIONCHECKS_H

#include <memory>
#include <optional>
#include <string>

#include <OxTellarProducers/VisitLocations.h>

#include "BoundRules.h"
#include "ContentCache.h"
#include "Drafts.h"
#include "Findings.h"
#include "SceneUse.h"

namespace TELLAR {

/// Applies the rules to one location after the other. Threads: any; visited parents come before
/// their children.
class LocationChecks {
public:
    /// The values that the locations above the start of a visit pass down to it.
    static std::shared_ptr<const void> aboveStart(const GeometryProducer& start);

    LocationChecks(Findings& findings, SceneUse& use, std::shared_ptr<const void> aboveStart)
        : findings(findings), use(use), start(std::move(aboveStart)) {}

    /// Checks the location, and passes down what the checks of those below need. Throws
    /// std::bad_alloc only.
    void check(VisitedLocation& visited);

private:
    /// What locations inherit, passed down.
    struct Inherited {
        BoundsAbove bounds;
        bool isHidden = false;
        bool hasMaterial = false;
    };
    struct Subject; // the location that is checked, and its attributes

    void checkContent(VisitedLocation& visited);
    void checkOwn(const Subject& subject);
    void checkShape(const Subject& subject);
    std::optional<OxXFormUtil::Bounds> checkBound(const Subject& subject, const BoundsAbove& above);
    void checkFaceset(const Subject& subject);
    void checkMaterial(const Subject& subject);
    void checkAssignment(const Subject& subject);
    void checkTextures(const Subject& subject);
    void checkLight(const Subject& subject, bool isHidden);
    void checkCamera(const Subject& subject);

    void reportError(const VisitedLocation& visited, const std::exception_ptr& error);
    void add(const VisitedLocation& visited, const Drafts& list, const OxAttribute::Hash& content);
    void addOne(const VisitedLocation& visited, Rule rule, const std::string& attribute,
                const std::string& problem);
    template <typename Compute>
    void addCached(const VisitedLocation& visited, const OxAttribute::Hash& content,
                   const Compute& compute);

    Findings& findings;
    SceneUse& use;
    const std::shared_ptr<const void> start;
    ContentCache<Drafts> drafts;
    ContentCache<OxXFormUtil::Bounds> pointBounds;
};

} // namespace TELLAR

#endif
