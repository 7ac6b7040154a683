#ifndef LANTERN_READING_READMESH_H
#define LANTERN_READING_READMESH_H

#include <functional>
#include <optional>
#include <string>

#include "SceneData.h"
#include "reading/Shutter.h"

namespace lantern {

/// Reads shapes from "geometry" groups. A function returns nothing for a shape that cannot be
/// drawn. It calls `warn` with the reason, and for anything else that is ignored.
struct ShapeReader {
    const Suites& suites;
    const Shutter& shutter;
    std::function<void(const std::string& what)> warn;
};

/// Reads a mesh:
///
///     point.P, point.N         three numbers per point
///     vertex.N                 three numbers per face corner, instead of point.N
///     poly.vertexList          the points of all faces
///     poly.startIndex          where each face begins, and the end
///     arbitrary.st, st1, ...   texture coordinates: "scope" (point, vertex, face, primitive), and
///                              "value", or "indexedValue" and "index"
///
/// Faces are counter-clockwise seen from outside. Faces of less than three corners are left out.
/// Points may have several samples for motion; normals and texture coordinates are those at the
/// opening of the shutter.
std::optional<Mesh> ReadMesh(const ShapeReader& reader, const Attribute& geometry);

/// Reads points: point.P and their diameters, point.width with one number per point or one for all,
/// or constantWidth. Without either, the radius is 0.01.
std::optional<Spheres> ReadPoints(const ShapeReader& reader, const Attribute& geometry);

/// Reads a sphere around the origin: radius (1).
std::optional<Spheres> ReadSphere(const ShapeReader& reader, const Attribute& geometry);

/// The number of faces of a mesh.
std::size_t CountFaces(const Attribute& geometry);

} // namespace lantern

#endif
