#ifndef LANTERN_READING_MESHVALUES_H
#define LANTERN_READING_MESHVALUES_H

#include <cstddef>
#include <vector>

#include "reading/ReadMesh.h"

namespace lantern {

/// The elements of a mesh that a list of values belongs to.
struct MeshCorners {
    std::size_t pointCount;
    std::size_t cornerCount; ///< number of corners of all faces
    std::size_t faceCount;
    const std::vector<Index>& corners; ///< the face corner at each corner of a triangle
    const std::vector<Index>& faces;   ///< the face of each triangle
};

/// Replaces zero normals by the normal of the surface around the point.
void ReadNormals(const ShapeReader& reader, const Attribute& geometry, const MeshCorners& where,
                 Mesh& mesh);

/// Reads texture coordinates and colors.
void ReadSets(const ShapeReader& reader, const Attribute& geometry, const MeshCorners& where,
              Mesh& mesh);

} // namespace lantern

#endif
