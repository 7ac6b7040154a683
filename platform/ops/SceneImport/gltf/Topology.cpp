#include "Topology.h"

#include <limits>
#include <stdexcept>

namespace TellarSceneImport {

namespace {

void Add(std::vector<std::int32_t>& triangles, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    if (a == b || b == c || c == a) return;
    triangles.insert(triangles.end(), {static_cast<std::int32_t>(a), static_cast<std::int32_t>(b),
                                       static_cast<std::int32_t>(c)});
}

} // namespace

std::vector<std::int32_t> TrianglesOf(PrimitiveMode mode,
                                      const std::vector<std::uint32_t>& indices) {
    constexpr std::size_t kMostIndices = std::numeric_limits<std::int32_t>::max() / 3;
    if (indices.size() > kMostIndices) throw std::runtime_error("a mesh has too many faces");
    std::vector<std::int32_t> triangles;
    if (mode == PrimitiveMode::Triangles) {
        triangles.assign(indices.begin(), indices.end() - indices.size() % 3);
        return triangles;
    }
    if (mode != PrimitiveMode::TriangleStrip && mode != PrimitiveMode::TriangleFan)
        return triangles;
    for (std::size_t i = 2; i < indices.size(); ++i) {
        if (mode == PrimitiveMode::TriangleFan)
            Add(triangles, indices[0], indices[i - 1], indices[i]);
        else if (i % 2 == 0)
            Add(triangles, indices[i - 2], indices[i - 1], indices[i]);
        else
            Add(triangles, indices[i - 1], indices[i - 2], indices[i]);
    }
    return triangles;
}

} // namespace TellarSceneImport
