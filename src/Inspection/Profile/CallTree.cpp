#include "CallTree.h"

namespace TELLAR {

namespace {

/// A graph whose ops are connected in every possible way has as many chains as locations.
constexpr std::size_t kMostNodes = 1 << 15;
/// Spreads small numbers over all bits: 2^64 divided by the golden ratio.
constexpr std::uint64_t kSpread = 0x9e3779b97f4a7c15;

} // namespace

std::size_t CallTree::ChainHash::operator()(const Chain& chain) const {
    return static_cast<std::size_t>(chain.identity.uint64() ^ (chain.parent + 1) * kSpread);
}

CallTree::NodeIndex CallTree::enter(NodeIndex parent, const OxOpType::ObservedCook& cook) {
    const NodeIndex last = nodes[parent].lastChild;
    if (last != kRoot && nodes[last].identity == cook.opIdentity) return last;
    const Chain chain{cook.opIdentity, parent};
    const auto known = chains.find(chain);
    const NodeIndex node = known != chains.end() ? known->second : add(chain, cook);
    if (nodes[node].parent == parent) nodes[parent].lastChild = node;
    return node;
}

CallTree::NodeIndex CallTree::add(const Chain& chain, const OxOpType::ObservedCook& cook) {
    const auto op = ops.find(cook.opIdentity);
    if (nodes.size() >= kMostNodes && op != ops.end()) {
        ++merged;
        return op->second.firstNode;
    }
    const auto node = static_cast<NodeIndex>(nodes.size());
    nodes.push_back({chain.parent, kRoot, chain.identity, {}});
    try {
        if (op == ops.end()) ops.emplace(cook.opIdentity, Op{cook.opName, cook.opType, node});
        chains.emplace(chain, node);
    } catch (...) {
        nodes.pop_back();
        const auto added = ops.find(cook.opIdentity);
        if (added != ops.end() && added->second.firstNode == node) ops.erase(added);
        throw;
    }
    return node;
}

} // namespace TELLAR
