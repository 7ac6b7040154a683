#ifndef SCENEIMPORT_NODEGRAPH_H
#define SCENEIMPORT_NODEGRAPH_H

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace TellarSceneImport {

/// More nodes than this are no scene; they are made from much smaller files by instancing.
constexpr std::uint64_t kMaxNodes = 10'000'000;

/// Who holds whom in a scene file. Assimp makes a tree of it by following every connection,
/// again and again where something has several parents, and for ever where it holds itself.
class NodeGraph {
public:
    /// Names must live as long as the graph.
    void connect(std::string_view parent, std::string_view child);

    /// Throws std::runtime_error when something holds itself, or when the tree would have more
    /// than kMaxNodes nodes or be more than `maxDepth` deep.
    void check(int maxDepth) const;

private:
    struct Size {
        std::uint64_t nodes = 0; // 0: not known yet
        int depth = 0;
        bool isOpen = false; // its children are being looked at
    };

    std::size_t indexOf(std::string_view name);
    void measure(std::size_t start, std::vector<Size>& sizes) const;
    void close(std::size_t node, std::vector<Size>& sizes) const;

    std::unordered_map<std::string_view, std::size_t> indices;
    std::vector<std::vector<std::size_t>> children;
};

} // namespace TellarSceneImport

#endif
