#include <OxTellarProducers/ScreenSpace.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

#include <Imath/ImathInterval.h>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/LocationTransforms.h>
#include <OxTellarProducers/RenderResolution.h>

#include "RenderSettings.h"

using Imath::M44d;
using Imath::V3d;
using OxAttribute::DoubleAttribute;

namespace TELLAR {

namespace {

constexpr double kPi = 3.14159265358979323846;

/// The axes and the screen window of a camera.
class CameraView {
public:
    explicit CameraView(const CameraInfo& camera)
        : isOrthographic(camera.orthographic), tanHalfFov(std::tan(camera.fov / 180.0 * kPi * 0.5)),
          position(camera.xform.translation()) {
        const M44d inverse = camera.xform.inverse();
        const auto axis = [&](int column) {
            return V3d(inverse[0][column], inverse[1][column], inverse[2][column]).normalized();
        };
        rightAxis = axis(0);
        upAxis = axis(1);
        forwardAxis = -axis(2);
        const double scale = isOrthographic ? camera.orthographicWidth * 0.5 : 1.0;
        low = V3d(camera.left * scale, camera.bottom * scale, camera.near);
        high = V3d(camera.right * scale, camera.top * scale, camera.far);
    }

    /// The offsets to the right of the camera's axis and above it, and the depth, which is positive
    /// in front of the camera.
    V3d toCamera(const V3d& world) const {
        const V3d offset = world - position;
        const double depth = offset.dot(forwardAxis);
        const V3d lateral = offset - forwardAxis * depth;
        return {lateral.dot(rightAxis), lateral.dot(upAxis), depth};
    }

    bool isOrthographic;
    double tanHalfFov;
    /// Opposite corners of the screen window, with the depths of the clipping planes. x and y are
    /// tan(angle) / tanHalfFov, or lengths in the scene for an orthographic camera.
    V3d low, high;

private:
    V3d position;
    V3d rightAxis, upAxis, forwardAxis;
};

/// tan(atan2(offset, depth)) with the rounding errors of these functions, which matter near the
/// camera plane and near the axis behind the camera. Elsewhere the quotient agrees to 1e-12 and is
/// faster.
double Slope(double offset, double depth, double perDepth) {
    constexpr double kSteep = 1024.0;
    const double slope = offset * perDepth;
    const double steepness = std::abs(slope);
    if (steepness <= kSteep && (depth > 0.0 || steepness >= 1.0 / kSteep)) return slope;
    return std::tan(std::atan2(offset, depth));
}

/// The corners of a box in camera space. Bits 0, 1 and 2 of an index choose the maximum of the
/// local x, y and z.
using Corners = std::array<V3d, 8>;

/// Whether the differences between this point and others like it are finite.
bool IsNearEnough(const V3d& point) {
    constexpr double kFarthest = std::numeric_limits<double>::max() / 4;
    return std::abs(point.x) <= kFarthest && std::abs(point.y) <= kFarthest &&
           std::abs(point.z) <= kFarthest;
}

/// The range on one axis of the part of a box that is in front of the camera plane: offsets for an
/// orthographic camera, and angles for a perspective one. Angles grow monotonically up to a right
/// angle on the plane, where tan is huge but finite.
Imath::Interval<double> RangeInFront(const CameraView& view, const Corners& corners, int axis) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    Imath::Interval<double> range;
    const auto extend = [&](double offset, double depth) {
        range.extendBy(view.isOrthographic ? offset : std::atan2(offset, depth));
    };
    if (!std::all_of(corners.begin(), corners.end(), IsNearEnough)) {
        extend(-kInfinity, 0.0);
        extend(kInfinity, 0.0);
        return range;
    }
    for (std::size_t corner = 0; corner < corners.size(); ++corner) {
        const V3d& a = corners[corner];
        if (a.z > 0.0) extend(a[axis], a.z);
        for (std::size_t bit = 1; bit < corners.size(); bit *= 2) {
            const V3d& b = corners[corner | bit];
            if ((a.z > 0.0) == (b.z > 0.0)) continue;
            const double onPlane = a[axis] + (b[axis] - a[axis]) * (a.z / (a.z - b.z));
            // An edge through the camera itself comes in at the angle of its end in front.
            if (view.isOrthographic || onPlane != 0.0) extend(onPlane, 0.0);
        }
    }
    return range;
}

/// The fraction of the screen window on one axis that a box covers with the part that is in front
/// of the camera plane, from 0 to 1; 0 for a window without extent.
double Coverage(const CameraView& view, const Corners& corners, int axis) {
    Imath::Interval<double> covered = RangeInFront(view, corners, axis);
    if (covered.isEmpty()) return 0.0;
    if (!view.isOrthographic)
        covered = {std::tan(covered.min) / view.tanHalfFov,
                   std::tan(covered.max) / view.tanHalfFov};
    const double first = std::min(view.low[axis], view.high[axis]);
    const double last = std::max(view.low[axis], view.high[axis]);
    const double fraction =
        (std::min(covered.max, last) - std::max(covered.min, first)) / (last - first);
    return fraction > 0.0 ? fraction : 0.0;
}

/// Whole meshes are converted, so the reciprocals that are the same for all points are computed
/// once.
class WorldToNdc {
public:
    explicit WorldToNdc(const CameraInfo& camera) : view(camera), perSlope(1.0 / view.tanHalfFov) {
        V3d size = view.high - view.low;
        size.z = camera.far - camera.near; // computed in single precision
        perSize = V3d(1.0) / size;
    }

