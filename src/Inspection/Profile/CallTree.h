#ifndef TELLAR_PROFILE_CALLTREE_H
#define TELLAR_PROFILE_CALLTREE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/CookObserver.h>

#include "CookSums.h"

namespace TELLAR {

/// Hashes an op's identity, which is a hash already.
struct IdentityHash {
    std::size_t operator()(const OxAttribute::Hash& identity) const {
        return static_cast<std::size_t>(identity.uint64());
    }
};

/// The cooks of one thread, added up by op and by the ops that needed them: a node for each chain
/// of ops. The number of nodes is bounded. Equal ops are one op.
class CallTree {
public:
    using NodeIndex = std::uint32_t;
    static constexpr NodeIndex kRoot = 0; ///< above the cooks that no other cook needed

    struct Op {
        std::string name;
        std::string type;
        NodeIndex firstNode; ///< for cooks that get no node of their own
    };
    struct Node {
        NodeIndex parent = kRoot;
        NodeIndex lastChild = kRoot; ///< the child that was entered last; kRoot: none
        OxAttribute::Hash identity;  ///< of the op
        CookSums sums;
    };
    using Ops = std::unordered_map<OxAttribute::Hash, Op, IdentityHash>;

    CallTree() : nodes(1) {}

    /// The node for cooks of an op that `parent` needs. Throws std::bad_alloc.
    NodeIndex enter(NodeIndex parent, const OxOpType::ObservedCook& cook);

    CookSums& sumsOf(NodeIndex node) { return nodes[node].sums; }
    /// A node comes behind its parent. The first one is the root.
    const std::vector<Node>& getNodes() const { return nodes; }
    const Ops& getOps() const { return ops; }
    /// How often a full tree had no node for a chain of ops.
    std::uint64_t getNumberOfMerged() const { return merged; }

private:
    struct Chain {
        OxAttribute::Hash identity;
        NodeIndex parent;
        friend bool operator==(const Chain& a, const Chain& b) {
            return a.parent == b.parent && a.identity == b.identity;
        }
    };
    struct ChainHash {
        std::size_t operator()(const Chain& chain) const;
    };

    NodeIndex add(const Chain& chain, const OxOpType::ObservedCook& cook);

    std::vector<Node> nodes;
    std::unordered_map<Chain, NodeIndex, ChainHash> chains;
    Ops ops;
    std::uint64_t merged = 0;
};

} // namespace TELLAR

#endif
