#ifndef LANTERN_READING_READMESH_H
#define LANTERN_READING_READMESH_H

#include <functional>
#include <optional>
#include <string>

#include "SceneData.h"
#include "reading/Shutter.h"

namespace lantern {

/// How shapes are read from "geometry" groups. Nothing comes back for a shape that is passed over;
/// `warn` is told why, and of what else is not as the scene asks for.
struct ShapeReader {
    const Suites& suites;
    const Shutter& shutter;
    std::function<void(const std::string& what)> warn;
};

/// Of a mesh:
///
///     point.P, point.N         three numbers a point
///     vertex.N                 three numbers a corner, in place of point.N
///     poly.vertexList          the points of all faces
///     poly.startIndex          where each face begins, and the end
///     arbitrary.st, st1, ...   texture coordinates: "scope" (point, vertex, face, primitive), and
///                              "value", or "indexedValue" and "index"
///
/// Faces are counter-clockwise seen from outside; those of less than three corners are left out.
/// Points move as their samples do; normals and texture coordinates are those of the shutter's
/// opening.
std::optional<Mesh> ReadMesh(const ShapeReader& reader, const Attribute& geometry);

/// Of points: point.P, and their widths: point.width, one each or one for all, or constantWidth;
/// without, their radius is 0.01.
std::optional<Spheres> ReadPoints(const ShapeReader& reader, const Attribute& geometry);

/// Of one sphere around the origin: radius, 1 by default.
std::optional<Spheres> ReadSphere(const ShapeReader& reader, const Attribute& geometry);

/// How many faces a mesh has.
std::size_t CountFaces(const Attribute& geometry);

} // namespace lantern

#endif
