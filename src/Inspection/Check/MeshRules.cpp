// The rules for faces, normals and facesets of meshes.

#include <algorithm>
#include <string>

#include "ShapeRules.h"
#include "Values.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

constexpr const char* kStarts = "geometry.poly.startIndex";
constexpr const char* kCorners = "geometry.poly.vertexList";

using Indices = ConstSample<std::int32_t>;

/// The first problem of where faces begin; empty if there is none.
std::string StartsProblem(const Indices& starts, std::int64_t corners) {
    if (starts.empty()) return "it is empty";
    if (starts[0] < 0) return "its first entry is " + std::to_string(starts[0]);
    for (std::size_t i = 1; i < starts.size(); ++i)
        if (starts[i] < starts[i - 1])
            return "its entry " + std::to_string(i) + " is " + std::to_string(starts[i]) +
                   ", and the one before it " + std::to_string(starts[i - 1]);
    const std::int32_t end = starts[starts.size() - 1];
    if (end > corners)
        return "it ends at " + std::to_string(end) + ", and \"vertexList\" has " +
               (corners == 1 ? "1 entry" : std::to_string(corners) + " entries");
    return {};
}

void CheckIndices(const Indices& corners, std::int64_t points, Drafts& drafts) {
    for (std::size_t i = 0; i < corners.size(); ++i) {
        if (corners[i] >= 0 && corners[i] < points) continue;
        return drafts.add(Rule::MeshIndex, kCorners,
                          "its entry " + std::to_string(i) + " is the point " +
                              std::to_string(corners[i]) + ", and " + ThereAre(points, "point"));
    }
}

void CheckUnused(const Indices& starts, std::int64_t corners, Drafts& drafts) {
    std::int64_t small = 0;
    for (std::size_t i = 1; i < starts.size(); ++i)
        small += starts[i] - starts[i - 1] < 3;
    if (small > 0)
        drafts.add(Rule::MeshUnused, kStarts,
                   Counted(small, "face") + (small == 1 ? " has" : " have") +
                       " fewer than three corners");
    const std::int64_t unused = corners - (starts[starts.size() - 1] - starts[0]);
    if (unused > 0)
        drafts.add(Rule::MeshUnused, kCorners,
                   unused == 1 ? "1 of its entries belongs to no face"
                               : std::to_string(unused) + " of its entries belong to no face");
}

/// Whether the attribute holds integers. Adds a draft if it is missing or does not.
bool IsList(const Attribute& list, const char* name, Drafts& drafts) {
    if (list.getType() == kAttributeTypeInt) return true;
    drafts.add(Rule::MeshFaces, name,
               list.isValid() ? "it does not hold integers" : "it is missing");
    return false;
}

} // namespace

bool CheckFaces(const GroupAttribute& geometry, ShapeElements& elements, Drafts& drafts) {
    const Attribute startList = geometry.getChildByName("poly.startIndex");
    const Attribute cornerList = geometry.getChildByName("poly.vertexList");
    const bool hasStarts = IsList(startList, kStarts, drafts);
    if (!IsList(cornerList, kCorners, drafts) || !hasStarts) return false;
    const Indices starts = IntegersOf(startList).values;
    const Indices corners = IntegersOf(cornerList).values;
    elements.corners = static_cast<std::int64_t>(corners.size());
    CheckIndices(corners, elements.points, drafts);
    const std::string problem = StartsProblem(starts, elements.corners);
    if (!problem.empty()) {
        drafts.add(Rule::MeshFaces, kStarts, problem);
        return false;
    }
    elements.faces = static_cast<std::int64_t>(starts.size()) - 1;
    CheckUnused(starts, elements.corners, drafts);
    return true;
}

void CheckNormals(const GroupAttribute& geometry, const ShapeElements& elements, Drafts& drafts) {
    struct Kind {
        const char* name;
        const char* noun;
        std::int64_t expected;
    };
    for (const Kind& kind : {Kind{"vertex.N", "corner", elements.corners},
                             Kind{"point.N", "point", elements.points}}) {
        const Attribute normals = geometry.getChildByName(kind.name);
        if (!normals.isValid()) continue;
        const std::string attribute = std::string("geometry.") + kind.name;
        const std::optional<ValueCount> count = CountValues(normals);
        if (!IsNumeric(normals))
            drafts.add(Rule::NormalsCount, attribute, "it does not hold numbers");
        else if (count->values != 3 * kind.expected)
            drafts.add(Rule::NormalsCount, attribute,
                       "it holds " + Counted(count->values, "number") + " for " +
                           Counted(kind.expected, kind.noun));
    }
}

void CheckFaceset(const GroupAttribute& geometry, const GroupAttribute& meshGeometry,
                  Drafts& drafts) {
    constexpr const char* kFaces = "geometry.faces";
    const Integers faces = IntegersOf(ChildOf(geometry, "faces"));
    if (!faces.isSound) return drafts.add(Rule::FacesetIndex, kFaces, "it does not hold integers");
    if (faces.values.empty()) return drafts.add(Rule::FacesetUnused, kFaces, "it has no faces");
    const auto starts = IntegersOf(meshGeometry.getChildByName("poly.startIndex")).values;
    const auto count = static_cast<std::int64_t>(starts.size()) - 1;
    for (const std::int32_t face : faces.values)
        if (face < 0 || face >= count)
            return drafts.add(Rule::FacesetIndex, kFaces,
                              "it holds the face " + std::to_string(face) + ", and its mesh has " +
                                  Counted(std::max<std::int64_t>(count, 0), "face"));
}

} // namespace TELLAR
