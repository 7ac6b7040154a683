#ifndef LANTERN_READING_READMESH_H
#define LANTERN_READING_READMESH_H

#include <cstddef>
#include <optional>

#include "reading/ShapeReader.h"

namespace lantern {

/// Reads a mesh:
///
///     point.P, point.N         three numbers per point
///     vertex.N                 three numbers per face corner, instead of point.N
///     poly.vertexList          the points of all faces
///     poly.startIndex          where each face begins, and the end
///     arbitrary.st, st1, ...   texture coordinates: "scope" (point, vertex, face, primitive), and
///                              "value", or "indexedValue" and "index"
///     arbitrary.color, ...     colors, in the same way; also other names if "inputType" is
///                              "color3" or "color4"
///
/// Faces are counter-clockwise seen from outside. Faces of less than three corners are left out.
/// Points may have several samples for motion; normals, texture coordinates and colors are
/// those at the opening of the shutter.
std::optional<Mesh> ReadMesh(const ShapeReader& reader, const Attribute& geometry);

/// Reads the cage of a subdivision surface as a mesh without normals, and its rules. Normals of the
/// geometry are not used. Returns nothing if the mesh cannot be drawn.
std::optional<Shape> ReadSubdivisionSurface(const ShapeReader& reader, const Attribute& geometry);

/// The number of faces of a mesh.
std::size_t CountFaces(const Attribute& geometry);

} // namespace lantern

#endif
