#include "drawing/CurveGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

using Basis = Curves::Basis;
using Weights = std::array<float, 4>; // one weight per control point of a segment

int ControlPoints(Basis basis) {
    return basis == Basis::Linear ? 2 : 4;
}

Weights WeightsAt(Basis basis, float u) {
    const float w = 1 - u;
    switch (basis) {
    case Basis::Bezier:
        return {w * w * w, 3 * u * w * w, 3 * u * u * w, u * u * u};
    case Basis::BSpline:
        return {w * w * w / 6, (3 * u * u * u - 6 * u * u + 4) / 6,
                (3 * w * w * w - 6 * w * w + 4) / 6, u * u * u / 6};
    case Basis::CatmullRom:
        return {-u * w * w / 2, (3 * u * u * u - 5 * u * u + 2) / 2,
                (3 * w * w * w - 5 * w * w + 2) / 2, -w * u * u / 2};
    case Basis::Linear:
        break;
    }
    return {w, u, 0, 0};
}

/// The derivatives of the weights.
Weights SlopesAt(Basis basis, float u) {
    const float w = 1 - u;
    switch (basis) {
    case Basis::Bezier:
        return {-3 * w * w, 3 * w * w - 6 * u * w, 6 * u * w - 3 * u * u, 3 * u * u};
    case Basis::BSpline:
        return {-w * w / 2, (3 * u * u - 4 * u) / 2, -(3 * w * w - 4 * w) / 2, u * u / 2};
    case Basis::CatmullRom:
        return {(2 * u * w - w * w) / 2, (9 * u * u - 10 * u) / 2, -(9 * w * w - 10 * w) / 2,
                (u * u - 2 * u * w) / 2};
    case Basis::Linear:
        break;
    }
    return {-1, 1, 0, 0};
}

/// The weighted sum of the control points of the segment that is hit: position and radius.
V4f SumAt(const Curves& curves, Index segment, float time, const Weights& weights) {
    const StepPosition at = PositionAmongSteps(curves.points.size(), time);
    const Index first = curves.segments[segment];
    V4f sum(0);
    for (int i = 0; i < ControlPoints(curves.basis); ++i) {
        const std::size_t point = std::size_t(first) + static_cast<std::size_t>(i);
        const V4f& from = curves.points[at.first][point];
        const V4f& to = curves.points[at.second][point];
        sum += (from * (1 - at.share) + to * at.share) * weights[static_cast<std::size_t>(i)];
    }
    return sum;
}

std::size_t CurveOf(const Curves& curves, Index segment) {
    const auto after =
        std::upper_bound(curves.firstSegments.begin(), curves.firstSegments.end(), segment);
    return static_cast<std::size_t>(after - curves.firstSegments.begin()) - 1;
}

template <typename Value>
Value SetValueAt(const Curves& curves, const CurveValues<Value>& set, const RayHit& hit) {
    if (set.scope == CurveScope::All) return set.values[0];
    if (set.scope == CurveScope::Curve) return set.values[CurveOf(curves, hit.primitive)];
    const Weights weights = WeightsAt(curves.basis, hit.u);
    Value sum(0.0f);
    for (int i = 0; i < ControlPoints(curves.basis); ++i)
        sum += set.values[std::size_t(curves.segments[hit.primitive]) + std::size_t(i)] *
               weights[static_cast<std::size_t>(i)];
    return sum;
}

} // namespace

V3f CurveTangentAt(const Curves& curves, const RayHit& hit, float time) {
    const V4f slope = SumAt(curves, hit.primitive, time, SlopesAt(curves.basis, hit.u));
    return {slope.x, slope.y, slope.z};
}

HitGeometry CurveGeometryAt(const Curves& curves, const M44f& toWorld, const Ray& ray,
                            const RayHit& hit) {
    const V4f center = SumAt(curves, hit.primitive, ray.time, WeightsAt(curves.basis, hit.u));
    const float radius = std::abs(center.w);
    HitGeometry result;
    result.position = ray.origin + ray.direction * hit.distance;
    if (curves.isFlat) {
        V3f tangent;
        toWorld.multDirMatrix(CurveTangentAt(curves, hit, ray.time), tangent);
        tangent = Normalized(tangent, V3f(0));
        const V3f across = tangent * (tangent ^ ray.direction) - ray.direction;
        result.normal = Normalized(across, -ray.direction);
    } else {
        result.normal = WorldNormal(toWorld, Normalized(hit.outward, V3f(0, 0, 1)));
    }
    result.shadingNormal = result.normal;
    // Embree finds the place along a cubic curve by iteration, so its error is relative to the
    // radius, too.
    constexpr float kOffsetInRadii = 1e-3f;
    const V3f extent(std::abs(center.x) + radius, std::abs(center.y) + radius,
                     std::abs(center.z) + radius);
    const V3f alongRay = ray.direction * hit.distance;
    const V3f axis(toWorld[0][0], toWorld[0][1], toWorld[0][2]);
    result.offset = OffsetAt(extent, toWorld) + OffsetAt(alongRay, M44f()) +
                    radius * axis.length() * kOffsetInRadii;
    return result;
}

bool CurveColorAt(const Curves& curves, const RayHit& hit, const std::string& colorSet,
                  Imath::C4f& color) {
    for (const CurveValues<Imath::C4f>& set : curves.colorSets) {
        if (set.name != colorSet) continue;
        color = SetValueAt(curves, set, hit);
        return true;
    }
    return false;
}

V3f CurvePointAt(const Curves& curves, const RayHit& hit, float time) {
    const V4f center = SumAt(curves, hit.primitive, time, WeightsAt(curves.basis, hit.u));
    return {center.x, center.y, center.z};
}

V2f CurveCoordinatesAt(const Curves& curves, const RayHit& hit, const std::string& uvSet) {
    for (const CurveValues<V2f>& set : curves.uvSets)
        if (set.name == uvSet) return SetValueAt(curves, set, hit);
    if (!curves.uvSets.empty()) return SetValueAt(curves, curves.uvSets[0], hit);
    const std::size_t curve = CurveOf(curves, hit.primitive);
    const Index first = curves.firstSegments[curve];
    const Index count = curves.firstSegments[curve + 1] - first;
    const float along =
        (static_cast<float>(hit.primitive - first) + hit.u) / static_cast<float>(count);
    return {curves.isFlat ? hit.v / 2 + 0.5f : 0.5f, along};
}

} // namespace lantern
