#include "LocationChecks.h"

#include <exception>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/TellarError.h>

#include "LightAndCameraRules.h"
#include "MaterialRules.h"
#include "NameRules.h"
#include "ShapeRules.h"
#include "TextureRules.h"
#include "TransformRules.h"
#include "Values.h"

namespace TELLAR {

using namespace OxAttribute;
using OxXFormUtil::Bounds;

namespace {

/// The kinds of results that are remembered by the hash of a content.
enum Purpose : std::uint64_t {
    Shape = 1,
    ShapeBox,
    Bound,
    Faceset,
    Material,
    Textures,
    Light,
    Lens,
    One
};

/// Equal for findings that are one.
Hash KeyOf(const Draft& draft, const Hash& content) {
    if (draft.rule == Rule::TextureMissing) return MissingFileKey(draft.problem);
    return JoinedHash(static_cast<std::uint64_t>(draft.rule),
                      {content, HashOfText(draft.attribute), HashOfText(draft.problem)});
}

bool IsHidden(const Attribute& visible) {
    return NumberOf(visible).value_or(1) == 0;
}

bool HasVertexColors(const GroupAttribute& geometry) {
    return geometry.getChildByName("arbitrary.color").isValid();
}

/// Whether a child of the mesh is a faceset with a material, or cannot be cooked, so that it may be
/// one.
bool MayHaveFacesetMaterial(GeometryProducer& mesh) {
    const std::int64_t count = mesh.getPotentialChildren().getNumberOfValues();
    try {
        for (std::int64_t i = 0; i < count; ++i) {
            const GeometryProducer::Ptr child = mesh.getChildByIndex(i);
            if (child && child->getType() == "faceset" && child->getAttribute("material").isValid())
                return true;
        }
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return true;
    }
    return false;
}

} // namespace

struct LocationChecks::Subject {
    VisitedLocation& visited;
    GroupAttribute attrs;
    StringAttribute typeText;
    GroupAttribute geometry;
    GroupAttribute material;

    explicit Subject(VisitedLocation& visited)
        : visited(visited), attrs(visited.location->getAttribute(nullptr)),
          typeText(ChildOf(attrs, "type")), geometry(ChildOf(attrs, "geometry")),
          material(ChildOf(attrs, "material")) {}

