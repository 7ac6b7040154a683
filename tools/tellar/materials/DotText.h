#ifndef TELLAR_TOOL_DOTTEXT_H
#define TELLAR_TOOL_DOTTEXT_H

#include <string>

#include "ShadingNetwork.h"

namespace TellarTool {

/// A drawing of the network from left to right in the language of Graphviz, with a title above.
std::string DotText(const ShadingNetwork& network, const std::string& title);

} // namespace TellarTool

#endif
