#include "reading/Walker.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace lantern {

namespace {

constexpr std::uint64_t kVisitsBetweenCancelChecks = 128;
constexpr std::uint64_t kVisitsBetweenReports = 65536;

/// The index of a name in [from, end), or `end` if it is not there.
std::int64_t FindName(const Attribute& names, const std::string& name, std::int64_t from,
                      std::int64_t end) {
    for (std::int64_t number = from; number < end; ++number) {
        const char* const one = names.textAt(number);
        if (one && name == one) return number;
    }
    return end;
}

} // namespace

void Walker::run() {
    while (std::optional<WalkJob> job = queue.take())
        walk(std::move(*job));
}

void Walker::walk(WalkJob job) {
    depth = 0;
    firstToGive = 0;
    part = job.part;
    start(job);
    while (depth > 0) {
        Level& level = levels[depth - 1];
        if (level.isVisited) advance(level);
        if (!level.place) {
            --depth;
            firstToGive = std::min(firstToGive, depth);
            continue;
        }
        checkIn();
        if (queue.hasFailed()) return;
        level.isVisited = true;
        visit(level);
    }
}

void Walker::start(WalkJob& job) {
    here = std::move(job.inherited);
    if (!job.parent) {
        push(Place(job.root)).isAlone = true;
        return;
    }
    for (std::int64_t number = job.next; number < job.end; ++number) {
        const char* const name = job.names.textAt(number);
        const Location first = name ? job.parent.childByName(name) : Location();
        if (!first) continue;
        Level& level = push(Place(first));
        level.names = job.names;
        level.number = number;
        level.end = job.end;
        return;
    }
}

Walker::Level& Walker::push(Place place) {
    if (levels.size() == depth) levels.emplace_back();
    Level& level = levels[depth++];
    level.inherited = here;
    level.place = std::move(place);
    level.isVisited = false;
    level.isAlone = level.place.isReplacement();
    level.names = Attribute();
    return level;
}

void Walker::advance(Level& level) {
    level.isVisited = false;
    const bool isLast = level.isAlone && !level.place.isReplacement();
    level.place = isLast ? Place() : level.place.nextSibling();
    if (!level.place || !level.names) return;
    level.number =
        FindName(level.names, level.place.location().name(), level.number + 1, level.end);
    if (level.number == level.end) level.place = Place();
}

/// Checks now and then for cancellation, reports progress, and shares work with waiting threads.
void Walker::checkIn() {
    if (++visited % kVisitsBetweenCancelChecks == 0) context.report.throwIfCancelled();
    if (visited % kVisitsBetweenReports == 0) context.report.progress(0, "reading the scene");
    if (queue.isWanting()) giveAway();
}

void Walker::visit(Level& level) {
    const Place& place = level.place;
    if (place.location().hasFailed()) return context.warnings.warn(place.location().failure());
    LocationFacts& facts = memory.of(place.attributes());
    if (!facts.isVisible) return;
    here = level.inherited;
    facts.transform.applyTo(here.transform);
    here.materials = facts.materialsBelow(here.materials);
    if (facts.delegate && !place.isReplacement()) {
        if (const Attribute replacement = facts.delegate->replacementOf(place.location())) {
            push(Place::replacing(place.location(), replacement));
            return;
        }
    }
    const bool isGroup = facts.kind == Kind::Group;
    if (isGroup && showInstances(place)) return; // after this call, `facts` may be overwritten
    Place firstChild = place.firstChild();
    if (!isGroup) show(place, facts, firstChild);
    if (firstChild) push(std::move(firstChild));
}

void Walker::show(const Place& place, LocationFacts& facts, const Place& firstChild) {
    if (facts.kind == Kind::FaceSet) return;
    if (facts.kind == Kind::Light) return addLight(place, facts);
    const Index shape = shapeOf(place, facts);
    if (shape == kNone) return;
    const InstanceMatrices matrices(here.transform);
    if (matrices.warning) context.warnings.warn(place.path(), matrices.warning);
    if (matrices.count == 0) return;
    part->addInstance(shape, surfaceOf(place, facts, firstChild), matrices);
    if (context.namesLocations) part->addName(place.location().path());
}

Index Walker::shapeOf(const Place& place, LocationFacts& facts) {
    if (!facts.shape) {
        context.report.throwIfCancelled();
        facts.shape = context.shapes.find(facts.kind, facts.geometry, place);
    }
    return *facts.shape;
}

Index Walker::surfaceOf(const Place& place, LocationFacts& facts, const Place& firstChild) {
    const bool isMesh = facts.kind == Kind::Mesh || facts.kind == Kind::SubdivisionMesh;
    SurfaceQuestion question{place, here.materials, facts.textures, facts.faceCount, {}};
    if (isMesh) question.faceSets = faceSetsAmong(firstChild);
    if (!question.faceSets.empty()) return context.surfaces.find(question);
    if (!facts.surface || facts.surfaceMaterials != HashOf(here.materials)) {
        facts.surface = context.surfaces.find(question);
        facts.surfaceMaterials = HashOf(here.materials);
    }
    return *facts.surface;
}

std::vector<FaceSet> Walker::faceSetsAmong(Place child) const {
    std::vector<FaceSet> faceSets;
    for (; child; child = child.nextSibling()) {
        const Attribute attributes = child.attributes();
        if (!attributes.child("type").isTextEqual("faceset")) continue;
        if (attributes.child("visible").number(1) == 0) continue;
        const Attribute material = attributes.child("material");
        if (!material.isGroup()) continue;
        faceSets.push_back(
            {child,
             MaterialChain::make(material, attributes.child("materialAssign"), here.materials),
             attributes.child("geometry.faces")});
    }
    return faceSets;
}

void Walker::addLight(const Place& place, const LocationFacts& facts) {
    const auto warn = [&](const std::string& what) { context.warnings.warn(place.path(), what); };
    std::optional<LightDraft> light =
        ReadLight(facts.attributes.child("light"), here.transform.matrices[0], warn);
    if (light) part->addLight(std::move(*light));
}

// Giving work away --------------------------------------------------------------------------------

void Walker::giveAway() {
    for (; firstToGive < depth; ++firstToGive)
        if (giveHalfOf(levels[firstToGive])) return;
}

/// Returns false if no sibling is left.
bool Walker::giveHalfOf(Level& level) {
    if (level.isAlone || !level.place) return false;
    if (!level.names) findEnd(level);
    const std::int64_t left = level.end - level.number - 1;
    if (left <= 0) return false;
    WalkJob job;
    job.parent = level.place.location().parent();
    job.names = level.names;
    job.next = level.number + 1 + left / 2;
    job.end = std::exchange(level.end, job.next);
    job.inherited = level.inherited;
    job.part = context.parts.insertAfter(part);
    queue.give(std::move(job));
    return true;
}

void Walker::findEnd(Level& level) {
    const Location& location = level.place.location();
    level.names = location.parent().potentialChildren();
    level.end = level.names.count();
    level.number = FindName(level.names, location.name(), 0, level.end);
}

} // namespace lantern