    std::string_view type() const { return typeText.getValueView(); }
};

std::shared_ptr<const void> LocationChecks::aboveStart(const GeometryProducer& start) {
    auto above = std::make_shared<Inherited>();
    for (GeometryProducer* each = start.getRawParentPtr(); each; each = each->getRawParentPtr()) {
        above->isHidden = above->isHidden || IsHidden(each->getAttribute("visible"));
        above->hasMaterial = above->hasMaterial || each->getAttribute("material").isValid();
    }
    return above;
}

void LocationChecks::check(VisitedLocation& visited) {
    if (visited.error) return reportError(visited, visited.error);
    try {
        checkContent(visited);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) { // a value in a damaged file
        reportError(visited, std::current_exception());
        visited.passedDown = std::make_shared<Inherited>(Inherited{{}, false, true});
    }
}

void LocationChecks::checkContent(VisitedLocation& visited) {
    const Subject subject(visited);
    const auto& above =
        *static_cast<const Inherited*>(visited.inherited ? visited.inherited.get() : start.get());
    checkOwn(subject);
    Inherited own;
    own.isHidden = above.isHidden || IsHidden(ChildOf(subject.attrs, "visible"));
    own.hasMaterial = above.hasMaterial || subject.material.isValid();
    const BoundsAbove bounds =
        above.bounds.through(GroupAttribute(ChildOf(subject.attrs, "xform")));
    const std::optional<Bounds> box = checkBound(subject, bounds);
    if (subject.type() == "light") checkLight(subject, own.isHidden);
    if (IsShape(subject.type()) && !own.hasMaterial && !HasVertexColors(subject.geometry) &&
        !(IsMesh(subject.type()) && MayHaveFacesetMaterial(*visited.location)))
        addOne(visited, Rule::MaterialNone, {}, "it has no material");
    if (visited.location->getPotentialChildren().getNumberOfValues() == 0) return;
    own.bounds = bounds.below(visited, box, findings);
    visited.passedDown = std::make_shared<Inherited>(std::move(own));
}

/// Applies the rules for which nothing of other locations has to be known.
void LocationChecks::checkOwn(const Subject& subject) {
    VisitedLocation& visited = subject.visited;
    Drafts found;
    CheckNames(visited.location->getPotentialChildren(), found);
    if (!found.get().empty())
        add(visited, found, visited.location->getPotentialChildren().getHash());
    if (const Attribute xform = ChildOf(subject.attrs, "xform"); xform.isValid()) {
        Drafts transform;
        CheckTransform(xform, transform);
        if (!transform.get().empty()) add(visited, transform, xform.getHash());
    }
    checkShape(subject);
    if (subject.type() == "faceset") checkFaceset(subject);
    if (subject.type() == "camera") checkCamera(subject);
    checkMaterial(subject);
    checkTextures(subject);
}

void LocationChecks::checkShape(const Subject& subject) {
    if (!IsShape(subject.type())) return;
    const Hash content =
        JoinedHash(Shape, {subject.typeText.getHash(), subject.geometry.getHash()});
    addCached(subject.visited, content,
              [&](Drafts& list) { CheckShape(subject.type(), subject.geometry, list); });
}

std::optional<Bounds> LocationChecks::checkBound(const Subject& subject, const BoundsAbove& above) {
    const Attribute bound = ChildOf(subject.attrs, "bound");
    std::optional<Bounds> box;
    if (bound.isValid()) {
        Drafts found;
        box = ReadBound(bound, found);
        if (!found.get().empty()) add(subject.visited, found, bound.getHash());
    }
    const bool hasShape = IsShape(subject.type());
    if (hasShape && box) {
        const Hash content =
            JoinedHash(ShapeBox, {subject.typeText.getHash(), subject.geometry.getHash()});
        const auto points =
            pointBounds.get(content, [&] { return PointBound(subject.type(), subject.geometry); });
        Drafts found;
        if (!Encloses(*box, *points))
            found.add(Rule::BoundSmall, "bound", "it does not enclose the location's own points");
        add(subject.visited, found, JoinedHash(Bound, {content, bound.getHash()}));
    }
    if (hasShape) above.check(subject.visited, subject.type(), subject.geometry, box);
    return box;
}

void LocationChecks::checkFaceset(const Subject& subject) {
    GeometryProducer* const parent = subject.visited.location->getRawParentPtr();
    if (!parent || !IsMesh(parent->getType()))
        return addOne(subject.visited, Rule::FacesetUnused, {}, "the location above it is no mesh");
    const GroupAttribute mesh(parent->getAttribute("geometry"));
    addCached(subject.visited, JoinedHash(Faceset, {subject.geometry.getHash(), mesh.getHash()}),
              [&](Drafts& list) { CheckFaceset(subject.geometry, mesh, list); });
}

void LocationChecks::checkMaterial(const Subject& subject) {
    const GroupAttribute& material = subject.material;
    if (subject.type() == "material")
        use.noteMaterial(subject.visited, material.getHash());
    else if (material.isValid())
        use.noteUsedMaterial(material.getHash());
    checkAssignment(subject);
    if (!material.isValid()) return;
    addCached(subject.visited, JoinedHash(Material, {material.getHash()}),
              [&](Drafts& list) { CheckMaterial(material, list); });
}

void LocationChecks::checkAssignment(const Subject& subject) {
    const Attribute assigned = ChildOf(subject.attrs, "materialAssign");
    const std::string path(TextOf(assigned));
    if (path.empty()) return;
    const SceneUse::Target target = use.noteAssignment(path);
    if (subject.material.isValid()) return;
    Drafts found;
    found.add(Rule::MaterialMissing, "materialAssign",
              target == SceneUse::Target::Nothing ? "there is no location " + Quoted(path)
              : target == SceneUse::Target::OtherLocation
                  ? Quoted(path) + " has no material"
                  : "the location does not have the material of " + Quoted(path));
    add(subject.visited, found, assigned.getHash());
}

void LocationChecks::checkTextures(const Subject& subject) {
    const GroupAttribute light(ChildOf(subject.attrs, "light"));
    const GroupAttribute textures(ChildOf(subject.attrs, "textures"));
    if (!subject.material.isValid() && !light.isValid() && !textures.isValid()) return;
    const Hash content =
        JoinedHash(Textures, {subject.material.getHash(), light.getHash(), textures.getHash()});
    addCached(subject.visited, content, [&](Drafts& list) {
        CheckTextureFiles(subject.attrs, list);
        if (textures.isValid()) CheckTextureUse(textures, subject.material, list);
    });
}

void LocationChecks::checkLight(const Subject& subject, bool isHidden) {
    const GroupAttribute light(ChildOf(subject.attrs, "light"));
    addCached(subject.visited, JoinedHash(Light, {light.getHash()}),
              [&](Drafts& list) { CheckLight(light, list); });
    if (isHidden) addOne(subject.visited, Rule::LightHidden, {}, "the light is hidden");
}

void LocationChecks::checkCamera(const Subject& subject) {
    use.noteCamera(subject.visited);
    addCached(subject.visited, JoinedHash(Lens, {subject.geometry.getHash()}),
              [&](Drafts& list) { CheckLens(subject.geometry, list); });
}

void LocationChecks::reportError(const VisitedLocation& visited, const std::exception_ptr& error) {
    const ErrorFacts facts = FactsOf(error);
    if (facts.code == kOxErrorMemory) std::rethrow_exception(error);
    findings.add(Rule::CookError, visited.place, {}, [&] {
        return FoundProblem{visited.getPath(), facts.attribute, facts.op,
                            facts.opType,      facts.text,      facts.file};
    });
}

void LocationChecks::add(const VisitedLocation& visited, const Drafts& list, const Hash& content) {
    for (const Draft& draft : list.get())
        findings.add(draft.rule, visited.place, KeyOf(draft, content), [&] {
            return FoundProblem{visited.getPath(), draft.attribute, {}, {},
                                draft.problem,     draft.file};
        });
}

/// Adds a finding that concerns this location alone.
void LocationChecks::addOne(const VisitedLocation& visited, Rule rule, const std::string& attribute,
                            const std::string& problem) {
    findings.add(rule, visited.place, {}, [&] {
        return FoundProblem{visited.getPath(), attribute, {}, {}, problem};
    });
}

template <typename Compute>
void LocationChecks::addCached(const VisitedLocation& visited, const Hash& content,
                               const Compute& compute) {
    const auto known = drafts.get(content, [&] {
        Drafts list;
        compute(list);
        return list;
    });
    add(visited, *known, content);
}

} // namespace TELLAR
