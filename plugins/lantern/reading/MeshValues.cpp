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

// Texture coordinates and colors ------------------------------------------------------------------

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

template <typename Value>
CornerValues<Value> ToCorners(IndexedValues<Value> indexed, Scope scope, const MeshCorners& where,
                              const Mesh& mesh) {
    CornerValues<Value> result;
    result.values = std::move(indexed.values);
    if (scope == Scope::Point && indexed.index.empty()) return result;
    result.index = ElementsOfCorners(scope, where, mesh);
    if (!indexed.index.empty())
        for (Index& element : result.index)
            element = indexed.index[element];
    return result;
}

/// The values of a set at the corners of the mesh. Returns nothing, with a warning, if it does not
/// fit. `read` reads the set of a number of elements.
template <typename Value>
std::optional<CornerValues<Value>>
ReadSet(const ShapeReader& reader, const std::string& name, const Attribute& set,
        const MeshCorners& where, const Mesh& mesh,
        std::optional<IndexedValues<Value>> (*read)(const Attribute&, std::size_t, float)) {
    const std::optional<Scope> scope = ReadScope(set);
    std::optional<IndexedValues<Value>> values;
    if (scope) values = read(set, CountElements(*scope, where), reader.shutter.open);
    if (values) return ToCorners(std::move(*values), *scope, where, mesh);
    reader.warn("\"geometry.arbitrary." + name + "\" does not fit the mesh; it is left out");
    return {};
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

void ReadSets(const ShapeReader& reader, const Attribute& geometry, const MeshCorners& where,
              Mesh& mesh) {
    const Attribute arbitrary = geometry.child("arbitrary");
    for (std::int64_t i = 0; i < arbitrary.childCount(); ++i) {
        const std::string name = arbitrary.childName(i);
        const Attribute set = arbitrary.childAt(i);
        if (!set.isGroup()) continue;
        if (IsUvSet(name, set)) {
            if (auto st = ReadSet(reader, name, set, where, mesh, ReadIndexedUvs))
                mesh.uvSets.push_back({name, std::move(*st)});
        } else if (IsColorSet(name, set)) {
            if (auto colors = ReadSet(reader, name, set, where, mesh, ReadIndexedColors))
                mesh.colorSets.push_back({name, std::move(*colors)});
        }
    }
}

} // namespace lantern
