// The members of Walker that read instances without cooking each of them.

#include <algorithm>
#include <optional>
#include <utility>

#include "reading/HostInstances.h"
#include "reading/Walker.h"

namespace lantern {

namespace {

constexpr std::int64_t kFewestChildren = 4; // fewer cannot repeat much
constexpr std::int64_t kReadAtOnce = 1024;

} // namespace

/// Adds the instances below a place, if the host knows them and they are shapes. Returns false, and
/// adds nothing, if they have to be walked one by one.
bool Walker::showInstances(const Place& place) {
    const auto& iterators = context.suites.iterators();
    const bool isPossible =
        !context.namesLocations && !place.isReplacement() &&
        iterators.getNumberOfChildren(place.location().get()) >= kFewestChildren;
    if (!isPossible) return false;
    const HostInstances instances(context.suites, place.location());
    if (!instances || instances.count() <= instances.prototypeCount()) return false;
    std::vector<std::optional<Prototype>> prototypes;
    for (std::int64_t i = 0; i < instances.prototypeCount(); ++i) {
        prototypes.push_back(readPrototype(instances.prototype(i)));
        if (!prototypes.back()) return false;
    }
    for (std::int64_t begin = 0; begin < instances.count(); begin += kReadAtOnce) {
        context.report.throwIfCancelled();
        const std::int64_t end = std::min(begin + kReadAtOnce, instances.count());
        std::int64_t number = begin;
        for (const HostInstances::Placed& placed : instances.read(begin, end)) {
            const char* const warning = addPrototype(
                *prototypes.at(static_cast<std::size_t>(placed.prototype)), placed.matrix);
            if (warning) context.warnings.warn(instances.pathOf(number), warning);
            ++number;
        }
    }
    return true;
}

/// The shapes of a prototype. Returns nothing for one with anything else that is drawn or told.
std::optional<Walker::Prototype> Walker::readPrototype(const Location& top) {
    struct Open {
        Place place;
        MaterialChain::Ptr materials;
        std::vector<LocalTransform> transforms; // those below the prototype
        bool isTop = false;
    };
    Prototype prototype;
    const MaterialChain::Ptr outside = here.materials;
    std::vector<Open> open;
    open.push_back({Place(top), outside, {}, true});
    bool isUsable = static_cast<bool>(top);
    while (isUsable && !open.empty()) {
        checkIn();
        Open at = std::move(open.back());
        open.pop_back();
        if (at.place.location().hasFailed()) isUsable = false;
        if (!at.isTop)
            if (Place next = at.place.nextSibling())
                open.push_back({std::move(next), at.materials, at.transforms, false});
        LocationFacts& facts = memory.of(at.place.attributes());
        if (!facts.isVisible) continue;
        if (facts.delegate || facts.kind == Kind::Light) isUsable = false;
        if (!isUsable) break;
        if (!at.isTop && !facts.transform.isEmpty()) at.transforms.push_back(facts.transform);
        at.materials = here.materials = facts.materialsBelow(at.materials);
        Place firstChild = at.place.firstChild();
        if (facts.kind != Kind::Group && facts.kind != Kind::FaceSet) {
            const Index shape = shapeOf(at.place, facts);
            if (shape != kNone)
                prototype.push_back({at.transforms, shape, surfaceOf(at.place, facts, firstChild)});
        }
        if (firstChild) open.push_back({std::move(firstChild), at.materials, at.transforms, false});
    }
    here.materials = outside;
    if (!isUsable) return {};
    return prototype;
}

/// Adds an instance of all shapes of a prototype. Returns a warning about its transform, or null.
const char* Walker::addPrototype(const Prototype& prototype, const M44d& matrix) {
    Transform top = here.transform;
    for (M44d& step : top.matrices)
        step = matrix * step;
    const char* warning = nullptr;
    for (const PlacedShape& placed : prototype) {
        Transform transform = top;
        for (const LocalTransform& local : placed.transforms)
            local.applyTo(transform);
        const InstanceMatrices matrices(transform);
        if (matrices.warning) warning = matrices.warning;
        if (matrices.count > 0) part->addInstance(placed.shape, placed.surface, matrices);
    }
    return warning;
}

} // namespace lantern
