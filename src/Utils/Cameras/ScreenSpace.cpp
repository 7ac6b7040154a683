#include <OxTellarProducers/ScreenSpace.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
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

/// A point as the camera sees it.
struct CameraPoint {
    double right; // of the camera's axis
    double up;
    double depth; // along the axis, positive in front
};

/// Where a camera stands, and the window that it looks through.
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

    CameraPoint look(const Vector& world) const {
        const Vector away = world - position;
        const double depth = away.dot(forwardAxis);
        const Vector across = away - forwardAxis * depth;
        return {across.dot(rightAxis), across.dot(upAxis), depth};
    }

    bool isOrthographic;
    double tanHalfFov;
    double left, right, bottom, top; // in window units: those of tan(angle) / tanHalfFov, or of
                                     // the scene for an orthographic camera

private:
    Vector position;
    Vector rightAxis, upAxis, forwardAxis;
};

/// tan(atan2(offset, depth)), as those functions round it. Their detour is taken only where it
/// matters: at a right angle to the axis, where the angle has too few digits left, and close to
/// the axis behind the camera, where pi has. Elsewhere they agree with the quotient to 1e-12.
double Slope(double offset, double depth, double perDepth) {
    constexpr double kSteep = 1024.0;
    const double slope = offset * perDepth;
    const double steepness = std::abs(slope);
    if (steepness <= kSteep && (depth > 0.0 || steepness >= 1.0 / kSteep)) return slope;
    return std::tan(std::atan2(offset, depth));
}

/// Whether every point keeps a weight of 1.
bool IsAffine(const Matrix& matrix) {
    return matrix[0][3] == 0.0 && matrix[1][3] == 0.0 && matrix[2][3] == 0.0 && matrix[3][3] == 1.0;
}

/// Whole meshes come here, so nothing is divided by that is the same for all points.
template <typename ToWorld>
void ConvertToNdc(const CameraInfo& camera, const CameraView& view, ToWorld toWorld,
                  std::vector<Vector>& points) {
    const double perWidth = 1.0 / (view.right - view.left);
    const double perHeight = 1.0 / (view.top - view.bottom);
    const float range = camera.far - camera.near;
    const double perRange = 1.0 / range;
    const double perSlope = 1.0 / view.tanHalfFov;
    for (Vector& point : points) {
        const CameraPoint seen = view.look(toWorld(point));
        double x = seen.right;
        double y = seen.up;
        if (!view.isOrthographic) {
            const double perDepth = 1.0 / seen.depth;
            x = Slope(seen.right, seen.depth, perDepth) * perSlope;
            y = Slope(seen.up, seen.depth, perDepth) * perSlope;
        }
        point = Vector((x - view.left) * perWidth, (y - view.bottom) * perHeight,
                       (seen.depth - camera.near) * perRange);
    }
}

std::shared_ptr<CameraInfo> CameraOf(GeometryProducer& producer, const std::string& cameraPath) {
    return GetCameraInfo(producer.getRootProducer(), cameraPath);
}

/// A range of angles or offsets, as far as it is known.
struct Extent {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void include(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
};

/// What share of the window from one edge to the other the extent covers, from 0 to 1.
double CoveredShare(const Extent& extent, double edge, double oppositeEdge) {
    const double first = std::min(edge, oppositeEdge);
    const double last = std::max(edge, oppositeEdge);
    const double share =
        (std::min(extent.high, last) - std::max(extent.low, first)) / (last - first);
    return share > 0.0 ? share : 0.0; // 0 for a window without extent, too
}

/// The eight corners of a box: bit 0 of a corner's index tells which end of x it has, bit 1 of y,
/// bit 2 of z.
constexpr int kCorners = 8;

/// Whether differences of its coordinates and those of another such point stay finite.
bool IsNearEnough(const CameraPoint& point) {
    constexpr double kFarthest = std::numeric_limits<double>::max() / 4;
    return std::abs(point.right) <= kFarthest && std::abs(point.up) <= kFarthest &&
           std::abs(point.depth) <= kFarthest;
}

/// The part of a box that is in front of the camera plane, measured across the camera's axis. A
/// box that reaches farther than can be computed is everywhere.
class VisibleExtents {
public:
    VisibleExtents(const CameraView& camera, const CameraPoint (&corners)[kCorners])
        : camera(camera) {
        if (!std::all_of(corners, corners + kCorners, IsNearEnough)) {
            includeEverything();
            return;
        }
        for (int corner = 0; corner < kCorners; ++corner)
            if (corners[corner].depth > 0.0) include(corners[corner]);
        for (int corner = 0; corner < kCorners; ++corner)
            for (int axis = 1; axis < kCorners; axis *= 2)
                if (!(corner & axis)) includeCrossing(corners[corner], corners[corner | axis]);
    }

    /// In window units.
    Extent horizontal() const { return toWindow(across); }
    Extent vertical() const { return toWindow(upward); }

private:
    void include(const CameraPoint& point) {
        across.include(camera.isOrthographic ? point.right : std::atan2(point.right, point.depth));
        upward.include(camera.isOrthographic ? point.up : std::atan2(point.up, point.depth));
    }

    /// Where the edge from a to b meets the camera plane, if just one end is in front of it.
    void includeCrossing(const CameraPoint& a, const CameraPoint& b) {
        if ((a.depth > 0.0) == (b.depth > 0.0)) return;
        const double t = a.depth / (a.depth - b.depth);
        includeOnPlane(across, a.right + (b.right - a.right) * t);
        includeOnPlane(upward, a.up + (b.up - a.up) * t);
    }

    void includeEverything() {
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        for (Extent* extent : {&across, &upward}) {
            includeOnPlane(*extent, -kInfinity);
            includeOnPlane(*extent, kInfinity);
        }
    }

    /// On the plane everything is at a right angle to one side or the other. At the camera itself
    /// it is at none: the edge comes in at the angle of its end, which is included already.
    void includeOnPlane(Extent& extent, double offset) const {
        if (camera.isOrthographic)
            extent.include(offset);
        else if (offset != 0.0)
            extent.include(std::atan2(offset, 0.0));
    }

    /// Angles never go beyond those of the plane, where tan is huge but finite.
    Extent toWindow(const Extent& extent) const {
        if (camera.isOrthographic) return extent;
        return {std::tan(extent.low) / camera.tanHalfFov,
                std::tan(extent.high) / camera.tanHalfFov};
    }

    const CameraView& camera;
    Extent across;
    Extent upward;
};

/// Whether a bound's minimum is beyond its maximum on some axis, or either is no number.
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
    CameraPoint corners[kCorners];
    for (int corner = 0; corner < kCorners; ++corner) {
        const Vector local(bound[corner & 1 ? 1 : 0], bound[corner & 2 ? 3 : 2],
                           bound[corner & 4 ? 5 : 4]);
        Vector world;
        localToWorld.multVecMatrix(local, world);
        corners[corner] = view.look(world);
    }
    const VisibleExtents extents(view, corners);
    const double share = CoveredShare(extents.horizontal(), view.left, view.right) *
                         CoveredShare(extents.vertical(), view.bottom, view.top);
    return ToPixels(share * picture.getWidth() * picture.getHeight());
}

} // namespace TELLAR
