#ifndef LANTERN_READING_MESHVALUES_H
#define LANTERN_READING_MESHVALUES_H

#include <cstddef>
#include <vector>

#include "reading/ReadMesh.h"

namespace lantern {

/// What values of a mesh are for.
struct MeshCorners {
    std::size_t pointCount;
    std::size_t cornerCount; ///< of all faces
    std::size_t faceCount;
    const std::vector<Index>& corners; ///< of the triangles, among those of all faces
    const std::vector<Index>& faces;   ///< of the triangles
};

/// Replaces normals without a length by those of the surface around the point.
void ReadNormals(const ShapeReader& reader, const Attribute& geometry, const MeshCorners& where,
                 Mesh& mesh);

void ReadUvSets(const ShapeReader& reader, const Attribute& geometry, const MeshCorners& where,
                Mesh& mesh);

} // namespace lantern

#endif
