#include "Topology.h"

#include <limits>
#include <stdexcept>

namespace TellarSceneImport {

namespace {

void Add(std::vector<std::uint32_t>& triangles, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    if (a == b || b == c || c == a) return;
    triangles.insert(triangles.end(), {a, b, c});
}

Polylines SingleLines(const std::vector<std::uint32_t>& indices) {
    Polylines lines;
    for (std::size_t i = 0; i + 1 < indices.size(); i += 2) {
        if (lines.points.empty() || lines.points.back() != indices[i]) {
            lines.points.push_back(indices[i]);
            lines.counts.push_back(1);
        }
        lines.points.push_back(indices[i + 1]);
        ++lines.counts.back();
    }
    return lines;
}

} // namespace

std::vector<std::uint32_t> TrianglesOf(PrimitiveMode mode,
                                       const std::vector<std::uint32_t>& indices) {
    constexpr std::size_t kMostIndices = std::numeric_limits<std::int32_t>::max() / 3;
    if (indices.size() > kMostIndices) throw std::runtime_error("a mesh has too many faces");
    std::vector<std::uint32_t> triangles;
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

Polylines PolylinesOf(PrimitiveMode mode, const std::vector<std::uint32_t>& indices) {
    if (indices.size() > std::size_t(std::numeric_limits<std::int32_t>::max()) / 2)
        throw std::runtime_error("a mesh has too many lines");
    if (mode == PrimitiveMode::Lines) return SingleLines(indices);
    Polylines lines;
    if (mode != PrimitiveMode::LineStrip && mode != PrimitiveMode::LineLoop) return lines;
    if (indices.size() < 2) return lines;
    lines.points = indices;
    lines.counts = {static_cast<std::int32_t>(indices.size())};
    lines.areClosed = mode == PrimitiveMode::LineLoop && indices.size() > 2;
    return lines;
}

} // namespace TellarSceneImport
