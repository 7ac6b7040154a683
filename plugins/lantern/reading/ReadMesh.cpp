#include "reading/ReadMesh.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "reading/MeshValues.h"
#include "reading/Triangulate.h"

namespace lantern {

namespace {

constexpr float kDefaultRadius = 0.01f;
constexpr float kDefaultSphereRadius = 1;

bool IsFinite(const std::vector<float>& values) {
    return std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
}

std::vector<V3f> ToPoints(const std::vector<float>& values) {
    std::vector<V3f> points(values.size() / 3);
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = V3f(values[3 * i], values[3 * i + 1], values[3 * i + 2]);
    return points;
}

/// The positions at one or more steps; none if the shape cannot be drawn.
std::vector<std::vector<V3f>> ReadPositions(const ShapeReader& reader, const Attribute& geometry) {
    const Attribute points = geometry.child("point.P");
    if (!points.isNumeric()) {
        reader.warn("it has no \"geometry.point.P\"");
        return {};
    }
    int steps = CountSteps(reader.suites, points, reader.shutter);
    if (steps > 1 && !points.hasEqualSamples()) {
        reader.warn("the samples of \"geometry.point.P\" are not of one size; it does not move");
        steps = 1;
    }
    std::vector<std::vector<V3f>> positions;
    for (int step = 0; step < steps; ++step) {
        const std::vector<float> values = points.floatsAt(reader.shutter.timeOf(step, steps));
        if (values.size() % 3 != 0 || values.size() / 3 >= kNone) {
            reader.warn("\"geometry.point.P\" has " + std::to_string(values.size()) +
                        " numbers, which are no points");
            return {};
        }
        if (!IsFinite(values)) {
            reader.warn("\"geometry.point.P\" has numbers that are not finite");
            return {};
        }
        positions.push_back(ToPoints(values));
    }
    const auto isSame = [&](const auto& step) { return step == positions[0]; };
    if (std::all_of(positions.begin(), positions.end(), isSame)) positions.resize(1);
    return positions;
}

/// The faces of a mesh, with all indices checked.
struct Faces {
    std::vector<std::int32_t> starts; ///< one more than faces; the last one is the end
    std::vector<std::int32_t> corners;
};

bool AreStartsSound(const Faces& faces) {
    return !faces.starts.empty() && faces.starts.front() >= 0 &&
           std::is_sorted(faces.starts.begin(), faces.starts.end()) &&
           static_cast<std::size_t>(faces.starts.back()) <= faces.corners.size();
}

std::optional<Faces> ReadFaces(const ShapeReader& reader, const Attribute& geometry,
                               std::size_t pointCount) {
    Faces faces{geometry.child("poly.startIndex").ints(), geometry.child("poly.vertexList").ints()};
    if (!AreStartsSound(faces)) {
        reader.warn("\"geometry.poly.startIndex\" does not fit \"geometry.poly.vertexList\"");
        return {};
    }
    for (const std::int32_t corner : faces.corners) {
        if (corner >= 0 && static_cast<std::size_t>(corner) < pointCount) continue;
        reader.warn("\"geometry.poly.vertexList\" has the point " + std::to_string(corner) +
                    ", of " + std::to_string(pointCount));
        return {};
    }
    return faces;
}

/// For each corner of each triangle, its index among the corners of all faces.
std::vector<Index> Cut(const Faces& faces, Mesh& mesh) {
    std::vector<Index> corners;
    std::vector<Index> ofFace;
    Triangulator triangulator;
    for (std::size_t face = 0; face + 1 < faces.starts.size(); ++face) {
        const auto start = static_cast<std::size_t>(faces.starts[face]);
        const auto end = static_cast<std::size_t>(faces.starts[face + 1]);
        ofFace.clear();
        triangulator.cut(mesh.points[0], faces.corners.data() + start, end - start, ofFace);
        for (const Index corner : ofFace)
            corners.push_back(static_cast<Index>(start) + corner);
        mesh.faces.insert(mesh.faces.end(), ofFace.size() / 3, static_cast<Index>(face));
    }
    mesh.triangles.reserve(corners.size());
    for (const Index corner : corners)
        mesh.triangles.push_back(static_cast<Index>(faces.corners[corner]));
    return corners;
}

/// One value per point, one for all, or empty.
std::vector<float> ReadWidths(const Attribute& geometry, std::size_t count, float time) {
    for (const char* name : {"point.width", "constantWidth"}) {
        std::vector<float> widths = geometry.child(name).floatsAt(time);
        if (widths.size() == count || widths.size() == 1) return widths;
    }
    return {};
}

bool AreRadiiSound(const std::vector<float>& radii) {
    return std::all_of(radii.begin(), radii.end(),
                       [](float radius) { return radius >= 0 && std::isfinite(radius); });
}

} // namespace

std::optional<Mesh> ReadMesh(const ShapeReader& reader, const Attribute& geometry) {
    Mesh mesh;
    mesh.points = ReadPositions(reader, geometry);
    if (mesh.points.empty()) return {};
    const std::optional<Faces> faces = ReadFaces(reader, geometry, mesh.points[0].size());
    if (!faces) return {};
    const std::vector<Index> corners = Cut(*faces, mesh);
    if (mesh.triangles.empty()) return {};
    const MeshCorners where{mesh.points[0].size(), faces->corners.size(), faces->starts.size() - 1,
                            corners, mesh.faces};
    ReadNormals(reader, geometry, where, mesh);
    ReadUvSets(reader, geometry, where, mesh);
    return mesh;
}

std::optional<Spheres> ReadPoints(const ShapeReader& reader, const Attribute& geometry) {
    Spheres spheres;
    spheres.centers = ReadPositions(reader, geometry);
    if (spheres.centers.empty() || spheres.centers[0].empty()) return {};
    const std::size_t count = spheres.centers[0].size();
    spheres.radii = ReadWidths(geometry, count, reader.shutter.open);
    for (float& width : spheres.radii)
        width /= 2;
    if (spheres.radii.empty()) spheres.radii.assign(1, kDefaultRadius);
    if (!AreRadiiSound(spheres.radii)) {
        reader.warn("its points have widths that are negative or not finite");
        return {};
    }
    if (spheres.radii.size() != count) spheres.radii.assign(count, float(spheres.radii[0]));
    return spheres;
}

std::optional<Spheres> ReadSphere(const ShapeReader& reader, const Attribute& geometry) {
    double radius = kDefaultSphereRadius;
    geometry.child("radius").read(&radius, 1, reader.shutter.open);
    Spheres spheres{{{V3f(0)}}, {static_cast<float>(radius)}};
    if (AreRadiiSound(spheres.radii)) return spheres;
    reader.warn("\"geometry.radius\" is negative or not finite");
    return {};
}

std::size_t CountFaces(const Attribute& geometry) {
    const std::int64_t starts = geometry.child("poly.startIndex").count();
    return starts > 0 ? static_cast<std::size_t>(starts - 1) : 0;
}

} // namespace lantern
