#include <OxTellarProducers/ScreenSpace.h>

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarSDK/XFormUtil.h>

#include "Lens.h"
#include "RenderSettings.h"

using OxAttribute::DoubleAttribute;
using Matrix = Imath::Matrix44<double>;
using Vector = Imath::Vec3<double>;
using Ptr = boost::intrusive_ptr<TELLAR::GeometryProducer>;

namespace TELLAR {

namespace {

constexpr double kPi = 3.14159265358979323846;

Matrix LocalToWorld(GeometryProducer& producer) {
    return MatrixFromAttribute(
        OxXFormUtil::CalcTransformMatrixAtTime(producer.getGlobalXFormGroup(), 0.0f).first);
}

Vector FirstThree(const double* row) {
    return {row[0], row[1], row[2]};
}

/// A point in camera space.
struct CameraPoint {
    double x;
    double y;
    double depth; // along the viewing direction, positive in front of the camera
};

/// The axes and the screen window of a camera.
class CameraView {
public:
    explicit CameraView(const CameraInfo& camera)
        : isOrthographic(camera.orthographic), position(FirstThree(camera.xform[3])) {
        const Matrix normals = camera.xform.inverse().transposed();
        rightAxis = FirstThree(normals[0]).normalized();
        upAxis = FirstThree(normals[1]).normalized();
        forwardAxis = (-FirstThree(normals[2])).normalized();
        tanHalfFov = std::tan(camera.fov / 180.0 * kPi * 0.5);
        const double scale = isOrthographic ? camera.orthographicWidth * 0.5 : 1.0;
        left = camera.left * scale;
        right = camera.right * scale;
        bottom = camera.bottom * scale;
        top = camera.top * scale;
    }

    CameraPoint toCamera(const Vector& world) const {
        const Vector offset = world - position;
        const double depth = offset.dot(forwardAxis);
        const Vector lateral = offset - forwardAxis * depth;
        return {lateral.dot(rightAxis), lateral.dot(upAxis), depth};
    }

