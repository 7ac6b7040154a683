#ifndef TELLAR_TOOL_CHECKS_H
#define TELLAR_TOOL_CHECKS_H

#include <string>
#include <vector>

#include "Check.h"

namespace TellarTool {

/// The checks of a plug-in by its API, in the order in which they run. Empty for other APIs than
/// those of renderers and op types.
std::vector<Check> ChecksOf(const std::string& api);

} // namespace TellarTool

#endif
