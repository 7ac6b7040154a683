#include "DotText.h"

#include <map>

#include "DotDrawing.h"

namespace TellarTool {

namespace {

using TELLAR::ShadingNodeDescription;

constexpr const char* kTerminalStyle =
    R"(shape=ellipse, style=filled, color="#a5703a", fillcolor="#fbeedd")";
constexpr const char* kMissingStyle =
    R"(style="rounded,dashed", color="#b03030", fontcolor="#b03030")";

/// Names of shading nodes may hold anything, so the drawing's nodes are numbered.
class Drawing {
public:
    explicit Drawing(const ShadingNetwork& network) : network(network) {}

    std::string draw(const std::string& title) {
        out = DotBeginning("material", "LR", title);
        for (const auto& [name, node] : network.nodes)
            AppendDotNode(out, idOf(name), DotLabel(name) + "\\n" + DotLabel(node->getType()));
        for (const auto& [name, node] : network.nodes)
            drawConnections(name, *node);
        drawTerminals();
        return out + "}\n";
    }

private:
    const ShadingNetwork& network;
    std::map<std::string, std::string> ids;
    std::string out;

    const std::string& idOf(const std::string& node) {
        return ids.try_emplace(node, "n" + std::to_string(ids.size())).first->second;
    }

    /// Like idOf, for the target of a terminal or a connection, which may be missing.
    const std::string& sourceId(const std::string& node) {
        const bool isNew = ids.count(node) == 0;
        const std::string& id = idOf(node);
        if (isNew) AppendDotNode(out, id, DotLabel(node) + "\\nis missing", kMissingStyle);
        return id;
    }

    void drawConnections(const std::string& name, const ShadingNodeDescription& node) {
        for (const std::string& input : node.getConnectionNames()) {
            const auto connection = node.getConnection(input);
            const std::string& from = sourceId(connection->getConnectedNode());
            AppendDotEdge(out, from, idOf(name),
                          DotLabel(connection->getConnectedPort()) + " -> " + DotLabel(input));
        }
    }

    /// Draws the terminals below each other at the right.
    void drawTerminals() {
        std::string all;
        for (std::size_t i = 0; i < network.terminals.size(); ++i) {
            const ShadingNetwork::Terminal& terminal = network.terminals[i];
            const std::string id = "t" + std::to_string(i);
            AppendDotNode(out, id, DotLabel(terminal.name), kTerminalStyle);
            AppendDotEdge(out, sourceId(terminal.node), id, DotLabel(terminal.port));
            all += " " + id + ";";
        }
        out += "    { rank=sink;" + all + " }\n";
    }
};

} // namespace

std::string DotText(const ShadingNetwork& network, const std::string& title) {
    return Drawing(network).draw(title);
}

} // namespace TellarTool
