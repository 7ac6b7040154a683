#include <OxTellarProducers/SceneDifference.h>

#include <new>
#include <optional>
#include <utility>

#include <OxTellarSDK/ChangedLocations.h>
#include <OxTellarSDK/SubtreeFacts.h>

#include "EqualSubtrees.h"
#include "SceneComparison.h"
#include "ValueComparison.h"

namespace TELLAR {

namespace {

using OxLocationPath::LocationSet;
using Client = TellarRuntime::Client;
using ClientPtr = std::shared_ptr<Client>;

std::shared_ptr<TellarRuntime::Op> OpOf(const ClientPtr& client) {
    return client ? client->getOp() : nullptr;
}

LocationDifference Failure(const std::string& path, const LocationSide& before,
                           const LocationSide& after) {
    return {LocationDifference::Failed, path, {}, false, 0, before.error, after.error};
}

bool HasChildren(const LocationSide& side) {
    return side.data.getPotentialChildren().getNumberOfValues() > 0;
}

class DifferenceSearch {
public:
    DifferenceSearch(const ClientPtr& oldClient, const ClientPtr& newClient,
                     const DifferenceOptions& options, const DifferenceVisitor& visitor)
        : oldClient(oldClient), newClient(newClient), options(options), visitor(visitor),
          values(options.tolerance, options.attributes) {
        if (oldClient && newClient) subtrees.emplace(*oldClient, *newClient);
    }

    DifferenceSummary find() {
        const LocationSet touched = OxOpType::ChangedLocations(OpOf(oldClient), OpOf(newClient));
        if (touched.isEmpty()) return summary;
        VisitBothScenes(oldClient, newClient, options.location, touched,
                        [&](const ComparedLocation& location) {
                            return visit(location, touched.mayContain(location.path));
                        });
        return summary;
    }

private:
    VisitWish visit(const ComparedLocation& location, bool isTouched) {
        if (!mayGoOn()) return VisitWish::Stop;
        if (location.before.error || location.after.error)
            return report(Failure(location.path, location.before, location.after));
        if (!location.areBothCooked()) return visitLone(location);
        return visitPair(location, isTouched);
    }

    /// Whether another location may be looked at.
    bool mayGoOn() {
        if (options.isCancelled && options.isCancelled()) summary.end = VisitEnd::Cancelled;
        ++summary.visited;
        return summary.end == VisitEnd::Done;
    }

    /// A location of one scene alone.
    VisitWish visitLone(const ComparedLocation& location) {
        const bool isNew = location.after.exists();
        const ClientPtr& client = isNew ? newClient : oldClient;
        LocationDifference difference;
        difference.kind = isNew ? LocationDifference::Added : LocationDifference::Removed;
        difference.path = location.path;
        const bool hasChildren = HasChildren(isNew ? location.after : location.before);
        const auto facts = hasChildren ? OxOpType::DescribeSubtree(*client, location.path)
                                       : OxOpType::SubtreeFacts();
        bool hasFailures = false;
        if (facts.locations)
            difference.below = *facts.locations - 1;
        else if (hasChildren)
            hasFailures = countBelow(isNew, difference);
        if (summary.end != VisitEnd::Done) return VisitWish::Stop;
        const VisitWish wish = report(difference);
        if (wish == VisitWish::Prune && hasFailures) reportFailuresBelow(isNew, location.path);
        return summary.end == VisitEnd::Done ? wish : VisitWish::Stop;
    }

    /// Visits the location and all below it in one scene alone.
    void visitAlone(bool isNew, const std::string& path, const ComparisonVisitor& visitLocation) {
        VisitBothScenes(isNew ? nullptr : oldClient, isNew ? newClient : nullptr, path,
                        LocationSet::everything(), [&](const ComparedLocation& location) {
                            return mayGoOn() ? visitLocation(location) : VisitWish::Stop;
                        });
    }

    /// Returns whether a location below cannot be cooked.
    bool countBelow(bool isNew, LocationDifference& difference) {
        bool hasFailures = false;
        std::int64_t locations = 0;
        visitAlone(isNew, difference.path, [&](const ComparedLocation& location) {
            ++locations;
            hasFailures = hasFailures || location.before.error || location.after.error;
            return VisitWish::GoOn;
        });
        difference.below = locations - 1;
        return hasFailures;
    }

    void reportFailuresBelow(bool isNew, const std::string& path) {
        visitAlone(isNew, path, [&](const ComparedLocation& location) {
            const bool isFailure = location.before.error || location.after.error;
            return isFailure ? report(Failure(location.path, location.before, location.after))
                             : VisitWish::GoOn;
        });
    }

    VisitWish visitPair(const ComparedLocation& location, bool isTouched) {
        LocationDifference difference;
        difference.path = location.path;
        difference.isReordered = location.isReordered && values.hasNoPatterns();
        try {
            if (isTouched)
                difference.values =
                    values.compare(location.before.data.getAttrs(), location.after.data.getAttrs());
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) { // a value that cannot be read
            LocationSide before = location.before;
            LocationSide after = location.after;
            NoteReadErrors(before, after);
            return report(Failure(location.path, before, after));
        }
        const bool isChanged = difference.isReordered || !difference.values.empty();
        if (isChanged && report(difference) == VisitWish::Stop) return VisitWish::Stop;
        return isEqualBelow(location) ? VisitWish::Prune : VisitWish::GoOn;
    }

    bool isEqualBelow(const ComparedLocation& location) {
        const bool mayBe = location.areAllChildrenTouched && !location.isReordered &&
                           HasChildren(location.before) && HasChildren(location.after);
        return mayBe && subtrees->areEqualBelow(location.path);
    }

    /// Returns Prune, or Stop when the visitor wants no more.
    VisitWish report(const LocationDifference& difference) {
        std::uint64_t* const counts[] = {&summary.removed, &summary.added, &summary.changed,
                                         &summary.failed};
        ++*counts[difference.kind];
        if (visitor(difference)) return VisitWish::Prune;
        summary.end = VisitEnd::Stopped;
        return VisitWish::Stop;
    }

    const ClientPtr& oldClient;
    const ClientPtr& newClient;
    const DifferenceOptions& options;
    const DifferenceVisitor& visitor;
    const ValueComparison values;
    std::optional<EqualSubtrees> subtrees; // of two clients
    DifferenceSummary summary;
};

} // namespace

DifferenceSummary VisitDifferences(const ClientPtr& oldClient, const ClientPtr& newClient,
                                   const DifferenceOptions& options,
                                   const DifferenceVisitor& visitor) {
    return DifferenceSearch(oldClient, newClient, options, visitor).find();
}

} // namespace TELLAR
