#include <OxTellarProducers/SceneChanges.h>

#include <new>
#include <utility>

#include <OxTellarSDK/ChangedLocations.h>

#include "AttributeChanges.h"
#include "SceneComparison.h"

namespace TELLAR {

namespace {

using OxLocationPath::LocationSet;
using Client = TellarRuntime::Client;

constexpr const char* kRootPath = "/root";

bool HaveEqualErrors(const LocationSide& before, const LocationSide& after) {
    return before.error && after.error && TextOfError(before.error) == TextOfError(after.error);
}

SceneChange ChangeOfAll(SceneChange::Kind kind, const ComparedLocation& location) {
    return {location.path, kind, kAllChanged, {}, location.before.error, location.after.error};
}

/// The list of changes, as long as it has become.
class ChangeList {
public:
    explicit ChangeList(const LocationSet& touched) : touched(touched) {}

    VisitWish add(const ComparedLocation& location) {
        const LocationSide& before = location.before;
        const LocationSide& after = location.after;
        if (before.exists() != after.exists()) {
            changes.push_back(
                ChangeOfAll(after.exists() ? SceneChange::Added : SceneChange::Removed, location));
            return VisitWish::Prune;
        }
        if (location.areBothCooked()) return compareAttributes(location);
        if (!HaveEqualErrors(before, after))
            changes.push_back(ChangeOfAll(SceneChange::Changed, location));
        return VisitWish::Prune;
    }

    SceneChanges take() { return std::move(changes); }

private:
    /// Reading a damaged file may throw an exception.
    VisitWish compareAttributes(const ComparedLocation& location) {
        const TellarRuntime::LocationData& before = location.before.data;
        const TellarRuntime::LocationData& after = location.after.data;
        AttributeChanges differing;
        try {
            if (touched.mayContain(location.path))
                differing = CompareAttributes(before.getAttrs(), after.getAttrs());
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            LocationSide oldSide = location.before;
            LocationSide newSide = location.after;
            NoteReadErrors(oldSide, newSide);
            changes.push_back(ChangeOfAll(SceneChange::Changed, {location.path, oldSide, newSide}));
            return VisitWish::Prune;
        }
        if (location.isReordered) differing.mask |= kChildrenChanged;
        if (differing.mask != 0)
            changes.push_back({location.path, SceneChange::Changed, differing.mask,
                               std::move(differing.attributes), nullptr, nullptr});
        return VisitWish::GoOn;
    }

    const LocationSet& touched;
    SceneChanges changes;
};

std::shared_ptr<TellarRuntime::Op> OpOf(const std::shared_ptr<Client>& client) {
    return client ? client->getOp() : nullptr;
}

} // namespace

SceneChanges CompareScenes(const std::shared_ptr<Client>& oldClient,
                           const std::shared_ptr<Client>& newClient) {
    return CompareScenes(oldClient, newClient,
                         OxOpType::ChangedLocations(OpOf(oldClient), OpOf(newClient)));
}

SceneChanges CompareScenes(const std::shared_ptr<Client>& oldClient,
                           const std::shared_ptr<Client>& newClient, const LocationSet& touched) {
    if (touched.isEmpty()) return {};
    ChangeList changes(touched);
    VisitBothScenes(oldClient, newClient, kRootPath, touched,
                    [&changes](const ComparedLocation& location) { return changes.add(location); });
    return changes.take();
}

} // namespace TELLAR
