#include "Morph.h"

#include <cmath>
#include <cstddef>

namespace TellarSceneImport {

namespace {

void AddMultiple(const std::vector<float>& target, double weight, std::vector<float>& values) {
    if (target.size() != values.size()) return;
    const auto factor = static_cast<float>(weight);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] += factor * target[i];
}

} // namespace

void AddTargets(const std::vector<MorphTarget>& targets, const std::vector<double>& weights,
                MeshPoints& points) {
    for (std::size_t i = 0; i < targets.size(); ++i) {
        if (weights[i] == 0) continue;
        AddMultiple(targets[i].positions, weights[i], points.positions);
        AddMultiple(targets[i].normals, weights[i], points.normals);
    }
}

void NormaliseNormals(std::vector<float>& normals) {
    for (std::size_t i = 0; i + 2 < normals.size(); i += 3) {
        float* const n = &normals[i];
        const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        if (!std::isfinite(length) || length == 0) continue;
        for (int axis = 0; axis < 3; ++axis)
            n[axis] /= length;
    }
}

} // namespace TellarSceneImport
