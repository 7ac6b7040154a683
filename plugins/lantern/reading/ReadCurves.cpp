#include "reading/ReadCurves.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <string>
#include <utility>

#include <Imath/ImathBox.h>

#include "reading/PointValues.h"
#include "reading/UvValues.h"

namespace lantern {

namespace {

constexpr float kDefaultWidth = 0.001f; // relative to the diagonal of the box of the points

using Basis = Curves::Basis;

std::optional<Basis> ReadBasis(const Attribute& geometry) {
    const bool isCubic = geometry.child("degree").number(3) != 1;
    const bool hasDegree = geometry.child("degree").isNumeric();
    if (!isCubic) return Basis::Linear;
    const std::string basis = geometry.child("basis").text(hasDegree ? "bspline" : "linear");
    if (basis == "linear") return Basis::Linear;
    if (basis == "bezier") return Basis::Bezier;
    if (basis == "bspline") return Basis::BSpline;
    if (basis == "catmull-rom") return Basis::CatmullRom;
    return {};
}

/// How many control points make a curve.
struct CurveRule {
    CurveRule(Basis basis, bool isClosed)
        : order(basis == Basis::Linear ? 2 : 4), step(basis == Basis::Bezier ? 3 : 1),
          repeated(isClosed ? order - step : 0), least(isClosed ? 3 : order) {}

    std::size_t countSegments(std::size_t points) const {
        if (points < least) return 0;
        return (points + repeated - order) / step + 1;
    }
    /// The points that the curve uses, without those that are repeated.
    std::size_t countUsed(std::size_t points) const {
        const std::size_t segments = countSegments(points);
        return segments == 0 ? 0 : (segments - 1) * step + order - repeated;
    }

    std::size_t order;    ///< control points of a segment
    std::size_t step;     ///< between the first points of adjacent segments
    std::size_t repeated; ///< points from the beginning that are repeated at the end
    std::size_t least;    ///< points of the shortest curve
};

/// The numbers of control points of all curves; nothing if they do not fit the points.
std::optional<std::vector<std::int32_t>>
ReadCounts(const ShapeReader& reader, const Attribute& geometry, std::size_t pointCount) {
    const Attribute attribute = geometry.child("numVertices");
    std::vector<std::int32_t> counts = attribute.ints();
    if (!attribute)
        counts.push_back(static_cast<std::int32_t>(std::min<std::size_t>(
            pointCount, std::size_t(std::numeric_limits<std::int32_t>::max()))));
    const bool hasNegative =
        std::any_of(counts.begin(), counts.end(), [](std::int32_t count) { return count < 0; });
    const auto sum = std::accumulate(counts.begin(), counts.end(), std::int64_t(0));
    if (!counts.empty() && !hasNegative && static_cast<std::size_t>(sum) <= pointCount)
        return counts;
    reader.warn("\"geometry.numVertices\" does not fit \"geometry.point.P\"");
    return {};
}

/// Lays the control points of all curves out one after the other, with those of closed curves
/// repeated as often as their last segment needs them.
class CurveBuilder {
public:
    CurveBuilder(const CurveRule& rule, const std::vector<std::int32_t>& counts) : rule(rule) {
        Index source = 0;
        for (std::size_t curve = 0; curve < counts.size(); ++curve) {
            add(source, static_cast<std::size_t>(counts[curve]), static_cast<Index>(curve));
            source += static_cast<Index>(counts[curve]);
        }
        firstSegments.push_back(static_cast<Index>(segments.size()));
    }

    std::vector<Index> segments;
    std::vector<Index> firstSegments;
    std::vector<Index> pointSources; ///< the source point of each point laid out
    std::vector<Index> curveSources; ///< the source curve of each curve that is drawn
    bool hasUnused = false;          ///< whether points or curves are left out

private:
    void add(Index source, std::size_t count, Index curve) {
        const std::size_t used = rule.countUsed(count);
        if (used != count) hasUnused = true;
        if (used == 0) return;
        const auto first = static_cast<Index>(pointSources.size());
        curveSources.push_back(curve);
        firstSegments.push_back(static_cast<Index>(segments.size()));
        for (std::size_t i = 0; i < used + rule.repeated; ++i)
            pointSources.push_back(source + static_cast<Index>(i % used));
        for (std::size_t i = 0; i < rule.countSegments(count); ++i)
            segments.push_back(first + static_cast<Index>(i * rule.step));
    }

