#ifndef LANTERN_TESSELLATION_SUBDIVISIONSURFACE_H
#define LANTERN_TESSELLATION_SUBDIVISIONSURFACE_H

#include <array>
#include <memory>
#include <vector>

#include "SceneData.h"

namespace lantern {

/// The limit surface of a cage. For one thread at a time.
class SubdivisionSurface {
public:
    /// The time for a face grows with the third power of the number of edges around it or its
    /// points.
    static constexpr int kMostEdgesAround = 600;

    /// Refers to the rules.
    explicit SubdivisionSurface(const Subdivision& subdivision, std::size_t pointCount);
    ~SubdivisionSurface();
    SubdivisionSurface(const SubdivisionSurface&) = delete;
    SubdivisionSurface& operator=(const SubdivisionSurface&) = delete;

    /// False if the topology cannot be subdivided, or more than kMostEdgesAround edges meet.
    bool isValid() const;

    /// The two points of each edge of the cage.
    const std::vector<std::array<Index, 2>>& edges() const;
    /// About how many triangles tessellate() makes.
    double countTriangles(const std::vector<int>& rates) const;
    /// Triangles between points of the limit surface, with its normals. `rates` has the number of
    /// parts of each edge; faces that share an edge share the points on it. `points` are the steps
    /// of the cage. The result does not depend on the number of threads.
    Mesh tessellate(const std::vector<std::vector<V3f>>& points, const std::vector<int>& rates,
                    int threads) const;

private:
    struct Surface;
    std::unique_ptr<Surface> surface;
};

} // namespace lantern

#endif
