// Conversion of the points of a mesh to normalized device coordinates, compared with a loop that
// only multiplies them by a matrix.

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/ScreenSpace.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "Measure.h"
#include "Rows.h"
#include "Walk.h"

using namespace OxAttribute;
using Imath::M44d;
using Imath::V3d;

namespace TellarBench {

namespace {

constexpr int kPoints = 100000;
constexpr int kPasses = 15;

constexpr const char* kMesh = "/root/mesh";
constexpr const char* kCamera = "/root/camera";
constexpr float kFov = 50;
constexpr float kNear = 0.125f;
constexpr float kFar = 1000;

M44d GetMeshMatrix() {
    return M44d().rotate(V3d(0.25, 0.5, 0)) * M44d().setTranslation(V3d(1, 2, -20));
}

M44d GetCameraMatrix() {
    return M44d().rotate(V3d(-0.125, 0.0625, 0)) * M44d().setTranslation(V3d(0, 3, 5));
}

/// A scene with a mesh and a camera.
Producer MakeScene() {
    GroupBuilder root;
    const auto setMatrix = [&root](const std::string& child, const M44d& matrix) {
        root.set("c." + child + ".a.xform.matrix", DoubleAttribute(matrix.getValue(), 16, 16));
    };
    setMatrix("mesh", GetMeshMatrix());
    setMatrix("camera", GetCameraMatrix());
    const auto setLens = [&root](const std::string& name, double value) {
        root.set("c.camera.a.geometry." + name, DoubleAttribute(value));
    };
    setLens("fov", kFov);
    setLens("near", kNear);
    setLens("far", kFar);
    setLens("left", -1);
    setLens("right", 1);
    setLens("top", 1);
    setLens("bottom", -1);
    return TELLAR::CreateStaticGeometryProducer("/root", root.build(), nullptr);
}

/// Points around the mesh's origin; nearly all are in front of the camera.
std::vector<V3d> MakePoints() {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> coordinate(-8, 8);
    std::vector<V3d> points(kPoints);
    for (V3d& point : points)
        point = V3d(coordinate(random), coordinate(random), coordinate(random));
    return points;
}

/// The same computation with the formulas of the library's header.
V3d ToNdc(const V3d& local) {
    const M44d camera = GetCameraMatrix();
    V3d world;
    GetMeshMatrix().multVecMatrix(local, world);
    V3d seen;
    camera.inverse().multVecMatrix(world, seen);
    const double depth = -seen.z;
    const double half = std::tan(kFov / 180.0 * M_PI * 0.5);
    return {(std::tan(std::atan2(seen.x, depth)) / half + 1) / 2,
            (std::tan(std::atan2(seen.y, depth)) / half + 1) / 2, (depth - kNear) / (kFar - kNear)};
}

/// The checksum of the expected points, which replaces that of points equal up to rounding.
Checksum Sum(const std::vector<V3d>& points, const std::vector<V3d>& expected) {
    constexpr double kTolerance = 1e-12;
    Checksum total;
    for (std::size_t i = 0; i < points.size(); ++i) {
        LocationSum sum;
        for (int axis = 0; axis < 3; ++axis) {
            const double wanted = expected[i][axis];
            const double scale = std::max(1.0, std::abs(wanted));
            const bool isGood = std::abs(points[i][axis] - wanted) <= kTolerance * scale;
            sum.add(isGood ? wanted : points[i][axis]);
        }
        total.add(sum);
    }
    return total;
}

void MultiplyPoints(const M44d& matrix, std::vector<V3d>& points) {
    for (V3d& point : points)
        matrix.multVecMatrix(point, point);
}

double GetMedian(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + kPasses / 2, values.end());
    return values[kPasses / 2];
}

void CompareNdc(Row& row) {
    const Producer mesh = MakeScene()->getProducerByPath(kMesh);
    if (!mesh) throw std::logic_error("the scene has no mesh");
    const std::vector<V3d> source = MakePoints();
    std::vector<V3d> expected = source;
    std::transform(source.begin(), source.end(), expected.begin(), ToNdc);
    const M44d matrix = GetMeshMatrix();

    std::vector<double> library;
    std::vector<double> loop;
    for (int pass = 0; pass < kPasses; ++pass) {
        std::vector<V3d> points = source;
        const Stopwatch libraryWatch;
        TELLAR::ConvertPointListToNDC(mesh, kCamera, points);
        library.push_back(libraryWatch.seconds());
        row.verify(Sum(points, expected), Sum(expected, expected));

        std::vector<V3d> multiplied = source;
        const Stopwatch loopWatch;
        MultiplyPoints(matrix, multiplied);
        loop.push_back(loopWatch.seconds());
        if (multiplied.back() == source.back()) throw std::logic_error("nothing was multiplied");
    }
    const double libraryTime = GetMedian(library);
    const double loopTime = GetMedian(loop);
    row.report("ns", libraryTime * 1e9 / kPoints, loopTime * 1e9 / kPoints);
    row.report("times", libraryTime / loopTime);
    row.finish(libraryTime);
}

} // namespace

void AddPointRows() {
    AddRow("points_to_ndc", 1, CompareNdc);
}

} // namespace TellarBench
