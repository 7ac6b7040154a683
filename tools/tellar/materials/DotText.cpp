#include "DotText.h"

#include <map>
#include <string_view>

#include <boost/locale/utf.hpp>

#include "PrintableText.h"

namespace TellarTool {

namespace {

using TELLAR::ShadingNodeDescription;

constexpr const char* kStyle =
    R"(    rankdir=LR; nodesep=0.3; ranksep=0.7; pad=0.3; bgcolor="white";
    fontname="Helvetica,Arial,sans-serif"; fontsize=12; fontcolor="#555555"; labelloc=t;
    node [fontname="Helvetica,Arial,sans-serif", fontsize=12, shape=box, style="rounded,filled",
          color="#4a6fa5", fillcolor="#e8f0fa", fontcolor="#1b2a3d", margin="0.18,0.1"];
    edge [fontname="Helvetica,Arial,sans-serif", fontsize=10, color="#7a8794",
          fontcolor="#555555", arrowsize=0.7];
)";
constexpr const char* kTerminalStyle =
    R"(, shape=ellipse, style=filled, color="#a5703a", fillcolor="#fbeedd"])";
constexpr const char* kMissingStyle =
    R"(, style="rounded,dashed", color="#b03030", fontcolor="#b03030"])";

/// Graphviz reads UTF-8, and a name in a scene may be any bytes. Control characters and bytes that
/// are not UTF-8 are written as their numbers.
std::string Utf8(std::string_view bytes) {
    namespace utf = boost::locale::utf;
    std::string printable;
    AppendPrintable(printable, bytes);
    std::string out;
    const char* const end = printable.data() + printable.size();
    for (const char* at = printable.data(); at != end;) {
        const char* next = at;
        const utf::code_point character = utf::utf_traits<char>::decode(next, end);
        if (utf::is_valid_codepoint(character)) {
            out.append(at, next);
            at = next;
        } else {
            AppendByteNumber(out, *at++);
        }
    }
    return out;
}

/// Text within a label's quotes.
std::string LabelText(const std::string& text) {
    std::string out;
    for (const char c : Utf8(text)) {
        if (c == '&') { // begins an HTML entity, in plain labels too
            out += "&amp;";
            continue;
        }
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out;
}

/// A node of the drawing. `lines` is its label, escaped already.
void AppendNode(std::string& out, const std::string& id, const std::string& lines,
                const char* style = "]") {
    out += "    " + id + " [label=\"" + lines + '"' + style + ";\n";
}

void AppendEdge(std::string& out, const std::string& from, const std::string& to,
                const std::string& label) {
    out += "    " + from + " -> " + to;
    if (!label.empty()) out += " [label=\"" + label + "\"]";
    out += ";\n";
}

/// Names of shading nodes may hold anything, so the drawing's nodes are numbered.
class Drawing {
public:
    explicit Drawing(const ShadingNetwork& network) : network(network) {}

    std::string draw(const std::string& title) {
        out = "digraph material {\n";
        out += kStyle;
        out += "    label=\"" + LabelText(title) + "\\n \";\n\n";
        for (const auto& [name, node] : network.nodes)
            AppendNode(out, idOf(name), LabelText(name) + "\\n" + LabelText(node->getType()));
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
        if (isNew) AppendNode(out, id, LabelText(node) + "\\nis missing", kMissingStyle);
        return id;
    }

    void drawConnections(const std::string& name, const ShadingNodeDescription& node) {
        for (const std::string& input : node.getConnectionNames()) {
            const auto connection = node.getConnection(input);
            const std::string& from = sourceId(connection->getConnectedNode());
            AppendEdge(out, from, idOf(name),
                       LabelText(connection->getConnectedPort()) + " -> " + LabelText(input));
        }
    }

    /// Draws the terminals below each other at the right.
    void drawTerminals() {
        std::string all;
        for (std::size_t i = 0; i < network.terminals.size(); ++i) {
            const ShadingNetwork::Terminal& terminal = network.terminals[i];
            const std::string id = "t" + std::to_string(i);
            AppendNode(out, id, LabelText(terminal.name), kTerminalStyle);
            AppendEdge(out, sourceId(terminal.node), id, LabelText(terminal.port));
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
