#include "DotDrawing.h"

#include <stdexcept>
#include <string_view>

#include <boost/locale/utf.hpp>

#include "Output.h"
#include "PrintableText.h"
#include "Process.h"

namespace TellarTool {

namespace {

constexpr const char* kStyle =
    R"( nodesep=0.3; ranksep=0.7; pad=0.3; bgcolor="white";
    fontname="Helvetica,Arial,sans-serif"; fontsize=12; fontcolor="#555555"; labelloc=t;
    node [fontname="Helvetica,Arial,sans-serif", fontsize=12, shape=box, style="rounded,filled",
          color="#4a6fa5", fillcolor="#e8f0fa", fontcolor="#1b2a3d", margin="0.18,0.1"];
    edge [fontname="Helvetica,Arial,sans-serif", fontsize=10, color="#7a8794",
          fontcolor="#555555", arrowsize=0.7];
)";

/// Graphviz reads UTF-8.
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

} // namespace

std::string DotBeginning(const char* name, const char* direction, const std::string& title) {
    return std::string("digraph ") + name + " {\n    rankdir=" + direction + ";" + kStyle +
           "    label=\"" + DotLabel(title) + "\\n \";\n\n";
}

std::string DotLabel(const std::string& text) {
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

void AppendDotNode(std::string& out, const std::string& id, const std::string& lines,
                   const std::string& style) {
    out += "    " + id + " [label=\"" + lines + '"';
    if (!style.empty()) out += ", " + style;
    out += "];\n";
}

void AppendDotEdge(std::string& out, const std::string& from, const std::string& to,
                   const std::string& label, const std::string& style) {
    std::string attributes = label.empty() ? std::string() : "label=\"" + label + '"';
    if (!attributes.empty() && !style.empty()) attributes += ", ";
    attributes += style;
    out += "    " + from + " -> " + to;
    if (!attributes.empty()) out += " [" + attributes + "]";
    out += ";\n";
}

void WriteDotPicture(const std::string& drawing, const std::string& file) {
    try {
        const std::string picture = RunProgram("dot", {"-Tpng"}, drawing);
        if (picture.empty()) throw std::runtime_error("dot made no picture");
        WriteFile(file, picture);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string("--png: ") + error.what());
    }
}

} // namespace TellarTool
