#include "Framing.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace TellarTool {

namespace {

using Imath::V3d;

constexpr double kPi = 3.14159265358979323846;
constexpr double kFieldOfView = 38; // degrees, of the longer side of the picture
constexpr double kMargin = 0.06;    // share of the picture, at each side
constexpr double kFromRight = 35;   // degrees from the front
constexpr double kFromAbove = 20;   // degrees

double Radians(double degrees) {
    return degrees * kPi / 180;
}

V3d DirectionToCamera() {
    const double right = Radians(kFromRight);
    const double above = Radians(kFromAbove);
    return {std::sin(right) * std::cos(above), std::sin(above), std::cos(right) * std::cos(above)};
}

bool IsFinite(const V3d& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

} // namespace

Framing::Framing(double aspect)
    : halfWidth(std::min(aspect, 1.0)), halfHeight(std::min(1 / aspect, 1.0)),
      slopeX(halfWidth * std::tan(Radians(kFieldOfView / 2)) * (1 - 2 * kMargin)),
      slopeY(halfHeight * std::tan(Radians(kFieldOfView / 2)) * (1 - 2 * kMargin)),
      back(DirectionToCamera()), most(-std::numeric_limits<double>::infinity()),
      least(-std::numeric_limits<double>::infinity()) {
    right = V3d(0, 1, 0).cross(back).normalized();
    up = back.cross(right);
}

void Framing::add(const V3d& center, double radius) {
    if (!IsFinite(center) || !(radius >= 0) || !std::isfinite(radius)) return;
    bounds.extendBy(center - V3d(radius));
    bounds.extendBy(center + V3d(radius));
    const double x = center.dot(right);
    const double y = center.dot(up);
    const double z = center.dot(back);
    const double aside = radius * std::sqrt(1 + slopeX * slopeX);
    const double above = radius * std::sqrt(1 + slopeY * slopeY);
    most.x = std::max(most.x, x + slopeX * z + aside);
    least.x = std::max(least.x, -x + slopeX * z + aside);
    most.y = std::max(most.y, y + slopeY * z + above);
    least.y = std::max(least.y, -y + slopeY * z + above);
    most.z = std::max(most.z, z + radius);
    least.z = std::max(least.z, -z + radius);
}

double Framing::getRadius() const {
    // Halved first, so that the size of the widest bounds does not overflow.
    const double radius = (bounds.max * 0.5 - bounds.min * 0.5).length();
    if (radius > 0) return radius;
    return std::max(1e-3 * bounds.max.length(), 1e-3);
}

FramingCamera Framing::getCamera() const {
    // The camera is where the two planes of a pair of sides meet, and the pair that meets farther
    // from the points counts. The other pair is centered around the points.
    const double radius = getRadius();
    const double z = std::max({(most.x + least.x) / (2 * slopeX), (most.y + least.y) / (2 * slopeY),
                               most.z + 0.1 * radius});
    const double x = (most.x - least.x) / 2;
    const double y = (most.y - least.y) / 2;
    const V3d position = right * x + up * y + back * z;
    FramingCamera camera;
    camera.toWorld = Imath::M44d(right.x, right.y, right.z, 0, up.x, up.y, up.z, 0, back.x, back.y,
                                 back.z, 0, position.x, position.y, position.z, 1);
    camera.fov = kFieldOfView;
    camera.halfWidth = halfWidth;
    camera.halfHeight = halfHeight;
    const double farthest = z + least.z;
    camera.near = std::max(0.1 * (z - most.z), 1e-5 * farthest);
    camera.far = 10 * farthest;
    return camera;
}

} // namespace TellarTool