    bool isOrthographic;
    double tanHalfFov;
    // The screen window, in units of tan(angle) / tanHalfFov, or in those of the scene for an
    // orthographic camera.
    double left, right, bottom, top;

private:
    Vector position;
    Vector rightAxis, upAxis, forwardAxis;
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

bool IsAffine(const Matrix& matrix) {
    return matrix[0][3] == 0.0 && matrix[1][3] == 0.0 && matrix[2][3] == 0.0 && matrix[3][3] == 1.0;
}

/// Multiplies by reciprocals that are the same for all points: whole meshes are converted.
template <typename ToWorld>
void ConvertToNdc(const CameraInfo& camera, const CameraView& view, ToWorld toWorld,
                  std::vector<Vector>& points) {
    const double perWidth = 1.0 / (view.right - view.left);
    const double perHeight = 1.0 / (view.top - view.bottom);
    const float range = camera.far - camera.near;
    const double perRange = 1.0 / range;
    const double perSlope = 1.0 / view.tanHalfFov;
    for (Vector& point : points) {
        CameraPoint seen = view.toCamera(toWorld(point));
        if (!view.isOrthographic) {
            const double perDepth = 1.0 / seen.depth;
            seen.x = Slope(seen.x, seen.depth, perDepth) * perSlope;
            seen.y = Slope(seen.y, seen.depth, perDepth) * perSlope;
        }
        point = Vector((seen.x - view.left) * perWidth, (seen.y - view.bottom) * perHeight,
                       (seen.depth - camera.near) * perRange);
    }
}

std::shared_ptr<CameraInfo> CameraOf(GeometryProducer& producer, const std::string& cameraPath) {
    return GetCameraInfo(producer.getRootProducer(), cameraPath);
}

/// A range of values; empty at first.
struct Interval {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void extend(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
};

/// The fraction of the window between two edges that the interval covers, from 0 to 1; 0 for a
/// window without extent.
double Coverage(const Interval& interval, double edge, double oppositeEdge) {
    const double first = std::min(edge, oppositeEdge);
    const double last = std::max(edge, oppositeEdge);
    const double fraction =
        (std::min(interval.high, last) - std::max(interval.low, first)) / (last - first);
    return fraction > 0.0 ? fraction : 0.0;
}

/// The eight corners of a box. Bits 0, 1 and 2 of an index choose the maximum of x, y and z.
constexpr int kCorners = 8;
using Corners = std::array<CameraPoint, kCorners>;

/// Whether the differences between this point and others like it are finite.
bool IsNearEnough(const CameraPoint& point) {
    constexpr double kFarthest = std::numeric_limits<double>::max() / 4;
    return std::abs(point.x) <= kFarthest && std::abs(point.y) <= kFarthest &&
           std::abs(point.depth) <= kFarthest;
}

/// The interval of a box on one axis of the screen, in window units: of the part that is in front
/// of the camera plane. For a perspective camera, angles are compared, which grow monotonically up
/// to a right angle on the plane, where tan is huge but finite.
Interval ScreenInterval(const CameraView& view, const Corners& corners, double CameraPoint::*axis) {
    Interval interval;
    const auto extend = [&](double offset, double depth) {
        interval.extend(view.isOrthographic ? offset : std::atan2(offset, depth));
    };
    // An edge that meets the plane at the camera itself comes in at the angle of its end in front.
    const auto extendOnPlane = [&](double offset) {
        if (view.isOrthographic || offset != 0.0) extend(offset, 0.0);
    };
    if (!std::all_of(corners.begin(), corners.end(), IsNearEnough)) {
        extendOnPlane(-std::numeric_limits<double>::infinity());
        extendOnPlane(std::numeric_limits<double>::infinity());
    } else {
        for (int corner = 0; corner < kCorners; ++corner) {
            const CameraPoint& a = corners[corner];
            if (a.depth > 0.0) extend(a.*axis, a.depth);
            for (int bit = 1; bit < kCorners; bit *= 2) {
                const CameraPoint& b = corners[corner | bit];
                if ((a.depth > 0.0) != (b.depth > 0.0))
                    extendOnPlane(a.*axis + (b.*axis - a.*axis) * (a.depth / (a.depth - b.depth)));
            }
        }
    }
    if (view.isOrthographic) return interval;
    return {std::tan(interval.low) / view.tanHalfFov, std::tan(interval.high) / view.tanHalfFov};
}

/// Whether some minimum of a bound exceeds its maximum, or one of them is not a number.
bool IsEmpty(const double* bound) {
    return !(bound[0] <= bound[1] && bound[2] <= bound[3] && bound[4] <= bound[5]);
}

int ToPixels(double area) {
    return static_cast<int>(std::min<double>(std::round(area), std::numeric_limits<int>::max()));
}

} // namespace

Matrix GetLocalToScreenMatrix(Ptr producer) {
    if (!producer) throw std::runtime_error("Invalid target producer provided.");
    const Matrix localToWorld = LocalToWorld(*producer);
    const Ptr root = producer->getRootProducer();
    if (!root) throw std::runtime_error("Could not get root producer from target producer.");
    const auto camera = GetCameraInfo(root, RenderCameraPath(root));
    if (!camera) throw std::runtime_error("Could not get camera info.");
    int width = 0;
    int height = 0;
    GetRenderResolution(nullptr, &width, &height, root);

    const Matrix projection =
        GetProjectionMatrix(*camera, static_cast<float>(width) / static_cast<float>(height));
    const Matrix clipToUnit = Matrix().setScale(Vector(0.5)) * Matrix().setTranslation(Vector(0.5));
    const Matrix unitToPixels = Matrix().setScale(Vector(width, height, 1.0));
    return localToWorld * camera->xform.inverse() * projection * clipToUnit * unitToPixels;
}

void ConvertPointListToNDC(Ptr producer, const std::string& cameraPath,
                           std::vector<Vector>& points) {
    if (!producer) return;
    const auto camera = CameraOf(*producer, cameraPath);
    if (!camera) return;
    const CameraView view(*camera);
    const Matrix localToWorld = LocalToWorld(*producer);
    const auto toWorld = [&](const Vector& local) { return local * localToWorld; };
    const auto toWorldByRows = [&, x = FirstThree(localToWorld[0]), y = FirstThree(localToWorld[1]),
                                z = FirstThree(localToWorld[2]),
                                origin = FirstThree(localToWorld[3])](const Vector& local) {
        return x * local.x + y * local.y + z * local.z + origin;
    };
    if (IsAffine(localToWorld))
        ConvertToNdc(*camera, view, toWorldByRows, points);
    else
        ConvertToNdc(*camera, view, toWorld, points);
}

int GetPixelAreaThroughCamera(Ptr producer, const std::string& cameraPath,
                              const std::string& resolution) {
    if (!producer) return 0;
    const auto camera = CameraOf(*producer, cameraPath);
    const auto bound = DoubleAttribute(producer->getAttribute("bound")).getNearestSample(0.0f);
    if (!camera || bound.size() < 6) return 0;
    const ResolutionTableEntry picture = LookUpResolution(resolution);
    if (IsEmpty(bound.data())) return 0;

    const CameraView view(*camera);
    const Matrix localToWorld = LocalToWorld(*producer);
    Corners corners;
    for (int corner = 0; corner < kCorners; ++corner) {
        const Vector local(bound[corner & 1 ? 1 : 0], bound[corner & 2 ? 3 : 2],
                           bound[corner & 4 ? 5 : 4]);
        Vector world;
        localToWorld.multVecMatrix(local, world);
        corners[corner] = view.toCamera(world);
    }
    const double fraction =
        Coverage(ScreenInterval(view, corners, &CameraPoint::x), view.left, view.right) *
        Coverage(ScreenInterval(view, corners, &CameraPoint::y), view.bottom, view.top);
    return ToPixels(fraction * picture.getWidth() * picture.getHeight());
}

} // namespace TELLAR
