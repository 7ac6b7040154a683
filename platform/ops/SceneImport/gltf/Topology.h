#ifndef SCENEIMPORT_TOPOLOGY_H
#define SCENEIMPORT_TOPOLOGY_H

#include <cstdint>
#include <vector>

namespace TellarSceneImport {

/// The numbers that a file has for the modes of primitives.
enum class PrimitiveMode {
    Points = 0,
    Lines = 1,
    LineLoop = 2,
    LineStrip = 3,
    Triangles = 4,
    TriangleStrip = 5,
    TriangleFan = 6
};

/// Three indices for each triangle, all with the same side in front. Indices at the end that make
/// no whole triangle are left out, and so are the triangles of a strip without area that join its
/// parts. Empty for modes without triangles.
std::vector<std::uint32_t> TrianglesOf(PrimitiveMode mode,
                                       const std::vector<std::uint32_t>& indices);

/// Curves of straight lines, as point numbers curve after curve.
struct Polylines {
    std::vector<std::uint32_t> points;
    std::vector<std::int32_t> counts; ///< number of points of each curve
    bool areClosed = false;           ///< whether each one's end is joined to its beginning
};

/// The lines of a primitive. Single lines that follow each other become one curve. Empty for modes
/// without lines.
Polylines PolylinesOf(PrimitiveMode mode, const std::vector<std::uint32_t>& indices);

} // namespace TellarSceneImport

#endif
