#include "reading/Triangulate.h"

#include <cmath>
#include <numeric>

namespace lantern {

namespace {

using Imath::V2d;
using Imath::V3d;

// Ear clipping takes quadratic time or more; larger faces become a fan.
constexpr std::size_t kMostCorners = 2048;

/// Twice the signed area, positive for counter-clockwise corners.
double Area(const V2d& a, const V2d& b, const V2d& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool IsInside(const V2d& point, const V2d& a, const V2d& b, const V2d& c) {
    return Area(a, b, point) >= 0 && Area(b, c, point) >= 0 && Area(c, a, point) >= 0;
}

/// The face's normal on its counter-clockwise side, with a length of twice the area.
V3d NormalOf(const std::vector<V3f>& points, const std::int32_t* corners, std::size_t count) {
    const V3d first(points[static_cast<std::size_t>(corners[0])]);
    V3d normal(0);
    V3d before = V3d(points[static_cast<std::size_t>(corners[1])]) - first;
    for (std::size_t i = 2; i < count; ++i) {
        const V3d next = V3d(points[static_cast<std::size_t>(corners[i])]) - first;
        normal += before.cross(next);
        before = next;
    }
    return normal;
}

void AddFan(std::size_t count, std::vector<Index>& triangles) {
    for (std::size_t i = 2; i < count; ++i)
        triangles.insert(triangles.end(), {0, static_cast<Index>(i - 1), static_cast<Index>(i)});
}

} // namespace

void Triangulator::cut(const std::vector<V3f>& points, const std::int32_t* corners,
                       std::size_t count, std::vector<Index>& triangles) {
    if (count < 3) return;
    if (count == 3) return AddFan(count, triangles);
    flatten(points, corners, count);
    if (isSeenFromFirst() || count > kMostCorners) return AddFan(count, triangles);
    clipEars(triangles);
}

/// Projects the corners along the dominant axis of the normal.
void Triangulator::flatten(const std::vector<V3f>& points, const std::int32_t* corners,
                           std::size_t count) {
    const V3d normal = NormalOf(points, corners, count);
    const V3d size(std::abs(normal.x), std::abs(normal.y), std::abs(normal.z));
    const int axis = size.x > size.y && size.x > size.z ? 0 : size.y > size.z ? 1 : 2;
    const int u = (axis + 1) % 3;
    const int v = (axis + 2) % 3;
    const double side = normal[axis] < 0 ? -1 : 1;
    flat.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const V3f& point = points[static_cast<std::size_t>(corners[i])];
        flat[i] = Point(static_cast<double>(point[u]) * side, static_cast<double>(point[v]));
    }
}

/// A convex face can be split into a fan around its first corner.
bool Triangulator::isSeenFromFirst() const {
    for (std::size_t i = 2; i < flat.size(); ++i)
        if (Area(flat[0], flat[i - 1], flat[i]) < 0) return false;
    return true;
}

bool Triangulator::isEar(std::size_t place) const {
    const std::size_t count = left.size();
    const Index before = left[(place + count - 1) % count];
    const Index after = left[(place + 1) % count];
    const Point& a = flat[before];
    const Point& b = flat[left[place]];
    const Point& c = flat[after];
    if (Area(a, b, c) <= 0) return false;
    for (const Index other : left) {
        if (other == before || other == left[place] || other == after) continue;
        // A face with a hole has the same point at two corners.
        const Point& point = flat[other];
        if (point != a && point != b && point != c && IsInside(point, a, b, c)) return false;
    }
    return true;
}

void Triangulator::clipEars(std::vector<Index>& triangles) {
    left.resize(flat.size());
    std::iota(left.begin(), left.end(), 0);
    std::size_t place = 0;
    std::size_t tried = 0;
    while (left.size() > 3) {
        const std::size_t count = left.size();
        place %= count;
        // No ear means that the face crosses itself or is flat: cut off any corner.
        if (tried < count && !isEar(place)) {
            ++place;
            ++tried;
            continue;
        }
        triangles.insert(triangles.end(), {left[(place + count - 1) % count], left[place],
                                           left[(place + 1) % count]});
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(place));
        tried = 0;
    }
    triangles.insert(triangles.end(), {left[0], left[1], left[2]});
}

} // namespace lantern
