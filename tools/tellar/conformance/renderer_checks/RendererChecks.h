#ifndef TELLAR_TOOL_RENDERERCHECKS_H
#define TELLAR_TOOL_RENDERERCHECKS_H

#include <vector>

#include "Check.h"

namespace TellarTool {

/// The checks of renderers, in the order in which they run.
std::vector<Check> RendererChecks();

} // namespace TellarTool

#endif
