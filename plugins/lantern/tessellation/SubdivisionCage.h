#ifndef LANTERN_TESSELLATION_SUBDIVISIONCAGE_H
#define LANTERN_TESSELLATION_SUBDIVISIONCAGE_H

#include <cstddef>
#include <memory>
#include <vector>

#include <opensubdiv/far/topologyRefiner.h>

#include "SceneData.h"

namespace lantern {

/// Texture coordinates or colors in which corners of a point share a value if theirs are equal, so
/// that values are smooth across the edges between such corners.
struct WeldedValues {
    int count() const { return static_cast<int>(values.size()) / size; }

    int size; ///< the number of floats in a value
    std::vector<float> values;
    std::vector<int> index; ///< the value of each corner
};

/// Welds all texture coordinates, then all colors.
std::vector<WeldedValues> WeldValues(const Subdivision& subdivision);

/// The cage for OpenSubdiv; null if its topology cannot be subdivided. Copies what it needs.
std::unique_ptr<OpenSubdiv::Far::TopologyRefiner>
MakeRefiner(const Subdivision& subdivision, std::size_t pointCount,
            const std::vector<WeldedValues>& values);

} // namespace lantern

#endif
