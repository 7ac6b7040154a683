#include "ShapeRules.h"

#include <cmath>
#include <string>

#include "Values.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

constexpr const char* kPoints = "geometry.point.P";

void CheckFinite(const GroupAttribute& geometry, const char* name, Drafts& drafts) {
    if (!AreFinite(geometry.getChildByName(name)))
        drafts.add(Rule::ShapeFinite, std::string("geometry.") + name,
                   "it holds numbers that are not finite");
}

void CheckSphere(const GroupAttribute& geometry, Drafts& drafts) {
    const Attribute radius = geometry.getChildByName("radius");
    if (!radius.isValid()) return;
    const std::optional<double> number = NumberOf(radius);
    if (!number)
        drafts.add(Rule::ShapeWidth, "geometry.radius", "it is no number");
    else if (!(*number >= 0) || !std::isfinite(*number))
        drafts.add(Rule::ShapeWidth, "geometry.radius", "it is " + NumberText(*number));
}

void CheckMesh(std::string_view type, const GroupAttribute& geometry, ShapeElements& elements,
               Drafts& drafts) {
    if (!CheckFaces(geometry, elements, drafts)) return;
    CheckNormals(geometry, elements, drafts);
    if (type == "subdmesh" || ChildOf(geometry, "subdivisionScheme").isValid())
        CheckSubdivision(geometry, elements, drafts);
    CheckArbitrary(geometry, elements, drafts);
}

} // namespace

bool IsMesh(std::string_view type) {
    return type == "polymesh" || type == "subdmesh";
}

bool IsShape(std::string_view type) {
    return IsMesh(type) || type == "curves" || type == "pointcloud" || type == "sphere";
}

void CheckShape(std::string_view type, const GroupAttribute& geometry, Drafts& drafts) {
    if (type == "sphere") return CheckSphere(geometry, drafts);
    ShapeElements elements;
    const std::optional<std::int64_t> points = CheckPoints(geometry, drafts);
    for (const char* name : {"point.P", "point.N", "vertex.N"})
        CheckFinite(geometry, name, drafts);
    if (!points) return;
    elements.points = *points;
    if (IsMesh(type)) return CheckMesh(type, geometry, elements, drafts);
    if (type == "curves") CheckCurves(geometry, elements, drafts);
    CheckWidths(geometry, elements, drafts);
    CheckArbitrary(geometry, elements, drafts);
}

std::optional<std::int64_t> CheckPoints(const GroupAttribute& geometry, Drafts& drafts) {
    const Attribute points = geometry.getChildByName("point.P");
    if (!points.isValid()) {
        drafts.add(Rule::PointsMissing, kPoints, "it is missing");
        return {};
    }
    const std::optional<ValueCount> count = CountValues(points);
    if (!IsNumeric(points)) {
        drafts.add(Rule::PointsValue, kPoints, "it does not hold numbers");
        return {};
    }
    if (count->values % 3 != 0) {
        drafts.add(Rule::PointsValue, kPoints,
                   "it holds " + Counted(count->values, "number") + ", which are no points");
        return {};
    }
    if (count->tupleSize != 3)
        drafts.add(Rule::PointsValue, kPoints,
                   "its tuple size is " + std::to_string(count->tupleSize));
    return count->values / 3;
}

void CheckWidths(const GroupAttribute& geometry, const ShapeElements& elements, Drafts& drafts) {
    for (const char* name : {"point.width", "constantWidth"}) {
        const Attribute width = geometry.getChildByName(name);
        if (!width.isValid()) continue;
        const std::string attribute = std::string("geometry.") + name;
        const std::optional<ValueCount> count = CountValues(width);
        if (!IsNumeric(width)) {
            drafts.add(Rule::ShapeWidth, attribute, "it does not hold numbers");
            continue;
        }
        if (count->values != 1 && count->values != elements.points)
            drafts.add(Rule::ShapeWidth, attribute,
                       "it holds " + Counted(count->values, "width") + " for " +
                           Counted(elements.points, "point"));
        for (const double value : NumbersOf(width)) {
            if (value >= 0 && std::isfinite(value)) continue;
            drafts.add(Rule::ShapeWidth, attribute, "it holds the width " + NumberText(value));
            break;
        }
    }
}

} // namespace TELLAR
