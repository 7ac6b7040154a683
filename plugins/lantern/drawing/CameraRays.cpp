#include "drawing/CameraRays.h"

#include <algorithm>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180;

bool CanBeInverted(const M44d& matrix) {
    const double determinant = matrix.determinant();
    return determinant != 0 && std::isfinite(determinant);
}

/// The size at depth 1 of one unit of the screen window.
double HalfWindow(const Camera& camera) {
    if (camera.isOrthographic) return camera.orthographicWidth / 2.0;
    return std::tan(camera.fov * kRadiansPerDegree / 2);
}

/// Halfway between two motion steps that differ by half a turn, the interpolated matrix has no
/// inverse. The next smaller time has one, so such times are replaced by it.
float AwayFromMiddle(float time) {
    constexpr float kMiddles =
        16; // motion steps are at multiples of 1/8, their middles at multiples of 1/16
    const float place = time * kMiddles;
    return place > 0 && place == std::floor(place) ? std::nextafter(time, 0.0f) : time;
}

} // namespace

M44d ProjectionOf(const Camera& camera, int width, int height) {
    const double l = camera.left, r = camera.right, t = camera.top, b = camera.bottom;
    const double near = camera.near, far = camera.far;
    const double half = HalfWindow(camera);
    M44d m(0.0);
    m[0][0] = 2 / ((r - l) * half);
    if (camera.isOrthographic) {
        m[1][1] = 2 / ((t - b) * half);
        m[2][2] = -2 / (far - near);
        m[3][0] = (l + r) / (r - l);
        m[3][1] = (b + t) / (t - b);
        m[3][2] = -(near + far) / (far - near);
        m[3][3] = 1;
    } else {
        m[1][1] = 2.0 * width / height / ((r - l) * half);
        m[2][0] = (l + r) / (r - l);
        m[2][1] = (b + t) / (t - b);
        m[2][2] = -(near + far) / (far - near);
        m[2][3] = -1;
        m[3][2] = -2 * far * near / (far - near);
    }
    return m;
}

M44d WorldToCamera(const Camera& camera) {
    const M44d& toWorld = camera.toWorld.front();
    return CanBeInverted(toWorld) ? toWorld.inverse() : M44d();
}

V2f InUnitDisk(const V2f& numbers) {
    const double angle = 360 * kRadiansPerDegree * static_cast<double>(numbers.y);
    const double radius = std::sqrt(static_cast<double>(numbers.x));
    return {static_cast<float>(radius * std::cos(angle)),
            static_cast<float>(radius * std::sin(angle))};
}

CameraRays::CameraRays(const Camera& camera, int width, int height)
    : camera(camera),
      still(CanBeInverted(camera.toWorld.front()) ? camera.toWorld.front() : M44d()),
      fromWorld(WorldToCamera(camera)) {
    const double l = camera.left, r = camera.right, t = camera.top, b = camera.bottom;
    const double half = HalfWindow(camera);
    pixelWidth = (r - l) * half / width;
    if (camera.isOrthographic) {
        // An orthographic window shifts in the opposite direction of a perspective one.
        pixelHeight = (t - b) * half / height;
        left = -r * half;
        top = -b * half;
    } else {
        pixelHeight = pixelWidth; // square pixels
        left = l * half;
        top = t * pixelHeight * height / (t - b);
    }
    preparePinhole();
}

void CameraRays::preparePinhole() {
    const bool isAffine =
        still[0][3] == 0 && still[1][3] == 0 && still[2][3] == 0 && still[3][3] == 1;
    isStillPinhole = !camera.isOrthographic && camera.apertureRadius == 0 &&
                     camera.toWorld.size() == 1 && isAffine;
    eye = still.translation();
    still.multDirMatrix(Imath::V3d(left, top, -1), corner);
    still.multDirMatrix(Imath::V3d(pixelWidth, 0, 0), perColumn);
    still.multDirMatrix(Imath::V3d(0, -pixelHeight, 0), perRow);
}

Ray CameraRays::at(double x, double y, float time, const V2f& onLens) const {
    Imath::V3d origin, perDepth;
    if (isStillPinhole) {
        perDepth = corner + perColumn * x + perRow * y;
        origin = eye + perDepth * std::max(camera.near, 0.0f);
    } else {
        place(x, y, time, onLens, origin, perDepth);
    }
    const double length = perDepth.length();
    Ray ray;
    ray.origin = V3f(origin);
    ray.direction = V3f(perDepth * (1 / length));
    ray.farthest = static_cast<float>((double(camera.far) - camera.near) * length);
    ray.time = AwayFromMiddle(time);
    return ray;
}

void CameraRays::place(double x, double y, float time, const V2f& onLens, Imath::V3d& origin,
                       Imath::V3d& perDepth) const {
    const Imath::V3d offset(left + x * pixelWidth, top - y * pixelHeight, 0);
    const Imath::V3d axis(0, 0, -1);
    const Imath::V3d lens = Imath::V3d(onLens.x, onLens.y, 0) * camera.apertureRadius;
    // All rays of a point of the picture meet in the plane that is in focus.
    const Imath::V3d bend = lens / camera.focusDistance;
    const M44d toWorld = toWorldAt(time);
    if (camera.isOrthographic) {
        toWorld.multVecMatrix(offset + lens + (axis - bend) * camera.near, origin);
        toWorld.multDirMatrix(axis - bend, perDepth);
    } else {
        const Imath::V3d local = offset + axis - bend;
        toWorld.multVecMatrix(lens + local * std::max(camera.near, 0.0f), origin);
        toWorld.multDirMatrix(local, perDepth);
    }
}

double CameraRays::depthOf(const V3f& point, float time) const {
    return -inCamera(point, time).z;
}

Imath::V2d CameraRays::pixelOf(const V3f& point, float time) const {
    const Imath::V3d place = inCamera(point, time);
    const double scale = camera.isOrthographic ? 1 : -1 / place.z;
    return {(place.x * scale - left) / pixelWidth, (top - place.y * scale) / pixelHeight};
}

Imath::V3d CameraRays::inCamera(const V3f& point, float time) const {
    const bool isMoving = camera.toWorld.size() > 1;
    return Imath::V3d(point) * (isMoving ? toWorldAt(time).inverse() : fromWorld);
}

RayCone CameraRays::pixelCone() const {
    RayCone cone;
    const auto pixel = static_cast<float>(std::abs(pixelWidth));
    if (camera.isOrthographic) {
        Imath::V3d across;
        toWorldAt(0).multDirMatrix(Imath::V3d(1, 0, 0), across);
        cone.width = pixel * static_cast<float>(across.length());
    } else {
        cone.spread = pixel;
    }
    return cone;
}

M44d CameraRays::toWorldAt(float time) const {
    if (camera.toWorld.size() < 2) return still;
    const StepPosition at = PositionAmongSteps(camera.toWorld.size(), time);
    const M44d& first = camera.toWorld[at.first];
    const M44d& second = camera.toWorld[at.second];
    const M44d matrix = first * (1.0 - at.share) + second * double(at.share);
    return CanBeInverted(matrix) ? matrix : M44d();
}

} // namespace lantern
