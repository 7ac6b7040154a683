#ifndef SCENEIMPORT_SKIN_H
#define SCENEIMPORT_SKIN_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "Morph.h"
#include "NodeMotion.h"
#include "model/Space.h"

namespace TellarSceneImport {

/// The nodes of a file as far as they move skins. Immutable.
class Skeleton {
public:
    struct Node {
        int parent = -1; ///< -1 for a node at the top
        Matrix rest{};
        std::shared_ptr<const NodeMotion> motion; ///< replaces rest; null for a node at rest
    };

    /// Throws std::runtime_error if a parent is missing or a node is its own ancestor.
    explicit Skeleton(std::vector<Node> nodes);

    /// The `wanted` nodes and their ancestors, parents first. The indices have to be below size().
    std::vector<std::size_t> withAncestors(const std::vector<std::size_t>& wanted) const;
    /// The matrices from the spaces of the nodes in `chain`, a result of withAncestors, to the
    /// space of the whole file. The result has a matrix for each node of the file; the others are
    /// zero.
    std::vector<Matrix> globalMatrices(const std::vector<std::size_t>& chain, Moment moment) const;
    std::vector<const Track*> tracks(const std::vector<std::size_t>& chain) const;
    std::size_t size() const { return nodes.size(); }

private:
    const std::vector<Node> nodes;
};

/// How much each joint moves each point. Immutable.
class Influences {
public:
    /// One set of four joints and four weights for each point.
    struct Set {
        std::vector<std::uint32_t> joints;
        std::vector<float> weights;
    };

    Influences() = default;
    /// The weights of a point are divided by their sum. A point whose weights have no positive sum
    /// follows its first joint. Throws std::runtime_error if the sizes do not fit or a joint with a
    /// weight is not below `jointCount`.
    Influences(std::size_t pointCount, const std::vector<Set>& sets, std::size_t jointCount);

    std::size_t pointCount() const { return starts.size() - 1; }
    /// In bytes.
    std::size_t memory() const {
        return starts.capacity() * sizeof(std::size_t) +
               jointOf.capacity() * sizeof(std::uint32_t) + weightOf.capacity() * sizeof(float);
    }

    /// Moves point `index` by the weighted sum of the matrices of its joints, and its normal,
    /// unless null, by the inverse transpose of it, without keeping its length.
    void move(std::size_t index, const std::vector<Matrix>& joints, float* position,
              float* normal) const;

private:
    void addPoint(std::size_t point, const std::vector<Set>& sets, std::size_t jointCount);
    void addJoints(std::size_t point, const Set& set, std::size_t jointCount);

    std::vector<std::size_t> starts = {0}; // one more than points
    std::vector<std::uint32_t> jointOf;
    std::vector<float> weightOf;
};

struct Skin {
    std::vector<std::size_t> joints;  ///< nodes of the skeleton
    std::vector<Matrix> inverseBinds; ///< one a joint
};

/// The matrices from the mesh as it was bound to the space of the whole file.
std::vector<Matrix> JointMatrices(const Skin& skin, const std::vector<Matrix>& globalMatrices);

} // namespace TellarSceneImport

#endif
