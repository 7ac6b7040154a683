#include "reading/MeshValues.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "reading/UvValues.h"

namespace lantern {

namespace {

constexpr std::size_t kCornersOfTriangle = 3;

/// The normal of the surface around each point, weighted by area and not normalized.
std::vector<V3f> SmoothNormals(const Mesh& mesh) {
    const std::vector<V3f>& points = mesh.points[0];
    std::vector<V3f> normals(points.size(), V3f(0));
    for (std::size_t i = 0; i + 2 < mesh.triangles.size(); i += kCornersOfTriangle) {
        const Index* const t = &mesh.triangles[i];
        const V3f normal = (points[t[1]] - points[t[0]]).cross(points[t[2]] - points[t[0]]);
        for (std::size_t k = 0; k < kCornersOfTriangle; ++k)
            normals[t[k]] += normal;
    }
    return normals;
}

V3f UnitLength(const V3f& normal) {
    const V3f unit = normal.normalized();
    const bool isUnit = std::isfinite(unit.x) && std::isfinite(unit.y) && std::isfinite(unit.z) &&
                        unit.length2() > 0.5f;
    return isUnit ? unit : V3f(0);
}

/// Normalizes the normals. `pointOf` returns the point of a normal.
template <typename PointOf>
void Normalize(std::vector<V3f>& normals, const Mesh& mesh, PointOf pointOf) {
    std::vector<V3f> smooth;
    for (std::size_t i = 0; i < normals.size(); ++i) {
        normals[i] = UnitLength(normals[i]);
        if (normals[i] != V3f(0)) continue;
        if (smooth.empty()) smooth = SmoothNormals(mesh);
        const Index point = pointOf(i);
        if (point < smooth.size()) normals[i] = UnitLength(smooth[point]);
        if (normals[i] == V3f(0))
            normals[i] = V3f(0, 0, 1); // only on degenerate faces, which are invisible
    }
}

std::vector<V3f> ToNormals(const std::vector<float>& values) {
    std::vector<V3f> normals(values.size() / 3);
    for (std::size_t i = 0; i < normals.size(); ++i)
        normals[i] = V3f(values[3 * i], values[3 * i + 1], values[3 * i + 2]);
    return normals;
}

/// The point of each face corner; kNone for corners that no triangle uses.
std::vector<Index> PointsOfCorners(const MeshCorners& where, const Mesh& mesh) {
    std::vector<Index> points(where.cornerCount, kNone);
    for (std::size_t i = 0; i < where.corners.size(); ++i)
        points[where.corners[i]] = mesh.triangles[i];
    return points;
}

// Texture coordinates -----------------------------------------------------------------------------

std::size_t CountElements(Scope scope, const MeshCorners& where) {
    switch (scope) {
    case Scope::Point:
        return where.pointCount;
    case Scope::Vertex:
        return where.cornerCount;
    case Scope::Face:
        return where.faceCount;
    case Scope::Primitive:
        break;
    }
    return 1;
}

/// The element of the scope at each corner of each triangle.
std::vector<Index> ElementsOfCorners(Scope scope, const MeshCorners& where, const Mesh& mesh) {
    if (scope == Scope::Point) return mesh.triangles;
    if (scope == Scope::Vertex) return where.corners;
    std::vector<Index> elements(where.corners.size(), 0);
    for (std::size_t i = 0; scope == Scope::Face && i < elements.size(); ++i)
        elements[i] = where.faces[i / kCornersOfTriangle];
    return elements;
}

CornerValues<V2f> ToCorners(IndexedUvs uvs, Scope scope, const MeshCorners& where,
                            const Mesh& mesh) {
    CornerValues<V2f> st;
    st.values = std::move(uvs.values);
    if (scope == Scope::Point && uvs.index.empty()) return st;
    st.index = ElementsOfCorners(scope, where, mesh);
    if (!uvs.index.empty())
        for (Index& element : st.index)
            element = uvs.index[element];
    return st;
}

} // namespace

void ReadNormals(const ShapeReader& reader, const Attribute& geometry, const MeshCorners& where,
                 Mesh& mesh) {
    const Attribute ofCorners = geometry.child("vertex.N");
    const Attribute normals = ofCorners.isNumeric() ? ofCorners : geometry.child("point.N");
    if (!normals.isNumeric()) return;
    const bool areOfCorners = ofCorners.isNumeric();
    const std::size_t expected = areOfCorners ? where.cornerCount : where.pointCount;
    const std::vector<float> values = normals.floatsAt(reader.shutter.open);
    if (values.size() != 3 * expected) {
        reader.warn(std::string("\"geometry.") + (areOfCorners ? "vertex" : "point") +
                    ".N\" is not one normal each; it is left out");
        return;
    }
    mesh.normals.values = ToNormals(values);
    if (!areOfCorners) {
        Normalize(mesh.normals.values, mesh, [](std::size_t i) { return static_cast<Index>(i); });
        return;
    }
    const std::vector<Index> points = PointsOfCorners(where, mesh);
    Normalize(mesh.normals.values, mesh, [&](std::size_t i) { return points[i]; });
    mesh.normals.index = where.corners;
}

void ReadUvSets(const ShapeReader& reader, const Attribute& geometry, const MeshCorners& where,
                Mesh& mesh) {
    const Attribute arbitrary = geometry.child("arbitrary");
    for (std::int64_t i = 0; i < arbitrary.childCount(); ++i) {
        const std::string name = arbitrary.childName(i);
        const Attribute uvSet = arbitrary.childAt(i);
        if (!IsUvSet(name) || !uvSet.isGroup()) continue;
        const std::optional<Scope> scope = ReadScope(uvSet);
        std::optional<IndexedUvs> uvs;
        if (scope) uvs = ReadIndexedUvs(uvSet, CountElements(*scope, where), reader.shutter.open);
        if (uvs)
            mesh.uvSets.push_back({name, ToCorners(std::move(*uvs), *scope, where, mesh)});
        else
            reader.warn("\"geometry.arbitrary." + name +
                        "\" does not fit the mesh; it is left out");
    }
}

} // namespace lantern
