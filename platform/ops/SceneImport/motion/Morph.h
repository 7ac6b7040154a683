#ifndef SCENEIMPORT_MORPH_H
#define SCENEIMPORT_MORPH_H

#include <cstddef>
#include <vector>

namespace TellarSceneImport {

/// Points of a mesh: three numbers each.
struct MeshPoints {
    std::vector<float> positions;
    std::vector<float> normals; ///< empty, or as many as positions

    /// In bytes.
    std::size_t memory() const {
        return sizeof *this + (positions.capacity() + normals.capacity()) * sizeof(float);
    }
};

/// A morph target: what is added to the points at weight 1. Each list is empty, which adds nothing,
/// or as long as that of the points.
using MorphTarget = MeshPoints;

/// Adds the targets, multiplied by their weights. There are as many weights as targets. Normals
/// are no longer of unit length.
void AddTargets(const std::vector<MorphTarget>& targets, const std::vector<double>& weights,
                MeshPoints& points);

/// Makes normals that have a length unit vectors.
void NormaliseNormals(std::vector<float>& normals);

} // namespace TellarSceneImport

#endif
