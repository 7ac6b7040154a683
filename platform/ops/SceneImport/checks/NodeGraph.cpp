#include "NodeGraph.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "SourceFile.h"

namespace TellarSceneImport {

std::size_t NodeGraph::indexOf(std::string_view name) {
    const auto [entry, isNew] = indices.emplace(name, children.size());
    if (isNew) children.emplace_back();
    return entry->second;
}

void NodeGraph::connect(std::string_view parent, std::string_view child) {
    const std::size_t to = indexOf(child);
    children[indexOf(parent)].push_back(to);
}

// All children have been measured.
void NodeGraph::close(std::size_t node, std::vector<Size>& sizes) const {
    Size& size = sizes[node];
    size.nodes = 1;
    for (const std::size_t child : children[node]) {
        // The sum is at most twice the limit and cannot overflow.
        size.nodes += sizes[child].nodes;
        size.depth = std::max(size.depth, sizes[child].depth);
        if (size.nodes > kMaxNodes)
            throw std::runtime_error("it has more than " + std::to_string(kMaxNodes) + " nodes");
    }
    ++size.depth;
    size.isOpen = false;
}

void NodeGraph::measure(std::size_t start, std::vector<Size>& sizes) const {
    std::vector<std::size_t> pending = {start};
    while (!pending.empty()) {
        const std::size_t node = pending.back();
        if (sizes[node].nodes > 0) {
            pending.pop_back(); // it was also reached through another parent
        } else if (sizes[node].isOpen) {
            close(node, sizes);
            pending.pop_back();
        } else {
            sizes[node].isOpen = true;
            for (const std::size_t child : children[node]) {
                if (sizes[child].isOpen) throw std::runtime_error("damaged: a node holds itself");
                if (sizes[child].nodes == 0) pending.push_back(child);
            }
        }
    }
}

void NodeGraph::check(int maxDepth) const {
    std::vector<Size> sizes(children.size());
    for (std::size_t node = 0; node < children.size(); ++node) {
        measure(node, sizes);
        if (sizes[node].depth > maxDepth)
            throw std::runtime_error("nodes are nested deeper than " + std::to_string(maxDepth));
    }
}

} // namespace TellarSceneImport
