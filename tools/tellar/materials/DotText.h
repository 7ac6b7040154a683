#ifndef TELLAR_TOOL_DOTTEXT_H
#define TELLAR_TOOL_DOTTEXT_H

#include <string>

#include "ShadingNetwork.h"

namespace TellarTool {

/// The network as a drawing in the language of Graphviz, from left to right, with a title above.
std::string DotText(const ShadingNetwork& network, const std::string& title);

} // namespace TellarTool

#endif
