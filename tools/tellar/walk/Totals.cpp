#include "Totals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include <Imath/ImathMatrix.h>
#include <OxTellarSDK/Attribute.h>

#include "JsonText.h"
#include "LocationPrinter.h"
#include "Table.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using Imath::V3d;
using TELLAR::GeometryProducer;

Imath::M44d MatrixOf(GeometryProducer& location) {
    Imath::M44d matrix;
    const DoubleAttribute attribute = WorldMatrix(location);
    if (attribute.isValid() && attribute.getNumberOfValues() >= 16)
        attribute.fillInterpSample(matrix.getValue(), 16, 0.0f);
    return matrix;
}

void Extend(Imath::Box3d& box, const V3d& point) {
    if (std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z))
        box.extendBy(point);
}

template <typename Numbers>
void ExtendByPoints(Imath::Box3d& box, const Numbers& points, const Imath::M44d& toWorld) {
    const auto values = points.getNearestSample(0.0f);
    for (std::size_t i = 0; i + 2 < values.size(); i += 3)
        Extend(box, V3d(values[i], values[i + 1], values[i + 2]) * toWorld);
}

/// Reads a bound: x min, x max, y min, y max, z min, z max.
void ExtendByBound(Imath::Box3d& box, const DoubleAttribute& attribute,
                   const Imath::M44d& toWorld) {
    std::array<double, 6> bound{};
    if (!attribute.isValid() || attribute.getNumberOfValues() < 6) return;
    attribute.fillInterpSample(bound.data(), 6, 0.0f);
    if (bound[0] > bound[1] || bound[2] > bound[3] || bound[4] > bound[5]) return;
    for (std::size_t i = 0; i < 8; ++i)
        Extend(box, V3d(bound[i & 1], bound[2 + (i >> 1 & 1)], bound[4 + (i >> 2 & 1)]) * toWorld);
}

std::uint64_t CountFaces(const GroupAttribute& geometry) {
    const IntAttribute starts(geometry.getChildByName("poly.startIndex"));
    const std::int64_t entries = starts.isValid() ? starts.getNumberOfValues() : 0;
    return static_cast<std::uint64_t>(std::max<std::int64_t>(entries - 1, 0));
}

/// The number of curves. Without numbers of points per curve, all points form one curve.
std::uint64_t CountCurves(const GroupAttribute& geometry, const std::string& type,
                          std::uint64_t points) {
    if (type != "curves") return 0;
    const IntAttribute counts(geometry.getChildByName("numVertices"));
    return counts.isValid() ? static_cast<std::uint64_t>(counts.getNumberOfValues())
                            : std::min<std::uint64_t>(points, 1);
}

/// Adds the points to the totals. Returns false when there are none.
bool AddPoints(Totals& totals, const Attribute& points, const Imath::M44d& toWorld) {
    const FloatAttribute floats(points);
    const DoubleAttribute doubles(points);
    const std::int64_t values = floats.isValid()    ? floats.getNumberOfValues()
                                : doubles.isValid() ? doubles.getNumberOfValues()
                                                    : 0;
    totals.points = static_cast<std::uint64_t>(values / 3);
    if (floats.isValid())
        ExtendByPoints(totals.bounds, floats, toWorld);
    else if (doubles.isValid())
        ExtendByPoints(totals.bounds, doubles, toWorld);
    return totals.points > 0;
}

std::string Corner(const V3d& corner) {
    return NumberText(corner.x) + ' ' + NumberText(corner.y) + ' ' + NumberText(corner.z);
}

std::vector<double> Numbers(const V3d& corner) {
    return {corner.x, corner.y, corner.z};
}

} // namespace

void Totals::add(const Totals& other) {
    locations += other.locations;
    polygons += other.polygons;
    curves += other.curves;
    points += other.points;
    bounds.extendBy(other.bounds);
}

Totals TotalsOf(GeometryProducer& location) {
    Totals totals;
    totals.locations = 1;
    const Imath::M44d toWorld = MatrixOf(location);
    const GroupAttribute geometry(location.getAttribute("geometry"));
    if (geometry.isValid()) {
        const bool hasPoints = AddPoints(totals, geometry.getChildByName("point.P"), toWorld);
        totals.polygons = CountFaces(geometry);
        totals.curves = CountCurves(geometry, location.getType(), totals.points);
        if (hasPoints) return totals;
    }
    ExtendByBound(totals.bounds, DoubleAttribute(location.getAttribute("bound")), toWorld);
    return totals;
}

void SharedTotals::add(const Totals& found) {
    const std::lock_guard<std::mutex> guard(lock);
    totals.add(found);
}

void SharedTotals::noteType(const std::string& type) {
    const std::lock_guard<std::mutex> guard(lock);
    types.insert(type);
}

std::string TotalsText(const Totals& totals) {
    Table rows = {{"locations", std::to_string(totals.locations)},
                  {"polygons", std::to_string(totals.polygons)},
                  {"curves", std::to_string(totals.curves)},
                  {"points", std::to_string(totals.points)}};
    const bool isEmpty = totals.bounds.isEmpty();
    rows.push_back(
        {"bounds",
         isEmpty ? "none" : Corner(totals.bounds.min) + " to " + Corner(totals.bounds.max)});
    std::string text;
    AppendTable(text, rows);
    return text;
}

std::string TotalsJson(const Totals& totals) {
    JsonObject object;
    object.addJson("locations", std::to_string(totals.locations))
        .addJson("polygons", std::to_string(totals.polygons))
        .addJson("curves", std::to_string(totals.curves))
        .addJson("points", std::to_string(totals.points));
    if (totals.bounds.isEmpty()) return object.addJson("bounds", "null").line();
    JsonObject bounds;
    bounds.addJson("min", JsonList(Numbers(totals.bounds.min)))
        .addJson("max", JsonList(Numbers(totals.bounds.max)));
    return object.addJson("bounds", bounds.line()).line();
}

} // namespace TellarTool