    V3d operator()(const V3d& world) const {
        V3d seen = view.toCamera(world);
        if (!view.isOrthographic) {
            const double perDepth = 1.0 / seen.z;
            seen.x = Slope(seen.x, seen.z, perDepth) * perSlope;
            seen.y = Slope(seen.y, seen.z, perDepth) * perSlope;
        }
        return (seen - view.low) * perSize;
    }

private:
    CameraView view;
    double perSlope;
    V3d perSize;
};

M44d ToScreen(const M44d& toWorld, const CameraInfo& camera, int width, int height) {
    const M44d projection =
        GetProjectionMatrix(camera, static_cast<float>(width) / static_cast<float>(height));
    const M44d clipToUnit = M44d().setScale(V3d(0.5)) * M44d().setTranslation(V3d(0.5));
    const M44d unitToPixels = M44d().setScale(V3d(width, height, 1.0));
    return toWorld * camera.xform.inverse() * projection * clipToUnit * unitToPixels;
}

bool IsAffine(const M44d& matrix) {
    return matrix[0][3] == 0.0 && matrix[1][3] == 0.0 && matrix[2][3] == 0.0 && matrix[3][3] == 1.0;
}

} // namespace

M44d GetLocalToScreenMatrix(GeometryProducer::Ptr producer) {
    if (!producer) throw std::runtime_error("Invalid target producer provided.");
    const M44d localToWorld = GetWorldMatrix(*producer);
    const GeometryProducer::Ptr root = producer->getRootProducer();
    if (!root) throw std::runtime_error("Could not get root producer from target producer.");
    const auto camera = GetCameraInfo(root, RenderCameraPath(root));
    if (!camera) throw std::runtime_error("Could not get camera info.");
    int width = 0;
    int height = 0;
    GetRenderResolution(nullptr, &width, &height, root);
    return ToScreen(localToWorld, *camera, width, height);
}

M44d GetWorldToScreenMatrix(const CameraInfo& camera, int width, int height) {
    return ToScreen(M44d(), camera, width, height);
}

void ConvertWorldPointsToNdc(const CameraInfo& camera, V3d* points, std::size_t count) {
    const WorldToNdc toNdc(camera);
    std::transform(points, points + count, points, toNdc);
}

void ConvertPointListToNDC(GeometryProducer::Ptr producer, const std::string& cameraPath,
                           std::vector<V3d>& points) {
    if (!producer) return;
    const auto camera = GetCameraInfo(producer->getRootProducer(), cameraPath);
    if (!camera) return;
    const WorldToNdc toNdc(*camera);
    const M44d toWorld = GetWorldMatrix(*producer);
    if (IsAffine(toWorld)) {
        const V3d origin = toWorld.translation();
        for (V3d& point : points) {
            V3d world;
            toWorld.multDirMatrix(point, world);
            point = toNdc(world + origin);
        }
    } else {
        for (V3d& point : points)
            point = toNdc(point * toWorld);
    }
}

int GetPixelAreaThroughCamera(GeometryProducer::Ptr producer, const std::string& cameraPath,
                              const std::string& resolution) {
    if (!producer) return 0;
    const auto camera = GetCameraInfo(producer->getRootProducer(), cameraPath);
    const auto bound = DoubleAttribute(producer->getAttribute("bound")).getNearestSample(0.0f);
    if (!camera || bound.size() < 6) return 0;
    const ResolutionTableEntry picture = LookUpResolution(resolution, "resolution");
    const std::int64_t area = GetPixelAreaOfBound(*camera, picture.getWidth(), picture.getHeight(),
                                                  bound.data(), GetWorldMatrix(*producer));
    return static_cast<int>(std::min<std::int64_t>(area, std::numeric_limits<int>::max()));
}

std::int64_t GetPixelAreaOfBound(const CameraInfo& camera, int width, int height,
                                 const double* bound, const M44d& toWorld) {
    const bool hasExtent = bound[0] <= bound[1] && bound[2] <= bound[3] && bound[4] <= bound[5];
    if (!hasExtent) return 0; // true also when an edge is NaN

    const CameraView view(camera);
    Corners corners;
    for (std::size_t corner = 0; corner < corners.size(); ++corner) {
        const V3d local(bound[corner & 1 ? 1 : 0], bound[corner & 2 ? 3 : 2],
                        bound[corner & 4 ? 5 : 4]);
        corners[corner] = view.toCamera(local * toWorld);
    }
    const double area = Coverage(view, corners, 0) * Coverage(view, corners, 1) * width * height;
    return static_cast<std::int64_t>(std::round(area));
}

} // namespace TELLAR