    const CurveRule rule;
};

float DefaultRadius(const std::vector<V3f>& points) {
    Imath::Box3f box;
    for (const V3f& point : points)
        box.extendBy(point);
    return box.size().length() * kDefaultWidth / 2;
}

std::vector<V4f> WithRadii(const std::vector<V3f>& points, const std::vector<float>& radii,
                           const std::vector<Index>& sources) {
    std::vector<V4f> result;
    result.reserve(sources.size());
    for (const Index source : sources) {
        const V3f& point = points[source];
        result.emplace_back(point.x, point.y, point.z, radii[radii.size() == 1 ? 0 : source]);
    }
    return result;
}

/// The elements of the curves that are drawn that have values of the scope: the index of each among
/// the given ones.
std::vector<Index> ElementsOf(Scope scope, const CurveBuilder& built) {
    if (scope == Scope::Primitive) return {0};
    return scope == Scope::Face ? built.curveSources : built.pointSources;
}

CurveScope ScopeOf(Scope scope) {
    if (scope == Scope::Primitive) return CurveScope::All;
    return scope == Scope::Face ? CurveScope::Curve : CurveScope::Point;
}

/// Reads the sets of values of curves.
class SetReader {
public:
    SetReader(const ShapeReader& reader, const CurveBuilder& built, std::size_t pointCount,
              std::size_t curveCount)
        : reader(reader), built(built), pointCount(pointCount), curveCount(curveCount) {}

    /// Adds the set to the list, or warns if it does not fit. `read` reads a set with a given
    /// number of elements.
    template <typename Value>
    void read(const std::string& name, const Attribute& set,
              std::optional<IndexedValues<Value>> (*read)(const Attribute&, std::size_t, float),
              std::vector<CurveValues<Value>>& list) const {
        const std::optional<Scope> scope = ReadScope(set);
        std::optional<IndexedValues<Value>> given;
        if (scope) given = read(set, countOf(*scope), reader.shutter.open);
        if (!given)
            return reader.warn("\"geometry.arbitrary." + name +
                               "\" does not fit the curves; it is left out");
        CurveValues<Value> values{name, ScopeOf(*scope), {}};
        for (const Index element : ElementsOf(*scope, built))
            values.values.push_back((*given)[element]);
        list.push_back(std::move(values));
    }

private:
    std::size_t countOf(Scope scope) const {
        if (scope == Scope::Primitive) return 1;
        return scope == Scope::Face ? curveCount : pointCount;
    }

    const ShapeReader& reader;
    const CurveBuilder& built;
    const std::size_t pointCount, curveCount;
};

void ReadSets(const SetReader& reader, const Attribute& arbitrary, Curves& curves) {
    for (std::int64_t i = 0; i < arbitrary.childCount(); ++i) {
        const std::string name = arbitrary.childName(i);
        const Attribute set = arbitrary.childAt(i);
        if (!set.isGroup()) continue;
        if (IsUvSet(name, set))
            reader.read(name, set, ReadIndexedUvs, curves.uvSets);
        else if (IsColorSet(name, set))
            reader.read(name, set, ReadIndexedColors, curves.colorSets);
    }
}

} // namespace

std::optional<Curves> ReadCurves(const ShapeReader& reader, const Attribute& geometry) {
    const std::vector<std::vector<V3f>> positions = ReadPositions(reader, geometry);
    if (positions.empty() || positions[0].empty()) return {};
    const std::size_t pointCount = positions[0].size();
    const std::optional<Basis> basis = ReadBasis(geometry);
    if (!basis) {
        reader.warn("\"geometry.basis\" has the unknown value \"" + geometry.child("basis").text() +
                    '"');
        return {};
    }
    const auto counts = ReadCounts(reader, geometry, pointCount);
    std::vector<float> radii;
    if (!counts || !ReadRadii(reader, geometry, pointCount, radii)) return {};
    if (radii.empty()) radii.push_back(DefaultRadius(positions[0]));

    CurveBuilder built(CurveRule(*basis, geometry.child("closed").number(0) != 0), *counts);
    if (built.hasUnused)
        reader.warn("\"geometry.numVertices\" has control points that do not make a whole segment");
    if (built.segments.empty()) return {};
    Curves curves;
    curves.basis = *basis;
    curves.isFlat = geometry.child("crossSection").isTextEqual("flat");
    for (const std::vector<V3f>& step : positions)
        curves.points.push_back(WithRadii(step, radii, built.pointSources));
    ReadSets(SetReader(reader, built, pointCount, counts->size()), geometry.child("arbitrary"),
             curves);
    curves.segments = std::move(built.segments);
    curves.firstSegments = std::move(built.firstSegments);
    return curves;
}

} // namespace lantern
