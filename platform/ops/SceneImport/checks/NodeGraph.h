#ifndef SCENEIMPORT_NODEGRAPH_H
#define SCENEIMPORT_NODEGRAPH_H

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace TellarSceneImport {

/// The connections between the nodes of a scene file. Assimp expands them into a tree: it repeats a
/// node with several parents, and never ends at a node that holds itself.
class NodeGraph {
public:
    /// Names must live as long as the graph.
    void connect(std::string_view parent, std::string_view child);

    /// Throws std::runtime_error when a node holds itself, or when the tree would have more than
    /// kMaxNodes nodes or be more than `maxDepth` deep.
    void check(int maxDepth) const;

private:
    struct Size {
        std::uint64_t nodes = 0; // 0: not known yet
        int depth = 0;
        bool isOpen = false; // its children are being measured
    };

    std::size_t indexOf(std::string_view name);
    void measure(std::size_t start, std::vector<Size>& sizes) const;
    void close(std::size_t node, std::vector<Size>& sizes) const;

    std::unordered_map<std::string_view, std::size_t> indices;
    std::vector<std::vector<std::size_t>> children;
};

} // namespace TellarSceneImport

#endif
