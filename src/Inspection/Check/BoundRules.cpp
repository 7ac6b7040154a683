#include "BoundRules.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>

#include "ContentCache.h"
#include "Values.h"

namespace TELLAR {

using namespace OxAttribute;
using Imath::M44d;
using Imath::V3d;
using OxXFormUtil::Bounds;

namespace {

constexpr std::size_t kBoundValues = 6;
constexpr double kDefaultRadius = 1;
/// How far points may stand out of a bound: as a part of its size, and of its distance from the
/// origin. Bounds are often rounded to floats, or written with few digits.
constexpr double kPartOfSize = 1e-4;
constexpr double kPartOfDistance = 1e-6;

/// The box with room for rounding errors; empty for an empty one.
Bounds WithRoom(const Bounds& box) {
    if (box.isEmpty()) return box;
    double size = 0;
    double distance = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        size = std::max(size, box.values[2 * axis + 1] - box.values[2 * axis]);
        distance = std::max(
            {distance, std::abs(box.values[2 * axis]), std::abs(box.values[2 * axis + 1])});
    }
    const double room = kPartOfSize * size + kPartOfDistance * distance;
    Bounds wide = box;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        wide.values[2 * axis] -= room;
        wide.values[2 * axis + 1] += room;
    }
    return wide;
}

bool Holds(const Bounds& wide, const V3d& point) {
    const double coordinates[] = {point.x, point.y, point.z};
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (coordinates[axis] < wide.values[2 * axis] ||
            coordinates[axis] > wide.values[2 * axis + 1])
            return false;
    return true;
}

/// Whether all points of a sample, moved by the matrix, are in the box. Those that are not finite
/// are left out.
bool HoldsPoints(const Bounds& wide, const Attribute& points, const M44d& matrix) {
    bool holds = true;
    VisitNumbers(points, [&](const auto& numbers) {
        const auto sample = numbers.getNearestSample(0.0f);
        for (std::size_t i = 0; holds && i + 2 < sample.size(); i += 3) {
            const V3d moved = V3d(sample[i], sample[i + 1], sample[i + 2]) * matrix;
            const bool isFinite =
                std::isfinite(moved.x) && std::isfinite(moved.y) && std::isfinite(moved.z);
            holds = !isFinite || Holds(wide, moved);
        }
    });
    return holds;
}

double RadiusOf(const GroupAttribute& geometry) {
    return std::abs(NumberOf(ChildOf(geometry, "radius")).value_or(kDefaultRadius));
}

/// The box of a sphere around the origin that is moved by the matrix.
Bounds MovedSphere(double radius, const M44d& matrix) {
    Bounds box;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double half = radius * std::sqrt(matrix[0][axis] * matrix[0][axis] +
                                               matrix[1][axis] * matrix[1][axis] +
                                               matrix[2][axis] * matrix[2][axis]);
        box.values[2 * axis] = matrix[3][axis] - half;
        box.values[2 * axis + 1] = matrix[3][axis] + half;
    }
    return box;
}

/// Whether the bound encloses the shape, moved by the matrix, at time 0.
bool HoldsShape(const Bounds& box, std::string_view type, const GroupAttribute& geometry,
                const M44d& matrix) {
    if (type == "sphere") {
        const Bounds moved = MovedSphere(RadiusOf(geometry), matrix);
        return !moved.isFinite() || Encloses(box, moved);
    }
    return HoldsPoints(WithRoom(box), geometry.getChildByName("point.P"), matrix);
}

} // namespace

std::optional<Bounds> ReadBound(const Attribute& bound, Drafts& drafts) {
    if (!bound.isValid()) return {};
    Bounds all;
    bool isBox = IsNumeric(bound) && AreFinite(bound);
    VisitNumbers(bound, [&](const auto& numbers) {
        for (std::int64_t i = 0; i < numbers.getNumberOfTimeSamples(); ++i) {
            const auto sample = numbers.getNearestSample(numbers.getSampleTime(i));
            isBox = isBox && sample.size() == kBoundValues;
            if (!isBox) return;
            Bounds one;
            std::copy(sample.begin(), sample.end(), one.values.begin());
            all.add(one);
        }
    });
    if (isBox) return all;
    drafts.add(Rule::BoundValue, "bound", "it does not hold six finite numbers");
    return {};
}

