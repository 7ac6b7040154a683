#include "reading/ReadMesh.h"

#include <algorithm>
#include <utility>

#include "reading/MeshValues.h"
#include "reading/PointValues.h"
#include "reading/ReadSubdivision.h"
#include "reading/Triangulate.h"

namespace lantern {

namespace {

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

/// A mesh and how it was cut into triangles.
struct CutMesh {
    Mesh mesh;
    Faces faces;
    std::vector<Index> corners; ///< the face corner at each corner of a triangle

    MeshCorners where() const {
        return {mesh.points[0].size(), faces.corners.size(), faces.starts.size() - 1, corners,
                mesh.faces};
    }
};

/// Reads everything but normals.
std::optional<CutMesh> ReadCutMesh(const ShapeReader& reader, const Attribute& geometry) {
    CutMesh cut;
    cut.mesh.points = ReadPositions(reader, geometry);
    if (cut.mesh.points.empty()) return {};
    std::optional<Faces> faces = ReadFaces(reader, geometry, cut.mesh.points[0].size());
    if (!faces) return {};
    cut.faces = std::move(*faces);
    cut.corners = Cut(cut.faces, cut.mesh);
    if (cut.mesh.triangles.empty()) return {};
    ReadSets(reader, geometry, cut.where(), cut.mesh);
    return cut;
}

} // namespace

std::optional<Mesh> ReadMesh(const ShapeReader& reader, const Attribute& geometry) {
    std::optional<CutMesh> cut = ReadCutMesh(reader, geometry);
    if (!cut) return {};
    ReadNormals(reader, geometry, cut->where(), cut->mesh);
    return std::move(cut->mesh);
}

std::optional<Shape> ReadSubdivisionSurface(const ShapeReader& reader, const Attribute& geometry) {
    std::optional<CutMesh> cut = ReadCutMesh(reader, geometry);
    if (!cut) return {};
    Shape shape;
    shape.subdivision = ReadSubdivision(
        reader, geometry, {cut->faces.starts, cut->faces.corners, cut->corners}, cut->mesh);
    shape.mesh = std::move(cut->mesh);
    return shape;
}

std::size_t CountFaces(const Attribute& geometry) {
    const std::int64_t starts = geometry.child("poly.startIndex").count();
    return starts > 0 ? static_cast<std::size_t>(starts - 1) : 0;
}

} // namespace lantern
