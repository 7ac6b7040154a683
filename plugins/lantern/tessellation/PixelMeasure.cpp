#include "tessellation/PixelMeasure.h"

#include <algorithm>
#include <cmath>

namespace lantern {
namespace {

constexpr float kOutsideOfPicture = 0.125f; // precision of what only reflections and shadows show
constexpr float kMargin = 0.1f;             // around the picture, relative to its size
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180;

M44f InverseOf(const M44d& toWorld) {
    const double determinant = toWorld.determinant();
    const bool canBeInverted = determinant != 0 && std::isfinite(determinant);
    return canBeInverted ? M44f(toWorld.inverse()) : M44f();
}

} // namespace

PixelMeasure::PixelMeasure(const Camera& camera, const Framing& framing)
    : worldToCamera(InverseOf(camera.toWorld.front())), isOrthographic(camera.isOrthographic),
      near(std::max(camera.near, 1e-6f)) {
    const double half = isOrthographic ? double(camera.orthographicWidth) / 2
                                       : std::tan(camera.fov * kRadiansPerDegree / 2);
    const double width = (double(camera.right) - camera.left) * half;
    pixelWidth = static_cast<float>(std::abs(width) / framing.width);
    const double height = std::abs(width) * framing.height / framing.width;
    const double top = isOrthographic ? camera.top * half
                                      : camera.top * height / (double(camera.top) - camera.bottom);
    const double left = isOrthographic ? -double(camera.right) * half : camera.left * half;
    const double shiftedTop = isOrthographic ? -double(camera.bottom) * half : top;
    least = V2f(float(left - kMargin * width), float(shiftedTop - height * (1 + kMargin)));
    most = V2f(float(left + width * (1 + kMargin)), float(shiftedTop + height * kMargin));
}

float PixelMeasure::pixelsPerUnit(float distance) const {
    return 1 / (isOrthographic ? pixelWidth : pixelWidth * std::max(distance, near));
}

float PixelMeasure::length(const V3f& from, const V3f& to) const {
    const V3f along = to - from;
    const float length2 = along.length2();
    if (!(length2 > 0) || !std::isfinite(length2)) return 0;
    const float place = std::clamp(-(from ^ along) / length2, 0.0f, 1.0f);
    const float nearest = (from + along * place).length();
    const float length = std::sqrt(length2);
    const bool isSeen = isInPicture((from + to) / 2, length);
    return length * pixelsPerUnit(nearest) * (isSeen ? 1 : kOutsideOfPicture);
}

bool PixelMeasure::isInPicture(const V3f& center, float radius) const {
    const float depth = radius - center.z; // depth of the farthest point
    if (depth < 0) return false;
    const float scale = isOrthographic ? 1 : depth;
    return center.x + radius >= least.x * scale && center.x - radius <= most.x * scale &&
           center.y + radius >= least.y * scale && center.y - radius <= most.y * scale;
}

} // namespace lantern