Bounds PointBound(std::string_view type, const GroupAttribute& geometry) {
    if (type == "sphere") return MovedSphere(RadiusOf(geometry), M44d());
    Bounds box;
    VisitNumbers(geometry.getChildByName("point.P"), [&](const auto& numbers) {
        for (std::int64_t i = 0; i < numbers.getNumberOfTimeSamples(); ++i) {
            const auto sample = numbers.getNearestSample(numbers.getSampleTime(i));
            for (std::size_t v = 0; v + 2 < sample.size(); v += 3)
                box.add(sample[v], sample[v + 1], sample[v + 2]);
        }
    });
    return box;
}

bool Encloses(const Bounds& box, const Bounds& other) {
    if (other.isEmpty()) return true;
    if (box.isEmpty()) return false;
    const Bounds wide = WithRoom(box);
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (other.values[2 * axis] < wide.values[2 * axis] ||
            other.values[2 * axis + 1] > wide.values[2 * axis + 1])
            return false;
    return true;
}

bool BoundAbove::isWorthKnowing(const Place& below) const {
    const std::lock_guard<std::mutex> guard(lock);
    return !first || below < *first;
}

void BoundAbove::report(const VisitedLocation& below) {
    const std::lock_guard<std::mutex> guard(lock);
    if (first && !(below.place < *first)) return;
    const Hash key = Attribute(StringAttribute(location->getFullName())).getHash();
    const auto describe = [&] {
        return FoundProblem{location->getFullName(),
                            "bound",
                            {},
                            {},
                            "it does not enclose the points of " + Quoted(below.getPath())};
    };
    if (first)
        findings.describeAnew(Rule::BoundSmall, key, describe);
    else
        findings.add(Rule::BoundSmall, place, key, describe);
    first = below.place;
}

void BoundsAbove::check(const VisitedLocation& visited, std::string_view type,
                        const GroupAttribute& geometry, const std::optional<Bounds>& own) const {
    const bool hasShape = type == "sphere" || geometry.getChildByName("point.P").isValid();
    if (!hasShape) return;
    for (const Above& each : above) {
        const Bounds& box = each.bound->getBox();
        if (own && Encloses(box, own->transformed(each.toAbove.getValue()))) continue;
        if (!each.bound->isWorthKnowing(visited.place)) continue;
        if (!HoldsShape(box, type, geometry, each.toAbove)) each.bound->report(visited);
    }
}

BoundsAbove BoundsAbove::below(const VisitedLocation& visited, const std::optional<Bounds>& own,
                               Findings& findings) const {
    if (!own) return *this;
    BoundsAbove result;
    // Points inside of the own bound are also inside of each bound above that encloses it. Only the
    // other ones are still compared with the points.
    for (const Above& each : above)
        if (!Encloses(each.bound->getBox(), own->transformed(each.toAbove.getValue())))
            result.above.push_back(each);
    result.above.push_back(
        {std::make_shared<BoundAbove>(*own, visited.location, visited.place, findings), M44d()});
    return result;
}

BoundsAbove BoundsAbove::through(const GroupAttribute& xform) const {
    if (above.empty()) return {};
    if (!xform.isValid()) return *this;
    const auto values = OxXFormUtil::RestingMatrix(xform);
    if (!values) return {};
    M44d matrix;
    std::copy(values->begin(), values->end(), matrix.getValue());
    BoundsAbove result = *this;
    for (Above& each : result.above)
        each.toAbove = matrix * each.toAbove;
    return result;
}

} // namespace TELLAR
