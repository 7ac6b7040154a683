#ifndef LANTERN_READING_READSUBDIVISION_H
#define LANTERN_READING_READSUBDIVISION_H

#include <cstdint>
#include <memory>
#include <vector>

#include "reading/ShapeReader.h"

namespace lantern {

/// Whether a mesh is the cage of a subdivision surface: if "subdivisionScheme" is not "none" or,
/// without that attribute, if the location is of type "subdmesh".
bool IsSubdivided(const Attribute& geometry, bool isOfSubdivisionType);

/// The faces of a cage and how they were cut into the triangles of its mesh.
struct CageFaces {
    const std::vector<std::int32_t>&
        starts; ///< first corner of each face; last, the number of corners
    const std::vector<std::int32_t>& corners; ///< the points of all faces
    const std::vector<Index>& ofTriangles;    ///< the face corner at each corner of a triangle
};

/// Reads the rules of a subdivision surface:
///
///     subdivisionScheme        "catmull-clark" (default), "loop" or "bilinear"
///     interpolateBoundary      "none", "edges" or "edgesAndCorners" (default)
///     interpolateFaceVarying   "none", "cornersOnly", "cornersPlus1" (default), "cornersPlus2",
///                              "boundaries" or "all"
///     creaseIndices            the points of all creases
///     creaseLengths            the number of points of each crease
///     creaseSharpness          one number per crease, or one per edge
///     cornerIndices            points that are sharp
///     cornerSharpness          one number each
///     holeFaces                faces that are not drawn
///
/// Sharpness is from 0 for smooth to 10 for infinitely sharp. Invalid entries are left out with a
/// warning. The texture coordinates are those of the mesh.
std::shared_ptr<const Subdivision> ReadSubdivision(const ShapeReader& reader,
                                                   const Attribute& geometry,
                                                   const CageFaces& faces, const Mesh& mesh);

} // namespace lantern

#endif
