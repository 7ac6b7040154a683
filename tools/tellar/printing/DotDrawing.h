#ifndef TELLAR_TOOL_DOTDRAWING_H
#define TELLAR_TOOL_DOTDRAWING_H

#include <string>

namespace TellarTool {

// Drawings in the language of Graphviz.

/// The beginning of a drawing: how nodes and edges look. `direction` is "LR" or "TB".
std::string DotBeginning(const char* name, const char* direction, const std::string& title);

/// Text within the quotes of a label. A name in a scene may be any bytes: control characters and
/// bytes that are not UTF-8 are written as their numbers.
std::string DotLabel(const std::string& text);

/// Appends a node. `lines` is its label, escaped already; `style` is a list of further attributes,
/// such as "shape=box", which may be empty.
void AppendDotNode(std::string& out, const std::string& id, const std::string& lines,
                   const std::string& style = {});
/// Appends an edge, with a label that is escaped already.
void AppendDotEdge(std::string& out, const std::string& from, const std::string& to,
                   const std::string& label, const std::string& style = {});

/// Draws into a PNG file by Graphviz's program "dot", for the option --png. Throws
/// std::runtime_error naming the option, and leaves the file as it is.
void WriteDotPicture(const std::string& drawing, const std::string& file);

} // namespace TellarTool

#endif
