#include "Skin.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

namespace TellarSceneImport {

namespace {

constexpr std::size_t kJointsPerSet = 4;

// The upper three rows and columns of a matrix.
using Linear = std::array<double, 9>;

// The inverse transpose, multiplied by the absolute value of the determinant.
Linear NormalMatrix(const Matrix& m) {
    Linear cofactors = {
        m[5] * m[10] - m[6] * m[9], m[6] * m[8] - m[4] * m[10], m[4] * m[9] - m[5] * m[8],
        m[2] * m[9] - m[1] * m[10], m[0] * m[10] - m[2] * m[8], m[1] * m[8] - m[0] * m[9],
        m[1] * m[6] - m[2] * m[5],  m[2] * m[4] - m[0] * m[6],  m[0] * m[5] - m[1] * m[4]};
    const double determinant = m[0] * cofactors[0] + m[1] * cofactors[1] + m[2] * cofactors[2];
    if (determinant < 0)
        for (double& cofactor : cofactors)
            cofactor = -cofactor;
    return cofactors;
}

void MovePosition(const Matrix& m, float* position) {
    const double x = position[0], y = position[1], z = position[2];
    for (std::size_t axis = 0; axis < 3; ++axis)
        position[axis] =
            static_cast<float>(x * m[axis] + y * m[4 + axis] + z * m[8 + axis] + m[12 + axis]);
}

void MoveNormal(const Linear& m, float* normal) {
    const double x = normal[0], y = normal[1], z = normal[2];
    for (std::size_t axis = 0; axis < 3; ++axis)
        normal[axis] = static_cast<float>(x * m[axis] + y * m[3 + axis] + z * m[6 + axis]);
}

} // namespace

Skeleton::Skeleton(std::vector<Node> skeletonNodes) : nodes(std::move(skeletonNodes)) {
    for (std::size_t start = 0; start < nodes.size(); ++start) {
        std::size_t steps = 0;
        for (int node = nodes[start].parent; node >= 0; node = nodes[std::size_t(node)].parent)
            if (std::size_t(node) >= nodes.size() || ++steps > nodes.size())
                throw std::runtime_error("damaged: a node holds itself");
    }
}

std::vector<std::size_t> Skeleton::withAncestors(const std::vector<std::size_t>& wanted) const {
    std::vector<bool> isListed(nodes.size(), false);
    std::vector<std::size_t> chain, path;
    for (const std::size_t node : wanted) {
        for (int at = static_cast<int>(node); at >= 0 && !isListed[std::size_t(at)];
             at = nodes[std::size_t(at)].parent) {
            isListed[std::size_t(at)] = true;
            path.push_back(std::size_t(at));
        }
        chain.insert(chain.end(), path.rbegin(), path.rend());
        path.clear();
    }
    return chain;
}

std::vector<Matrix> Skeleton::globalMatrices(const std::vector<std::size_t>& chain,
                                             Moment moment) const {
    std::vector<Matrix> matrices(nodes.size(), Matrix{});
    for (const std::size_t index : chain) {
        const Node& node = nodes[index];
        const Matrix local = node.motion ? node.motion->matrixAt(moment) : node.rest;
        matrices[index] =
            node.parent < 0 ? local : Multiply(local, matrices[std::size_t(node.parent)]);
    }
    return matrices;
}

std::vector<const Track*> Skeleton::tracks(const std::vector<std::size_t>& chain) const {
    std::vector<const Track*> found;
    for (const std::size_t index : chain) {
        if (!nodes[index].motion) continue;
        for (const Track* track : nodes[index].motion->tracks())
            found.push_back(track);
    }
    return found;
}

Influences::Influences(std::size_t pointCount, const std::vector<Set>& sets,
                       std::size_t jointCount) {
    for (const Set& set : sets)
        if (set.joints.size() / kJointsPerSet != pointCount ||
            set.weights.size() != set.joints.size() || set.joints.size() % kJointsPerSet != 0)
            throw std::runtime_error("the joints or weights of a skin do not fit its points");
    if (sets.empty() || jointCount == 0) throw std::runtime_error("a skin has no joints");
    starts.reserve(pointCount + 1);
    for (std::size_t point = 0; point < pointCount; ++point)
        addPoint(point, sets, jointCount);
}

// Adds the joints of a set that have a weight.
void Influences::addJoints(std::size_t point, const Set& set, std::size_t jointCount) {
    for (std::size_t i = point * kJointsPerSet; i < (point + 1) * kJointsPerSet; ++i) {
        const float weight = set.weights[i];
        if (!(weight > 0) || !std::isfinite(weight)) continue;
        if (set.joints[i] >= jointCount)
            throw std::runtime_error("a point refers to joint " + std::to_string(set.joints[i]) +
                                     " of a skin with " + std::to_string(jointCount) + " joints");
        jointOf.push_back(set.joints[i]);
        weightOf.push_back(weight);
    }
}

void Influences::addPoint(std::size_t point, const std::vector<Set>& sets, std::size_t jointCount) {
    for (const Set& set : sets)
        addJoints(point, set, jointCount);
    if (jointOf.size() == starts.back()) {
        const std::uint32_t first = sets.front().joints[point * kJointsPerSet];
        jointOf.push_back(first < jointCount ? first : 0);
        weightOf.push_back(1);
    }
    const auto weights = weightOf.begin() + static_cast<std::ptrdiff_t>(starts.back());
    const double sum = std::accumulate(weights, weightOf.end(), 0.0);
    for (std::size_t i = starts.back(); i < weightOf.size(); ++i)
        weightOf[i] = static_cast<float>(weightOf[i] / sum);
    starts.push_back(jointOf.size());
}

void Influences::move(std::size_t index, const std::vector<Matrix>& joints, float* position,
                      float* normal) const {
    Matrix sum{};
    for (std::size_t i = starts[index]; i < starts[index + 1]; ++i) {
        const Matrix& joint = joints[jointOf[i]];
        for (std::size_t entry = 0; entry < sum.size(); ++entry)
            sum[entry] += double(weightOf[i]) * joint[entry];
    }
    MovePosition(sum, position);
    if (normal) MoveNormal(NormalMatrix(sum), normal);
}

std::vector<Matrix> JointMatrices(const Skin& skin, const std::vector<Matrix>& globalMatrices) {
    std::vector<Matrix> matrices;
    matrices.reserve(skin.joints.size());
    for (std::size_t i = 0; i < skin.joints.size(); ++i)
        matrices.push_back(Multiply(skin.inverseBinds[i], globalMatrices[skin.joints[i]]));
    return matrices;
}

} // namespace TellarSceneImport
